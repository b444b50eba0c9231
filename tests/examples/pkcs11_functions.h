/** The functions of CK_FUNCTION_LIST in its order, for the fake modules and their host. */
#pragma once

#include <qorvs/cryptoki.h>

#include <cstddef>

// clang-format off
#define PKCS11_FUNCTIONS(ROW)                                                                     \
    ROW(C_Initialize) ROW(C_Finalize) ROW(C_GetInfo) ROW(C_GetFunctionList) ROW(C_GetSlotList)    \
    ROW(C_GetSlotInfo) ROW(C_GetTokenInfo) ROW(C_GetMechanismList) ROW(C_GetMechanismInfo)        \
    ROW(C_InitToken) ROW(C_InitPIN) ROW(C_SetPIN) ROW(C_OpenSession) ROW(C_CloseSession)          \
    ROW(C_CloseAllSessions) ROW(C_GetSessionInfo) ROW(C_GetOperationState)                        \
    ROW(C_SetOperationState) ROW(C_Login) ROW(C_Logout) ROW(C_CreateObject) ROW(C_CopyObject)     \
    ROW(C_DestroyObject) ROW(C_GetObjectSize) ROW(C_GetAttributeValue) ROW(C_SetAttributeValue)   \
    ROW(C_FindObjectsInit) ROW(C_FindObjects) ROW(C_FindObjectsFinal) ROW(C_EncryptInit)          \
    ROW(C_Encrypt) ROW(C_EncryptUpdate) ROW(C_EncryptFinal) ROW(C_DecryptInit) ROW(C_Decrypt)     \
    ROW(C_DecryptUpdate) ROW(C_DecryptFinal) ROW(C_DigestInit) ROW(C_Digest) ROW(C_DigestUpdate)  \
    ROW(C_DigestKey) ROW(C_DigestFinal) ROW(C_SignInit) ROW(C_Sign) ROW(C_SignUpdate)             \
    ROW(C_SignFinal) ROW(C_SignRecoverInit) ROW(C_SignRecover) ROW(C_VerifyInit) ROW(C_Verify)    \
    ROW(C_VerifyUpdate) ROW(C_VerifyFinal) ROW(C_VerifyRecoverInit) ROW(C_VerifyRecover)          \
    ROW(C_DigestEncryptUpdate) ROW(C_DecryptDigestUpdate) ROW(C_SignEncryptUpdate)                \
    ROW(C_DecryptVerifyUpdate) ROW(C_GenerateKey) ROW(C_GenerateKeyPair) ROW(C_WrapKey)           \
    ROW(C_UnwrapKey) ROW(C_DeriveKey) ROW(C_SeedRandom) ROW(C_GenerateRandom)                     \
    ROW(C_GetFunctionStatus) ROW(C_CancelFunction) ROW(C_WaitForSlotEvent)
// clang-format on

// The fake modules answer each function with a code of its own, so that a call that went astray
// shows; a set FAKE_PKCS11_OK makes it CKR_OK.
#define PKCS11_CODE(name) (0x90000000UL + offsetof(CK_FUNCTION_LIST, name))

struct CInterface {
    const char* name;
    void* functionList;
    CK_FLAGS flags;
};
