#include "IKLBManager.h"
#include "klb.h"
#include "protected_samples.h"
#include "quiet_framework.h"
#include "temp_directory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iterator>
#include <mutex>
#include <random>
#include <set>
#include <shared_mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace klb::test {
namespace {

using Texts = std::set<std::string>;

constexpr int kThreads = 8;

/// How long the threads run: KLB_STRESS_SECONDS, or a little while.
std::chrono::seconds duration() {
    const char* const seconds = std::getenv("KLB_STRESS_SECONDS");
    return std::chrono::seconds(seconds != nullptr ? std::atoi(seconds) : 3);
}

/// One call, and everything that may come of it, whatever the other threads do meanwhile.
struct Operation {
    const char* name;
    /// Makes the call and gives its result as text.
    std::function<std::string()> call;
    Texts results;
    /// What may be thrown, the type in front of the text; without the type, what may be reported.
    Texts errors = {};
    Texts warnings = {};
};

// What was seen that must not be.
std::mutex surprisesLock;
Texts surprises;

void noteSurprise(const std::string& text) {
    const std::lock_guard guard(surprisesLock);
    surprises.insert(text);
}

// The operation that this thread is in: messages come on the thread whose call they are about.
thread_local const Operation* current = nullptr;

constexpr const char* kThrownByCallback = "thrown by the callback";
struct NoStandardException {};

bool isReportable(const std::string& text) {
    return std::any_of(current->errors.begin(), current->errors.end(),
                       [&](const std::string& error) { return error.ends_with(": " + text); });
}

std::atomic<std::size_t> messages{0};

void checkMessage(KLB_MessageType type, const char* text) {
    ++messages;
    const bool isExpected =
        type == KLB_MessageType_Error ? isReportable(text) : current->warnings.count(text) != 0;
    if (!isExpected) {
        noteSurprise(std::string(current->name) + " reported " + text);
    }
}

int takeMessage(KLB_MessageType type, const char* text) {
    checkMessage(type, text);
    return 0;
}

int takeMessageSlowly(KLB_MessageType type, const char* text) {
    checkMessage(type, text);
    std::this_thread::sleep_for(std::chrono::microseconds(200));
    return -1;
}

int throwStandardException(KLB_MessageType type, const char* text) {
    checkMessage(type, text);
    throw std::runtime_error(kThrownByCallback);
}

int throwSomethingElse(KLB_MessageType type, const char* text) {
    checkMessage(type, text);
    throw NoStandardException();
}

constexpr KLB_MessageProc kCallbacks[] = {nullptr, &takeMessage, &takeMessageSlowly,
                                          &throwStandardException, &throwSomethingElse};

void checkSinkReport(const char* text) {
    if (std::strcmp(text, "\n") != 0 && std::strcmp(text, kThrownByCallback) != 0 &&
        !isReportable(text)) {
        noteSurprise(std::string(current->name) + " sent to the sink " + text);
    }
}

/// What came of a call.
void perform(const Operation& operation) {
    current = &operation;
    const auto check = [&](const Texts& allowed, const std::string& ending) {
        if (allowed.count(ending) == 0) {
            noteSurprise(std::string(operation.name) + " ended with " + ending);
        }
    };
    const bool mayReport = !operation.errors.empty() || !operation.warnings.empty();
    try {
        check(operation.results, operation.call());
    } catch (const std::invalid_argument& error) {
        check(operation.errors, std::string("std::invalid_argument: ") + error.what());
    } catch (const std::domain_error& error) {
        check(operation.errors, std::string("std::domain_error: ") + error.what());
    } catch (const std::runtime_error& error) {
        check(mayReport ? Texts{kThrownByCallback} : Texts{}, error.what());
    } catch (const NoStandardException&) {
        check(mayReport ? Texts{"no standard exception"} : Texts{}, "no standard exception");
    }
    current = nullptr;
}

std::string truth(bool value) {
    return value ? "true" : "false";
}

const Texts kTruth = {"true", "false"};
const Texts kDone = {"done"};

template <class Call>
std::function<std::string()> done(Call call) {
    return [call] {
        call();
        return "done";
    };
}

/// A report must be whole, whatever is registered.
template <class Report>
std::string askFor(Report&& report) {
    std::array<char, 65536> buffer;
    const unsigned long long size = report(buffer.data(), buffer.size());
    if (size == 0) {
        return "nothing";
    }
    if (size >= buffer.size() || std::strlen(buffer.data()) + 1 != size) {
        return "a torn report";
    }
    return {buffer[0], buffer[size - 2]};
}

class Stress : public testing::Test {
protected:
    Stress() {
        addLifecycle();
        addRegistration();
        addQueries();
        addComponentFace();
    }
    ~Stress() override {
        KLB_InitMessageProc(nullptr);
        KLB_Term();
    }

    void runThreads() {
        const auto end = std::chrono::steady_clock::now() + duration();
        std::vector<std::thread> threads;
        for (int thread = 0; thread < kThreads; ++thread) {
            threads.emplace_back([this, thread, end] {
                std::minstd_rand random(static_cast<unsigned>(thread) + 1);
                const std::vector<Operation>& mine = thread == 0 ? rare_ : frequent_;
                while (std::chrono::steady_clock::now() < end) {
                    perform(mine[random() % mine.size()]);
                    ++calls_;
                    // The lock is not fair: without pauses one thread would keep it for itself.
                    if (thread == 0 || random() % 32 == 0) {
                        std::this_thread::sleep_for(std::chrono::microseconds(random() % 200));
                    }
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }

    /// Every operation has nothing but these endings when nobody else calls.
    void runInTurn() {
        for (const auto* operations : {&rare_, &frequent_}) {
            for (const Operation& operation : *operations) {
                perform(operation);
            }
        }
    }

    std::size_t calls() const noexcept {
        return calls_;
    }
    std::size_t terms() const noexcept {
        return terms_;
    }

    TempDirectory directory_;
    QuietFramework framework_{&checkSinkReport};

private:
    static std::string beforeInit(const std::string& function) {
        return "std::domain_error: " + function + ": KLB_Init must be called first.";
    }

    void addLifecycle();
    void addRegistration();
    void addQueries();
    void addComponentFace();

    /// A call of the manager, while KLB_Term() is not called: that is the host's part.
    void addFaceOperation(const char* name, std::function<std::string(IKLBManager&)> call,
                          Texts results, Texts errors = {}, Texts warnings = {}) {
        results.insert("not published");
        const auto callFace = [this, call = std::move(call)]() -> std::string {
            if (isTermWaiting_) {
                return "not published";
            }
            const std::shared_lock guard(published_);
            IKLBManager* const manager = framework_.manager();
            return manager != nullptr ? call(*manager) : "not published";
        };
        frequent_.push_back(
            {name, callFace, std::move(results), std::move(errors), std::move(warnings)});
    }

    std::string plainPath_ =
        directory_.write("plain.json", R"({"features":{"on":true,"dynamic":true}})");
    std::string protectedPath_ = directory_.write("protected.klb", kProtectedFile);
    std::string certificatePath_ = directory_.write("mosk.cert.pem", kSignerCertificate);
    std::string damagedPath_ = directory_.write("damaged.json", R"({"no document")");
    std::string overridePath_ = directory_.write("CIT_OVERRIDE.KLB", R"({"overridden":true})");

    std::string firstPath_ = directory_.write("first.json", R"({"features":{}})");
    std::string secondPath_ = directory_.pathOf("missing.json");

    std::shared_mutex published_;
    std::atomic<bool> isTermWaiting_{false};
    std::vector<Operation> rare_;
    std::vector<Operation> frequent_;
    std::atomic<std::size_t> calls_{0};
    std::atomic<std::size_t> terms_{0};
};

void Stress::addLifecycle() {
    for (int copy = 0; copy < 3; ++copy) {
        rare_.push_back({"KLB_Init", done([] { KLB_Init("System", true); }), kDone});
        rare_.push_back({"KLB_InitOBX",
                         done([this] { KLB_InitOBX(framework_.host()); }),
                         kDone,
                         {beforeInit("KLB_InitOBX")}});
    }
    rare_.push_back({"KLB_Term", done([this] {
                         isTermWaiting_ = true;
                         const std::unique_lock guard(published_);
                         isTermWaiting_ = false;
                         KLB_Term();
                         ++terms_;
                     }),
                     kDone});
    for (const KLB_MessageProc callback : kCallbacks) {
        rare_.push_back(
            {"KLB_InitMessageProc", done([callback] { KLB_InitMessageProc(callback); }), kDone});
    }
    frequent_.push_back({"a second KLB_Init", done([] { KLB_Init("System", true); }), kDone});
    frequent_.push_back({"KLB_Init without an identifier",
                         done([] { KLB_Init(nullptr, true); }),
                         kDone,
                         {"std::invalid_argument: KLB_Init: sysID must not be NULL."}});
    frequent_.push_back({"KLB_InitOBX without a host",
                         done([] { KLB_InitOBX(nullptr); }),
                         kDone,
                         {"std::invalid_argument: KLB_InitOBX: pHostUnk must not be NULL.",
                          beforeInit("KLB_InitOBX")}});
    frequent_.push_back({"KLB_IsInitialized", [] { return truth(KLB_IsInitialized()); }, kTruth});
    frequent_.push_back(
        {"KLB_IsOBXInitialized", [] { return truth(KLB_IsOBXInitialized()); }, kTruth});
    frequent_.push_back(
        {"KLB_SetOverridePath",
         done([path = directory_.path()] { KLB_SetOverridePath(path.c_str()); }),
         kDone,
         {"std::domain_error: setOverridePath: override path has already been set.",
          "std::domain_error: setOverridePath: must be called before any registration routines.",
          beforeInit("KLB_SetOverridePath")}});
    const Texts certificateErrors = {
        "std::domain_error: setCertificateData: certificate data has already been set.",
        "std::domain_error: setCertificateData: must be called before any registration routines.",
        beforeInit("KLB_SetCertificateData")};
    frequent_.push_back({"KLB_SetCertificateData",
                         done([] { KLB_SetCertificateData(kSignerCertificate); }), kDone,
                         certificateErrors});
    Texts unreadable = certificateErrors;
    unreadable.insert("std::domain_error: setCertificateData: can't read certificate from the "
                      "certificate data provided.");
    frequent_.push_back({"KLB_SetCertificateData, none",
                         done([] { KLB_SetCertificateData("no certificate"); }), kDone,
                         unreadable});
}

void Stress::addRegistration() {
    const auto registerFile = [](KLB_ToggleFileType type, const char* token,
                                 const std::string& path) {
        return done([=] { KLB_RegisterToggleFile(type, token, path.c_str()); });
    };
    const std::string before = beforeInit("KLB_RegisterToggleFile");
    // A token that a toggle named first has the type of protected files.
    const std::string typeOfToken =
        "std::domain_error: registerToggleFile: error reading input file\n in file: ";
    frequent_.push_back({"a plain file",
                         registerFile(KLB_ToggleFileType_Supported, "plain", plainPath_),
                         kDone,
                         {before, typeOfToken + plainPath_}});
    frequent_.push_back({"a protected file",
                         registerFile(KLB_ToggleFileType_Unsupported, "protected", protectedPath_),
                         kDone,
                         {before}});
    frequent_.push_back(
        {"a damaged file",
         registerFile(KLB_ToggleFileType_Supported, "damaged", damagedPath_),
         kDone,
         {before, "std::domain_error: registerToggleFile: ParseErrorObjectMissColon in file: " +
                      damagedPath_ + " at offset: 14"}});
    const std::string owned =
        "std::domain_error: registerToggleFile: toggle file path location as already been set to '";
    for (const auto& [path, other] :
         {std::pair(firstPath_, secondPath_), std::pair(secondPath_, firstPath_)}) {
        frequent_.push_back({"one of two files of a token",
                             registerFile(KLB_ToggleFileType_Supported, "either", path),
                             kDone,
                             {before, owned + other + "'"}});
    }
    frequent_.push_back({"no file",
                         registerFile(KLB_ToggleFileType_Invalid, "plain", plainPath_),
                         kDone,
                         {before, "std::invalid_argument: registerToggleFile: toggleFileType is an "
                                  "unknown toggle file type."}});
    frequent_.push_back({"KLB_RegisterToggle",
                         done([] { KLB_RegisterToggle("/on", false, "plain"); }),
                         kDone,
                         {before}});
    frequent_.push_back({"an overridden toggle",
                         done([] { KLB_RegisterToggle("/overridden", false, "plain"); }),
                         kDone,
                         {before}});
    frequent_.push_back({"a toggle of the protected file",
                         done([] { KLB_RegisterToggle("/a", false, "protected"); }),
                         kDone,
                         {before}});
    frequent_.push_back({"KLB_RegisterDynamicToggle",
                         done([] { KLB_RegisterDynamicToggle("/dynamic", false, "plain"); }),
                         kDone,
                         {before}});
    frequent_.push_back({"KLB_SetDynamicToggle",
                         done([] { KLB_SetDynamicToggle("/dynamic", true); }),
                         kDone,
                         {before, "std::domain_error: setDynamicToggle: key was not registered as "
                                  "a mutable so it cannot be changed after initialization."}});
    frequent_.push_back(
        {"KLB_AddToggleComment",
         done([] { KLB_AddToggleComment("/on", "a comment"); }),
         kDone,
         {beforeInit("KLB_AddToggleComment"),
          "std::domain_error: addToggleProperty: key, /on, was not registered. Please call "
          "RegisterToggle first."}});
}

Texts warningOf(const std::string& key) {
    return {"getToggle: key, " + key + ", was not registered. Returning false."};
}

void Stress::addQueries() {
    const std::string before = beforeInit("KLB_RegisterToggleFile");
    for (const char* key : {"/on", "/overridden", "/a"}) {
        frequent_.push_back({"KLB_GetToggle",
                             [key] { return truth(KLB_GetToggle(key)); },
                             kTruth,
                             {before},
                             warningOf(key)});
    }
    frequent_.push_back({"KLB_GetToggle of an unknown toggle",
                         [] { return truth(KLB_GetToggle("/unknown")); },
                         {"false"},
                         {before},
                         warningOf("/unknown")});
    frequent_.push_back({"KLB_GetToggle of a dynamic toggle",
                         [] { return truth(KLB_GetToggle("/dynamic")); },
                         {"false"},
                         {before, "std::domain_error: getToggle: key is a mutable."},
                         warningOf("/dynamic")});
    frequent_.push_back({"KLB_GetDynamicToggle",
                         [] { return truth(KLB_GetDynamicToggle("/dynamic")); },
                         kTruth,
                         {before},
                         warningOf("/dynamic")});
    frequent_.push_back(
        {"KLB_IsToggleRegistered", [] { return truth(KLB_IsToggleRegistered("/on")); }, kTruth});
    frequent_.push_back({"KLB_IsDynamicToggleRegistered",
                         [] { return truth(KLB_IsDynamicToggleRegistered("/on")); },
                         {"false"}});
    frequent_.push_back({"KLB_IsToggleFileRegistered",
                         [] { return truth(KLB_IsToggleFileRegistered("plain")); }, kTruth});
    frequent_.push_back({"KLB_GetOverrideInfoString",
                         [] { return askFor(&KLB_GetOverrideInfoString); },
                         {"nothing", "c\n", "p\n"}});
    frequent_.push_back({"KLB_GetDefaultToggleJson",
                         [] {
                             return askFor([](char* buffer, unsigned long long size) {
                                 return KLB_GetDefaultToggleJson("module", "1.0", buffer, size);
                             });
                         },
                         {"nothing", "{}"}});
}

void Stress::addComponentFace() {
    const auto resultOf = [](OBXResult result) {
        return result == 0 ? "done" : result < 0 ? "failed" : "yes";
    };
    const Texts doneOrFailed = {"done", "failed"};
    addFaceOperation(
        "RegisterToggleFile",
        [=, this](IKLBManager& face) {
            return resultOf(face.RegisterToggleFile(2, "plain", plainPath_.c_str()));
        },
        doneOrFailed,
        {"std::domain_error: registerToggleFile: error reading input file\n in file: " +
         plainPath_});
    addFaceOperation(
        "RegisterToggle",
        [=](IKLBManager& face) { return resultOf(face.RegisterToggle("/on", 0, "plain")); }, kDone);
    addFaceOperation(
        "RegisterDynamicToggle",
        [=](IKLBManager& face) {
            return resultOf(face.RegisterDynamicToggle("/dynamic", 0, "plain"));
        },
        kDone);
    addFaceOperation(
        "GetToggle",
        [=](IKLBManager& face) {
            uint32_t value = 2;
            const std::string result = resultOf(face.GetToggle("/on", &value));
            return result + (value > 1 ? " without a value" : "");
        },
        doneOrFailed, {}, warningOf("/on"));
    addFaceOperation(
        "GetDynamicToggle",
        [=](IKLBManager& face) {
            uint32_t value = 2;
            const std::string result = resultOf(face.GetDynamicToggle("/on", &value));
            return result + (value != 0 ? " with another value" : "");
        },
        doneOrFailed, {"std::domain_error: getToggle: key is is immutable after initialization."},
        warningOf("/on"));
    addFaceOperation(
        "SetDynamicToggle",
        [=](IKLBManager& face) { return resultOf(face.SetDynamicToggle("/dynamic", 0)); },
        doneOrFailed,
        {"std::domain_error: setDynamicToggle: key was not registered as a mutable so it cannot "
         "be changed after initialization."});
    addFaceOperation("IsToggleRegistered",
                     [=](IKLBManager& face) { return resultOf(face.IsToggleRegistered("/on")); },
                     {"done", "yes"});
    addFaceOperation(
        "IsDynamicToggleRegistered",
        [=](IKLBManager& face) { return resultOf(face.IsDynamicToggleRegistered("/dynamic")); },
        {"done", "yes"});
    addFaceOperation(
        "IsToggleFileRegistered",
        [=](IKLBManager& face) { return resultOf(face.IsToggleFileRegistered(nullptr)); }, kDone,
        {"std::invalid_argument: isFeatureToggleFileRegistered: toggleFileToken cannot be NULL."});
    addFaceOperation("GetOverrideInfoString",
                     [](IKLBManager& face) {
                         return askFor([&face](char* buffer, unsigned long long size) {
                             return face.GetOverrideInfoString(buffer, static_cast<uint32_t>(size));
                         });
                     },
                     {"nothing", "c\n", "p\n"});
    addFaceOperation(
        "QueryInterface",
        [](IKLBManager& face) {
            void* singleton = nullptr;
            face.QueryInterface(KLB_IID_IOBXSingleton, &singleton);
            auto* const found = static_cast<IOBXSingleton*>(singleton);
            found->InitializeSingleton();
            const uint32_t state = found->GetSingletonState();
            found->FinalizeSingleton();
            found->AddRef();
            found->Release();
            return state == 2 || state == 4 ? "done" : "another state";
        },
        kDone);
}

TEST_F(Stress, EveryCallFromEightThreads) {
    runInTurn();
    runThreads();
    EXPECT_EQ(surprises, Texts());
    RecordProperty("calls", std::to_string(calls()));
    RecordProperty("terms", std::to_string(terms()));
    EXPECT_GT(calls(), 1000U);
    EXPECT_GT(terms(), 5U);
    EXPECT_GT(messages, 100U);

    // What is left works like new.
    KLB_InitMessageProc(nullptr);
    KLB_Term();
    EXPECT_EQ(framework_.references(), 0);
    EXPECT_FALSE(KLB_IsInitialized());
    for (const KLB_MessageProc callback : kCallbacks) {
        KLB_InitMessageProc(callback);
        runInTurn();
    }
    EXPECT_EQ(surprises, Texts());
}

} // namespace
} // namespace klb::test
