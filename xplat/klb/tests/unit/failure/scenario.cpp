#include "failure/scenario.h"

#include "klb.h"
#include "support/protected_samples.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>
#include <stdexcept>
#include <string_view>

namespace klb::test {

namespace {

// Texts too long to be stored without memory.
constexpr const char* kPlainToken = "the token of the plain toggle file";
constexpr const char* kProtectedToken = "the token of the protected toggle file";
constexpr const char* kDamagedToken = "the token of the damaged toggle file";
constexpr const char* kMissingToken = "the token of the missing toggle file";
constexpr const char* kFaceToken = "the token of the plug-in's toggle file";
constexpr const char* kOn = kKeys[0].data();
constexpr const char* kOverridden = kKeys[1].data();
constexpr const char* kDynamic = kKeys[2].data();
constexpr const char* kOfProtectedFile = kKeys[3].data();
constexpr const char* kOfPlugin = kKeys[4].data();
constexpr const char* kDynamicOfPlugin = kKeys[5].data();
constexpr const char* kUnknown = "/a group of some length/a toggle that nobody registered";
constexpr const char* kUnknownToggleWarning =
    "warning: getToggle: key, /a group of some length/a toggle that nobody registered, was not "
    "registered. Returning false.";
constexpr const char* kModule = "a module with a long name";
constexpr const char* kComment = "a comment that takes memory of its own";

/// What the call in progress reported, returned and threw.
class Transcript {
public:
    void clear() noexcept {
        size_ = 0;
        text_[0] = '\0';
    }
    void add(std::string_view kind, std::string_view text) noexcept {
        append(size_ == 0 ? "" : "; ");
        append(kind);
        append(text);
    }
    void addTruth(bool value) noexcept {
        add("", value ? "true" : "false");
    }
    void addCode(OBXResult result) noexcept {
        char text[9];
        std::snprintf(text, sizeof text, "%08X", static_cast<unsigned>(result));
        add("", text);
    }
    const char* text() const noexcept {
        return text_.data();
    }

private:
    void append(std::string_view text) noexcept {
        const std::size_t count = std::min(text.size(), text_.size() - 1 - size_);
        std::memcpy(text_.data() + size_, text.data(), count);
        size_ += count;
        text_[size_] = '\0';
    }

    std::array<char, 8192> text_{};
    std::size_t size_ = 0;
};

Transcript transcript;

/// Asks a report for its size and then for its text.
template <class Ask>
void addReport(Ask&& ask) {
    static std::array<char, 4096> buffer;
    buffer[0] = '\0';
    const auto size = ask(nullptr, 0U);
    if (size > buffer.size()) {
        transcript.add("", "too long");
    } else if (size != 0 && ask(buffer.data(), size) == size) {
        transcript.add("", buffer.data());
    } else {
        transcript.add("", "nothing");
    }
}

int addMessage(KLB_MessageType type, const char* text) {
    transcript.add(type == KLB_MessageType_Error ? "error: " : "warning: ", text);
    return 0;
}

void addSinkReport(const char* text) {
    transcript.add("sink: ", std::strcmp(text, "\n") == 0 ? "line feed" : text);
}

Expectation always(const std::string& text) {
    return {text, text};
}

Expectation domainError(const std::string& text) {
    return {"error: " + text, "std::domain_error: " + text};
}

std::string inJson(std::string text) {
    for (std::size_t at = 0; (at = text.find('\\', at)) != std::string::npos; at += 2) {
        text.insert(at, 1, '\\');
    }
    return '"' + text + '"';
}

/// A toggle file in the JSON report.
std::string fileInJson(const char* token, const char* type, const std::string& path) {
    return "        " + inJson(token) + ": {\n            \"KLB_ToggleFileType\": \"" + type +
           "\",\n            \"KLB_ToggleFile\": " + inJson(path) + "\n        }";
}

/// The properties of a toggle in the JSON report.
std::string toggleInJson(const std::string& indentation, const char* name, bool defaultValue,
                         bool isDynamic, const char* token, const char* comment = nullptr) {
    const std::string begin = ",\n" + indentation + "    ";
    return indentation + inJson(name) + ": {" + begin.substr(1) +
           "\"KLB_DefaultValue\": " + (defaultValue ? "true" : "false") + begin +
           "\"KLB_IsDynamic\": " + (isDynamic ? "true" : "false") + begin +
           "\"KLB_ToggleFileToken\": " + inJson(token) +
           (comment != nullptr ? begin + "\"KLB_ToggleComment\": " + inJson(comment) : "") + "\n" +
           indentation + "}";
}

} // namespace

Scenario::Scenario(Trust trust, bool withCallback)
    : withCallback_(withCallback),
      plainPath_(directory_.write(
          "plain.json", R"({"features":{"a group of some length":{)"
                        R"("a toggle that the file sets":true,)"
                        R"("a dynamic toggle that the file sets":true,"1":0,"2":0,"3":0,"4":0,)"
                        R"("5":0,"6":0,"7":0,"8":0,"9":0,"10":0,"11":0,"12":0,"13":0,"14":0,)"
                        R"("15":0,"16":0,"17":0,"18":0,"19":0,"20":0,"21":0,"22":0,"23":0,)"
                        R"("24":0,"25":0,"26":0,"27":0,"28":0,"29":0,"30":0,"31":0,"32":0}}})")),
      protectedPath_(directory_.write("protected.klb", kProtectedFile)),
      damagedPath_(directory_.write("damaged.json", "{\"no document and some length\"")),
      missingPath_(directory_.pathOf("missing.json")),
      facePath_(directory_.write("plug-in.json",
                                 R"({"another group of some length":{"a toggle of the plug-in":)"
                                 "true}}")),
      overridePath_(directory_.write("CIT_OVERRIDE.KLB",
                                     R"({"a group of some length":{"a toggle that is overridden":)"
                                     "true}}")),
      framework_(&addSinkReport) {
    if (trust == Trust::CertificateFile) {
        directory_.write("mosk.cert.pem", std::string(kSignerCertificate) + kRevocationList);
    }
    addSetUp(trust);
    addFiles();
    addToggles();
    addQueries();
    addErrors();
    addComponentFace();
    addReports();
    steps_.push_back({"KLB_Term", [] { KLB_Term(); }, {}});
    KLB_InitMessageProc(withCallback ? &addMessage : nullptr);
}

Scenario::~Scenario() {
    KLB_InitMessageProc(nullptr);
    KLB_Term();
}

void Scenario::addFaceStep(std::string_view name, std::function<void(IKLBManager&)> call,
                           Expectation expected, std::string outOfMemory) {
    const auto callFace = [this, call = std::move(call)] {
        if (IKLBManager* manager = framework_.manager()) {
            call(*manager);
        } else {
            transcript.add("", "not published");
        }
    };
    steps_.push_back({name, callFace, std::move(expected), std::move(outOfMemory)});
}

void Scenario::addSetUp(Trust trust) {
    steps_.push_back({"KLB_Init", [] { KLB_Init("System", true); }, {}});
    const auto setOverridePath = [directory = directory_.path()] {
        KLB_SetOverridePath(directory.c_str());
    };
    steps_.push_back({"KLB_SetOverridePath", setOverridePath, {}});
    steps_.push_back({"no certificate", [] { KLB_SetCertificateData(nullptr); }, {}});
    if (trust == Trust::HostCertificate) {
        steps_.push_back(
            {kCertificateStep, [] { KLB_SetCertificateData(kSignerCertificate); }, {}});
    } else {
        steps_.push_back({kCertificateStep, [] { KLB_SetCertificateData("no certificate at all"); },
                          domainError("setCertificateData: can't read certificate from the "
                                      "certificate data provided.")});
    }
    steps_.push_back({"KLB_InitOBX", [this] { KLB_InitOBX(framework_.host()); }, {}});
}

void Scenario::addFiles() {
    const auto registerFile = [](KLB_ToggleFileType type, const char* token,
                                 const std::string& path) {
        return [=] { KLB_RegisterToggleFile(type, token, path.c_str()); };
    };
    steps_.push_back(
        {"a plain file", registerFile(KLB_ToggleFileType_Supported, kPlainToken, plainPath_), {}});
    steps_.push_back({kProtectedFileStep,
                      registerFile(KLB_ToggleFileType_Unsupported, kProtectedToken, protectedPath_),
                      {}});
    steps_.push_back(
        {"a damaged file", registerFile(KLB_ToggleFileType_Supported, kDamagedToken, damagedPath_),
         domainError("registerToggleFile: ParseErrorObjectMissColon in file: " + damagedPath_ +
                     " at offset: 30")});
    steps_.push_back({"a missing file",
                      registerFile(KLB_ToggleFileType_Supported, kMissingToken, missingPath_),
                      {}});
    steps_.push_back({"a second file of a token",
                      registerFile(KLB_ToggleFileType_Supported, kMissingToken, plainPath_),
                      domainError("registerToggleFile: toggle file path location as already been "
                                  "set to '" +
                                  missingPath_ + "'")});
}

void Scenario::addToggles() {
    steps_.push_back({"the first toggle, with the override file",
                      [] { KLB_RegisterToggle(kOverridden, false, kPlainToken); },
                      {}});
    steps_.push_back(
        {"a toggle that the file sets", [] { KLB_RegisterToggle(kOn, false, kPlainToken); }, {}});
    steps_.push_back(
        {"a dynamic toggle", [] { KLB_RegisterDynamicToggle(kDynamic, false, kPlainToken); }, {}});
    steps_.push_back({"a toggle of the protected file",
                      [] { KLB_RegisterToggle(kOfProtectedFile, false, kProtectedToken); },
                      {}});
    steps_.push_back({"KLB_SetDynamicToggle", [] { KLB_SetDynamicToggle(kDynamic, false); }, {}});
    steps_.push_back({"KLB_AddToggleComment", [] { KLB_AddToggleComment(kOn, kComment); }, {}});
}

void Scenario::addQueries() {
    const auto addQuery = [this](std::string_view name, bool (*query)(), bool expected) {
        steps_.push_back(
            {name, [query] { transcript.addTruth(query()); }, always(expected ? "true" : "false")});
    };
    addQuery(
        "the overridden toggle", [] { return KLB_GetToggle(kOverridden); }, true);
    addQuery(
        "the toggle that the file sets", [] { return KLB_GetToggle(kOn); }, true);
    addQuery(
        "the dynamic toggle", [] { return KLB_GetDynamicToggle(kDynamic); }, false);
    addQuery(
        "the protected file's toggle", [] { return KLB_GetToggle(kOfProtectedFile); }, true);
    steps_.back().withoutProtectedFile = "false";
    addQuery(
        "whether a toggle is static", [] { return KLB_IsToggleRegistered(kOn); }, true);
    addQuery(
        "whether a toggle is dynamic", [] { return KLB_IsDynamicToggleRegistered(kDynamic); },
        true);
    addQuery(
        kTokenQueryStep, [] { return KLB_IsToggleFileRegistered(kPlainToken); }, true);
    addQuery("KLB_IsInitialized", &KLB_IsInitialized, true);
    addQuery("KLB_IsOBXInitialized", &KLB_IsOBXInitialized, true);
}

void Scenario::addErrors() {
    steps_.push_back({"a query of an unknown toggle",
                      [] { transcript.addTruth(KLB_GetToggle(kUnknown)); },
                      {std::string(kUnknownToggleWarning) + "; false", "false"}});
    steps_.push_back({"a toggle of another token",
                      [] { KLB_RegisterToggle(kOn, false, kProtectedToken); },
                      domainError(std::string("registerToggle: ") + kOn + " already registred in " +
                                  plainPath_)});
    steps_.push_back({"a comment on an unknown toggle",
                      [] { KLB_AddToggleComment(kUnknown, kComment); },
                      domainError(std::string("addToggleProperty: key, ") + kUnknown +
                                  ", was not registered. Please call RegisterToggle first.")});
    steps_.push_back({"a null key", [] { KLB_IsToggleRegistered(nullptr); },
                      always("std::invalid_argument: getToggle: toggleKey cannot be NULL.")});
}

void Scenario::addComponentFace() {
    const std::string failed = "sink: std::bad_alloc; sink: line feed; 8000FFFF";
    const auto registerFile = [this](IKLBManager& face) {
        transcript.addCode(
            face.RegisterToggleFile(KLB_ToggleFileType_Supported, kFaceToken, facePath_.c_str()));
    };
    addFaceStep("RegisterToggleFile", registerFile, always("00000000"), failed);
    addFaceStep(
        "RegisterToggle",
        [](IKLBManager& face) {
            transcript.addCode(face.RegisterToggle(kOfPlugin, 0, kFaceToken));
        },
        always("00000000"), failed);
    addFaceStep(
        "RegisterDynamicToggle",
        [](IKLBManager& face) {
            transcript.addCode(face.RegisterDynamicToggle(kDynamicOfPlugin, 1, kFaceToken));
        },
        always("00000000"), failed);
    const auto get = [](const char* key) {
        return [key](IKLBManager& face) {
            std::uint32_t value = 2;
            transcript.addCode(face.GetToggle(key, &value));
            transcript.add("value ", value == 0 ? "0" : value == 1 ? "1" : "?");
        };
    };
    addFaceStep("GetToggle", get(kOfPlugin), always("00000000; value 1"), failed + "; value 0");
    addFaceStep("GetToggle of an unknown toggle", get(kUnknown),
                {std::string(kUnknownToggleWarning) + "; 00000000; value 0", "00000000; value 0"},
                failed + "; value 0");
    const std::string immutable = "setDynamicToggle: key was not registered as a mutable so it "
                                  "cannot be changed after initialization.";
    addFaceStep(
        "SetDynamicToggle of a static toggle",
        [](IKLBManager& face) { transcript.addCode(face.SetDynamicToggle(kOfPlugin, 1)); },
        {"error: " + immutable + "; 00000000",
         "sink: " + immutable + "; sink: line feed; 8000FFFF"},
        failed);
    const std::string null = "isFeatureToggleFileRegistered: toggleFileToken cannot be NULL.";
    addFaceStep(
        "IsToggleFileRegistered of null",
        [](IKLBManager& face) { transcript.addCode(face.IsToggleFileRegistered(nullptr)); },
        {"error: " + null + "; 00000000", "sink: " + null + "; sink: line feed; 00000000"},
        "sink: std::bad_alloc; sink: line feed; 00000000");
    addFaceStep(
        "IsToggleRegistered",
        [](IKLBManager& face) { transcript.addCode(face.IsToggleRegistered(kOfPlugin)); },
        always("00000001"), failed);
}

void Scenario::addReports() {
    const std::string withoutProtectedFile =
        "cit.feature.overrides : " + overridePath_ + "\n" + kOverridden + " : true\n" +
        kPlainToken + " : " + plainPath_ + "\n" + kDynamic + " : false\n" + kOn + " : true\n" +
        kFaceToken + " : " + facePath_ + "\n" + kOfPlugin + " : true\n";
    const std::string whole = withoutProtectedFile + kProtectedToken + " : " + protectedPath_ +
                              "\n" + kOfProtectedFile + " : true\n";
    steps_.push_back({"KLB_GetOverrideInfoString", [] { addReport(&KLB_GetOverrideInfoString); },
                      always(whole), "std::bad_alloc", withoutProtectedFile});
    addFaceStep(
        "GetOverrideInfoString",
        [](IKLBManager& face) {
            addReport([&face](char* buffer, std::uint32_t size) {
                return face.GetOverrideInfoString(buffer, size);
            });
        },
        always(whole), "sink: std::bad_alloc; sink: line feed; nothing");
    steps_.back().withoutProtectedFile = withoutProtectedFile;

    const auto report = [] {
        addReport([](char* buffer, unsigned long long size) {
            return KLB_GetDefaultToggleJson(kModule, "1.0", buffer, size);
        });
    };
    const std::string group = "            ";
    steps_.push_back(
        {"KLB_GetDefaultToggleJson", report,
         always(
             "{\n    \"KLB_ModuleName\": " + inJson(kModule) +
             ",\n    \"KLB_ModuleVersion\": \"1.0\",\n    \"KLB_ToggleFiles\": {\n" +
             fileInJson(kPlainToken, "KLB_SupportedFeatures", plainPath_) + ",\n" +
             fileInJson(kProtectedToken, "KLB_UnsupportedFeatures", protectedPath_) + ",\n" +
             fileInJson(kDamagedToken, "KLB_SupportedFeatures", damagedPath_) + ",\n" +
             fileInJson(kMissingToken, "KLB_SupportedFeatures", missingPath_) + ",\n" +
             fileInJson(kFaceToken, "KLB_SupportedFeatures", facePath_) +
             "\n    },\n    \"KLB_Toggles\": {\n" +
             toggleInJson("        ", "a", false, false, kProtectedToken) +
             ",\n        \"a group of some length\": {\n" +
             toggleInJson(group, "a dynamic toggle that the file sets", false, true, kPlainToken) +
             ",\n" + toggleInJson(group, "a toggle that is overridden", false, false, kPlainToken) +
             ",\n" +
             toggleInJson(group, "a toggle that the file sets", false, false, kPlainToken,
                          kComment) +
             "\n        },\n        \"another group of some length\": {\n" +
             toggleInJson(group, "a dynamic toggle", true, true, kFaceToken) + ",\n" +
             toggleInJson(group, "a toggle of the plug-in", false, false, kFaceToken) +
             "\n        }\n    }\n}")});
}

const char* Scenario::make(const Step& step) {
    transcript.clear();
    try {
        step.call();
    } catch (const std::bad_alloc&) {
        transcript.add("", "std::bad_alloc");
    } catch (const std::invalid_argument& error) {
        transcript.add("std::invalid_argument: ", error.what());
    } catch (const std::domain_error& error) {
        transcript.add("std::domain_error: ", error.what());
    } catch (const std::exception& error) {
        transcript.add("another exception: ", error.what());
    } catch (long code) {
        transcript.addCode(static_cast<OBXResult>(code));
    }
    return transcript.text();
}

} // namespace klb::test
