/**
 * The traced functions that encrypt, decrypt, digest, sign, verify and give random numbers.
 *
 * They come in few shapes, one body each. The data is logged by its length only.
 */
#include "forward.h"
#include "secrecy.h"
#include <qorvs/ck_names.h>
#include <qorvs/trace_scope.h>
#include <qorvs/trace_structures.h>

// Starts an operation with a key.
static CK_RV ForwardInit(const char* name, CK_C_EncryptInit CK_FUNCTION_LIST::*function,
                         CK_SESSION_HANDLE session, CK_MECHANISM_PTR mechanism,
                         CK_OBJECT_HANDLE key) {
    CTraceScope scope(name);
    TraceMechanismSafely(mechanism);
    CK_RV result = Forward(function, session, mechanism, key);
    TraceString("Session: 0x%lx, key: 0x%lx\n" RETURNS, session, key, GetCkErrorString(result));
    return result;
}

// Takes data and gives data.
static CK_RV ForwardTransform(const char* name, CK_C_Encrypt CK_FUNCTION_LIST::*function,
                              CK_SESSION_HANDLE session, CK_BYTE_PTR input, CK_ULONG inputLength,
                              CK_BYTE_PTR output, CK_ULONG_PTR outputLength) {
    CTraceScope scope(name);
    CK_RV result = Forward(function, session, input, inputLength, output, outputLength);
    TraceString("Session: 0x%lx, input length: %lu, output length: %s\n" RETURNS, session,
                inputLength, CNumberText::Decimal(Given(result, outputLength)).Text(),
                GetCkErrorString(result));
    return result;
}

// Takes a buffer: data for the operation, or room for random numbers.
static CK_RV ForwardBuffer(const char* name, CK_C_DigestUpdate CK_FUNCTION_LIST::*function,
                           CK_SESSION_HANDLE session, CK_BYTE_PTR data, CK_ULONG length) {
    CTraceScope scope(name);
    CK_RV result = Forward(function, session, data, length);
    TraceString("Session: 0x%lx, length: %lu\n" RETURNS, session, length, GetCkErrorString(result));
    return result;
}

// Gives the last data of an operation.
static CK_RV ForwardFinal(const char* name, CK_C_EncryptFinal CK_FUNCTION_LIST::*function,
                          CK_SESSION_HANDLE session, CK_BYTE_PTR output,
                          CK_ULONG_PTR outputLength) {
    CTraceScope scope(name);
    CK_RV result = Forward(function, session, output, outputLength);
    TraceString("Session: 0x%lx, output length: %s\n" RETURNS, session,
                CNumberText::Decimal(Given(result, outputLength)).Text(), GetCkErrorString(result));
    return result;
}

#define INIT_FUNCTION(name)                                                                    \
    TRACED name(CK_SESSION_HANDLE session, CK_MECHANISM_PTR mechanism, CK_OBJECT_HANDLE key) { \
        return ForwardInit(#name, &CK_FUNCTION_LIST::name, session, mechanism, key);           \
    }

#define TRANSFORM_FUNCTION(name)                                                             \
    TRACED name(CK_SESSION_HANDLE session, CK_BYTE_PTR input, CK_ULONG inputLength,          \
                CK_BYTE_PTR output, CK_ULONG_PTR outputLength) {                             \
        return ForwardTransform(#name, &CK_FUNCTION_LIST::name, session, input, inputLength, \
                                output, outputLength);                                       \
    }

#define BUFFER_FUNCTION(name)                                                        \
    TRACED name(CK_SESSION_HANDLE session, CK_BYTE_PTR data, CK_ULONG length) {      \
        return ForwardBuffer(#name, &CK_FUNCTION_LIST::name, session, data, length); \
    }

#define FINAL_FUNCTION(name)                                                                \
    TRACED name(CK_SESSION_HANDLE session, CK_BYTE_PTR output, CK_ULONG_PTR outputLength) { \
        return ForwardFinal(#name, &CK_FUNCTION_LIST::name, session, output, outputLength); \
    }

INIT_FUNCTION(C_EncryptInit)
TRANSFORM_FUNCTION(C_Encrypt)
TRANSFORM_FUNCTION(C_EncryptUpdate)
FINAL_FUNCTION(C_EncryptFinal)

INIT_FUNCTION(C_DecryptInit)
TRANSFORM_FUNCTION(C_Decrypt)
TRANSFORM_FUNCTION(C_DecryptUpdate)
FINAL_FUNCTION(C_DecryptFinal)

TRANSFORM_FUNCTION(C_Digest)
BUFFER_FUNCTION(C_DigestUpdate)
FINAL_FUNCTION(C_DigestFinal)

INIT_FUNCTION(C_SignInit)
TRANSFORM_FUNCTION(C_Sign)
BUFFER_FUNCTION(C_SignUpdate)
FINAL_FUNCTION(C_SignFinal)
INIT_FUNCTION(C_SignRecoverInit)
TRANSFORM_FUNCTION(C_SignRecover)

INIT_FUNCTION(C_VerifyInit)
BUFFER_FUNCTION(C_VerifyUpdate)
BUFFER_FUNCTION(C_VerifyFinal)
INIT_FUNCTION(C_VerifyRecoverInit)
TRANSFORM_FUNCTION(C_VerifyRecover)

TRANSFORM_FUNCTION(C_DigestEncryptUpdate)
TRANSFORM_FUNCTION(C_DecryptDigestUpdate)
TRANSFORM_FUNCTION(C_SignEncryptUpdate)
TRANSFORM_FUNCTION(C_DecryptVerifyUpdate)

BUFFER_FUNCTION(C_SeedRandom)
BUFFER_FUNCTION(C_GenerateRandom)

TRACED C_DigestInit(CK_SESSION_HANDLE session, CK_MECHANISM_PTR mechanism) {
    CTraceScope scope(__func__);
    TraceMechanismSafely(mechanism);
    CK_RV result = Forward(&CK_FUNCTION_LIST::C_DigestInit, session, mechanism);
    TraceString("Session: 0x%lx\n" RETURNS, session, GetCkErrorString(result));
    return result;
}

TRACED C_DigestKey(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE key) {
    CTraceScope scope(__func__);
    CK_RV result = Forward(&CK_FUNCTION_LIST::C_DigestKey, session, key);
    TraceString("Session: 0x%lx, key: 0x%lx\n" RETURNS, session, key, GetCkErrorString(result));
    return result;
}

TRACED C_Verify(CK_SESSION_HANDLE session, CK_BYTE_PTR data, CK_ULONG dataLength,
                CK_BYTE_PTR signature, CK_ULONG signatureLength) {
    CTraceScope scope(__func__);
    CK_RV result =
        Forward(&CK_FUNCTION_LIST::C_Verify, session, data, dataLength, signature, signatureLength);
    TraceString("Session: 0x%lx, input length: %lu, signature length: %lu\n" RETURNS, session,
                dataLength, signatureLength, GetCkErrorString(result));
    return result;
}
