#pragma once

#include <cstddef>
#include <string>

namespace lifetime {

/** The library as a plug-in's host has it: loaded while this lives. */
class LoadedLibrary
{
public:
    /** Ends the process with code 2 when it cannot be loaded. */
    explicit LoadedLibrary(const std::string &path);
    ~LoadedLibrary();
    LoadedLibrary(const LoadedLibrary &) = delete;
    LoadedLibrary &operator=(const LoadedLibrary &) = delete;

    /** An exported function, by its name and as in LOADED(library, zelExit)(). */
    template <class Function>
    Function *function(const char *name) const
    {
        return reinterpret_cast<Function *>(address(name));
    }

private:
    using AnyFunction = void (*)();

    AnyFunction address(const char *name) const;

    void *m_library;
};

#define LOADED(library, name) (library).function<decltype(name)>(#name)

/** The thread-local slot that the system gives out next: a library that leaves slots behind makes it grow. */
std::size_t nextThreadLocalSlot();

/** Lets the process's threads take every signal that comes to it by other ways than the library's. */
void disturbThreads();

} // namespace lifetime
