/* The public header inside a host that has settings of its own. header.sh beside it compiles this with
 * other compilers, as C and as C++; nothing runs. */
#include <stddef.h>
#include <stdint.h>

/* HOST_PACKING by this pragma, or by the compiler's command line. */
#ifndef HOST_PACKS_BY_COMMAND_LINE
#define PRAGMA(TEXT) _Pragma(#TEXT)
#define PACK(BYTES) PRAGMA(pack(BYTES))
PACK(HOST_PACKING)
#endif

#include <zel/zel_result.h>

#define REQUIRE(NAME, CONDITION) typedef char NAME[(CONDITION) ? 1 : -1]

/* Hosts read both fields in place, whatever packing they use themselves ... */
REQUIRE(KindIsAtOffset0, offsetof(DiscoveryHandle, kind) == 0);
REQUIRE(PenIdIsAtOffset8, offsetof(DiscoveryHandle, penId) == 8);

/* ... and keep it behind the header. */
struct HostRecord {
    char first;
    uint64_t second;
};
REQUIRE(HostPacksAsBefore, offsetof(struct HostRecord, second) == (HOST_PACKING < 8 ? HOST_PACKING : 8));

#ifdef _WIN32
#define EXPECTED_CONVENTION __cdecl
#else
#define EXPECTED_CONVENTION
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Pointers of different conventions do not convert: each line compiles for the right one only. */
typedef void(EXPECTED_CONVENTION *PenFunction)(DiscoveryHandle *, void *);
typedef void(EXPECTED_CONVENTION *ProgressFunction)(const char *, uint32_t, uint32_t);
extern PenFunction arrivedAsExpected, departedAsExpected;
extern ProgressFunction progressAsExpected;
PenFunction arrivedAsExpected = (PenArrivedCallback)0;
PenFunction departedAsExpected = (PenDepartedCallback)0;
ProgressFunction progressAsExpected = (ProgressCallback)0;

static void ZEL_CALL onPen(DiscoveryHandle *record, void *callbackContext)
{
    *(uint32_t *)callbackContext = zelFreeDiscoveryHandle(&record);
}

uint32_t initialiseHost(uint32_t *code);
uint32_t initialiseHost(uint32_t *code)
{
    return zelInitialize(onPen, onPen, code);
}

/* EVERY_FUNCTION(X), when given, is X(name) of each exported function: its object asks the linker for them
 * by the names that their convention makes. */
#ifdef EVERY_FUNCTION
#define ADDRESS(NAME) (const void *)NAME,
extern const void *const everyFunction[];
const void *const everyFunction[] = {EVERY_FUNCTION(ADDRESS)(const void *) 0};
#endif

#ifdef __cplusplus
}
#endif
