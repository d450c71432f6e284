/* A host in C99; host.cpp builds the same text as C++. */
#include <stdio.h>
#include <string.h>
#include <zel/zel_result.h>

int main(void)
{
    char *version = NULL;
    int same;
    if (zelGetApiVersion(&version) != ZEL_OK)
        return 1;
    printf("%s\n", version);
    same = strcmp(version, "1.0.0.0_6") == 0 && strcmp(zelResultName(ZEL_OK), "ZEL_OK") == 0;
    return zelFreeString(&version) == ZEL_OK && version == NULL && same ? 0 : 1;
}
