#include <IKLBManager.h>

static_assert(sizeof(IOBXSingleton) == sizeof(void*), "an interface is its table of operations");
static_assert(sizeof(IOBXMessageSink) == sizeof(void*), "an interface is its table of operations");
static_assert(KLB_IID_IKLBManager.data1 == 0x5E57F703 && KLB_IID_IKLBManager1.data1 == 0xF30C2080,
              "known to plug-ins");
