#ifndef ZEL_ZEL_H
#define ZEL_ZEL_H

#include <stdint.h>

#if defined(__GNUC__) && !defined(_WIN32)
#define ZEL_API __attribute__((visibility("default")))
#else
#define ZEL_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

#define ZEL_OK 0u
#define ZEL_ERR_INVALID_ARGUMENT 1u
#define ZEL_ERR_PEN_LOCKED 2u
#define ZEL_ERR_COMMUNICATION 3u
#define ZEL_ERR_NOT_SUPPORTED 4u
#define ZEL_ERR_NOT_INITIALIZED 5u
#define ZEL_ERR_ALREADY_INITIALIZED 6u
#define ZEL_ERR_VALUE_OUT_OF_RANGE 8u
#define ZEL_ERR_SYNC_BUSY 9u
#define ZEL_ERR_DEVICE_NOT_SUPPORTED 10u
#define ZEL_ERR_UNEXPECTED 11u

#define ZEL_PEN_ARRIVED 0u
#define ZEL_PEN_DEPARTED 1u

typedef struct PenHandle PenHandle;
typedef struct DfuPenHandle DfuPenHandle;

typedef struct DiscoveryHandle {
    uint32_t kind;
    uint64_t penId;
} DiscoveryHandle;

typedef void (*PenArrivedCallback)(DiscoveryHandle *record, void *callbackContext);
typedef void (*PenDepartedCallback)(DiscoveryHandle *record, void *callbackContext);
typedef void (*ProgressCallback)(const char *penText, uint32_t bytesSoFar, uint32_t bytesTotal);

ZEL_API uint32_t zelInitialize(PenArrivedCallback arrived, PenDepartedCallback departed,
                               void *callbackContext);
ZEL_API uint32_t zelExit(void);
ZEL_API uint32_t zelGetApiVersion(char **text);
ZEL_API uint32_t zelEnumeratePens(void);
ZEL_API uint32_t zelFreeString(char **text);
ZEL_API uint32_t zelFreePageList(char **text);
ZEL_API uint32_t zelFreePageData(uint8_t **data);
ZEL_API uint32_t zelFreeDiscoveryHandle(DiscoveryHandle **record);
ZEL_API uint32_t zelGetDevicePenSerial(const DiscoveryHandle *record, char **text);
ZEL_API uint32_t zelGetDeviceVidAndPid(const DiscoveryHandle *record, uint16_t *vendorId,
                                       uint16_t *productId);
ZEL_API uint32_t zelConnectPen(const DiscoveryHandle *record, PenHandle **pen);
ZEL_API uint32_t zelDisconnectPen(PenHandle **pen);
ZEL_API uint32_t zelGetPenSerial(PenHandle *pen, char **text);
ZEL_API uint32_t zelGetPenProductName(PenHandle *pen, char **text);
ZEL_API uint32_t zelSetTime(PenHandle *pen, uint64_t millis);
ZEL_API uint32_t zelGetTime(PenHandle *pen, uint64_t *penTime, uint64_t *systemTime);
ZEL_API uint32_t zelSetBluetoothEnabled(PenHandle *pen, uint8_t flag);
ZEL_API uint32_t zelGetBluetoothEnabled(PenHandle *pen, uint8_t *flag);
ZEL_API uint32_t zelSetBluetoothDiscoverableAllowed(PenHandle *pen, uint8_t flag);
ZEL_API uint32_t zelGetBluetoothDiscoverableAllowed(PenHandle *pen, uint8_t *flag);
ZEL_API uint32_t zelSetBluetoothPin(PenHandle *pen, const char *pin);
ZEL_API uint32_t zelGetBluetoothPin(PenHandle *pen, char **pin);
ZEL_API uint32_t zelSetAutoPowerOff(PenHandle *pen, uint16_t value);
ZEL_API uint32_t zelGetAutoPowerOff(PenHandle *pen, uint16_t *value);
ZEL_API uint32_t zelSetWakeUpTime(PenHandle *pen, uint32_t seconds);
ZEL_API uint32_t zelGetWakeUpTime(PenHandle *pen, uint32_t *seconds);
ZEL_API uint32_t zelGetPenRevisions(PenHandle *pen, char **revision0, char **revision1, char **revision3,
                                    char **revision5);
ZEL_API uint32_t zelGetPageList(PenHandle *pen, char **text, uint32_t *totalBytes);
ZEL_API uint32_t zelGetPages(PenHandle *pen, const char *addresses, ProgressCallback progress, uint8_t **data,
                             uint32_t *length);
ZEL_API uint32_t zelGetAllPages(PenHandle *pen, ProgressCallback progress, uint8_t **data, uint32_t *length);
ZEL_API uint32_t zelRemovePage(PenHandle *pen, const char *address);
ZEL_API uint32_t zelRemoveAllStrokes(PenHandle *pen);
ZEL_API uint32_t zelUnlockPen(PenHandle *pen, const char *password);
ZEL_API uint32_t zelSetPasswordData(PenHandle *pen, const char *current, const char *newPassword,
                                    const char *hint);
ZEL_API uint32_t zelRemovePasswordData(PenHandle *pen, const char *current);
ZEL_API uint32_t zelGetPasswordHint(PenHandle *pen, char **hint);
ZEL_API uint32_t zelGetPenLockedStatus(PenHandle *pen, uint8_t *locked);
ZEL_API uint32_t zelInstallCertificateAuthenticator(PenHandle *pen, const uint8_t *data1, uint32_t length1,
                                                    const uint8_t *data2, uint32_t length2);
ZEL_API uint32_t zelHasCertificateAuthenticator(PenHandle *pen, uint8_t *flag);
ZEL_API uint32_t zelInstallSigningKey(PenHandle *pen, uint16_t number, const uint8_t *data1, uint32_t length1,
                                      const uint8_t *data2, uint32_t length2, const uint8_t *data3,
                                      uint32_t length3, const uint8_t *data4, uint32_t length4,
                                      const uint8_t *data5, uint32_t length5, const uint8_t *data6,
                                      uint32_t length6, const uint8_t *data7, uint32_t length7,
                                      const uint8_t *data8, uint32_t length8);
ZEL_API uint32_t zelHasSigningKey(PenHandle *pen, uint8_t *flag);
ZEL_API uint32_t zelClearSigningKey(PenHandle *pen);
ZEL_API uint32_t zelInstallCertificate(PenHandle *pen, const uint8_t *data, uint32_t length);
ZEL_API uint32_t zelGetCertificateInfo(PenHandle *pen, uint16_t *number, uint64_t *value1, uint64_t *value2);
ZEL_API uint32_t zelClearCertificate(PenHandle *pen);
ZEL_API uint32_t zelHasEncryptedData(PenHandle *pen, uint8_t *flag);
ZEL_API uint32_t zelGetEncryptedData(PenHandle *pen, uint64_t argument, uint8_t **data, uint32_t *length);
ZEL_API uint32_t zelClearEncryptedData(PenHandle *pen);
ZEL_API uint32_t zelSetUserData(PenHandle *pen, const char *textA, const char *textB, const char *textC);
ZEL_API uint32_t zelGetUserData(PenHandle *pen, char **textA, char **textB, char **textC);
ZEL_API uint32_t zelGetMemoryStatus(PenHandle *pen, uint64_t *used, uint64_t *total);
ZEL_API uint32_t zelGetBatteryStatus(PenHandle *pen, uint16_t *value0, uint16_t *value1, uint16_t *value2,
                                     uint16_t *value3, uint16_t *value4);
ZEL_API uint32_t zelGetSecureDeleteEnabled(PenHandle *pen, uint8_t *flag);
ZEL_API uint32_t zelDfuInit(void *callbackContext, PenArrivedCallback arrived, PenDepartedCallback departed);
ZEL_API uint32_t zelDfuExit(void);
ZEL_API uint32_t zelDfuConnectPen(DfuPenHandle **pen, const DiscoveryHandle *record);
ZEL_API uint32_t zelDfuDisconnectPen(DfuPenHandle **pen);
ZEL_API uint32_t zelDfuGetMode(const DiscoveryHandle *record, uint8_t *mode);
ZEL_API uint32_t zelDfuResetPort(DfuPenHandle *pen);
ZEL_API uint32_t zelDfuAbort(DfuPenHandle *pen);
ZEL_API uint32_t zelDfuClearStatus(DfuPenHandle *pen);
ZEL_API uint32_t zelDfuDetach(DfuPenHandle *pen);
ZEL_API uint32_t zelDfuDetachBoot(DfuPenHandle *pen);
ZEL_API uint32_t zelDfuGetState(DfuPenHandle *pen, int32_t *state);
ZEL_API uint32_t zelDfuGetStatus(DfuPenHandle *pen, uint8_t *status);
ZEL_API uint32_t zelDfuGetFunctionalDescriptor(DfuPenHandle *pen, uint8_t *descriptor);
ZEL_API uint32_t zelDfuDownload(DfuPenHandle *pen, const void *block);

#ifdef __cplusplus
}
#endif

#endif
