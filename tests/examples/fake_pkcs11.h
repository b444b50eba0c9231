/** A module that does nothing, whatever its arguments are. */
#pragma once

#include "pkcs11_functions.h"

#include <cstdlib>

template <CK_RV code, typename Function>
struct CFake;

template <CK_RV code, typename... Parameters>
struct CFake<code, CK_RV (*)(Parameters...)> {
    static CK_RV Call(Parameters...) { return getenv("FAKE_PKCS11_OK") != nullptr ? CKR_OK : code; }
};

#define FAKE_ROW(name) CFake<PKCS11_CODE(name), CK_##name>::Call,

inline CK_FUNCTION_LIST fakeFunctions = {{2, 20}, PKCS11_FUNCTIONS(FAKE_ROW)};

#define FAKE_EXPORT extern "C" __attribute__((visibility("default"))) CK_RV

FAKE_EXPORT C_GetFunctionList(CK_FUNCTION_LIST_PTR_PTR list) {
    *list = &fakeFunctions;
    return CKR_OK;
}
