// Calls every exported function once, so that the object's undefined symbols are the names that a
// compiler gives the declarations in klb.h.
#include <klb.h>

void callEveryExportedFunction(KLB_MessageProc proc, IOBXUnknown* host, char* buffer) {
    KLB_Init("", false);
    KLB_Term();
    KLB_IsInitialized();
    KLB_InitMessageProc(proc);
    KLB_SetOverridePath("");
    KLB_SetCertificateData("");
    KLB_InitOBX(host);
    KLB_IsOBXInitialized();
    KLB_RegisterToggleFile(KLB_ToggleFileType_Supported, "", "");
    KLB_IsToggleFileRegistered("");
    KLB_RegisterToggle("", false, "");
    KLB_RegisterDynamicToggle("", false, "");
    KLB_IsToggleRegistered("");
    KLB_IsDynamicToggleRegistered("");
    KLB_GetToggle("");
    KLB_GetDynamicToggle("");
    KLB_SetDynamicToggle("", false);
    KLB_AddToggleComment("", "");
    KLB_GetOverrideInfoString(buffer, 0);
    KLB_GetDefaultToggleJson("", "", buffer, 0);
}
