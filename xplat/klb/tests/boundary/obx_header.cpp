#include <obx.h>

static_assert(sizeof(OBXResult) == 4, "a 32-bit value");
