#ifndef KLB_KLB_RESULT_CODES_H
#define KLB_KLB_RESULT_CODES_H

#include <obx.h>

namespace klb {

constexpr OBXResult kSuccess = 0;
constexpr auto kNullArgument = static_cast<OBXResult>(0x80000003U);
constexpr auto kNullInterface = static_cast<OBXResult>(0x80000005U);
constexpr auto kNotRegistered = static_cast<OBXResult>(0x8000000DU);
constexpr auto kUnexpectedFailure = static_cast<OBXResult>(0x8000FFFFU);

constexpr bool isFailure(OBXResult result) noexcept {
    return result < 0;
}

} // namespace klb

#endif
