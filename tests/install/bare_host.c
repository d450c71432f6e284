/* A host for Microsoft's linker. Their headers and C runtime are not at hand where the library is
 * cross-built, so it uses neither: what it returns from its entry point is its exit code. */
#include <zel/zel.h>

int mainCRTStartup(void)
{
    static const char expected[] = "1.0.0.0_6";
    char *version = 0;
    unsigned i;
    if (zelGetApiVersion(&version) != ZEL_OK)
        return 1;
    for (i = 0; i < sizeof expected; ++i)
        if (version[i] != expected[i])
            return 2;
    return zelFreeString(&version) == ZEL_OK && version == 0 ? 0 : 3;
}
