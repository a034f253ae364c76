#ifndef KLB_KLB_PUBLICATION_H
#define KLB_KLB_PUBLICATION_H

#include "klb/host_reference.h"

#include <obx.h>

namespace klb {

/// The link to the host's component framework. Not synchronised: the library lock guards it.
///
/// The host's result codes leave as exceptions of the type long.
class Publication {
public:
    /// Publishes an object as the singleton of the manager's class. Keeps the host's identity from
    /// the moment at which it is known, also when a later step fails; from then on does nothing.
    void publish(IOBXUnknown& host, IOBXUnknown& manager);

    /// Takes the singleton back, if there is a host to take it from.
    void withdraw();

    bool isPublished() const noexcept {
        return static_cast<bool>(identity_);
    }

    /// Tells the host what went wrong, if it takes messages.
    void report(const char* text) noexcept;

private:
    HostReference<IOBXUnknown> identity_;
    // Goes before the identity.
    HostReference<IOBXMessageSink> messageSink_;
};

} // namespace klb

#endif
