// A host whose plug-in ends the library in its DllMain: when it is unloaded, or when the process ends, by
// when Windows has ended the library's thread already.
//
//   plugin_host unload|end FILE
//
// Makes the file when zelExit returned there and had no thread to kill: the exit code of a process that ends
// cannot be changed any more.
#include "support/log_capture.h"

#include "zel/zel.h"

#include <atomic>
#include <string>

#include <windows.h>

namespace {

LogCapture *s_log;
std::atomic<bool> s_announced{false};
const char *s_file;

void announced(DiscoveryHandle *record, void *)
{
    zelFreeDiscoveryHandle(&record);
    s_announced = true;
}

void endLibrary()
{
    if (zelExit() == ZEL_OK && s_log->count("*** RendezvousThread refused to stop and was killed ***") == 0)
        CreateFileA(s_file, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
}

} // namespace

int main(int count, char **arguments)
{
    const HMODULE plugin = LoadLibraryA("zel_lifetime_plugin.dll");
    if (plugin == nullptr || count != 3)
        return 2;
    s_file = arguments[2];
    void (*const found)() = reinterpret_cast<void (*)()>(GetProcAddress(plugin, "setFarewell"));
    reinterpret_cast<void (*)(void (*)())>(found)(endLibrary);
    s_log = new LogCapture; // never destroyed
    if (zelInitialize(announced, announced, nullptr) != ZEL_OK)
        return 2;
    while (!s_announced)
        Sleep(1);
    Sleep(50); // the callback returns, and the thread waits for the next announcement
    if (arguments[1] == std::string("unload"))
        FreeLibrary(plugin);
    return 0;
}
