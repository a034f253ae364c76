#include <klb.h>

static_assert(sizeof(KLB_MessageType) == 4, "passed as a 32-bit value");
static_assert(sizeof(KLB_ToggleFileType) == 4, "passed as a 32-bit value");
static_assert(KLB_MessageType_Error == 1 && KLB_MessageType_Warning == 2, "known to hosts");
static_assert(KLB_ToggleFileType_Invalid == 0 && KLB_ToggleFileType_Unsupported == 1 &&
                  KLB_ToggleFileType_Supported == 2 && KLB_ToggleFileType_Override == 2147483647,
              "known to hosts");
