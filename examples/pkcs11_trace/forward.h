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

/** Calls into the real module. An exception, which C programs cannot take, is CKR_GENERAL_ERROR. */
template <typename Function, typename... Arguments>
CK_RV CallGuarded(Function function, Arguments... arguments) {
    try {
        return function(arguments...);
    } catch (const abi::__forced_unwind&) {
        throw;  // the thread is being cancelled inside the call
    } catch (...) {
        return CKR_GENERAL_ERROR;
    }
}

/**
 * Calls one function of the real module's list.
 *
 * Gives CKR_GENERAL_ERROR when the module could not be loaded, and CKR_FUNCTION_NOT_SUPPORTED when
 * its list has no such function.
 */
template <typename Function, typename... Arguments>
CK_RV Forward(Function CK_FUNCTION_LIST::*function, Arguments... arguments) {
    const CK_FUNCTION_LIST* real = CRealModule::Instance().Functions();
    if (real == nullptr) {
        return CKR_GENERAL_ERROR;
    }
    if (real->*function == nullptr) {
        return CKR_FUNCTION_NOT_SUPPORTED;
    }
    return CallGuarded(real->*function, arguments...);
}

/** What the module gave through a pointer, or null when the call failed and nothing is there. */
template <typename T>
const T* Given(CK_RV result, const T* out) {
    return result == CKR_OK ? out : nullptr;
}

/** The text of a number behind a pointer, or "none" for a null pointer. */
class CNumberText {
public:
    /** As handles and flags are written: "0x1f". */
    static CNumberText Hex(const CK_ULONG* number) { return CNumberText(number, 16); }

    /** As lengths and counts are written: "31". */
    static CNumberText Decimal(const CK_ULONG* number) { return CNumberText(number, 10); }

    const char* Text() const { return text; }

private:
    CNumberText(const CK_ULONG* number, unsigned base);

    char text[24];
};

/** The text of up to eight handles of an array: "0x1 0x2", or "none". */
class CNumbersText {
public:
    CNumbersText(const CK_ULONG* numbers, const CK_ULONG* count);

    const char* Text() const { return text; }

private:
    char text[176];
};
