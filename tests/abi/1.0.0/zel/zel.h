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
 *     leaves a function, and the library prints and logs nothing. When several codes apply, a function
 *     returns the first of this list:
 *     a. ZEL_ERR_NOT_INITIALIZED or ZEL_ERR_ALREADY_INITIALIZED,
 *     b. ZEL_ERR_INVALID_ARGUMENT for a null,
 *     c. ZEL_ERR_NOT_SUPPORTED, when the pen's software is too old,
 *     d. ZEL_ERR_INVALID_ARGUMENT, _VALUE_OUT_OF_RANGE or _DEVICE_NOT_SUPPORTED for a value that cannot be
 *        used,
 *     e. the result of the exchange with the pen.
 *     Two codes mean the same everywhere, and the descriptions list them without a comment.
 *     ZEL_ERR_NOT_INITIALIZED: before zelInitialize or after zelExit; for the zelDfu... functions before
 *     zelDfuInit or after zelDfuExit. ZEL_ERR_UNEXPECTED: no memory, an answer that makes no sense, a
 *     property that the pen refuses to set, or any other error that the pen answers. A pen that does not
 *     know a request gives ZEL_ERR_UNEXPECTED too, except in the section on certificates, signing key and
 *     encrypted data, where it gives ZEL_ERR_NOT_SUPPORTED.
 *
 *  2. Nulls. A null handle, record, output or required input gives ZEL_ERR_INVALID_ARGUMENT, and nothing is
 *     sent to the pen. A null data pointer with length 0 is an empty run of bytes.
 *
 *  3. Ownership. What a function hands out belongs to the host. The host gives it back to the function that
 *     the description names, never to its own allocator: texts to zelFreeString, the page list to
 *     zelFreePageList, page data and encrypted data to zelFreePageData, records to zelFreeDiscoveryHandle,
 *     handles to zelDisconnectPen or zelDfuDisconnectPen. These functions set the host's pointer to null.
 *     When the pointer is null already, they do nothing and return ZEL_OK. What was handed out stays valid
 *     until it is given back, also after zelExit. The library only borrows inputs, for the time of the call.
 *
 *  4. Outputs on failure. A text output is null after every failure, unless its description says otherwise.
 *     Other outputs have a meaning only after ZEL_OK, or where a description says what they hold.
 *
 *  5. Threads. No other function may run at the same time as zelInitialize, zelExit or zelEnumeratePens; and
 *     no other zelDfu... function at the same time as zelDfuInit or zelDfuExit. This does not hold for the
 *     zelFree... functions, zelGetApiVersion and zelDfuGetMode, which any thread may call at any time, and
 *     for a callback that zelExit, zelEnumeratePens or zelDfuExit waits for: it may call what callbacks may
 *     call. One handle belongs to one thread at a time: a host must not disconnect it while another thread
 *     uses it. Different threads may use different handles at the same time.
 *     A process made by fork() has no listener thread: no pen is reported in it, and its handles share
 *     their connections with the parent. It must not call this library.
 *
 *  6. Blocking. A function on a connected pen blocks the calling thread for one exchange (a request and its
 *     response) with the pen's service, or for as many as its description says. There is no time limit: when
 *     the service never answers, the function blocks until the service closes the connection. When the
 *     connection is lost, or an answer cannot be read to its end, every later exchange through the handle
 *     fails with ZEL_ERR_COMMUNICATION (or with the code that the function has for every failure). The
 *     handle stays valid until it is disconnected; a new zelConnectPen makes a new connection.
 *
 *  7. Callbacks. The library reports arrivals and departures on a thread of its own, one at a time, also
 *     while the host runs functions. It reports the next one after the callback has returned. A callback may
 *     call every function except zelInitialize, zelExit and zelEnumeratePens (in firmware-upgrade mode:
 *     zelDfuInit and zelDfuExit), which would wait for the callback itself. The library reports progress on
 *     the thread that called the retrieval.
 *     No callback may throw an exception or leave by longjmp(). On Windows the library cannot even catch an
 *     exception of Microsoft's C++: it ends the process.
 *     A callback that does not return within 5 seconds of zelExit, zelEnumeratePens or zelDfuExit is
 *     stopped where it stands, for good. What it holds at that moment stays as it is: a lock stays
 *     locked. If it stands inside the host's memory allocator, the heap may stay locked, and then the
 *     next thread that allocates waits for ever. On Linux the library stops it by SIGURG, which it
 *     handles for that moment and passes on for all other threads. A callback that keeps SIGURG out makes
 *     these functions wait a second longer; they then return while it runs on, and its thread stops when
 *     it returns.
 *     On Linux the library's thread keeps the signals out that a host handles on threads of its own
 *     (SIGINT, SIGTERM, SIGCHLD, SIGALRM and the like), but not the real-time signals, SIGPWR, SIGXCPU,
 *     SIGPROF and SIGVTALRM, by which runtimes suspend and profilers sample a thread.
 *     In a managed runtime (.NET, Java, Python) a callback runs on a thread that the runtime did not make.
 *     It must not wait for a thread that may be inside zelExit, and should only put the record into a queue:
 *     a thread that is stopped inside the runtime can stop the whole runtime. The host keeps the function
 *     objects behind the callbacks alive until zelExit has returned.
 *
 *  8. Texts are NUL-terminated runs of bytes in the encoding that the pen uses; the library neither checks
 *     nor converts it. Serials, page addresses and the library's version, which the library makes itself,
 *     are ASCII. A pen may answer the question for a text with a value of another type. The function still
 *     returns ZEL_OK, and the text describes the value for people: "(int32) 7".
 *
 *  9. Numbers are in the host's byte order in every argument. A number that the pen answers is cut or
 *     extended with zeros to the size of the output; an answer that is no number counts as 0, unless the
 *     description says otherwise. Page data is a run of bytes in network (big-endian) order. Times are
 *     milliseconds since 1 January 1970, GMT, or seconds where the name says so; sizes and lengths are
 *     bytes.
 *
 *  10. Software versions. Some functions need a pen with new enough software and give
 *     ZEL_ERR_NOT_SUPPORTED for any other. What counts is the version that the pen announced or, if it
 *     announced none, the one that zelConnectPen reads from the pen. A locked pen does not tell its version.
 *     If such a pen announced none either, its handle counts as one with old software, also after
 *     zelUnlockPen: disconnect the pen and connect it again. Versions are compared as signed 16-bit numbers.
 *
 *  11. The library in its process. Once loaded it is never unloaded: dlclose() and FreeLibrary() leave it
 *     where it is, and the next dlopen() or LoadLibrary() finds it as it was, initialised if it was.
 *     Functions may be called while the process ends, in a handler of atexit() and on threads that still
 *     run; a host that ends without zelExit loses nothing.
 *     On Windows a DllMain may call zelExit, zelDfuExit, the zelFree... functions and zelGetApiVersion,
 *     and nothing else. A thread that is about to load a DLL waits for that DllMain, so zelExit may take
 *     its 5 seconds there, and stop the thread: a host that unloads a plug-in calls zelExit before that.
 *     When the process ends there is no need for zelExit; by then Windows has ended the library's thread
 *     already.
 *     On Linux a thread that is cancelled (pthread_cancel) inside a function ends when the function is
 *     done. A cancellation on the library's own thread ends a callback, and with it the thread: no more
 *     pens are reported.
 *
 *  C99 or C++. */

#ifndef ZEL_ZEL_H
#define ZEL_ZEL_H

#if defined(_WIN32) && !defined(_WIN64)
#error "zel.dll exists for 64-bit Windows only"
#endif

#include <stdint.h>

/** The release that this header belongs to. */
#define ZEL_VERSION_MAJOR 1
#define ZEL_VERSION_MINOR 0
#define ZEL_VERSION_PATCH 0
/** What zelGetApiVersion hands out when the library at run time offers the functions of this header. */
#define ZEL_API_VERSION "1.0.0.0_6"

#if defined(__GNUC__) && !defined(_WIN32)
#define ZEL_API __attribute__((visibility("default")))
#else
#define ZEL_API
#endif

/** The calling convention of every function and callback. Windows compilers can be told to use another one
 *  by default (/Gv). A host that does so declares its callbacks with it:
 *  static void ZEL_CALL penArrived(DiscoveryHandle *record, void *callbackContext) */
#ifdef _WIN32
#define ZEL_CALL __cdecl
#else
#define ZEL_CALL
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Result codes. 7 is never returned. */

#define ZEL_OK 0u
/** A null pointer, a departure record where an arrival is needed, a value that the function or the pen
 *  refuses, or a listener that could not be started. */
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
/** The USB identity of the pen is not among the accepted ones. */
#define ZEL_ERR_DEVICE_NOT_SUPPORTED 10u
/** Any other failure (conventions, 1). */
#define ZEL_ERR_UNEXPECTED 11u

/* DiscoveryHandle.kind */

#define ZEL_PEN_ARRIVED 0u
#define ZEL_PEN_DEPARTED 1u

/** A connected pen; see zelConnectPen. */
typedef struct PenHandle PenHandle;

/** A connected pen in firmware-upgrade mode; see zelDfuConnectPen. */
typedef struct DfuPenHandle DfuPenHandle;

/** One arrival or departure of a pen. The library makes it. The host may read these fields; others follow
 *  them, so never copy a record. It lives until zelFreeDiscoveryHandle, also after zelExit. */
#pragma pack(push, 8) /* whatever packing the host's own code has chosen */
typedef struct DiscoveryHandle {
    uint32_t kind;  /**< ZEL_PEN_ARRIVED or ZEL_PEN_DEPARTED */
    uint64_t penId; /**< the pen's identity, the same in its arrivals and departures */
} DiscoveryHandle;
#pragma pack(pop)

/** Reports that a pen arrived.
 *  record           never null; belongs to the host from here on: zelFreeDiscoveryHandle, in the callback or
 *                   later
 *  callbackContext  as given to zelInitialize or zelDfuInit; the library never looks at it
 *  Runs on the library's thread (conventions, 7); should return promptly. A pen that the host knows already
 *  can be reported again, without a departure in between: after zelEnumeratePens, and after the rendezvous
 *  server was away (see zelInitialize). */
typedef void(ZEL_CALL *PenArrivedCallback)(DiscoveryHandle *record, void *callbackContext);

/** Reports that a pen departed.
 *  record           never null; belongs to the host from here on: zelFreeDiscoveryHandle, in the callback or
 *                   later
 *  callbackContext  as given to zelInitialize or zelDfuInit; the library never looks at it
 *  Runs on the library's thread (conventions, 7); should return promptly. Handles that are connected to the
 *  pen stay until the host disconnects them. */
typedef void(ZEL_CALL *PenDepartedCallback)(DiscoveryHandle *record, void *callbackContext);

/** Reports the progress of a page retrieval.
 *  penText     the pen's serial text; valid as long as the handle
 *  bytesSoFar  bytes of strokes fetched, by the sizes in the pen's page list
 *  bytesTotal  bytes of strokes to fetch; the same in every call
 *  Runs on the thread that called the retrieval: once before the first page (0 bytes) and once after each
 *  page. It may call functions, but none on the handle that the pages come from. */
typedef void(ZEL_CALL *ProgressCallback)(const char *penText, uint32_t bytesSoFar, uint32_t bytesTotal);

/* ---- The library and the pens it finds ----------------------------------------------------------------- */

/** Starts the library: from here on it reports pens, first those that are present.
 *  arrived, departed  called on the library's thread until zelExit returns
 *  callbackContext    handed to both; may be null; must stay valid until zelExit returns
 *  Does not wait for the rendezvous server. While the server is absent the library tries again every
 *  3 seconds, also when the server goes away later. When it is back, the library reports all pens that are
 *  present then as arrivals, also those that it has reported before. It never reports which pens departed
 *  meanwhile.
 *  The library reports pens that announce version 4.1 of the pen service protocol, version 4.0 with software
 *  up to 0x0503, or the firmware-upgrade protocol 1.0 with software 0x0100. In the server's list of present
 *  pens, the first pen of any other kind ends the reports: the pens behind it are not reported.
 *  Returns ZEL_OK or ZEL_ERR_ALREADY_INITIALIZED, _INVALID_ARGUMENT (a callback is null, or memory or
 *  descriptors for the listener's thread are lacking), _UNEXPECTED (also when the system gives no thread).
 *  When no thread could be made or started the library counts as initialised: call zelExit. */
ZEL_API uint32_t ZEL_CALL zelInitialize(PenArrivedCallback arrived, PenDepartedCallback departed,
                                        void *callbackContext);

/** Stops the library. No callback runs after it has returned, but for one that cannot be stopped.
 *  Waits for a callback that is running, but no longer than 5 seconds: then its thread is stopped where it
 *  stands (conventions, 7).
 *  Disconnect pens before. zelDisconnectPen gives ZEL_ERR_NOT_INITIALIZED afterwards: the handle and its
 *  socket stay until the library is initialised again and the handle is disconnected. Texts, data and
 *  records can be released at any time.
 *  Returns ZEL_OK, also when the library was not initialised, or ZEL_ERR_UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelExit(void);

/** Hands out the version of the API, ZEL_API_VERSION.
 *  text  receives the version; zelFreeString
 *  Needs no zelInitialize. No exchange with a pen.
 *  Returns ZEL_OK or ZEL_ERR_INVALID_ARGUMENT (text is null), _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelGetApiVersion(char **text);

/** Reports every present pen once more, each with a new arrival record, in the order of the server's list,
 *  up to the first pen that is not supported (see zelInitialize).
 *  Restarts the listener: waits for a running callback as zelExit does. The reports follow on the library's
 *  thread. A departure that happens during the restart is not reported.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (memory or descriptors for the listener's
 *  thread are lacking), _UNEXPECTED (also when the system gives no thread). The library stays initialised
 *  after a failure and reports no pens until a later call succeeds. */
ZEL_API uint32_t ZEL_CALL zelEnumeratePens(void);

/** Releases a text and sets the host's pointer to null.
 *  text  where the host keeps the pointer to the text; a null there is ZEL_OK
 *  Needs no zelInitialize. No exchange with a pen.
 *  Returns ZEL_OK or ZEL_ERR_INVALID_ARGUMENT (text is null), _UNEXPECTED (the pointer is unchanged). */
ZEL_API uint32_t ZEL_CALL zelFreeString(char **text);

/** Releases a page list of zelGetPageList and sets the host's pointer to null.
 *  text  where the host keeps the pointer to the page list; a null there is ZEL_OK
 *  Needs no zelInitialize. No exchange with a pen.
 *  Returns ZEL_OK or ZEL_ERR_INVALID_ARGUMENT (text is null), _UNEXPECTED (the pointer is unchanged). */
ZEL_API uint32_t ZEL_CALL zelFreePageList(char **text);

/** Releases data of zelGetPages, zelGetAllPages or zelGetEncryptedData and sets the host's pointer to null.
 *  data  where the host keeps the pointer to the data; a null there is ZEL_OK
 *  Needs no zelInitialize. No exchange with a pen.
 *  Returns ZEL_OK or ZEL_ERR_INVALID_ARGUMENT (data is null), _UNEXPECTED (the pointer is unchanged). */
ZEL_API uint32_t ZEL_CALL zelFreePageData(uint8_t **data);

/** Releases a record that a callback was given and sets the host's pointer to null.
 *  record  where the host keeps the pointer to the record; a null there is ZEL_OK
 *  Needs no zelInitialize. No exchange with a pen.
 *  Returns ZEL_OK or ZEL_ERR_INVALID_ARGUMENT (record is null), _UNEXPECTED (the pointer is unchanged). */
ZEL_API uint32_t ZEL_CALL zelFreeDiscoveryHandle(DiscoveryHandle **record);

/** Hands out the serial text of a reported pen, in the form XXX-XXX-XXX-XX.
 *  record  of an arrival or a departure; borrowed
 *  text    receives the serial ("INVALID-PEN-ID" for an identity of which all bits are set); zelFreeString
 *  Works on records of both modes, while one of the two is initialised. No exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null), _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelGetDevicePenSerial(const DiscoveryHandle *record, char **text);

/** Tells the USB vendor id and product id that a pen announced, 0 for one that it did not announce.
 *  record               of an arrival or a departure; borrowed
 *  vendorId, productId  receive the ids with ZEL_OK and with ZEL_ERR_NOT_SUPPORTED; otherwise untouched
 *  No exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null), _NOT_SUPPORTED (the pen announced
 *  software older than 0x0503; the ids are written all the same), _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelGetDeviceVidAndPid(const DiscoveryHandle *record, uint16_t *vendorId,
                                                uint16_t *productId);

/* ---- Connection and identity --------------------------------------------------------------------------- */

/** Connects to a pen that arrived.
 *  record  of an arrival; borrowed; may be released as soon as the function has returned
 *  pen     receives the handle; zelDisconnectPen. With ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT and
 *          _DEVICE_NOT_SUPPORTED it is untouched. After every other failure it holds a handle all the same
 *          (null if there was no memory for one), which the host disconnects.
 *  Blocks for the connection and up to two exchanges: asks whether the pen is locked and, unless it is,
 *  reads its software version. A locked pen connects with ZEL_OK. A pen whose answer to the first question
 *  fails counts as locked: ZEL_OK, also when that exchange lost the connection, which the next function on
 *  the handle then tells.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null, or a departure record),
 *  _DEVICE_NOT_SUPPORTED, _COMMUNICATION and _PEN_LOCKED (connected, but the software version could not be
 *  read), _UNEXPECTED (also: the pen's service could not be reached; functions on such a handle behave as on
 *  a lost connection). */
ZEL_API uint32_t ZEL_CALL zelConnectPen(const DiscoveryHandle *record, PenHandle **pen);

/** Disconnects a pen, releases its handle and sets the host's pointer to null.
 *  pen  where the host keeps the handle; a null there is ZEL_OK
 *  Needs an initialised library: disconnect before zelExit. No exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED (the handle and its connection stay), _INVALID_ARGUMENT (pen is
 *  null), _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelDisconnectPen(PenHandle **pen);

/** Hands out the serial text of a connected pen, as it was announced: XXX-XXX-XXX-XX.
 *  pen   connected pen; borrowed for the call; one thread at a time
 *  text  receives the serial ("INVALID-PEN-ID" for an identity of which all bits are set); zelFreeString
 *  No exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null), _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelGetPenSerial(PenHandle *pen, char **text);

/** Hands out the pen's product name.
 *  pen   connected pen; borrowed for the call; one thread at a time
 *  text  receives the name; zelFreeString
 *  Blocks the calling thread for one exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null, or the pen has no name),
 *  _PEN_LOCKED, _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelGetPenProductName(PenHandle *pen, char **text);

/* ---- Settings ------------------------------------------------------------------------------------------ */

/** Sets the pen's clock.
 *  pen     connected pen; borrowed for the call; one thread at a time
 *  millis  milliseconds since 1 January 1970, GMT
 *  Blocks the calling thread for one exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null), _PEN_LOCKED, _COMMUNICATION,
 *  _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelSetTime(PenHandle *pen, uint64_t millis);

/** Reads the pen's clock, and the host's clock as the pen last saw it.
 *  pen         connected pen; borrowed for the call; one thread at a time
 *  penTime     receives milliseconds since 1 January 1970, GMT; 0 after every failure, and when the pen
 *              answers with anything but a 64-bit number
 *  systemTime  receives the host's clock in the same way
 *  Blocks the calling thread for two exchanges with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null), _PEN_LOCKED, _COMMUNICATION,
 *  _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelGetTime(PenHandle *pen, uint64_t *penTime, uint64_t *systemTime);

/** Switches the pen's Bluetooth on or off.
 *  pen   connected pen; borrowed for the call; one thread at a time
 *  flag  0 off, any other number on
 *  Blocks the calling thread for one exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null), _PEN_LOCKED, _COMMUNICATION,
 *  _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelSetBluetoothEnabled(PenHandle *pen, uint8_t flag);

/** Tells whether the pen's Bluetooth is on.
 *  pen   connected pen; borrowed for the call; one thread at a time
 *  flag  receives 1 (on) or 0 (off, or the pen does not tell); 0 after every failure
 *  Blocks the calling thread for one exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null), _PEN_LOCKED, _COMMUNICATION,
 *  _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelGetBluetoothEnabled(PenHandle *pen, uint8_t *flag);

/** Allows the pen to be discovered over Bluetooth, or forbids it.
 *  pen   connected pen; borrowed for the call; one thread at a time
 *  flag  0 forbidden, any other number allowed
 *  Blocks the calling thread for one exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null), _PEN_LOCKED, _COMMUNICATION,
 *  _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelSetBluetoothDiscoverableAllowed(PenHandle *pen, uint8_t flag);

/** Tells whether the pen may be discovered over Bluetooth.
 *  pen   connected pen; borrowed for the call; one thread at a time
 *  flag  receives 1 (allowed) or 0 (forbidden, or the pen does not tell); 0 after every failure
 *  Blocks the calling thread for one exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null), _PEN_LOCKED, _COMMUNICATION,
 *  _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelGetBluetoothDiscoverableAllowed(PenHandle *pen, uint8_t *flag);

/** Sets the pen's Bluetooth PIN.
 *  pen  connected pen; borrowed for the call; one thread at a time
 *  pin  4 to 16 decimal digits; exactly 4 on some hardware revisions with software 0x0500
 *  Blocks the calling thread for three exchanges with the pen: two ask what the pen accepts, one writes.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null), _VALUE_OUT_OF_RANGE (the length, or
 *  a character that is no digit; after two exchanges, nothing is written), _PEN_LOCKED, _COMMUNICATION,
 *  _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelSetBluetoothPin(PenHandle *pen, const char *pin);

/** Hands out the pen's Bluetooth PIN.
 *  pen  connected pen; borrowed for the call; one thread at a time
 *  pin  receives the PIN, an empty text when there is none; zelFreeString. Untouched on failure.
 *  Blocks the calling thread for one exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null), _PEN_LOCKED, _COMMUNICATION,
 *  _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelGetBluetoothPin(PenHandle *pen, char **pin);

/** Sets after how long the pen switches itself off.
 *  pen    connected pen; borrowed for the call; one thread at a time
 *  value  in the pen's own unit; any number is passed on
 *  Blocks the calling thread for one exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null), _PEN_LOCKED, _COMMUNICATION,
 *  _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelSetAutoPowerOff(PenHandle *pen, uint16_t value);

/** Tells after how long the pen switches itself off.
 *  pen    connected pen; borrowed for the call; one thread at a time
 *  value  receives the time in the pen's own unit; untouched on failure
 *  Blocks the calling thread for one exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null), _PEN_LOCKED, _COMMUNICATION,
 *  _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelGetAutoPowerOff(PenHandle *pen, uint16_t *value);

/** Sets the time after which the pen wakes by itself.
 *  pen      connected pen; borrowed for the call; one thread at a time
 *  seconds  0 (never) or 60 to 86400
 *  Blocks the calling thread for one exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (pen is null), _NOT_SUPPORTED (software older
 *  than 0x0502), _VALUE_OUT_OF_RANGE, _PEN_LOCKED, _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelSetWakeUpTime(PenHandle *pen, uint32_t seconds);

/** Tells the time after which the pen wakes by itself.
 *  pen      connected pen; borrowed for the call; one thread at a time
 *  seconds  receives the time, 0 for never; untouched on failure
 *  Blocks the calling thread for one exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null), _NOT_SUPPORTED (software older than
 *  0x0502), _PEN_LOCKED, _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelGetWakeUpTime(PenHandle *pen, uint32_t *seconds);

/** Hands out four of the pen's revision texts: numbers 0, 1 (hardware), 3 and 5 of its list.
 *  pen              connected pen; borrowed for the call; one thread at a time
 *  revision0 ... 5  receive the texts; zelFreeString each. All are untouched on failure.
 *  Blocks the calling thread for one exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null), _PEN_LOCKED, _COMMUNICATION,
 *  _UNEXPECTED (also: the pen's list has fewer than seven elements). */
ZEL_API uint32_t ZEL_CALL zelGetPenRevisions(PenHandle *pen, char **revision0, char **revision1,
                                             char **revision3, char **revision5);

/* ---- Pages --------------------------------------------------------------------------------------------- */

/** Hands out the list of pages that hold strokes.
 *  pen         connected pen; borrowed for the call; one thread at a time
 *  text        receives the page addresses in ascending order, each followed by ";"
 *              ("1.2.3.4;1.2.3.5;"), an empty text when there is none; zelFreePageList
 *  totalBytes  receives the bytes of strokes that the pen holds, cut to 32 bits; 0 after every failure
 *  Blocks the calling thread for one exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null), _UNEXPECTED (every failure of the
 *  exchange, also a locked pen and a lost connection). */
ZEL_API uint32_t ZEL_CALL zelGetPageList(PenHandle *pen, char **text, uint32_t *totalBytes);

/** Fetches the strokes of the pages that a list names, with the stylo pages and the properties that
 *  identify the pen, as one block of page data.
 *  pen        connected pen; borrowed for the call; one thread at a time
 *  addresses  page addresses, separated or ended by ";", as zelGetPageList gives them. A page is taken when
 *             its address occurs anywhere in this text, hence also inside a longer address; as many pages
 *             must be taken as addresses are listed.
 *  progress   called on this thread before the first page and after each; may be null
 *  data       receives the page data; zelFreePageData. Null after every failure.
 *  length     receives its length in bytes; 0 after every failure
 *  Blocks the calling thread for one exchange per page and sixteen more. The pen shows its user that it is
 *  being read.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null, a handle that never connected, an
 *  empty list, a list that does not match the pen's pages, or any other failure after which the pen's session
 *  could be ended), _SYNC_BUSY (the pen began no session), _PEN_LOCKED and _COMMUNICATION (the session could
 *  not be begun, or not be ended after a failure), _UNEXPECTED (likewise, for another reason). */
ZEL_API uint32_t ZEL_CALL zelGetPages(PenHandle *pen, const char *addresses, ProgressCallback progress,
                                      uint8_t **data, uint32_t *length);

/** Fetches the strokes of every page, with the stylo pages and the properties that identify the pen, as one
 *  block of page data. From a pen without pages the block holds the rest.
 *  pen       connected pen; borrowed for the call; one thread at a time
 *  progress  called on this thread before the first page and after each; may be null
 *  data      receives the page data; zelFreePageData. Null after every failure.
 *  length    receives its length in bytes; 0 after every failure
 *  Blocks the calling thread for one exchange per page and sixteen more. The pen shows its user that it is
 *  being read.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null, a handle that never connected, or
 *  any failure after which the pen's session could be ended), _SYNC_BUSY (the pen began no session),
 *  _PEN_LOCKED and _COMMUNICATION (the session could not be begun, or not be ended after a failure),
 *  _UNEXPECTED (likewise, for another reason). */
ZEL_API uint32_t ZEL_CALL zelGetAllPages(PenHandle *pen, ProgressCallback progress, uint8_t **data,
                                         uint32_t *length);

/** Removes the strokes of one page from the pen.
 *  pen      connected pen; borrowed for the call; one thread at a time
 *  address  of the page, "1.2.3.4" or "1.2.3.4.5"; the last numbers may be "*"
 *  Blocks the calling thread for one exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null), _UNEXPECTED (an address of another
 *  form, which is not sent, and every failure of the exchange). */
ZEL_API uint32_t ZEL_CALL zelRemovePage(PenHandle *pen, const char *address);

/** Removes all strokes from the pen.
 *  pen  connected pen; borrowed for the call; one thread at a time
 *  Blocks the calling thread for one exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (pen is null), _UNEXPECTED (every failure of
 *  the exchange). */
ZEL_API uint32_t ZEL_CALL zelRemoveAllStrokes(PenHandle *pen);

/* ---- Lock and password --------------------------------------------------------------------------------- */

/** Unlocks the pen. The password itself is not sent, only a digest of it and the pen's identity.
 *  pen       connected pen; borrowed for the call; one thread at a time
 *  password  its first 255 bytes count
 *  Blocks the calling thread for one exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null, or the pen refused the password),
 *  _COMMUNICATION, _UNEXPECTED (also: the pen answered that it is locked). */
ZEL_API uint32_t ZEL_CALL zelUnlockPen(PenHandle *pen, const char *password);

/** Sets the pen's password and its hint. Of the current password only a digest is sent, the new one is sent
 *  as it is.
 *  pen          connected pen; borrowed for the call; one thread at a time
 *  current      the password in force, empty when there is none; its first 255 bytes count
 *  newPassword  1 to 31 bytes
 *  hint         at most 255 bytes; set also when the pen answers that the current password is wrong
 *  Blocks the calling thread for two exchanges with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null, a length, or the pen refused the
 *  current password), _PEN_LOCKED, _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelSetPasswordData(PenHandle *pen, const char *current, const char *newPassword,
                                             const char *hint);

/** Removes the pen's password and its hint. The hint is removed also when the pen answers that the current
 *  password is wrong.
 *  pen      connected pen; borrowed for the call; one thread at a time
 *  current  the password in force; its first 255 bytes count
 *  Blocks the calling thread for two exchanges with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null, or the pen refused the current
 *  password), _PEN_LOCKED, _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelRemovePasswordData(PenHandle *pen, const char *current);

/** Hands out the hint to the pen's password.
 *  pen   connected pen; borrowed for the call; one thread at a time
 *  hint  receives the hint; zelFreeString
 *  Blocks the calling thread for one exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null), _PEN_LOCKED, _COMMUNICATION,
 *  _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelGetPasswordHint(PenHandle *pen, char **hint);

/** Tells whether the pen is locked.
 *  pen     connected pen; borrowed for the call; one thread at a time
 *  locked  receives the lowest byte of the number that the pen answers: 0 (not locked; so do 256, 512 and so
 *          on) or another number (locked); 1 after every failure
 *  Blocks the calling thread for one exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null), _PEN_LOCKED, _COMMUNICATION,
 *  _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelGetPenLockedStatus(PenHandle *pen, uint8_t *locked);

/* ---- Certificates, signing key and encrypted data: pens with software 0x0503 or newer ------------------ */

/** Installs the certificate authenticator.
 *  pen             connected pen; borrowed for the call; one thread at a time
 *  data1, length1  first part; may be empty
 *  data2, length2  second part; at least one byte
 *  Blocks the calling thread for one exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null, or no second part), _NOT_SUPPORTED,
 *  _PEN_LOCKED, _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelInstallCertificateAuthenticator(PenHandle *pen, const uint8_t *data1,
                                                             uint32_t length1, const uint8_t *data2,
                                                             uint32_t length2);

/** Tells whether the pen holds a certificate authenticator.
 *  pen   connected pen; borrowed for the call; one thread at a time
 *  flag  receives 1 or 0; untouched on failure. An answer that is neither a number nor null counts as 1.
 *  Blocks the calling thread for one exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null), _NOT_SUPPORTED, _PEN_LOCKED,
 *  _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelHasCertificateAuthenticator(PenHandle *pen, uint8_t *flag);

/** Installs the signing key.
 *  pen                 connected pen; borrowed for the call; one thread at a time
 *  number              passed on to the pen with the key
 *  data1, length1 ...  the eight parts of the key; any may be empty
 *  Blocks the calling thread for one exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null), _NOT_SUPPORTED, _PEN_LOCKED,
 *  _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelInstallSigningKey(PenHandle *pen, uint16_t number, const uint8_t *data1,
                                               uint32_t length1, const uint8_t *data2, uint32_t length2,
                                               const uint8_t *data3, uint32_t length3, const uint8_t *data4,
                                               uint32_t length4, const uint8_t *data5, uint32_t length5,
                                               const uint8_t *data6, uint32_t length6, const uint8_t *data7,
                                               uint32_t length7, const uint8_t *data8, uint32_t length8);

/** Tells whether the pen holds a signing key.
 *  pen   connected pen; borrowed for the call; one thread at a time
 *  flag  receives 1 or 0; untouched on failure. An answer that is neither a number nor null counts as 1.
 *  Blocks the calling thread for one exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null), _NOT_SUPPORTED, _PEN_LOCKED,
 *  _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelHasSigningKey(PenHandle *pen, uint8_t *flag);

/** Removes the signing key.
 *  pen  connected pen; borrowed for the call; one thread at a time
 *  Blocks the calling thread for one exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null), _NOT_SUPPORTED, _PEN_LOCKED,
 *  _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelClearSigningKey(PenHandle *pen);

/** Installs the certificate.
 *  pen           connected pen; borrowed for the call; one thread at a time
 *  data, length  the certificate
 *  Blocks the calling thread for one exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null), _NOT_SUPPORTED, _PEN_LOCKED,
 *  _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelInstallCertificate(PenHandle *pen, const uint8_t *data, uint32_t length);

/** Tells the three numbers that describe the certificate.
 *  pen                     connected pen; borrowed for the call; one thread at a time
 *  number, value1, value2  receive the numbers in the pen's order; 0 after every failure
 *  Blocks the calling thread for one exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null), _NOT_SUPPORTED, _PEN_LOCKED,
 *  _COMMUNICATION, _UNEXPECTED (also: the pen has no certificate to describe). */
ZEL_API uint32_t ZEL_CALL zelGetCertificateInfo(PenHandle *pen, uint16_t *number, uint64_t *value1,
                                                uint64_t *value2);

/** Removes the certificate.
 *  pen  connected pen; borrowed for the call; one thread at a time
 *  Blocks the calling thread for one exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null), _NOT_SUPPORTED, _PEN_LOCKED,
 *  _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelClearCertificate(PenHandle *pen);

/** Tells whether the pen holds encrypted data.
 *  pen   connected pen; borrowed for the call; one thread at a time
 *  flag  receives the lowest byte of the number that the pen answers: 0 (no; so do 256, 512 and so on) or
 *        another number (yes), not always 1; untouched on failure
 *  Blocks the calling thread for one exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null), _NOT_SUPPORTED, _PEN_LOCKED,
 *  _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelHasEncryptedData(PenHandle *pen, uint8_t *flag);

/** Fetches the pen's encrypted data.
 *  pen       connected pen; borrowed for the call; one thread at a time
 *  argument  has no effect
 *  data      receives the bytes; zelFreePageData. Null after every failure.
 *  length    receives their count; 0 after every failure
 *  Blocks the calling thread for four exchanges with the pen, for two when there is no encrypted data. The
 *  pen shows its user that it is being read; when an exchange fails in between, it is not told to stop that.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null, or there is no encrypted data),
 *  _NOT_SUPPORTED, _PEN_LOCKED, _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelGetEncryptedData(PenHandle *pen, uint64_t argument, uint8_t **data,
                                              uint32_t *length);

/** Removes the pen's encrypted data.
 *  pen  connected pen; borrowed for the call; one thread at a time
 *  Blocks the calling thread for one exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (pen is null, or the pen did not do it),
 *  _NOT_SUPPORTED, _PEN_LOCKED, _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelClearEncryptedData(PenHandle *pen);

/* ---- User data and status ------------------------------------------------------------------------------ */

/** Stores the three texts of the owner in the pen, in the order B, C, A. After a failure the texts that were
 *  not yet written are as they were.
 *  pen                  connected pen; borrowed for the call; one thread at a time
 *  textA, textB, textC  may be empty, not null; at most 65,534 bytes each. A longer text cannot be sent: its
 *                       16-bit count is cut, and the pen's service misreads the request.
 *  Blocks the calling thread for three exchanges with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null), _PEN_LOCKED, _COMMUNICATION,
 *  _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelSetUserData(PenHandle *pen, const char *textA, const char *textB,
                                         const char *textC);

/** Hands out the three texts of the owner.
 *  pen                  connected pen; borrowed for the call; one thread at a time
 *  textA, textB, textC  receive the texts; zelFreeString each
 *  Blocks the calling thread for four exchanges with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null), _PEN_LOCKED, _COMMUNICATION,
 *  _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelGetUserData(PenHandle *pen, char **textA, char **textB, char **textC);

/** Tells how much of the pen's memory is used.
 *  pen    connected pen; borrowed for the call; one thread at a time
 *  used   receives total minus the free bytes that the pen tells; when these are more than total, the
 *         difference wraps to a very large number; all bits set after every failure
 *  total  receives the bytes of the pen's memory, cut to 32 bits; all bits set after every failure
 *  Blocks the calling thread for two exchanges with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null), _PEN_LOCKED, _COMMUNICATION,
 *  _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelGetMemoryStatus(PenHandle *pen, uint64_t *used, uint64_t *total);

/** Tells the five numbers that describe the pen's battery.
 *  pen           connected pen; borrowed for the call; one thread at a time
 *  value0 ... 4  receive the numbers in the pen's order; 65535 is unknown, and after every failure
 *  Blocks the calling thread for two exchanges with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null), _PEN_LOCKED, _COMMUNICATION,
 *  _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelGetBatteryStatus(PenHandle *pen, uint16_t *value0, uint16_t *value1,
                                              uint16_t *value2, uint16_t *value3, uint16_t *value4);

/** Tells whether the pen deletes strokes securely.
 *  pen   connected pen; borrowed for the call; one thread at a time
 *  flag  receives 1, or 0 (also when the pen does not tell); 0 after a failure of the exchange, untouched
 *        after any other
 *  Blocks the calling thread for one exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null), _NOT_SUPPORTED (software older than
 *  0x0502), _PEN_LOCKED, _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelGetSecureDeleteEnabled(PenHandle *pen, uint8_t *flag);

/* ---- Firmware-upgrade mode (DFU), independent of the functions above ----------------------------------- */

/** Starts to listen for pens in firmware-upgrade mode.
 *  callbackContext    handed to both callbacks; may be null; must stay valid until zelDfuExit returns
 *  arrived, departed  called on the library's thread until zelDfuExit returns
 *  Does not wait for the rendezvous server: while it is absent the library tries again every 3 seconds. When
 *  the connection is lost later, listening ends; start again with zelDfuExit and zelDfuInit. Which pens are
 *  reported: see zelInitialize.
 *  Returns ZEL_OK or ZEL_ERR_ALREADY_INITIALIZED, _INVALID_ARGUMENT (a callback is null, or memory or
 *  descriptors for the listener's thread are lacking), _UNEXPECTED (also when the system gives no thread).
 *  When no thread could be made or started the mode counts as initialised: call zelDfuExit. */
ZEL_API uint32_t ZEL_CALL zelDfuInit(void *callbackContext, PenArrivedCallback arrived,
                                     PenDepartedCallback departed);

/** Stops listening for pens in firmware-upgrade mode; waits for a running callback as zelExit does.
 *  Disconnect pens in this mode before, as zelExit says of the others.
 *  Returns ZEL_OK, also when nothing listened, or ZEL_ERR_UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelDfuExit(void);

/** Connects to a pen in firmware-upgrade mode.
 *  pen     receives the handle; zelDfuDisconnectPen. With ZEL_ERR_NOT_INITIALIZED and _INVALID_ARGUMENT it is
 *          untouched. With ZEL_ERR_UNEXPECTED it holds a handle all the same (null if there was no memory for
 *          one), which the host disconnects.
 *  record  of an arrival in this mode; borrowed; may be released as soon as the function has returned
 *  Blocks for the connection; no exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null, or a departure record), _UNEXPECTED
 *  (also: the pen's service could not be reached; functions on such a handle behave as on a lost
 *  connection). */
ZEL_API uint32_t ZEL_CALL zelDfuConnectPen(DfuPenHandle **pen, const DiscoveryHandle *record);

/** Disconnects a pen in firmware-upgrade mode, releases its handle and sets the host's pointer to null.
 *  pen  where the host keeps the handle; a null there is ZEL_OK
 *  Needs zelDfuInit: disconnect before zelDfuExit. No exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED (the handle and its connection stay), _INVALID_ARGUMENT (pen is
 *  null), _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelDfuDisconnectPen(DfuPenHandle **pen);

/** Tells whether a pen announced firmware-upgrade mode.
 *  record  of an arrival or a departure; borrowed
 *  mode    receives 1 (it did) or 0; 0 after every failure
 *  Needs no zelDfuInit. No exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_INVALID_ARGUMENT (a null), _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelDfuGetMode(const DiscoveryHandle *record, uint8_t *mode);

/** Resets the pen's USB port.
 *  pen  connected pen in firmware-upgrade mode; borrowed for the call; one thread at a time
 *  Blocks the calling thread for one exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null, or the pen answered with
 *  nothing), _PEN_LOCKED, _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelDfuResetPort(DfuPenHandle *pen);

/** Aborts the upgrade that is under way.
 *  pen  connected pen in firmware-upgrade mode; borrowed for the call; one thread at a time
 *  Blocks the calling thread for one exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null, or the pen answered with
 *  nothing), _PEN_LOCKED, _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelDfuAbort(DfuPenHandle *pen);

/** Clears an error status of the upgrade.
 *  pen  connected pen in firmware-upgrade mode; borrowed for the call; one thread at a time
 *  Blocks the calling thread for one exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null, or the pen answered with
 *  nothing), _PEN_LOCKED, _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelDfuClearStatus(DfuPenHandle *pen);

/** Lets the pen leave its application for firmware-upgrade mode.
 *  pen  connected pen in firmware-upgrade mode; borrowed for the call; one thread at a time
 *  Blocks the calling thread for one exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null, or the pen answered with
 *  nothing), _PEN_LOCKED, _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelDfuDetach(DfuPenHandle *pen);

/** Detaches the pen's boot loader.
 *  pen  connected pen in firmware-upgrade mode; borrowed for the call; one thread at a time
 *  Blocks the calling thread for one exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null, or the pen answered with
 *  nothing), _PEN_LOCKED, _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelDfuDetachBoot(DfuPenHandle *pen);

/** Tells the state of the upgrade.
 *  pen    connected pen in firmware-upgrade mode; borrowed for the call; one thread at a time
 *  state  receives the state as USB's device firmware upgrade class numbers them; untouched on failure
 *  Blocks the calling thread for one exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null, or an answer of another type),
 *  _PEN_LOCKED, _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelDfuGetState(DfuPenHandle *pen, int32_t *state);

/** Tells the status of the upgrade.
 *  pen     connected pen in firmware-upgrade mode; borrowed for the call; one thread at a time
 *  status  room for 6 bytes: status, poll timeout (3 bytes), state, string index; untouched on failure
 *  Blocks the calling thread for one exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null, or an answer of another type or
 *  length), _PEN_LOCKED, _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelDfuGetStatus(DfuPenHandle *pen, uint8_t *status);

/** Tells the functional descriptor of the upgrade.
 *  pen         connected pen in firmware-upgrade mode; borrowed for the call; one thread at a time
 *  descriptor  room for 7 bytes; untouched on failure
 *  Blocks the calling thread for one exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null, or an answer of another type or
 *  length), _PEN_LOCKED, _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelDfuGetFunctionalDescriptor(DfuPenHandle *pen, uint8_t *descriptor);

/** Sends one block of firmware.
 *  pen    connected pen in firmware-upgrade mode; borrowed for the call; one thread at a time
 *  block  two 16-bit numbers in the host's byte order, the second one the length n, then n bytes of data; the
 *         n + 4 bytes are sent as they are
 *  Blocks the calling thread for one exchange with the pen.
 *  Returns ZEL_OK or ZEL_ERR_NOT_INITIALIZED, _INVALID_ARGUMENT (a null, or the pen answered with
 *  nothing), _PEN_LOCKED, _COMMUNICATION, _UNEXPECTED. */
ZEL_API uint32_t ZEL_CALL zelDfuDownload(DfuPenHandle *pen, const void *block);

#ifdef __cplusplus
}
#endif

#endif
