/** What a module of version 2.20 exports. */
#pragma once

#include "fake_pkcs11.h"

static CFakeList functions20 = MakeFakeList(2, 20, kAllFakes);

#define FAKE_EXPORT extern "C" __attribute__((visibility("default"), used)) inline CK_RV

FAKE_EXPORT C_GetFunctionList(CK_FUNCTION_LIST_PTR_PTR list) {
    *list = reinterpret_cast<CK_FUNCTION_LIST*>(&functions20);
    return CKR_OK;
}
