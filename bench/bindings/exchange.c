/* The C host that the bindings are measured against: see run. */
#define _POSIX_C_SOURCE 200809L
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>
#include <zel/zel.h>

static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
static pthread_cond_t changed = PTHREAD_COND_INITIALIZER;
static DiscoveryHandle *found;

static void announced(DiscoveryHandle *record, void *context)
{
    (void)context;
    pthread_mutex_lock(&lock);
    if (found == NULL) {
        found = record;
        record = NULL;
    }
    pthread_cond_signal(&changed);
    pthread_mutex_unlock(&lock);
    zelFreeDiscoveryHandle(&record);
}

static double now(void)
{
    struct timespec time;
    clock_gettime(CLOCK_MONOTONIC, &time);
    return (double)time.tv_sec * 1e9 + (double)time.tv_nsec;
}

static void check(uint32_t code)
{
    if (code != ZEL_OK) {
        fprintf(stderr, "code %u\n", code);
        exit(1);
    }
}

int main(int argc, char **argv)
{
    const int exchanges = argc > 1 ? atoi(argv[1]) : 20000;
    PenHandle *pen = NULL;
    uint8_t *data = NULL;
    uint8_t locked = 0;
    uint32_t length = 0;
    double began;
    int i;
    check(zelInitialize(announced, announced, NULL));
    pthread_mutex_lock(&lock);
    while (found == NULL)
        pthread_cond_wait(&changed, &lock);
    pthread_mutex_unlock(&lock);
    check(zelConnectPen(found, &pen));
    began = now();
    for (i = 0; i < exchanges; ++i)
        check(zelGetPenLockedStatus(pen, &locked));
    printf("exchange %.0f\n", (now() - began) / exchanges);
    check(zelGetAllPages(pen, NULL, &data,
                         &length)); /* the first one is not measured: it compiles, elsewhere */
    zelFreePageData(&data);
    began = now();
    check(zelGetAllPages(pen, NULL, &data, &length));
    printf("retrieval %.0f\n", now() - began);
    zelFreePageData(&data);
    zelDisconnectPen(&pen);
    zelFreeDiscoveryHandle(&found);
    return (int)zelExit();
}
