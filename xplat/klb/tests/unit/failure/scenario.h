#ifndef KLB_TESTS_UNIT_FAILURE_SCENARIO_H
#define KLB_TESTS_UNIT_FAILURE_SCENARIO_H

#include "quiet_framework.h"
#include "temp_directory.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace klb::test {

/// With what the signer of the protected file is checked.
enum class Trust { HostCertificate, CertificateFile };

/// What a call reports, returns and throws, in order.
struct Expectation {
    std::string withCallback;
    std::string withoutCallback;
};

/// One call of the library.
struct Step {
    std::string_view name;
    /// Adds what it returns to the scenario's transcript; takes no memory of its own.
    std::function<void()> call;
    Expectation expected;
    /// The transcript when memory runs out.
    std::string outOfMemory = "std::bad_alloc";
    /// The transcript when the protected file could not be read, where that differs.
    std::optional<std::string> withoutProtectedFile = std::nullopt;
};

// Steps of which a test knows more than their transcript.
constexpr std::string_view kCertificateStep = "KLB_SetCertificateData";
constexpr std::string_view kProtectedFileStep = "a protected file";
constexpr std::string_view kTokenQueryStep = "a query of a token";

/// The keys that the scenario registers.
constexpr std::string_view kKeys[] = {
    "/a group of some length/a toggle that the file sets",
    "/a group of some length/a toggle that is overridden",
    "/a group of some length/a dynamic toggle that the file sets",
    "/a",
    "/another group of some length/a toggle of the plug-in",
    "/another group of some length/a dynamic toggle",
};

/// Everything that a host does with the library between KLB_Init() and KLB_Term(), both included,
/// call by call and with files on the disk. One at a time.
class Scenario {
public:
    /// Installs a message callback or none, until the end.
    Scenario(Trust trust, bool withCallback);
    ~Scenario();
    Scenario(const Scenario&) = delete;
    Scenario& operator=(const Scenario&) = delete;

    const std::vector<Step>& steps() const noexcept {
        return steps_;
    }
    const std::string& protectedPath() const noexcept {
        return protectedPath_;
    }
    int referencesToHost() const noexcept {
        return framework_.references();
    }

    /// The step's transcript when nothing fails.
    const std::string& expected(const Step& step) const noexcept {
        return withCallback_ ? step.expected.withCallback : step.expected.withoutCallback;
    }

    /// Makes one call and gives its transcript: what it reported, returned and threw, in order.
    /// Valid until the next call. Takes no memory but what the library takes.
    const char* make(const Step& step);

private:
    void addSetUp(Trust trust);
    void addFiles();
    void addToggles();
    void addQueries();
    void addErrors();
    void addComponentFace();
    void addReports();

    /// Adds a call of the published manager.
    void addFaceStep(std::string_view name, std::function<void(IKLBManager&)> call,
                     Expectation expected, std::string outOfMemory);

    bool withCallback_;
    TempDirectory directory_;
    std::string plainPath_;
    std::string protectedPath_;
    std::string damagedPath_;
    std::string missingPath_;
    std::string facePath_;
    std::string overridePath_;
    QuietFramework framework_;
    std::vector<Step> steps_;
};

} // namespace klb::test

#endif
