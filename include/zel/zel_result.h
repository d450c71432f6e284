/* SPDX-License-Identifier: MIT */
/** The result codes of zel.h in words, for messages and logs.
 *
 *      if (code != ZEL_OK)
 *          fprintf(stderr, "%s: %s\n", zelResultName(code), zelResultText(code));
 *
 *  Header-only: nothing of the library is called, and nothing need be linked. The texts are constants in
 *  ASCII, which live as long as the program; any thread may call both functions at any time. Their wording
 *  may change from one release to the next: programs compare codes, not texts.
 *
 *  C99 or C++. */
#ifndef ZEL_ZEL_RESULT_H
#define ZEL_ZEL_RESULT_H

#include <zel/zel.h>

/** Every result code with its sentence: ZEL_RESULTS(X) stands for X(code, "sentence") of each. */
#define ZEL_RESULTS(X)                                                                                       \
    X(ZEL_OK, "The function succeeded.")                                                                     \
    X(ZEL_ERR_INVALID_ARGUMENT, "An argument cannot be used, or the pen did not do what it was asked.")      \
    X(ZEL_ERR_PEN_LOCKED, "The pen is locked by its password.")                                              \
    X(ZEL_ERR_COMMUNICATION, "The connection to the pen failed or is lost.")                                 \
    X(ZEL_ERR_NOT_SUPPORTED, "The pen does not support this function.")                                      \
    X(ZEL_ERR_NOT_INITIALIZED, "The library is not initialised.")                                            \
    X(ZEL_ERR_ALREADY_INITIALIZED, "The library is already initialised.")                                    \
    X(ZEL_ERR_VALUE_OUT_OF_RANGE, "A number or a PIN is outside its range.")                                 \
    X(ZEL_ERR_SYNC_BUSY, "The pen is busy and did not begin a sync session; try again later.")               \
    X(ZEL_ERR_DEVICE_NOT_SUPPORTED, "The library does not support pens with this USB identity.")             \
    X(ZEL_ERR_UNEXPECTED, "The call failed unexpectedly: no memory, or an answer that makes no sense.")

/* In C++ the functions are the same in every file, so that inline functions of other headers may call
 * them; C has no such inline functions. */
#ifdef __cplusplus
#define ZEL_RESULT_FUNCTION inline
#else
#define ZEL_RESULT_FUNCTION static inline
#endif

/** Names a result code.
 *  code  any number
 *  Returns the name of its constant, such as "ZEL_ERR_PEN_LOCKED"; "unknown" for any other number. */
ZEL_RESULT_FUNCTION const char *zelResultName(uint32_t code)
{
    switch (code) {
#define ZEL_RESULT_NAME(constant, sentence)                                                                  \
    case constant:                                                                                           \
        return #constant;
        ZEL_RESULTS(ZEL_RESULT_NAME)
#undef ZEL_RESULT_NAME
    default:
        return "unknown";
    }
}

/** Explains a result code.
 *  code  any number
 *  Returns one English sentence with its full stop; for any other number one that says so. */
ZEL_RESULT_FUNCTION const char *zelResultText(uint32_t code)
{
    switch (code) {
#define ZEL_RESULT_TEXT(constant, sentence)                                                                  \
    case constant:                                                                                           \
        return sentence;
        ZEL_RESULTS(ZEL_RESULT_TEXT)
#undef ZEL_RESULT_TEXT
    default:
        return "This number is not a result code of the library.";
    }
}

#undef ZEL_RESULT_FUNCTION

#endif
