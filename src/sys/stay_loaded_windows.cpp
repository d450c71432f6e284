// zel.dll stays loaded until the process ends. Its threads run its code, also those that were killed or are
// about to end; and the C++ runtime in it allocates something from the system at each load that it never
// frees.

#include <windows.h>

extern "C" BOOL WINAPI DllMain(HINSTANCE library, DWORD reason, void *)
{
    if (reason != DLL_PROCESS_ATTACH)
        return TRUE;
    HMODULE same = nullptr;
    return GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                              reinterpret_cast<LPCWSTR>(library), &same);
}
