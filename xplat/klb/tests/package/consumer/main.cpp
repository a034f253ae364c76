#include <IKLBManager.h>
#include <klb.h>

#include <cstdio>
#include <stdexcept>

#if defined(EXPECTS_HOST_FRAMEWORK) && !defined(HOST_FRAMEWORK_OBX)
#error "not the host framework's obx.h"
#endif
#if !defined(EXPECTS_HOST_FRAMEWORK) && defined(HOST_FRAMEWORK_OBX)
#error "not the library's obx.h"
#endif
#if !defined(_MSVC_LANG) && __cplusplus != 201103L
#error "not the language level that the consumer chose"
#endif

namespace {

int onMessage(KLB_MessageType, const char* text) {
    std::printf("message: %s\n", text);
    return 0;
}

} // namespace

int main() {
    static_assert(KLB_IID_IKLBManager.data1 == 0x5E57F703, "the manager's header");
    static_assert(sizeof(IKLBManager) == sizeof(void*), "the manager's header");

    KLB_InitMessageProc(&onMessage);
    KLB_Init("ACME-0042", false);
    KLB_RegisterToggle("/editor/fastPath", true, "editor");
    std::printf("fastPath: %s\n", KLB_GetToggle("/editor/fastPath") ? "on" : "off");
    KLB_GetToggle("/editor/none");
    KLB_Term();

    KLB_InitMessageProc(nullptr);
    try {
        KLB_GetToggle("/editor/fastPath");
    } catch (const std::domain_error& error) {
        std::printf("caught: %s\n", error.what());
    }
}
