#include "platform/platform.h"

#include "platform/device_identity.h"
#include "platform/environment.h"
#include "platform/executable_path.h"

namespace klb {

const Platform& nativePlatform() noexcept {
    static constexpr Platform kNative{executablePath, expandEnvironment, openInputFile,
                                      deviceIdentity};
    return kNative;
}

} // namespace klb
