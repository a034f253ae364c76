#include "library_model.h"
#include "message_recorder.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace klb::test {

namespace {

using Messages = std::vector<Message>;

const JsonValue kTrue = JsonValue::boolean(true);

constexpr KLB_ToggleFileType kPlain = KLB_ToggleFileType_Supported;
constexpr KLB_ToggleFileType kProtected = KLB_ToggleFileType_Unsupported;

/// A file with ten bytes or more that is not read as a document.
DiskFile sealedFile(const std::string& path, const Envelope& envelope) {
    DiskFile file = damagedFile(path, "U2FsdGVkX1", "", 0);
    file.envelope = envelope;
    return file;
}

/// What a call throws, as the text of an exception of this type.
template <class Exception, class Call>
std::string thrownBy(Call&& call) {
    try {
        call();
    } catch (const Exception& thrown) {
        return thrown.what();
    }
    return "nothing was thrown";
}

TEST(OpenedFile, IsFoundByEverySpellingOfItsPath) {
    Surroundings surroundings;
    surroundings.files = {damagedFile("S:\\data\\x.json", "first", "", 0),
                          damagedFile("S:\\data\\sub\\x.json", "second", "", 0)};
    const auto bytesAt = [&](const std::string& path) {
        const DiskFile* file = openedFile(surroundings, path);
        return file != nullptr ? file->bytes : "none";
    };
    EXPECT_EQ(bytesAt("S:\\data\\x.json"), "first");
    EXPECT_EQ(bytesAt("S:/data/x.json"), "first");
    EXPECT_EQ(bytesAt("S:\\data\\sub\\..\\x.json"), "first");
    EXPECT_EQ(bytesAt("S:\\data\\.\\x.json"), "first");
    EXPECT_EQ(bytesAt("S:\\data/\\x.json"), "first");
    EXPECT_EQ(bytesAt("S:\\data\\sub\\x.json"), "second");
    EXPECT_EQ(bytesAt("S:\\data\\sub"), "none");
    EXPECT_EQ(bytesAt("x.json"), "none");
    EXPECT_EQ(bytesAt(""), "none");
}

TEST(ModelledErrors, AreThrownWithoutACallback) {
    const Surroundings surroundings;
    LibraryModel model(surroundings);
    EXPECT_EQ(thrownBy<std::invalid_argument>([&] { model.init(nullptr, true); }),
              "KLB_Init: sysID must not be NULL.");
    EXPECT_EQ(thrownBy<std::domain_error>([&] { model.getToggle("/a"); }),
              "KLB_RegisterToggleFile: KLB_Init must be called first.");
    model.init("TestSystem", false);
    EXPECT_EQ(thrownBy<std::invalid_argument>([&] { model.initObx(nullptr); }),
              "KLB_InitOBX: pHostUnk must not be NULL.");
    EXPECT_EQ(thrownBy<std::invalid_argument>([&] { model.getToggle(""); }),
              "getToggle: key cannot be an empty string.");
    EXPECT_EQ(thrownBy<std::domain_error>([&] { model.addToggleComment("/a", ""); }),
              "addToggleProperty: key, /a, was not registered. Please call RegisterToggle first.");
    EXPECT_NO_THROW(EXPECT_FALSE(model.getToggle("/a")));
}

TEST(ModelledErrors, OfLookupsAreThrownInEitherMode) {
    const Surroundings surroundings;
    MessageRecorder recorder;
    LibraryModel model(surroundings);
    model.initMessageProc(&MessageRecorder::record);
    EXPECT_FALSE(model.isToggleRegistered(nullptr));
    EXPECT_FALSE(model.isToggleFileRegistered(nullptr));
    model.init("TestSystem", false);
    EXPECT_EQ(thrownBy<std::invalid_argument>([&] { model.isToggleRegistered(nullptr); }),
              "getToggle: toggleKey cannot be NULL.");
    EXPECT_EQ(thrownBy<std::invalid_argument>([&] { model.isDynamicToggleRegistered(nullptr); }),
              "getToggle: toggleKey cannot be NULL.");
    EXPECT_EQ(recorder.take(), Messages{});
    EXPECT_FALSE(model.isToggleFileRegistered(nullptr));
    EXPECT_EQ(recorder.take(),
              Messages{error("isFeatureToggleFileRegistered: toggleFileToken cannot be NULL.")});
}

TEST(ModelledToggles, AreKnownByTheirKindAndWithTheirToken) {
    const Surroundings surroundings;
    LibraryModel model(surroundings);
    model.init("TestSystem", false);
    model.registerToggle("/static", true, "t");
    model.registerDynamicToggle("/dynamic", true, "u");
    EXPECT_TRUE(model.isToggleRegistered("/static"));
    EXPECT_FALSE(model.isToggleRegistered("/dynamic"));
    EXPECT_FALSE(model.isDynamicToggleRegistered("/static"));
    EXPECT_TRUE(model.isDynamicToggleRegistered("/dynamic"));
    EXPECT_TRUE(model.isToggleFileRegistered("u"));
    EXPECT_FALSE(model.isToggleFileRegistered("v"));
    model.term();
    EXPECT_FALSE(model.isInitialized());
    EXPECT_FALSE(model.isToggleRegistered("/static"));
}

TEST(ModelledOverrideFile, ThatIsDamagedStopsTheFirstToggleOnlyWithoutACallback) {
    Surroundings surroundings;
    surroundings.executableDirectory = "S:\\host\\";
    surroundings.files = {damagedFile("S:\\host\\CIT_OVERRIDE.KLB", "{", "", 0)};
    LibraryModel model(surroundings);
    model.init("TestSystem", true);
    EXPECT_EQ(thrownBy<std::domain_error>([&] { model.registerToggle("/a", true, "t"); }),
              "registerToggleFile: FileTooSmall in file: S:\\host\\CIT_OVERRIDE.KLB");
    EXPECT_FALSE(model.isToggleRegistered("/a"));
    EXPECT_FALSE(model.isToggleFileRegistered("t"));
    model.registerToggle("/a", true, "t");
    EXPECT_TRUE(model.getToggle("/a"));
}

TEST(ModelledToggleFiles, AreReadAgainOnlyAfterTheyWerePassedOver) {
    const struct {
        const char* name;
        std::vector<DiskFile> before;
        bool isReadAgain;
    } cases[] = {
        {"missing", {}, false},
        {"damaged", {damagedFile("S:\\x.json", "{\"a\":true", "ParseError", 9)}, false},
        {"passed over", {damagedFile("S:\\x.json", " {\"a\":true}", "", 0)}, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Surroundings surroundings;
        surroundings.files = c.before;
        MessageRecorder recorder;
        LibraryModel model(surroundings);
        model.initMessageProc(&MessageRecorder::record);
        model.init("TestSystem", false);
        model.registerToggleFile(kPlain, "t", "S:\\x.json");
        surroundings.files = {documentFile("S:\\x.json", {{"/a", kTrue}})};
        model.registerToggle("/a", false, "t");
        EXPECT_EQ(model.getToggle("/a"), c.isReadAgain);
    }
}

TEST(ModelledProtectedFiles, AreOpenedForTheirSystemAndTrustedSigner) {
    const std::string path = "S:\\data\\x.klb";
    const std::string other =
        "The original KLB file was either corrupted or it was created for a different computer.\n";
    const std::string unverified = "Verification failure\n";
    const ParsedText text = documentFile("", {{"/a", kTrue}}).text;
    const std::string mime = "MIME-Version: 1.0";
    const Envelope good = {"TestSystem", mime, text, "", {"ours"}};
    const Envelope foreign = {"OtherSystem", mime, text, "", {"ours"}};
    const Envelope tampered = {"TestSystem", mime, text, unverified, {"ours"}};
    const Envelope bare = {"TestSystem", "{", text};
    const Envelope foreignBare = {"OtherSystem", "{", text, "", {}, {{"TestSystem", {}}}};
    const Envelope nothing = {"OtherSystem", ""};
    enum class Host { Silent, Ours, Theirs, Unchecked };
    const struct {
        const char* name;
        Envelope envelope;
        Host host;
        std::vector<std::string> beside;
        std::string error;
        bool isSet;
    } cases[] = {
        {"ours by the host", good, Host::Ours, {}, "", true},
        {"ours beside the file", good, Host::Silent, {"theirs", "ours"}, "", true},
        {"theirs by the host", good, Host::Theirs, {"ours"}, unverified, false},
        {"theirs beside the file", good, Host::Silent, {"theirs"}, unverified, false},
        {"nobody's", good, Host::Silent, {}, unverified, false},
        {"unchecked", good, Host::Unchecked, {"ours"}, other, false},
        {"of another system", foreign, Host::Ours, {}, other, false},
        {"tampered", tampered, Host::Ours, {}, unverified, false},
        {"bare", bare, Host::Unchecked, {}, "", true},
        {"bare and checked", bare, Host::Ours, {}, other, false},
        {"bare and of another system", foreignBare, Host::Unchecked, {}, other, false},
        {"nothing", nothing, Host::Ours, {}, "", false},
        {"nothing, unchecked", nothing, Host::Unchecked, {}, "", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Surroundings surroundings;
        surroundings.files = {sealedFile(path, c.envelope)};
        surroundings.files.push_back(damagedFile("S:\\data\\mosk.cert.pem", "", "", 0));
        surroundings.files.back().certificates = c.beside;
        surroundings.certificates = {{"OUR PEM", "ours"}, {"THEIR PEM", "theirs"}};
        MessageRecorder recorder;
        LibraryModel model(surroundings);
        model.initMessageProc(&MessageRecorder::record);
        model.init("TestSystem", false);
        if (c.host != Host::Silent) {
            model.setCertificateData(c.host == Host::Ours     ? "OUR PEM"
                                     : c.host == Host::Theirs ? "THEIR PEM"
                                                              : nullptr);
        }
        model.registerToggleFile(kProtected, "t", path.c_str());
        EXPECT_EQ(recorder.take(),
                  c.error.empty()
                      ? Messages{}
                      : Messages{error("registerToggleFile: " + c.error + " in file: " + path)});
        model.registerToggle("/a", false, "t");
        EXPECT_EQ(model.getToggle("/a"), c.isSet);
    }
}

TEST(ModelledProtectedFiles, HangOnChanceWithAWrongKeyAndSignaturesUnchecked) {
    Surroundings surroundings;
    surroundings.files = {sealedFile("S:\\x.klb", {"OtherSystem", "{"})};
    LibraryModel model(surroundings);
    model.init("TestSystem", false);
    model.setCertificateData(nullptr);
    EXPECT_THROW(model.registerToggleFile(kProtected, "t", "S:\\x.klb"), DependsOnChance);
}

TEST(ModelledCertificate, IsSetOnceAndBeforeAnyRegistration) {
    Surroundings surroundings;
    surroundings.certificates = {{"OUR PEM", "ours"}};
    LibraryModel model(surroundings);
    model.init("TestSystem", false);
    EXPECT_NO_THROW(model.setCertificateData(nullptr));
    EXPECT_NO_THROW(model.setCertificateData(nullptr));
    EXPECT_EQ(thrownBy<std::domain_error>([&] { model.setCertificateData("no PEM"); }),
              "setCertificateData: can't read certificate from the certificate data provided.");
    EXPECT_NO_THROW(model.setCertificateData("OUR PEM"));
    for (const char* const again : {"OUR PEM", "no PEM", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(thrownBy<std::domain_error>([&] { model.setCertificateData(again); }),
                  "setCertificateData: certificate data has already been set.");
    }
    model.term();
    model.init("TestSystem", false);
    model.registerToggle("/a", false, "t");
    EXPECT_EQ(thrownBy<std::domain_error>([&] { model.setCertificateData(nullptr); }),
              "setCertificateData: must be called before any registration routines.");
}

TEST(ModelledManager, TurnsErrorsIntoCodes) {
    const Surroundings surroundings;
    const HostReporter host;
    RegistryModel registry(surroundings, host, "TestSystem", false);
    ManagerModel manager(registry);
    const auto codeOf = [](OBXResult result) { return static_cast<uint32_t>(result); };
    uint32_t value = 7;
    EXPECT_EQ(codeOf(manager.GetToggle(nullptr, &value)), 0x80000003U);
    EXPECT_EQ(codeOf(manager.GetToggle("/a", nullptr)), 0x80000003U);
    EXPECT_EQ(value, 7U);
    EXPECT_EQ(codeOf(manager.GetToggle("a", &value)), 0x8000FFFFU);
    EXPECT_EQ(value, 0U);
    EXPECT_EQ(codeOf(manager.RegisterToggle("/a", -1, "t")), 0U);
    EXPECT_EQ(codeOf(manager.GetToggle("/a", &value)), 0U);
    EXPECT_EQ(value, 1U);
    EXPECT_EQ(codeOf(manager.IsToggleRegistered("/a")), 1U);
    EXPECT_EQ(codeOf(manager.IsDynamicToggleRegistered("/a")), 0U);
    EXPECT_EQ(codeOf(manager.IsToggleRegistered(nullptr)), 0x80000003U);
    EXPECT_EQ(codeOf(manager.IsToggleFileRegistered("t")), 1U);
    EXPECT_EQ(codeOf(manager.IsToggleFileRegistered(nullptr)), 0U);
    EXPECT_EQ(codeOf(manager.SetDynamicToggle("/a", 0)), 0x8000FFFFU);
    EXPECT_EQ(codeOf(manager.RegisterToggleFile(0, "t", "f")), 0x8000FFFFU);
    EXPECT_EQ(codeOf(manager.RegisterToggleFile(0, nullptr, "f")), 0x80000003U);
    EXPECT_EQ(manager.GetSingletonState(), 0U);
    manager.InitializeSingleton();
    EXPECT_EQ(manager.GetSingletonState(), 2U);
    manager.FinalizeSingleton();
    EXPECT_EQ(manager.GetSingletonState(), 4U);
}

TEST(ModelledManager, LeavesTheOutputOfAnUnknownInterfaceAsItWas) {
    const Surroundings surroundings;
    const HostReporter host;
    RegistryModel registry(surroundings, host, "TestSystem", false);
    ManagerModel manager(registry);
    int untouched = 0;
    void* out = &untouched;
    EXPECT_EQ(manager.QueryInterface(KLB_ManagerClassId, &out), 0);
    EXPECT_EQ(out, &untouched);
    EXPECT_EQ(manager.QueryInterface(KLB_IID_IKLBManager1, &out), 0);
    EXPECT_EQ(out, static_cast<IKLBManager*>(&manager));
    EXPECT_EQ(manager.QueryInterface(KLB_IID_IOBXSingleton, &out), 0);
    EXPECT_EQ(out, static_cast<IOBXSingleton*>(&manager));
}

} // namespace

} // namespace klb::test
