/* Waits for a pen, fetches its pages with progress and saves them: fetch_pages FILE
 *
 * The library's thread only files the record of the first pen; the main thread does the work. Needs POSIX
 * threads, which MinGW-w64 has as well. */
#define _POSIX_C_SOURCE 200809L /* clock_gettime() in strict C99 */
#include <pthread.h>
#include <stdio.h>
#include <time.h>
#include <zel/zel.h>
#include <zel/zel_result.h>

static pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
static pthread_cond_t changed = PTHREAD_COND_INITIALIZER;
static DiscoveryHandle *first; /* the first pen; guarded by mutex */

static void arrived(DiscoveryHandle *record, void *context)
{
    (void)context;
    pthread_mutex_lock(&mutex);
    if (first == NULL) {
        first = record;
        record = NULL;
    }
    pthread_cond_signal(&changed);
    pthread_mutex_unlock(&mutex);
    zelFreeDiscoveryHandle(&record); /* nothing, if it was filed */
}

static void departed(DiscoveryHandle *record, void *context)
{
    (void)context;
    zelFreeDiscoveryHandle(&record);
}

/* The first pen, or NULL when none came within some seconds; the caller frees it. */
static DiscoveryHandle *waitForPen(int seconds)
{
    struct timespec limit;
    DiscoveryHandle *record;

    clock_gettime(CLOCK_REALTIME, &limit);
    limit.tv_sec += seconds;
    pthread_mutex_lock(&mutex);
    while (first == NULL && pthread_cond_timedwait(&changed, &mutex, &limit) == 0) {
    }
    record = first;
    first = NULL;
    pthread_mutex_unlock(&mutex);
    return record;
}

static void progress(const char *serial, uint32_t bytesSoFar, uint32_t bytesTotal)
{
    fprintf(stderr, "%s: %lu of %lu bytes\n", serial, (unsigned long)bytesSoFar, (unsigned long)bytesTotal);
}

static int failed(const char *what, uint32_t code)
{
    fprintf(stderr, "%s: %s (%s)\n", what, zelResultText(code), zelResultName(code));
    return 1;
}

static int save(const char *path, const uint8_t *data, uint32_t length)
{
    FILE *file = fopen(path, "wb");
    int isWritten = file != NULL && fwrite(data, 1, length, file) == length;

    if (file != NULL && fclose(file) != 0)
        isWritten = 0;
    if (!isWritten) {
        perror(path);
        return 1;
    }
    printf("%s: %lu bytes\n", path, (unsigned long)length);
    return 0;
}

static int fetch(const DiscoveryHandle *record, const char *path)
{
    PenHandle *pen = NULL;
    uint8_t *data = NULL;
    uint32_t length = 0;
    int status;
    uint32_t code = zelConnectPen(record, &pen);

    if (code != ZEL_OK) {
        status = failed("The pen cannot be connected", code);
    } else {
        code = zelGetAllPages(pen, progress, &data, &length);
        status = code == ZEL_OK ? save(path, data, length) : failed("The pages cannot be fetched", code);
    }
    zelFreePageData(&data);
    zelDisconnectPen(&pen); /* also after a failed connect, which may leave a handle */
    return status;
}

int main(int argc, char **argv)
{
    int status = 1;
    DiscoveryHandle *record;
    uint32_t code = zelInitialize(arrived, departed, NULL);

    if (code != ZEL_OK) {
        zelExit();
        return failed("The library cannot be started", code);
    }
    record = waitForPen(30);
    if (record == NULL)
        fprintf(stderr, "No pen came within 30 seconds.\n");
    else
        status = fetch(record, argc > 1 ? argv[1] : "pages.zel");
    zelFreeDiscoveryHandle(&record);
    zelExit();
    zelFreeDiscoveryHandle(&first); /* one that came after the first was taken */
    return status;
}
