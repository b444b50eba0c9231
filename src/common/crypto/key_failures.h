/**
 * How the key classes fail: a text in the trace and a bare CK_RV.
 */
#pragma once

#include "util/raise.h"

constexpr unsigned long kDataLenRange = 0x21;           // CKR_DATA_LEN_RANGE
constexpr unsigned long kEncryptedDataLenRange = 0x41;  // CKR_ENCRYPTED_DATA_LEN_RANGE
constexpr unsigned long kKeyTypeInconsistent = 0x63;    // CKR_KEY_TYPE_INCONSISTENT

// The copy makes what is thrown an `unsigned long` and nothing else.
#define RAISE_KEY_FAILURE(text, code)            \
    do {                                         \
        TraceString0(text);                      \
        RAISE(static_cast<unsigned long>(code)); \
    } while (false)

/** For operations that a derived class was to override. */
#define RAISE_STUB(text) RAISE_KEY_FAILURE(text, kKeyTypeInconsistent)
