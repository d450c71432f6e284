/* The public header as a strict C99 host sees it. Nothing runs: compiling is the test. */
#include <zel/zel.h>
#include <zel/zel.h> /* twice: the guard */

#include <stddef.h>

/* Hosts read both fields in place. */
typedef char KindIsAtOffset0[offsetof(DiscoveryHandle, kind) == 0 ? 1 : -1];
typedef char PenIdIsAtOffset8[offsetof(DiscoveryHandle, penId) == 8 ? 1 : -1];

/* A constant that an #if can test, too. */
#if ZEL_VERSION_MAJOR != 1 || ZEL_OK != 0u || ZEL_ERR_UNEXPECTED != 11u
#error "the constants are not the numbers that they were"
#endif

static void onPen(DiscoveryHandle *record, void *callbackContext)
{
    *(uint64_t *)callbackContext = record->kind == ZEL_PEN_ARRIVED ? record->penId : 0;
    zelFreeDiscoveryHandle(&record);
}

static void onProgress(const char *penText, uint32_t bytesSoFar, uint32_t bytesTotal)
{
    (void)penText;
    (void)(bytesSoFar + bytesTotal);
}

uint32_t fetchFromC(const DiscoveryHandle *record, uint64_t *lastPen);

uint32_t fetchFromC(const DiscoveryHandle *record, uint64_t *lastPen)
{
    PenHandle *pen = NULL;
    uint8_t *data = NULL;
    uint32_t length = 0;
    if (zelInitialize(onPen, onPen, lastPen) != ZEL_OK || zelConnectPen(record, &pen) != ZEL_OK)
        return ZEL_ERR_COMMUNICATION;
    zelGetAllPages(pen, onProgress, &data, &length);
    zelFreePageData(&data);
    return zelDisconnectPen(&pen);
}
