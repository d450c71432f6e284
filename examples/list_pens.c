#include <stdio.h>
#include <zel/zel.h>

static void announced(DiscoveryHandle *record, void *context)
{
    char *serial = NULL;
    (void)context;
    if (zelGetDevicePenSerial(record, &serial) == ZEL_OK)
        printf("%s %s\n", serial, record->kind == ZEL_PEN_ARRIVED ? "arrived" : "left");
    zelFreeString(&serial);
    zelFreeDiscoveryHandle(&record);
}

int main(void)
{
    if (zelInitialize(announced, announced, NULL) != ZEL_OK)
        return 1;
    getchar(); /* pens are announced on a thread of the library until Enter is pressed */
    return (int)zelExit();
}
