#include "loaded_library.h"

#include <cstdio>
#include <cstdlib>

#include <windows.h>

namespace lifetime {

LoadedLibrary::LoadedLibrary(const std::string &path) : m_library(LoadLibraryA(path.c_str()))
{
    if (m_library == nullptr) {
        std::fprintf(stderr, "error %lu\n", GetLastError());
        std::_Exit(2);
    }
}

LoadedLibrary::~LoadedLibrary()
{
    FreeLibrary(static_cast<HMODULE>(m_library));
}

LoadedLibrary::AnyFunction LoadedLibrary::address(const char *name) const
{
    return reinterpret_cast<AnyFunction>(GetProcAddress(static_cast<HMODULE>(m_library), name));
}

std::size_t nextThreadLocalSlot()
{
    const DWORD slot = TlsAlloc();
    TlsFree(slot);
    return slot;
}

void disturbThreads() {}

} // namespace lifetime
