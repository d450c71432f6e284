/* A host that was built against the header of the first release, 1.0.0/zel/zel.h: the main job, and what the
 * layout of the records and the numbers of the codes decide. It waits for a pen of the simulated service. */
#define _POSIX_C_SOURCE 200809L
#include <stdio.h>
#include <string.h>
#include <time.h>
#include <zel/zel.h>

static DiscoveryHandle *volatile present;

static void ZEL_CALL arrived(DiscoveryHandle *record, void *context)
{
    (void)context;
    if (present == NULL)
        present = record;
    else
        zelFreeDiscoveryHandle(&record);
}

static void ZEL_CALL departed(DiscoveryHandle *record, void *context)
{
    (void)context;
    zelFreeDiscoveryHandle(&record);
}

static uint32_t told;
static void ZEL_CALL progress(const char *pen, uint32_t so_far, uint32_t total)
{
    told = pen != NULL && so_far == total ? total : 0;
}

static int failed(const char *what)
{
    printf("wrong: %s\n", what);
    return 1;
}

int main(void)
{
    const struct timespec moment = {0, 10000000};
    DiscoveryHandle *record;
    PenHandle *pen = NULL;
    char *version = NULL, *pages = NULL;
    uint8_t *data = NULL;
    uint32_t length = 0, bytes = 0;
    int tries;

    if (zelGetApiVersion(&version) != 0 || strncmp(version, "1.", 2) != 0)
        return failed("version");
    if (zelInitialize(NULL, departed, NULL) != 1)
        return failed("a null argument is code 1");
    if (zelInitialize(arrived, departed, NULL) != 0)
        return failed("zelInitialize");
    for (tries = 0; tries < 1000 && present == NULL; ++tries)
        nanosleep(&moment, NULL);
    if ((record = present) == NULL)
        return failed("no pen");
    if (record->kind != ZEL_PEN_ARRIVED || record->penId == 0)
        return failed("the record's layout");
    if (zelConnectPen(record, &pen) != 0)
        return failed("zelConnectPen");
    if (zelGetPageList(pen, &pages, &bytes) != 0 || pages == NULL || bytes == 0)
        return failed("zelGetPageList");
    if (zelGetAllPages(pen, progress, &data, &length) != 0 || data == NULL || length == 0 || told != bytes)
        return failed("zelGetAllPages");
    if (zelFreePageData(&data) != 0 || zelFreePageList(&pages) != 0 || zelFreeString(&version) != 0)
        return failed("the three that free");
    if (zelDisconnectPen(&pen) != 0 || pen != NULL || zelFreeDiscoveryHandle(&record) != 0 || record != NULL)
        return failed("the end of a connection");
    if (zelExit() != 0)
        return failed("zelExit");
    printf("fetched %u bytes of %u bytes of strokes\n", (unsigned)length, (unsigned)bytes);
    return 0;
}
