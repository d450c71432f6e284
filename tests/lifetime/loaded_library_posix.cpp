#include "loaded_library.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>

#include <dlfcn.h>
#include <pthread.h>
#include <unistd.h>

namespace lifetime {

LoadedLibrary::LoadedLibrary(const std::string &path) : m_library(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL))
{
    if (m_library == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        std::_Exit(2);
    }
}

LoadedLibrary::~LoadedLibrary()
{
    dlclose(m_library);
}

LoadedLibrary::AnyFunction LoadedLibrary::address(const char *name) const
{
    return reinterpret_cast<AnyFunction>(dlsym(m_library, name));
}

std::size_t nextThreadLocalSlot()
{
    pthread_key_t key{};
    pthread_key_create(&key, nullptr);
    pthread_key_delete(key);
    return key;
}

void disturbThreads()
{
    std::raise(SIGURG); // which the library uses too
    // The C library interrupts every thread of the process to change its ids.
    if (setresuid(getuid(), geteuid(), geteuid()) != 0)
        std::_Exit(2);
}

} // namespace lifetime
