#ifndef KLB_TESTS_UNIT_SUPPORT_FAKE_PLATFORM_H
#define KLB_TESTS_UNIT_SUPPORT_FAKE_PLATFORM_H

#include "platform/platform.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>

namespace klb::test {

/// A file of a FakePlatform.
struct FakeFile {
    std::string bytes;
    /// What the platform says of the size; the true one when empty.
    std::optional<std::uint64_t> claimedSize = std::nullopt;
    bool sizeUnknown = false;
    /// Runs when the size was told and nothing is read yet.
    std::function<void(FakeFile&)> afterSize = nullptr;
    /// How often it was opened, and how many of its bytes were read.
    int opened = 0;
    std::size_t bytesRead = 0;
};

/// Services that answer what a test wants. One at a time; the Platform it gives is valid during its
/// lifetime.
class FakePlatform {
public:
    FakePlatform();
    ~FakePlatform();
    FakePlatform(const FakePlatform&) = delete;
    FakePlatform& operator=(const FakePlatform&) = delete;

    std::optional<std::string> executablePath;
    std::optional<std::string> supportDirectory;
    std::optional<std::string> deviceIdentity;
    std::map<std::string, FakeFile> files;

    const Platform& services() const noexcept {
        return services_;
    }

private:
    Platform services_;
};

} // namespace klb::test

#endif
