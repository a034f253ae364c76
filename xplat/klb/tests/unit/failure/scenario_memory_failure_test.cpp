// The functions that put errors into the queue through both series are deprecated in the later one.
#define OPENSSL_SUPPRESS_DEPRECATED

#include "failure/scenario.h"

#include "klb.h"
#include "klb/library_state.h"
#include "registry/toggles.h"
#include "support/failing_allocation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <map>
#include <optional>
#include <ostream>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <openssl/err.h>

namespace klb {

namespace test {

void PrintTo(const LiveBlocks& blocks, std::ostream* out) {
    *out << blocks.ofNew << " of operator new, " << blocks.ofMalloc << " of malloc, "
         << blocks.ofCrypto << " of the crypto library";
}

} // namespace test

namespace {

using test::FailingAllocation;
using test::FailureExtent;
using test::LiveBlocks;
using test::MemorySource;
using test::Scenario;
using test::Step;
using test::Trust;

/// What the manager knows, as lines.
std::set<std::string> knowledge() {
    std::set<std::string> lines;
    KLBMgr* const manager = libraryState().manager;
    if (manager == nullptr) {
        return lines;
    }
    const Registry& registry = manager->registry();
    lines.insert("manager of " + registry.systemId);
    lines.insert("override path: " + registry.overridePath);
    lines.insert(registry.signers.certificate ? "certificate" : "no certificate");
    lines.insert(manager->isPublished() ? "published" : "not published");
    EXPECT_EQ(registry.filesInOrder.size(), registry.filesByToken.size());
    for (const ToggleFileRecord* file : registry.filesInOrder) {
        EXPECT_EQ(registry.filesByToken.at(file->token).get(), file);
        lines.insert("token " + file->token);
        if (file->path.empty()) {
            EXPECT_TRUE(file->file.empty() && file->error.empty() && !file->document);
        } else {
            EXPECT_TRUE(registry.filePaths.contains(file->path));
            lines.insert("file " + file->path + " of " + file->token + ", error: " + file->error +
                         std::to_string(file->errorOffset) +
                         (file->fileMissing ? ", missing" : "") +
                         (file->document ? ", loaded" : ""));
        }
    }
    for (const std::string_view key : test::kKeys) {
        if (const ToggleRecord* toggle = findToggle(registry, key)) {
            lines.insert("toggle " + std::string(key) + (toggle->value() ? " true" : " false") +
                         (toggle->overridden ? " overridden" : "") + " of " + toggle->file->token);
        }
    }
    std::vector<char> report(KLB_GetOverrideInfoString(nullptr, 0) + 1);
    KLB_GetOverrideInfoString(report.data(), report.size());
    std::istringstream text(report.data());
    for (std::string line; std::getline(text, line);) {
        lines.insert("reported " + line);
    }
    return lines;
}

/// The crypto library keeps the memory for the text of an error in each place of its queue.
void fillErrorQueue() {
    for (int place = 0; place < ERR_NUM_ERRORS; ++place) {
        ERR_put_error(ERR_LIB_USER, 0, 42, "", 1);
        ERR_add_error_data(1, "a text");
    }
    ERR_clear_error();
}

struct Mode {
    const char* name;
    MemorySource source;
    std::size_t leastAllocations;
    FailureExtent extent;
    Trust trust;
    bool withCallback;
    /// The test begins with this allocation and goes on in steps.
    std::size_t first = 1;
    std::size_t step = 1;
};

void PrintTo(const Mode& mode, std::ostream* out) {
    *out << mode.name;
}

std::string nameOf(const testing::TestParamInfo<Mode>& info) {
    return std::string(info.param.name) +
           (info.param.extent == FailureExtent::Once ? "Once" : "FromThereOn") +
           (info.param.trust == Trust::HostCertificate ? "HostCertificate" : "CertificateFile") +
           (info.param.withCallback ? "Callback" : "Exceptions") +
           (info.param.step == 1 ? "" : std::to_string(info.param.first));
}

/// The C++ runtime keeps memory for exceptions that get none. Its lock can take a block when it is
/// used first, which stays.
void useEmergencyMemoryOfRuntime() {
    const FailingAllocation failure(1, MemorySource::Malloc);
    try {
        throw 1;
    } catch (int) {
    }
}

class ScenarioMemoryFailure : public testing::TestWithParam<Mode> {
protected:
    ScenarioMemoryFailure() {
        fillErrorQueue();
        useEmergencyMemoryOfRuntime();
        for (const Step& step : scenario_.steps()) {
            known_.push_back(knowledge());
            scenario_.make(step);
        }
        known_.push_back(knowledge());
        // By now everything is there that is set up once and for all, which cannot be repeated.
        expectSuccess();
    }

    /// The whole scenario, with the n-th allocation failing, or none for 0; whether one failed.
    bool failAllocation(std::size_t n);

    void expectSuccess() {
        EXPECT_FALSE(failAllocation(0));
    }

private:
    struct Ending {
        std::string transcript;
        bool memoryFailed;
    };

    Ending make(const Step& step);
    void expectFailure(std::size_t index, const std::string& transcript);
    void expectNothingDone(std::size_t index);
    std::string refusal(const std::string& error) const;
    const std::string& expectedNow(const Step& step) const;
    void expectAsIfLeftOut(const std::vector<std::optional<std::string>>& transcripts);

    bool isOfCrypto() const {
        return GetParam().source == MemorySource::Crypto;
    }

    Scenario scenario_{GetParam().trust, GetParam().withCallback};
    /// What is known before each step, and after the last one.
    std::vector<std::set<std::string>> known_;
    /// The allocation that fails next; 0 for none.
    std::size_t next_ = 0;
    LiveBlocks balance_;
    std::map<std::vector<bool>, std::vector<std::string>> transcriptsLeavingOut_;
};

ScenarioMemoryFailure::Ending ScenarioMemoryFailure::make(const Step& step) {
    const LiveBlocks before = LiveBlocks::now();
    const char* transcript = nullptr;
    bool happened = false;
    {
        const FailingAllocation failure(next_, GetParam().source, GetParam().extent);
        transcript = scenario_.make(step);
        happened = failure.happened();
        if (happened) {
            next_ = GetParam().extent == FailureExtent::Once ? 0 : 1;
        } else if (next_ != 0) {
            next_ -= failure.allocations();
        }
    }
    balance_ += LiveBlocks::now() - before;
    return {transcript, happened};
}

bool isUnreadable(const std::string& path) {
    KLBMgr* const manager = libraryState().manager;
    if (manager == nullptr) {
        return false;
    }
    const std::vector<ToggleFileRecord*>& files = manager->registry().filesInOrder;
    return std::any_of(files.begin(), files.end(), [&](const ToggleFileRecord* file) {
        return file->path == path && !file->document;
    });
}

const std::string& ScenarioMemoryFailure::expectedNow(const Step& step) const {
    return step.withoutProtectedFile && isUnreadable(scenario_.protectedPath())
               ? *step.withoutProtectedFile
               : scenario_.expected(step);
}

/// How the protected file is refused.
std::string ScenarioMemoryFailure::refusal(const std::string& error) const {
    return std::string(GetParam().withCallback ? "error: " : "std::domain_error: ") +
           "registerToggleFile: " + error + " in file: " + scenario_.protectedPath();
}

/// A call for which memory ran out says so, or names the crypto library's step that failed.
void ScenarioMemoryFailure::expectFailure(std::size_t index, const std::string& transcript) {
    const Step& step = scenario_.steps()[index];
    if (!isOfCrypto()) {
        EXPECT_EQ(transcript, step.outOfMemory);
        return;
    }
    const std::string kind = GetParam().withCallback ? "error: " : "std::domain_error: ";
    std::set<std::string> allowed;
    if (step.name == test::kCertificateStep) {
        allowed = {kind + "setCertificateData: can't create BIO for the certificate data provided.",
                   kind + "setCertificateData: can't read certificate from the certificate data "
                          "provided."};
    } else if (step.name == test::kProtectedFileStep) {
        const std::string certificate =
            scenario_.protectedPath().substr(0, scenario_.protectedPath().rfind("protected.klb")) +
            "mosk.cert.pem";
        for (const std::string& error : {
                 std::string("can't create BIO output from m_buffer\n"),
                 std::string("error base64 bio\n"),
                 std::string("error reading input file\n"),
                 std::string("bad magic number\n"),
                 std::string("Can't create bio from cipher\n"),
                 std::string("Error setting cipher AES-256-CBC\n"),
                 std::string("Error setting cipher AES-256-CBC\nError setting cipher "
                             "AES-256-CBC\n"),
                 std::string("OPENSSL_malloc failure, size: 11346\n"),
                 std::string("BIO_read failure: \n"),
                 std::string("The original KLB file was either corrupted or it was created for a "
                             "different computer.\n"),
                 std::string("Can't create input bio mem buff\n"),
                 std::string("Error reading S/MIME message\n"),
                 std::string("Can't create output bio mem buff"),
                 std::string("setup_verify error\n"),
                 "Error loading file: " + certificate + "\nsetup_verify error\n",
                 std::string("Verification failure\n"),
             }) {
            allowed.insert(refusal(error));
        }
    }
    EXPECT_TRUE(allowed.count(transcript) != 0) << transcript;
}

/// The failed call left at most its token, or the override file that it registered on the way.
void ScenarioMemoryFailure::expectNothingDone(std::size_t index) {
    const std::set<std::string> now = knowledge();
    for (const std::string& line : known_[index]) {
        EXPECT_TRUE(now.count(line) != 0) << "lost: " << line;
    }
    for (const std::string& line : now) {
        const bool isOfThisCall = known_[index].count(line) == 0;
        const bool isAllowed =
            known_[index + 1].count(line) != 0 &&
            (line.starts_with("token ") || line.find("cit.feature.overrides") != std::string::npos);
        const bool isUnreadableFile = isOfCrypto() &&
                                      line.starts_with("file " + scenario_.protectedPath()) &&
                                      line.find(", loaded") == std::string::npos;
        EXPECT_TRUE(!isOfThisCall || isAllowed || isUnreadableFile) << "added: " << line;
    }
}

/// The calls that came through ended as if those that did not had never been made.
void ScenarioMemoryFailure::expectAsIfLeftOut(
    const std::vector<std::optional<std::string>>& transcripts) {
    std::vector<bool> leftOut;
    for (const auto& transcript : transcripts) {
        leftOut.push_back(!transcript.has_value());
    }
    std::vector<std::string>& expected = transcriptsLeavingOut_[leftOut];
    if (expected.empty()) {
        for (std::size_t i = 0; i < leftOut.size(); ++i) {
            expected.emplace_back(leftOut[i] ? "" : scenario_.make(scenario_.steps()[i]));
        }
    }
    for (std::size_t i = 0; i < leftOut.size(); ++i) {
        const Step& step = scenario_.steps()[i];
        // A registration that failed may leave its token.
        if (!leftOut[i] && step.name != test::kTokenQueryStep) {
            EXPECT_EQ(*transcripts[i], expected[i]) << step.name;
        }
    }
}

bool ScenarioMemoryFailure::failAllocation(std::size_t n) {
    next_ = n;
    balance_ = {};
    bool hasFailed = false;
    std::string_view failedStep;
    std::vector<std::optional<std::string>> transcripts;
    for (std::size_t i = 0; i < scenario_.steps().size(); ++i) {
        const Step& step = scenario_.steps()[i];
        SCOPED_TRACE(step.name);
        const bool isIntact = !hasFailed || GetParam().extent == FailureExtent::Once;
        const std::string expected = expectedNow(step);
        const Ending ending = make(step);
        if (ending.memoryFailed && !hasFailed) {
            hasFailed = true;
            failedStep = step.name;
        }
        // Later calls may differ without failing themselves; what they say is compared in the end.
        const bool isFailure = ending.memoryFailed && ending.transcript != expected &&
                               (isIntact || isOfCrypto() || ending.transcript == step.outOfMemory);
        if (!isFailure) {
            if (isOfCrypto() && failedStep == test::kCertificateStep &&
                step.name == test::kProtectedFileStep && ending.transcript != expected) {
                // A certificate whose key took more memory than there was counts as read.
                EXPECT_EQ(ending.transcript, refusal("Verification failure\n"));
            } else if (isIntact || isOfCrypto()) {
                EXPECT_EQ(ending.transcript, expected);
            }
            transcripts.emplace_back(ending.transcript);
            continue;
        }
        expectFailure(i, ending.transcript);
        transcripts.emplace_back(std::nullopt);
        if (isIntact) {
            expectNothingDone(i);
        }
        if (GetParam().extent == FailureExtent::Once) {
            const std::string again = expectedNow(step);
            EXPECT_EQ(make(step).transcript, again);
        }
    }
    EXPECT_FALSE(KLB_IsInitialized());
    EXPECT_EQ(balance_, LiveBlocks());
    EXPECT_EQ(scenario_.referencesToHost(), 0);
    if (hasFailed && GetParam().extent == FailureExtent::FromThereOn && !isOfCrypto()) {
        expectAsIfLeftOut(transcripts);
    }
    return hasFailed;
}

TEST_P(ScenarioMemoryFailure, EveryAllocation) {
    std::size_t n = GetParam().first;
    while (true) {
        SCOPED_TRACE("allocation " + std::to_string(n));
        const bool hasFailed = failAllocation(n);
        expectSuccess();
        if (!hasFailed || HasFailure()) {
            break;
        }
        n += GetParam().step;
    }
    EXPECT_GT(n, GetParam().leastAllocations);
}

std::vector<Mode> modes() {
    std::vector<Mode> all;
    for (const FailureExtent extent : {FailureExtent::Once, FailureExtent::FromThereOn}) {
        for (const Trust trust : {Trust::HostCertificate, Trust::CertificateFile}) {
            for (const bool withCallback : {true, false}) {
                all.push_back({"OperatorNew", MemorySource::New, 100, extent, trust, withCallback});
                all.push_back({"Malloc", MemorySource::Malloc, 15, extent, trust, withCallback});
            }
            // Thousands of allocations: in one error mode for each pair of the other choices, and
            // in several tests.
            const bool withCallback =
                (extent == FailureExtent::Once) == (trust == Trust::CertificateFile);
            constexpr std::size_t kTests = 4;
            for (std::size_t first = 1; first <= kTests; ++first) {
                all.push_back({"CryptoLibrary", MemorySource::Crypto, 1000, extent, trust,
                               withCallback, first, kTests});
            }
        }
    }
    return all;
}

INSTANTIATE_TEST_SUITE_P(Each, ScenarioMemoryFailure, testing::ValuesIn(modes()), nameOf);

} // namespace
} // namespace klb
