#ifndef KLB_KLB_PUBLICATION_H
#define KLB_KLB_PUBLICATION_H

#include <memory>

#include <obx.h>

namespace klb {

// The framework's result codes.
constexpr OBXResult kSuccess = 0;
constexpr auto kNullArgument = static_cast<OBXResult>(0x80000003U);
constexpr auto kNullInterface = static_cast<OBXResult>(0x80000005U);
constexpr auto kNotRegistered = static_cast<OBXResult>(0x8000000DU);
constexpr auto kUnexpectedFailure = static_cast<OBXResult>(0x8000FFFFU);

constexpr bool isFailure(OBXResult result) noexcept {
    return result < 0;
}

struct ReferenceReleaser {
    template <class Interface>
    void operator()(Interface* reference) const {
        reference->Release();
    }
};
/// Owns one reference to an interface of the host, or none.
template <class Interface>
using HostPtr = std::unique_ptr<Interface, ReferenceReleaser>;

/// The link to the host's component framework. Not synchronised: the library lock guards it.
///
/// The host's result codes leave as exceptions of the type long.
class Publication {
public:
    /// Publishes an object as the singleton of the manager's class. Keeps the host's identity as
    /// soon as it is known, even if a later step fails; from then on it does nothing.
    void publish(IOBXUnknown& host, IOBXUnknown& manager);

    /// Unregisters the singleton, if there is a host.
    void withdraw();

    bool isPublished() const noexcept {
        return static_cast<bool>(identity_);
    }

    /// Sends the host an error message, if it takes messages.
    void report(const char* text) noexcept;

private:
    HostPtr<IOBXUnknown> identity_;
    // Released before the identity.
    HostPtr<IOBXMessageSink> messageSink_;
};

} // namespace klb

#endif
