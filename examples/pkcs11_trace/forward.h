/**
 * What the traced functions share: the call of the real module, and the texts of their records.
 *
 * A traced function is the lines "Entering" and "Leaving" and between them the structures that go
 * in, the real call, one record of several lines with the plain arguments and the returned name,
 * and the structures that came out. The record is one write, so that tracing stays cheap.
 */
#pragma once

#include "real_module.h"

#include <cxxabi.h>

/** The last line of each record; its argument is GetCkErrorString(result). */
#define RETURNS "Returns: %s"

/** Visible to the host, but never replaced by a function of the same name in the host. */
#define TRACED extern "C" __attribute__((visibility("protected"))) CK_RV

/**
 * Calls one function of the real module.
 *
 * Gives CKR_GENERAL_ERROR when the module could not be loaded or threw an exception, and
 * CKR_FUNCTION_NOT_SUPPORTED when its list has no such function.
 */
template <typename... Parameters, typename... Arguments>
CK_RV Forward(CK_RV (*CK_FUNCTION_LIST::*function)(Parameters...), Arguments... arguments) {
    const CK_FUNCTION_LIST* real = CRealModule::Instance().Functions();
    if (real == nullptr) {
        return CKR_GENERAL_ERROR;
    }
    if (real->*function == nullptr) {
        return CKR_FUNCTION_NOT_SUPPORTED;
    }
    try {
        return (real->*function)(arguments...);
    } catch (const abi::__forced_unwind&) {
        throw;  // the thread is being cancelled inside the call
    } catch (...) {
        return CKR_GENERAL_ERROR;
    }
}

/** What the module gave through a pointer, or null when the call failed and nothing is there. */
template <typename T>
const T* Given(CK_RV result, const T* out) {
    return result == CKR_OK ? out : nullptr;
}

/** The text of a number behind a pointer: "0x1F", or "none" for a null pointer. */
class CNumberText {
public:
    explicit CNumberText(const CK_ULONG* number);

    const char* Text() const { return text; }

private:
    char text[24];
};

/** The text of up to eight numbers of an array: "0x1 0x2", or "none". */
class CNumbersText {
public:
    CNumbersText(const CK_ULONG* numbers, const CK_ULONG* count);

    const char* Text() const { return text; }

private:
    char text[176];
};
