#include "error_mode.h"
#include "lock_probe.h"
#include "message_callback_cases.h"
#include "publication.h"
#include "temp_directory.h"
#include "toggle_helpers.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace klb::test {
namespace {

using Reports = std::vector<std::pair<uint32_t, std::string>>;

constexpr uint32_t kSupported = 2;

/// What a value is before an operation sets it.
constexpr uint32_t kUnset = 0xDEADBEEF;

/// The call of one operation; a value that it sets goes to the second argument.
using Operation = std::function<OBXResult(IKLBManager&, uint32_t*)>;

struct NullCase {
    const char* name;
    Operation call;
};

/// Every argument that must not be null; two at once where an operation has two.
const std::vector<NullCase> kNullCases = {
    {"RegisterToggleFile, token",
     [](IKLBManager& m, uint32_t*) { return m.RegisterToggleFile(kSupported, nullptr, "f"); }},
    {"RegisterToggleFile, file",
     [](IKLBManager& m, uint32_t*) { return m.RegisterToggleFile(kSupported, "t", nullptr); }},
    {"RegisterToggleFile, both, and a bad type",
     [](IKLBManager& m, uint32_t*) { return m.RegisterToggleFile(0, nullptr, nullptr); }},
    {"RegisterToggle, key",
     [](IKLBManager& m, uint32_t*) { return m.RegisterToggle(nullptr, 1, "t"); }},
    {"RegisterToggle, token",
     [](IKLBManager& m, uint32_t*) { return m.RegisterToggle("/null", 1, nullptr); }},
    {"RegisterToggle, both",
     [](IKLBManager& m, uint32_t*) { return m.RegisterToggle(nullptr, 1, nullptr); }},
    {"GetToggle, key", [](IKLBManager& m, uint32_t* value) { return m.GetToggle(nullptr, value); }},
    {"GetToggle, value", [](IKLBManager& m, uint32_t*) { return m.GetToggle("/static", nullptr); }},
    {"GetToggle, value, of a bad key",
     [](IKLBManager& m, uint32_t*) { return m.GetToggle("", nullptr); }},
    {"GetToggle, both", [](IKLBManager& m, uint32_t*) { return m.GetToggle(nullptr, nullptr); }},
    {"IsToggleRegistered, key",
     [](IKLBManager& m, uint32_t*) { return m.IsToggleRegistered(nullptr); }},
    {"RegisterDynamicToggle, key",
     [](IKLBManager& m, uint32_t*) { return m.RegisterDynamicToggle(nullptr, 1, "t"); }},
    {"RegisterDynamicToggle, token",
     [](IKLBManager& m, uint32_t*) { return m.RegisterDynamicToggle("/null", 1, nullptr); }},
    {"RegisterDynamicToggle, both",
     [](IKLBManager& m, uint32_t*) { return m.RegisterDynamicToggle(nullptr, 1, nullptr); }},
    {"GetDynamicToggle, key",
     [](IKLBManager& m, uint32_t* value) { return m.GetDynamicToggle(nullptr, value); }},
    {"GetDynamicToggle, value",
     [](IKLBManager& m, uint32_t*) { return m.GetDynamicToggle("/dynamic", nullptr); }},
    {"GetDynamicToggle, both",
     [](IKLBManager& m, uint32_t*) { return m.GetDynamicToggle(nullptr, nullptr); }},
    {"SetDynamicToggle, key",
     [](IKLBManager& m, uint32_t*) { return m.SetDynamicToggle(nullptr, 1); }},
    {"IsDynamicToggleRegistered, key",
     [](IKLBManager& m, uint32_t*) { return m.IsDynamicToggleRegistered(nullptr); }},
};

/// A call that meets an error of the registry, its text, and its result when that is thrown.
struct ErrorCase {
    const char* name;
    Operation call;
    std::string text;
    uint32_t thrown = kUnexpected;
    bool setsValue = false;
};

/// In a manager with the toggles of prepare().
std::vector<ErrorCase> errorCases(const std::string& damaged) {
    const std::string badKey = "key must start with '/' character.";
    return {
        {"RegisterToggleFile, type",
         [](IKLBManager& m, uint32_t*) { return m.RegisterToggleFile(0, "new", "f"); },
         "registerToggleFile: toggleFileType is an unknown toggle file type."},
        {"RegisterToggleFile, empty",
         [](IKLBManager& m, uint32_t*) { return m.RegisterToggleFile(kSupported, "new", ""); },
         "registerToggleFile: toggleFile cannot be empty."},
        {"RegisterToggleFile, load error",
         [damaged](IKLBManager& m, uint32_t*) {
             return m.RegisterToggleFile(kSupported, "damaged", damaged.c_str());
         },
         loadErrorText("FileTooSmall", damaged)},
        {"RegisterToggle, other token",
         [](IKLBManager& m, uint32_t*) { return m.RegisterToggle("/static", 1, "other"); },
         "registerToggle: /static already registred in "},
        {"GetToggle, empty key",
         [](IKLBManager& m, uint32_t* value) { return m.GetToggle("", value); },
         "getToggle: key cannot be an empty string.", kUnexpected, true},
        {"GetToggle, bad key",
         [](IKLBManager& m, uint32_t* value) { return m.GetToggle("static", value); },
         "getToggle: " + badKey, kUnexpected, true},
        {"GetToggle, dynamic",
         [](IKLBManager& m, uint32_t* value) { return m.GetToggle("/dynamic", value); },
         "getToggle: key is a mutable.", kUnexpected, true},
        {"IsToggleFileRegistered, null",
         [](IKLBManager& m, uint32_t*) { return m.IsToggleFileRegistered(nullptr); },
         "isFeatureToggleFileRegistered: toggleFileToken cannot be NULL.", 0},
        {"RegisterDynamicToggle, other token",
         [](IKLBManager& m, uint32_t*) { return m.RegisterDynamicToggle("/static", 1, "other"); },
         "registerToggle: /static already registred in "},
        {"GetDynamicToggle, empty key",
         [](IKLBManager& m, uint32_t* value) { return m.GetDynamicToggle("", value); },
         "getToggle: key cannot be an empty string.", kUnexpected, true},
        {"GetDynamicToggle, bad key",
         [](IKLBManager& m, uint32_t* value) { return m.GetDynamicToggle("dynamic", value); },
         "getToggle: " + badKey, kUnexpected, true},
        {"GetDynamicToggle, static",
         [](IKLBManager& m, uint32_t* value) { return m.GetDynamicToggle("/static", value); },
         "getToggle: key is is immutable after initialization.", kUnexpected, true},
        {"SetDynamicToggle, empty key",
         [](IKLBManager& m, uint32_t*) { return m.SetDynamicToggle("", 0); },
         "setDynamicToggle: key cannot be an empty string."},
        {"SetDynamicToggle, bad key",
         [](IKLBManager& m, uint32_t*) { return m.SetDynamicToggle("dynamic", 0); },
         "setDynamicToggle: " + badKey},
        {"SetDynamicToggle, static",
         [](IKLBManager& m, uint32_t*) { return m.SetDynamicToggle("/static", 0); },
         "setDynamicToggle: key was not registered as a mutable so it cannot be changed after "
         "initialization."},
    };
}

void prepare() {
    KLB_RegisterToggle("/static", true, "token");
    KLB_RegisterDynamicToggle("/dynamic", true, "token");
}

void expectUnchanged() {
    EXPECT_TRUE(KLB_GetToggle("/static"));
    EXPECT_TRUE(KLB_GetDynamicToggle("/dynamic"));
    EXPECT_FALSE(KLB_IsToggleFileRegistered("new"));
    EXPECT_FALSE(KLB_IsToggleRegistered("/null"));
    EXPECT_FALSE(KLB_IsDynamicToggleRegistered("/null"));
}

/// Makes the call with each error, each in a manager of its own: whatever leaves an operation fails
/// the test, and so does a lock that is not free afterwards.
template <class Publish, class Expect>
void inEachErrorCase(Publish&& publish, Expect&& expect) {
    const TempDirectory directory;
    for (const ErrorCase& each : errorCases(directory.write("damaged.json", "{}"))) {
        SCOPED_TRACE(each.name);
        const auto published = publish();
        prepare();
        uint32_t value = kUnset;
        OBXResult result = 0;
        EXPECT_NO_THROW(result = each.call(*published->manager, &value));
        expect(each, published->framework, codeOf(result));
        EXPECT_EQ(value, each.setsValue ? 0U : kUnset);
        EXPECT_TRUE(lockIsFree());
        expectUnchanged();
    }
}

std::unique_ptr<Publication> withSink() {
    return std::make_unique<Publication>();
}

std::unique_ptr<Publication> withoutSink() {
    return std::make_unique<Publication>(Publication::WithoutSink{});
}

TEST(ManagerNullArguments, AreRefusedSilentlyAndWithoutEffect) {
    inBothErrorModes([](ErrorObserver& observer) {
        Publication published;
        prepare();
        for (const NullCase& each : kNullCases) {
            SCOPED_TRACE(each.name);
            uint32_t value = kUnset;
            observer.expectSilence(
                [&] { EXPECT_EQ(codeOf(each.call(*published.manager, &value)), kNullArgument); });
            EXPECT_EQ(value, kUnset);
        }
        expectUnchanged();
        EXPECT_FALSE(KLB_IsToggleFileRegistered("t"));
        EXPECT_EQ(published.framework.takeAllCalls(), Calls{});
    });
}

TEST(ManagerErrors, GoToTheCallbackWhenThereIsOne) {
    for (const auto publish : {&withSink, &withoutSink}) {
        MessageRecorder recorder;
        inEachErrorCase(publish,
                        [&](const ErrorCase& each, FakeFramework& framework, uint32_t result) {
                            EXPECT_EQ(result, 0U);
                            EXPECT_EQ(recorder.take(), std::vector<Message>{error(each.text)});
                            EXPECT_EQ(framework.takeReports(), Reports{});
                        });
    }
}

TEST(ManagerErrors, AreTwoReportsToTheSinkWithoutACallback) {
    inEachErrorCase(
        &withSink, [](const ErrorCase& each, FakeFramework& framework, uint32_t result) {
            EXPECT_EQ(result, each.thrown);
            EXPECT_EQ(framework.takeReports(), (Reports{{1, each.text}, {1, "\n"}}));
            EXPECT_EQ(framework.takeAllCalls(),
                      (Calls{"sink.Report(1, " + each.text + ")", "sink.Report(1, \n)"}));
        });
}

TEST(ManagerErrors, AreSilentWithoutACallbackAndASink) {
    inEachErrorCase(&withoutSink,
                    [](const ErrorCase& each, FakeFramework& framework, uint32_t result) {
                        EXPECT_EQ(result, each.thrown);
                        EXPECT_EQ(framework.takeAllCalls(), Calls{});
                    });
}

TEST(ManagerErrors, ASinkThatRefusesIsIgnored) {
    const auto publish = [] {
        auto published = withSink();
        published->framework.answer("sink.Report", refusal(0x80004005));
        return published;
    };
    inEachErrorCase(publish, [](const ErrorCase& each, FakeFramework& framework, uint32_t result) {
        EXPECT_EQ(result, each.thrown);
        EXPECT_EQ(framework.takeReports(), (Reports{{1, each.text}, {1, "\n"}}));
    });
}

TEST(ManagerErrors, ASinkThatThrowsIsSwallowed) {
    const std::vector<std::function<void()>> throws = {
        [] { throw HostError(); },
        [] { throw 42; },
        [] { throw static_cast<long>(-1); },
        [] { throw "text"; },
    };
    for (const bool onlyTheSecond : {false, true}) {
        for (const auto& throwIt : throws) {
            const auto publish = [&] {
                auto published = withSink();
                published->framework.onCall([&](const std::string& call) {
                    if (call.starts_with("sink.Report") &&
                        (!onlyTheSecond || call == "sink.Report(1, \n)")) {
                        throwIt();
                    }
                });
                return published;
            };
            inEachErrorCase(publish,
                            [&](const ErrorCase& each, FakeFramework& framework, uint32_t result) {
                                EXPECT_EQ(result, each.thrown);
                                const Reports reports = framework.takeReports();
                                ASSERT_GE(reports.size(), onlyTheSecond ? 2U : 1U);
                                EXPECT_EQ(reports[0], (Reports::value_type{1, each.text}));
                                framework.onCall(nullptr);
                            });
        }
    }
}

TEST(ManagerErrors, AStandardExceptionOfTheCallbackIsReportedToTheSink) {
    const ScopedCallback callback([](KLB_MessageType, const char*) -> int {
        throw std::runtime_error("thrown by the callback");
    });
    const auto expectReports = [](const ErrorCase& each, FakeFramework& framework,
                                  uint32_t result) {
        EXPECT_EQ(result, each.thrown);
        EXPECT_EQ(framework.takeReports(), (Reports{{1, "thrown by the callback"}, {1, "\n"}}));
    };
    inEachErrorCase(&withSink, expectReports);
}

TEST(ManagerErrors, AnyOtherExceptionOfTheCallbackIsNotReported) {
    const ScopedCallback callback([](KLB_MessageType, const char*) -> int { throw 42; });
    for (const auto publish : {&withSink, &withoutSink}) {
        inEachErrorCase(publish,
                        [](const ErrorCase& each, FakeFramework& framework, uint32_t result) {
                            EXPECT_EQ(result, each.thrown);
                            EXPECT_EQ(framework.takeAllCalls(), Calls{});
                        });
    }
}

TEST(ManagerErrors, AnExceptionOfTheCallbackDuringAWarningEndsTheOperation) {
    const ScopedCallback callback([](KLB_MessageType type, const char*) -> int {
        throw std::runtime_error("type " + std::to_string(static_cast<int>(type)));
    });
    Publication published;
    uint32_t value = kUnset;
    EXPECT_EQ(codeOf(published.manager->GetToggle("/unknown", &value)), kUnexpected);
    EXPECT_EQ(value, 0U);
    EXPECT_EQ(published.framework.takeReports(), (Reports{{1, "type 2"}, {1, "\n"}}));
    EXPECT_TRUE(lockIsFree());
}

TEST(ManagerErrors, OfTheExportsGoToTheHostAndNotToTheSink) {
    Publication published;
    prepare();
    EXPECT_THROW(KLB_GetToggle("/dynamic"), std::domain_error);
    EXPECT_THROW(KLB_GetToggle(nullptr), std::invalid_argument);
    EXPECT_THROW(KLB_RegisterToggle(nullptr, true, "token"), std::invalid_argument);
    EXPECT_EQ(published.framework.takeAllCalls(), Calls{});
}

TEST(ManagerErrors, GoToASinkWhosePublicationFailed) {
    FakeFramework framework;
    framework.answer("singletons.RegisterSingleton", refusal(0x80004005));
    const LibrarySession library;
    expectThrowsCode(0x80004005, [&] { KLB_InitOBX(framework.host()); });
    auto* const manager = queryFor<IKLBManager>(framework.lastObject(), KLB_IID_IKLBManager);
    ASSERT_NE(manager, nullptr);
    EXPECT_EQ(codeOf(manager->SetDynamicToggle("/unknown", 1)), kUnexpected);
    EXPECT_EQ(framework.takeReports().size(), 2U);
}

} // namespace
} // namespace klb::test
