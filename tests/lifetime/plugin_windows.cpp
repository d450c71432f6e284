// A plug-in whose DllMain calls its host when it is unloaded, or when the process ends.
#include <windows.h>

namespace {

void (*s_farewell)() = nullptr;

} // namespace

extern "C" __declspec(dllexport) void setFarewell(void (*farewell)())
{
    s_farewell = farewell;
}

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void *)
{
    if (reason == DLL_PROCESS_DETACH && s_farewell != nullptr)
        s_farewell();
    return TRUE;
}
