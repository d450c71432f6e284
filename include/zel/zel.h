/* SPDX-License-Identifier: MIT */
/** zel: finds digital pens and talks to them.
 *
 *  A pen service on this machine owns the pens' USB and Bluetooth links. This library is its client: a
 *  rendezvous server on 127.0.0.1:3715 announces pens as they come and go, and each pen has a service of
 *  its own on another local port.
 *
 *      zelInitialize -> PenArrivedCallback -> zelConnectPen -> ... -> zelDisconnectPen -> zelExit
 *
 *  Conventions
 *
 *  1. Results. Every function returns one of the ZEL_... codes below; ZEL_OK is 0. No C++ exception ever
 *     leaves a function, and the library prints and logs nothing. Where a function can fail for several
 *     of these reasons, the one named first in this list decides:
 *     ZEL_ERR_NOT_INITIALIZED, ZEL_ERR_INVALID_ARGUMENT (nulls), ZEL_ERR_NOT_SUPPORTED (the pen's
 *     software is too old), ZEL_ERR_INVALID_ARGUMENT or ZEL_ERR_VALUE_OUT_OF_RANGE (unusable values),
 *     then what the exchange with the pen brings.
 *     Two codes mean the same everywhere and are listed without comment: ZEL_ERR_NOT_INITIALIZED
 *     (before zelInitialize or after zelExit; for the zelDfu... functions zelDfuInit and zelDfuExit)
 *     and ZEL_ERR_UNEXPECTED (no memory, or an answer that makes no sense).
 *
 *  2. Nulls. A null handle, record, output or required input gives ZEL_ERR_INVALID_ARGUMENT, without a
 *     request to the pen. A null data pointer with length 0 is an empty run of bytes.
 *
 *  3. Ownership. What a function hands out belongs to the host and goes back through the function that
 *     its description names, never through the host's own allocator: texts through zelFreeString, the
 *     page list through zelFreePageList, page data and encrypted data through zelFreePageData, records
 *     through zelFreeDiscoveryHandle, handles through zelDisconnectPen or zelDfuDisconnectPen. These set
 *     the host's pointer to null; on a pointer that is null already they do nothing and return ZEL_OK.
 *     Inputs are borrowed for the call.
 *
 *  4. Outputs on failure. A text output is null after every failure, unless its description says
 *     otherwise. Other outputs mean something only after ZEL_OK, or where a description says what they
 *     hold.
 *
 *  5. Threads. zelInitialize, zelExit and zelEnumeratePens must not run beside each other or beside any
 *     other function; likewise zelDfuInit and zelDfuExit among the zelDfu... functions. One handle
 *     belongs to one thread at a time: closing it while another thread reads through it is an error of
 *     the host. Different handles may be used by different threads at once. The zelFree... functions,
 *     zelGetApiVersion and the functions on records may be called by any thread at any time outside
 *     zelInitialize and zelExit.
 *
 *  6. Blocking. Functions on a connected pen block the calling thread for one exchange (a request and
 *     its response) with the pen's service, or for as many as their description says. There is no time
 *     limit: a service that never answers blocks until it closes the connection. A lost connection
 *     gives ZEL_ERR_COMMUNICATION then and from there on; the handle stays valid until it is
 *     disconnected, and a new zelConnectPen makes a fresh one.
 *
 *  7. Callbacks. Arrivals and departures are reported on a thread of the library's, one at a time, also
 *     while the host runs functions of its own; the next is reported only when the callback has
 *     returned. The callbacks may call every function except zelInitialize, zelExit and
 *     zelEnumeratePens (zelDfuInit and zelDfuExit in that mode), which would wait for the callback
 *     itself. Progress is reported on the thread that called the retrieval. No callback may throw,
 *     nor leave by longjmp.
 *
 *  8. Texts are NUL-terminated runs of bytes in the encoding that the pen uses; the library neither
 *     checks nor converts it. What the library itself makes (serials, page addresses, its version) is
 *     ASCII.
 *
 *  9. Numbers are in the host's byte order in every argument. Page data is a run of bytes in network
 *     (big-endian) order. Times are milliseconds since 1 January 1970, GMT, or seconds where the name
 *     says so; sizes and lengths are bytes.
 *
 *  C99 or C++. */
#ifndef ZEL_ZEL_H
#define ZEL_ZEL_H

#include <stdint.h>

/** The release that this header belongs to. */
#define ZEL_VERSION_MAJOR 1
#define ZEL_VERSION_MINOR 0
#define ZEL_VERSION_PATCH 0
/** What zelGetApiVersion answers when the library at run time offers the functions of this header. */
#define ZEL_API_VERSION "1.0.0.0_6"

#if defined(__GNUC__) && !defined(_WIN32)
#define ZEL_API __attribute__((visibility("default")))
#else
#define ZEL_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Result codes. 7 is never returned. */

#define ZEL_OK 0u
/** A null pointer, a departure record where an arrival is needed, a value that the function refuses, or
 *  a listener that could not be started. */
#define ZEL_ERR_INVALID_ARGUMENT 1u
/** The pen is locked by its password and refused the request. */
#define ZEL_ERR_PEN_LOCKED 2u
/** The connection to the pen failed or is lost. */
#define ZEL_ERR_COMMUNICATION 3u
/** The pen cannot do this: its software is too old, or does not know the request. */
#define ZEL_ERR_NOT_SUPPORTED 4u
#define ZEL_ERR_NOT_INITIALIZED 5u
#define ZEL_ERR_ALREADY_INITIALIZED 6u
/** A number or a PIN is outside its range. */
#define ZEL_ERR_VALUE_OUT_OF_RANGE 8u
/** The pen did not begin a sync session, for instance because another one runs; try again later. */
#define ZEL_ERR_SYNC_BUSY 9u
/** The USB identity of the device is not among the accepted ones. */
#define ZEL_ERR_DEVICE_NOT_SUPPORTED 10u
#define ZEL_ERR_UNEXPECTED 11u

/* DiscoveryHandle.kind */

#define ZEL_PEN_ARRIVED 0u
#define ZEL_PEN_DEPARTED 1u

/** A connected pen; see zelConnectPen. */
typedef struct PenHandle PenHandle;

/** A connected pen in firmware-upgrade mode; see zelDfuConnectPen. */
typedef struct DfuPenHandle DfuPenHandle;

/** One arrival or departure of a pen. The library makes it; these are the fields that a host may read,
 *  others follow them. Never copy one. It lives until zelFreeDiscoveryHandle, also after zelExit. */
typedef struct DiscoveryHandle {
    uint32_t kind;  /**< ZEL_PEN_ARRIVED or ZEL_PEN_DEPARTED */
    uint64_t penId; /**< the pen's identity, the same in its arrivals and departures */
} DiscoveryHandle;

/** Reports that a pen arrived.
 *  record           never null; the host's from here on: zelFreeDiscoveryHandle, in the callback or later
 *  callbackContext  as given to zelInitialize or zelDfuInit; the library never looks at it
 *  Runs on the library's thread (conventions, 7); should return promptly. */
typedef void (*PenArrivedCallback)(DiscoveryHandle *record, void *callbackContext);

/** Reports that a pen departed; otherwise as PenArrivedCallback. Handles connected to the pen stay until
 *  the host disconnects them. */
typedef void (*PenDepartedCallback)(DiscoveryHandle *record, void *callbackContext);

/** Reports the progress of a page retrieval.
 *  penText     the pen's serial text; valid as long as the handle
 *  bytesSoFar  bytes of strokes fetched, by the sizes in the pen's page list
 *  bytesTotal  bytes of strokes to fetch; the same in every call
 *  Runs on the thread that called the retrieval: once before the first page (0 bytes) and once after
 *  each. It may call functions, but none on the handle that the pages come from. */
typedef void (*ProgressCallback)(const char *penText, uint32_t bytesSoFar, uint32_t bytesTotal);

/* ---- The library and the pens it finds ------------------------------------------------------------- */

/** Starts the library: from here on pens are reported, the present ones first.
 *  arrived, departed  called on the library's thread until zelExit returns
 *  callbackContext    handed to both; may be null; must stay valid until zelExit returns
 *  Does not wait for the rendezvous server: while it is absent the library tries again every 3 seconds,
 *  also when it goes away later.
 *  Returns ZEL_OK or ZEL_ERR_ALREADY_INITIALIZED, _INVALID_ARGUMENT (a callback is null, or the listener
 *  could not be started; in that case the library counts as initialised), _UNEXPECTED. */
ZEL_API uint32_t zelInitialize(PenArrivedCallback arrived, PenDepartedCallback departed,
                               void *callbackContext);

/** Stops the library. No callback runs once it has returned.
 *  Waits for a callback that is running, but no longer than 5 seconds: then its thread is stopped where
 *  it stands. Records and handles stay valid, but only records can still be freed: disconnect pens first.
 *  Returns ZEL_OK, also when the library was not initialised, or ZEL_ERR_UNEXPECTED. */
ZEL_API uint32_t zelExit(void);

/** Hands out the version of the API, ZEL_API_VERSION. Needs no zelInitialize.
 *  text  receives the version; zelFreeString
 *  Returns ZEL_OK or ZEL_ERR_INVALID_ARGUMENT (text is null), _UNEXPECTED. */
ZEL_API uint32_t zelGetApiVersion(char **text);

/** Reports every supported pen that is present once more, each with a fresh arrival record, in the
 *  server's order, up to the first pen that is not supported.
 *  Restarts the listener: waits for a running callback as zelExit does. The reports follow on the
 *  library's thread.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (the listener could not be started
 *  again), _UNEXPECTED. */
ZEL_API uint32_t zelEnumeratePens(void);

/** Releases a text and sets the host's pointer to null. Needs no zelInitialize.
 *  text  where the host keeps the pointer to the text; a null there is ZEL_OK
 *  Returns ZEL_OK or ZEL_ERR_INVALID_ARGUMENT (text is null), _UNEXPECTED (pointer unchanged). */
ZEL_API uint32_t zelFreeString(char **text);

/** Releases a page list of zelGetPageList; otherwise as zelFreeString. */
ZEL_API uint32_t zelFreePageList(char **text);

/** Releases data of zelGetPages, zelGetAllPages or zelGetEncryptedData; otherwise as zelFreeString. */
ZEL_API uint32_t zelFreePageData(uint8_t **data);

/** Releases a record that a callback was given; otherwise as zelFreeString. */
ZEL_API uint32_t zelFreeDiscoveryHandle(DiscoveryHandle **record);

/** Hands out the serial text of a reported pen, in the form XXX-XXX-XXX-XX.
 *  record  of an arrival or a departure; borrowed
 *  text    receives the serial; zelFreeString
 *  Works on the records of either mode while either mode is initialised. No exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT, _UNEXPECTED. */
ZEL_API uint32_t zelGetDevicePenSerial(const DiscoveryHandle *record, char **text);

/** Tells the USB vendor and product id that a pen announced.
 *  record               of an arrival or a departure; borrowed
 *  vendorId, productId  written with ZEL_OK and with ZEL_ERR_NOT_SUPPORTED
 *  No exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT, _NOT_SUPPORTED (the pen's software is
 *  older than 0x0503; the ids are written all the same). */
ZEL_API uint32_t zelGetDeviceVidAndPid(const DiscoveryHandle *record, uint16_t *vendorId,
                                       uint16_t *productId);

/* ---- Connection and identity ----------------------------------------------------------------------- */

/** Connects to a pen that arrived.
 *  record  of an arrival; borrowed, may be freed at once afterwards
 *  pen     receives the handle; zelDisconnectPen. With ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT and
 *          _DEVICE_NOT_SUPPORTED it is untouched. After every other failure it holds a handle all the
 *          same (null if there was no memory for one), which the host disconnects.
 *  Blocks for up to three exchanges: connect, ask whether the pen is locked, and unless it is, read its
 *  software version. A locked pen connects with ZEL_OK.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null, or a departure record),
 *  _DEVICE_NOT_SUPPORTED, _COMMUNICATION and _PEN_LOCKED (connected, but the software version could not
 *  be read), _UNEXPECTED (also: the pen's service could not be reached; functions on such a handle
 *  behave as on a lost connection). */
ZEL_API uint32_t zelConnectPen(const DiscoveryHandle *record, PenHandle **pen);

/** Disconnects a pen, releases its handle and sets the host's pointer to null.
 *  pen  where the host keeps the handle; a null there is ZEL_OK
 *  Needs an initialised library: disconnect before zelExit. No exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT, _UNEXPECTED. */
ZEL_API uint32_t zelDisconnectPen(PenHandle **pen);

/** Hands out the pen's serial text, as it was announced: XXX-XXX-XXX-XX. No exchange with the pen.
 *  pen   connected pen; borrowed for the call; one thread at a time
 *  text  receives the serial; zelFreeString
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT, _UNEXPECTED. */
ZEL_API uint32_t zelGetPenSerial(PenHandle *pen, char **text);

/** Hands out the pen's product name. One exchange.
 *  pen   connected pen; borrowed for the call; one thread at a time
 *  text  receives the name; zelFreeString
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null, or the pen has no name),
 *  _PEN_LOCKED, _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t zelGetPenProductName(PenHandle *pen, char **text);

/* ---- Settings -------------------------------------------------------------------------------------- */

/** Sets the pen's clock. One exchange.
 *  pen     connected pen; borrowed for the call; one thread at a time
 *  millis  milliseconds since 1 January 1970, GMT
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT, _PEN_LOCKED, _COMMUNICATION,
 *  _UNEXPECTED. */
ZEL_API uint32_t zelSetTime(PenHandle *pen, uint64_t millis);

/** Reads the pen's clock, and the host's clock as the pen last saw it. Two exchanges.
 *  pen         connected pen; borrowed for the call; one thread at a time
 *  penTime     milliseconds since 1 January 1970, GMT; 0 after every failure, and when the pen answers
 *              with something else than a time
 *  systemTime  likewise
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT, _PEN_LOCKED, _COMMUNICATION,
 *  _UNEXPECTED. */
ZEL_API uint32_t zelGetTime(PenHandle *pen, uint64_t *penTime, uint64_t *systemTime);

/** Switches the pen's Bluetooth on or off. One exchange.
 *  pen   connected pen; borrowed for the call; one thread at a time
 *  flag  0 off, anything else on
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT, _PEN_LOCKED, _COMMUNICATION,
 *  _UNEXPECTED. */
ZEL_API uint32_t zelSetBluetoothEnabled(PenHandle *pen, uint8_t flag);

/** Tells whether the pen's Bluetooth is on. One exchange.
 *  pen   connected pen; borrowed for the call; one thread at a time
 *  flag  receives 1 (on) or 0 (off, or the pen does not tell)
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT, _PEN_LOCKED, _COMMUNICATION,
 *  _UNEXPECTED. */
ZEL_API uint32_t zelGetBluetoothEnabled(PenHandle *pen, uint8_t *flag);

/** Allows the pen to be discovered over Bluetooth, or forbids it. One exchange.
 *  pen   connected pen; borrowed for the call; one thread at a time
 *  flag  0 forbidden, anything else allowed
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT, _PEN_LOCKED, _COMMUNICATION,
 *  _UNEXPECTED. */
ZEL_API uint32_t zelSetBluetoothDiscoverableAllowed(PenHandle *pen, uint8_t flag);

/** Tells whether the pen may be discovered over Bluetooth. One exchange.
 *  pen   connected pen; borrowed for the call; one thread at a time
 *  flag  receives 1 (allowed) or 0 (forbidden, or the pen does not tell)
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT, _PEN_LOCKED, _COMMUNICATION,
 *  _UNEXPECTED. */
ZEL_API uint32_t zelGetBluetoothDiscoverableAllowed(PenHandle *pen, uint8_t *flag);

/** Sets the pen's Bluetooth PIN. Two exchanges to learn what the pen accepts, and one to write.
 *  pen  connected pen; borrowed for the call; one thread at a time
 *  pin  4 to 16 decimal digits (exactly 4 on some hardware revisions of software 0x0500)
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT, _VALUE_OUT_OF_RANGE (length or a
 *  character that is no digit; nothing was written), _PEN_LOCKED, _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t zelSetBluetoothPin(PenHandle *pen, const char *pin);

/** Hands out the pen's Bluetooth PIN. One exchange.
 *  pen  connected pen; borrowed for the call; one thread at a time
 *  pin  receives the PIN, empty when there is none; zelFreeString. Untouched on failure.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT, _PEN_LOCKED, _COMMUNICATION,
 *  _UNEXPECTED. */
ZEL_API uint32_t zelGetBluetoothPin(PenHandle *pen, char **pin);

/** Sets after how long the pen switches itself off. One exchange.
 *  pen    connected pen; borrowed for the call; one thread at a time
 *  value  in the pen's own unit; any number is passed on
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT, _PEN_LOCKED, _COMMUNICATION,
 *  _UNEXPECTED. */
ZEL_API uint32_t zelSetAutoPowerOff(PenHandle *pen, uint16_t value);

/** Tells after how long the pen switches itself off. One exchange.
 *  pen    connected pen; borrowed for the call; one thread at a time
 *  value  receives the time in the pen's own unit
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT, _PEN_LOCKED, _COMMUNICATION,
 *  _UNEXPECTED. */
ZEL_API uint32_t zelGetAutoPowerOff(PenHandle *pen, uint16_t *value);

/** Sets the time after which the pen wakes by itself. One exchange.
 *  pen      connected pen; borrowed for the call; one thread at a time
 *  seconds  0 (never) or 60 to 86400
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT, _NOT_SUPPORTED (software older than
 *  0x0502), _VALUE_OUT_OF_RANGE, _PEN_LOCKED, _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t zelSetWakeUpTime(PenHandle *pen, uint32_t seconds);

/** Tells the time after which the pen wakes by itself. One exchange.
 *  pen      connected pen; borrowed for the call; one thread at a time
 *  seconds  receives the time, 0 for never
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT, _NOT_SUPPORTED (software older than
 *  0x0502), _PEN_LOCKED, _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t zelGetWakeUpTime(PenHandle *pen, uint32_t *seconds);

/** Hands out four of the pen's revision texts: numbers 0, 1 (hardware), 3 and 5 of its list. One exchange.
 *  pen                    connected pen; borrowed for the call; one thread at a time
 *  revision0 ... 5        receive the texts; zelFreeString each. All untouched on failure.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT, _PEN_LOCKED, _COMMUNICATION,
 *  _UNEXPECTED (also: the pen's list is too short). */
ZEL_API uint32_t zelGetPenRevisions(PenHandle *pen, char **revision0, char **revision1, char **revision3,
                                    char **revision5);

/* ---- Pages ----------------------------------------------------------------------------------------- */

/** Hands out the list of pages that hold strokes. One exchange.
 *  pen         connected pen; borrowed for the call; one thread at a time
 *  text        receives the page addresses in ascending order, each followed by ";"
 *              ("1.2.3.4;1.2.3.5;"); zelFreePageList
 *  totalBytes  receives the bytes of strokes that the pen holds, cut to 32 bits; 0 after every failure
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT, _UNEXPECTED (every failure of the
 *  exchange, also a locked pen or a lost connection). */
ZEL_API uint32_t zelGetPageList(PenHandle *pen, char **text, uint32_t *totalBytes);

/** Fetches the strokes of the pages that a list names, with the stylo pages and the properties that
 *  identify the pen, as one block of page data.
 *  pen        connected pen; borrowed for the call; one thread at a time
 *  addresses  page addresses, separated or ended by ";", as zelGetPageList gives them. A page is taken
 *             when its address occurs anywhere in this text, hence also inside a longer address; as many
 *             pages must be taken as addresses are listed.
 *  progress   called on this thread before the first page and after each; may be null
 *  data       receives the page data; zelFreePageData. Null after every failure.
 *  length     receives its length in bytes; 0 after every failure
 *  Blocks for one exchange per page and sixteen more. The pen shows its user that it is being read.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null, a handle that never connected,
 *  an empty list, a list that does not match the pen's pages, or a failure after which the pen's session
 *  could be ended), _SYNC_BUSY, _PEN_LOCKED and _COMMUNICATION (the session could not be opened or
 *  ended), _UNEXPECTED. */
ZEL_API uint32_t zelGetPages(PenHandle *pen, const char *addresses, ProgressCallback progress, uint8_t **data,
                             uint32_t *length);

/** Fetches every page; otherwise as zelGetPages. A pen without pages gives data that holds its properties
 *  and stylo pages only. */
ZEL_API uint32_t zelGetAllPages(PenHandle *pen, ProgressCallback progress, uint8_t **data, uint32_t *length);

/** Removes the strokes of one page from the pen. One exchange.
 *  pen      connected pen; borrowed for the call; one thread at a time
 *  address  of the page, "1.2.3.4" or "1.2.3.4.5"; trailing numbers may be "*"
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT, _UNEXPECTED (a malformed address, and
 *  every failure of the exchange). */
ZEL_API uint32_t zelRemovePage(PenHandle *pen, const char *address);

/** Removes all strokes from the pen. One exchange.
 *  pen  connected pen; borrowed for the call; one thread at a time
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT, _UNEXPECTED (every failure of the
 *  exchange). */
ZEL_API uint32_t zelRemoveAllStrokes(PenHandle *pen);

/* ---- Lock and password ----------------------------------------------------------------------------- */

/** Unlocks the pen. One exchange; the password itself is not sent, but a digest of it and the pen's
 *  identity.
 *  pen       connected pen; borrowed for the call; one thread at a time
 *  password  its first 255 bytes count
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null, or the pen refused the
 *  password), _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t zelUnlockPen(PenHandle *pen, const char *password);

/** Sets the pen's password and its hint. Two exchanges.
 *  pen          connected pen; borrowed for the call; one thread at a time
 *  current      the password in force, empty when there is none
 *  newPassword  1 to 31 bytes
 *  hint         at most 255 bytes; set even when the pen refuses the password
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null, a length, or the pen refused
 *  the current password), _PEN_LOCKED, _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t zelSetPasswordData(PenHandle *pen, const char *current, const char *newPassword,
                                    const char *hint);

/** Removes the pen's password and its hint. Two exchanges.
 *  pen      connected pen; borrowed for the call; one thread at a time
 *  current  the password in force; the hint is removed even when the pen refuses it
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null, or the pen refused the current
 *  password), _PEN_LOCKED, _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t zelRemovePasswordData(PenHandle *pen, const char *current);

/** Hands out the hint to the pen's password. One exchange.
 *  pen   connected pen; borrowed for the call; one thread at a time
 *  hint  receives the hint; zelFreeString
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT, _PEN_LOCKED, _COMMUNICATION,
 *  _UNEXPECTED. */
ZEL_API uint32_t zelGetPasswordHint(PenHandle *pen, char **hint);

/** Tells whether the pen is locked. One exchange.
 *  pen     connected pen; borrowed for the call; one thread at a time
 *  locked  receives 0 (not locked) or another number (locked); 1 after every failure
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT, _PEN_LOCKED, _COMMUNICATION,
 *  _UNEXPECTED. */
ZEL_API uint32_t zelGetPenLockedStatus(PenHandle *pen, uint8_t *locked);

/* ---- Certificates, signing key and encrypted data: pens with software 0x0503 or newer --------------- */

/** Installs the certificate authenticator. One exchange.
 *  pen             connected pen; borrowed for the call; one thread at a time
 *  data1, length1  first part; may be empty
 *  data2, length2  second part; at least one byte
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null, or no second part),
 *  _NOT_SUPPORTED, _PEN_LOCKED, _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t zelInstallCertificateAuthenticator(PenHandle *pen, const uint8_t *data1, uint32_t length1,
                                                    const uint8_t *data2, uint32_t length2);

/** Tells whether the pen holds a certificate authenticator. One exchange.
 *  pen   connected pen; borrowed for the call; one thread at a time
 *  flag  receives 1 or 0
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT, _NOT_SUPPORTED, _PEN_LOCKED,
 *  _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t zelHasCertificateAuthenticator(PenHandle *pen, uint8_t *flag);

/** Installs the signing key. One exchange.
 *  pen                         connected pen; borrowed for the call; one thread at a time
 *  number                      passed on to the pen with the key
 *  data1, length1 ... 8        the eight parts of the key; any may be empty
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT, _NOT_SUPPORTED, _PEN_LOCKED,
 *  _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t zelInstallSigningKey(PenHandle *pen, uint16_t number, const uint8_t *data1, uint32_t length1,
                                      const uint8_t *data2, uint32_t length2, const uint8_t *data3,
                                      uint32_t length3, const uint8_t *data4, uint32_t length4,
                                      const uint8_t *data5, uint32_t length5, const uint8_t *data6,
                                      uint32_t length6, const uint8_t *data7, uint32_t length7,
                                      const uint8_t *data8, uint32_t length8);

/** Tells whether the pen holds a signing key; otherwise as zelHasCertificateAuthenticator. */
ZEL_API uint32_t zelHasSigningKey(PenHandle *pen, uint8_t *flag);

/** Removes the signing key. One exchange.
 *  pen  connected pen; borrowed for the call; one thread at a time
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT, _NOT_SUPPORTED, _PEN_LOCKED,
 *  _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t zelClearSigningKey(PenHandle *pen);

/** Installs the certificate. One exchange.
 *  pen           connected pen; borrowed for the call; one thread at a time
 *  data, length  the certificate
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT, _NOT_SUPPORTED, _PEN_LOCKED,
 *  _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t zelInstallCertificate(PenHandle *pen, const uint8_t *data, uint32_t length);

/** Tells the three numbers that describe the certificate. One exchange.
 *  pen                     connected pen; borrowed for the call; one thread at a time
 *  number, value1, value2  receive the numbers in the pen's order; 0 after every failure
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT, _NOT_SUPPORTED, _PEN_LOCKED,
 *  _COMMUNICATION, _UNEXPECTED (also: the pen has no certificate to describe). */
ZEL_API uint32_t zelGetCertificateInfo(PenHandle *pen, uint16_t *number, uint64_t *value1, uint64_t *value2);

/** Removes the certificate; otherwise as zelClearSigningKey. */
ZEL_API uint32_t zelClearCertificate(PenHandle *pen);

/** Tells whether the pen holds encrypted data; otherwise as zelHasCertificateAuthenticator. */
ZEL_API uint32_t zelHasEncryptedData(PenHandle *pen, uint8_t *flag);

/** Fetches the pen's encrypted data. Two to four exchanges; the pen shows its user that it is being read.
 *  pen       connected pen; borrowed for the call; one thread at a time
 *  argument  has no effect
 *  data      receives the bytes; zelFreePageData. Null after every failure.
 *  length    receives their count; 0 after every failure
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null, or there is no encrypted data),
 *  _NOT_SUPPORTED, _PEN_LOCKED, _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t zelGetEncryptedData(PenHandle *pen, uint64_t argument, uint8_t **data, uint32_t *length);

/** Removes the pen's encrypted data. One exchange.
 *  pen  connected pen; borrowed for the call; one thread at a time
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null, or the pen did not do it),
 *  _NOT_SUPPORTED, _PEN_LOCKED, _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t zelClearEncryptedData(PenHandle *pen);

/* ---- User data and status -------------------------------------------------------------------------- */

/** Stores the three texts of the owner in the pen. Three exchanges; a failure leaves the later texts as
 *  they were.
 *  pen                  connected pen; borrowed for the call; one thread at a time
 *  textA, textB, textC  may be empty, not null
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT, _PEN_LOCKED, _COMMUNICATION,
 *  _UNEXPECTED. */
ZEL_API uint32_t zelSetUserData(PenHandle *pen, const char *textA, const char *textB, const char *textC);

/** Hands out the three texts of the owner. Four exchanges.
 *  pen                  connected pen; borrowed for the call; one thread at a time
 *  textA, textB, textC  receive the texts; zelFreeString each
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT, _PEN_LOCKED, _COMMUNICATION,
 *  _UNEXPECTED. */
ZEL_API uint32_t zelGetUserData(PenHandle *pen, char **textA, char **textB, char **textC);

/** Tells how much of the pen's memory is used. Two exchanges.
 *  pen          connected pen; borrowed for the call; one thread at a time
 *  used, total  receive bytes; all bits set after every failure
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT, _PEN_LOCKED, _COMMUNICATION,
 *  _UNEXPECTED. */
ZEL_API uint32_t zelGetMemoryStatus(PenHandle *pen, uint64_t *used, uint64_t *total);

/** Tells the five numbers that describe the pen's battery. Two exchanges.
 *  pen              connected pen; borrowed for the call; one thread at a time
 *  value0 ... 4     receive the numbers in the pen's order; 65535 is unknown, and after every failure
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT, _PEN_LOCKED, _COMMUNICATION,
 *  _UNEXPECTED. */
ZEL_API uint32_t zelGetBatteryStatus(PenHandle *pen, uint16_t *value0, uint16_t *value1, uint16_t *value2,
                                     uint16_t *value3, uint16_t *value4);

/** Tells whether the pen deletes strokes securely. One exchange.
 *  pen   connected pen; borrowed for the call; one thread at a time
 *  flag  receives 1, or 0 (also when the pen does not tell); untouched with ZEL_ERR_NOT_SUPPORTED
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT, _NOT_SUPPORTED (software older than
 *  0x0502), _PEN_LOCKED, _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t zelGetSecureDeleteEnabled(PenHandle *pen, uint8_t *flag);

/* ---- Firmware-upgrade mode (DFU), independent of the functions above -------------------------------- */

/** Starts to listen for pens in firmware-upgrade mode.
 *  callbackContext    handed to both callbacks; may be null; must stay valid until zelDfuExit returns
 *  arrived, departed  called on the library's thread until zelDfuExit returns
 *  When the rendezvous server goes away, listening ends; start again with zelDfuExit and zelDfuInit.
 *  Returns ZEL_OK or ZEL_ERR_ALREADY_INITIALIZED, _INVALID_ARGUMENT (a callback is null, or the listener
 *  could not be started), _UNEXPECTED. */
ZEL_API uint32_t zelDfuInit(void *callbackContext, PenArrivedCallback arrived, PenDepartedCallback departed);

/** Stops listening for pens in firmware-upgrade mode; waits as zelExit does.
 *  Returns ZEL_OK, also when nothing listened, or ZEL_ERR_UNEXPECTED. */
ZEL_API uint32_t zelDfuExit(void);

/** Connects to a pen in firmware-upgrade mode.
 *  pen     receives the handle; zelDfuDisconnectPen. When the pen cannot be reached
 *          (ZEL_ERR_UNEXPECTED) it holds one all the same (null if there was no memory for one), which
 *          the host disconnects.
 *  record  of an arrival in this mode; borrowed
 *  No exchange with the pen beyond the connection itself.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null, or a departure record),
 *  _UNEXPECTED. */
ZEL_API uint32_t zelDfuConnectPen(DfuPenHandle **pen, const DiscoveryHandle *record);

/** Disconnects a pen in firmware-upgrade mode, releases its handle and sets the host's pointer to null.
 *  pen  where the host keeps the handle; a null there is ZEL_OK
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT, _UNEXPECTED. */
ZEL_API uint32_t zelDfuDisconnectPen(DfuPenHandle **pen);

/** Tells the firmware-upgrade mode that a pen announced. Needs no zelDfuInit; no exchange.
 *  record  of an arrival or a departure; borrowed
 *  mode    receives the announced number; 0 after every failure
 *  Returns ZEL_OK or ZEL_ERR_INVALID_ARGUMENT. */
ZEL_API uint32_t zelDfuGetMode(const DiscoveryHandle *record, uint8_t *mode);

/** Resets the pen's USB port. One exchange.
 *  pen  connected pen in firmware-upgrade mode; borrowed for the call; one thread at a time
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null, or the pen answered with
 *  nothing), _PEN_LOCKED, _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t zelDfuResetPort(DfuPenHandle *pen);

/** Aborts the upgrade that is under way; otherwise as zelDfuResetPort. */
ZEL_API uint32_t zelDfuAbort(DfuPenHandle *pen);

/** Clears an error status; otherwise as zelDfuResetPort. */
ZEL_API uint32_t zelDfuClearStatus(DfuPenHandle *pen);

/** Lets the pen leave its application for firmware-upgrade mode; otherwise as zelDfuResetPort. */
ZEL_API uint32_t zelDfuDetach(DfuPenHandle *pen);

/** Detaches the pen's boot loader; otherwise as zelDfuResetPort. */
ZEL_API uint32_t zelDfuDetachBoot(DfuPenHandle *pen);

/** Tells the state of the upgrade. One exchange.
 *  pen    connected pen in firmware-upgrade mode; borrowed for the call; one thread at a time
 *  state  receives the state as USB's device firmware upgrade class numbers them; untouched on failure
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null, or an answer of another type),
 *  _PEN_LOCKED, _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t zelDfuGetState(DfuPenHandle *pen, int32_t *state);

/** Tells the status of the upgrade. One exchange.
 *  pen     connected pen in firmware-upgrade mode; borrowed for the call; one thread at a time
 *  status  room for 6 bytes: status, poll timeout (3 bytes), state, string index; untouched on failure
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null, or an answer of another type or
 *  length), _PEN_LOCKED, _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t zelDfuGetStatus(DfuPenHandle *pen, uint8_t *status);

/** Tells the functional descriptor of the upgrade. One exchange.
 *  pen         connected pen in firmware-upgrade mode; borrowed for the call; one thread at a time
 *  descriptor  room for 7 bytes; untouched on failure
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null, or an answer of another type or
 *  length), _PEN_LOCKED, _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t zelDfuGetFunctionalDescriptor(DfuPenHandle *pen, uint8_t *descriptor);

/** Sends one block of firmware. One exchange.
 *  pen    connected pen in firmware-upgrade mode; borrowed for the call; one thread at a time
 *  block  two 16-bit numbers in the host's byte order, the second one the length n, then n bytes of
 *         data; the n + 4 bytes are sent as they are
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null, or the pen answered with
 *  nothing), _PEN_LOCKED, _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t zelDfuDownload(DfuPenHandle *pen, const void *block);

#ifdef __cplusplus
}
#endif

#endif
