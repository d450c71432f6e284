/* Loads the library that its argument names, as a host in C would that finds it at run time: what
 * the library needs is not there yet, its C++ runtime included. */

#include <dlfcn.h>
#include <stdio.h>
#include <time.h>

static double now(void)
{
    struct timespec time;
    clock_gettime(CLOCK_MONOTONIC, &time);
    return (double)time.tv_sec + 1e-9 * (double)time.tv_nsec;
}

int main(int count, char *arguments[])
{
    const double start = now();
    if (count < 2 || !dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL)) {
        fprintf(stderr, "%s\n", count < 2 ? "which library?" : dlerror());
        return 1;
    }
    printf("seconds %.9f\n", now() - start);
    return 0;
}
