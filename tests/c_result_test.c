/* The result codes in words as a strict C99 host has them; tests/unit/zel_result_test.cpp calls these. */
#include <zel/zel_result.h>
#include <zel/zel_result.h> /* twice: the guard */

const char *resultNameInC(uint32_t code);
const char *resultTextInC(uint32_t code);

const char *resultNameInC(uint32_t code)
{
    return zelResultName(code);
}

const char *resultTextInC(uint32_t code)
{
    return zelResultText(code);
}
