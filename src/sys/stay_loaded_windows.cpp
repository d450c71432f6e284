// zel.dll stays in the process once it is there: its threads, also those that were killed or are about to
// end, run its code, and what the C++ runtime in it takes from the system at each load it never gives back.

#include <windows.h>

extern "C" BOOL WINAPI DllMain(HINSTANCE library, DWORD reason, void *)
{
    if (reason != DLL_PROCESS_ATTACH)
        return TRUE;
    HMODULE same = nullptr;
    return GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                              reinterpret_cast<LPCWSTR>(library), &same);
}
