/**
 * The traced functions for objects, and those that make, wrap and derive keys.
 */
#include "forward.h"
#include "secrecy.h"
#include <qorvs/ck_names.h>
#include <qorvs/trace_scope.h>
#include <qorvs/trace_structures.h>

TRACED C_CreateObject(CK_SESSION_HANDLE session, CK_ATTRIBUTE_PTR attributes, CK_ULONG count,
                      CK_OBJECT_HANDLE_PTR object) {
    CTraceScope scope(__func__);
    TraceTemplateByItself(attributes, count);
    CK_RV result = Forward(&CK_FUNCTION_LIST::C_CreateObject, session, attributes, count, object);
    TraceString("Session: 0x%lx, object: %s\n" RETURNS, session,
                CNumberText::Hex(Given(result, object)).Text(), GetCkErrorString(result));
    return result;
}

TRACED C_CopyObject(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object, CK_ATTRIBUTE_PTR attributes,
                    CK_ULONG count, CK_OBJECT_HANDLE_PTR copy) {
    CTraceScope scope(__func__);
    TraceChanges(session, object, attributes, count);
    CK_RV result =
        Forward(&CK_FUNCTION_LIST::C_CopyObject, session, object, attributes, count, copy);
    TraceString("Session: 0x%lx, object: 0x%lx, copy: %s\n" RETURNS, session, object,
                CNumberText::Hex(Given(result, copy)).Text(), GetCkErrorString(result));
    return result;
}

TRACED C_DestroyObject(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object) {
    CTraceScope scope(__func__);
    CK_RV result = Forward(&CK_FUNCTION_LIST::C_DestroyObject, session, object);
    TraceString("Session: 0x%lx, object: 0x%lx\n" RETURNS, session, object,
                GetCkErrorString(result));
    return result;
}

TRACED C_GetObjectSize(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object, CK_ULONG_PTR size) {
    CTraceScope scope(__func__);
    CK_RV result = Forward(&CK_FUNCTION_LIST::C_GetObjectSize, session, object, size);
    TraceString("Session: 0x%lx, object: 0x%lx, size: %s\n" RETURNS, session, object,
                CNumberText::Decimal(Given(result, size)).Text(), GetCkErrorString(result));
    return result;
}

TRACED C_GetAttributeValue(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object,
                           CK_ATTRIBUTE_PTR attributes, CK_ULONG count) {
    CTraceScope scope(__func__);
    CK_RV result =
        Forward(&CK_FUNCTION_LIST::C_GetAttributeValue, session, object, attributes, count);
    TraceString("Session: 0x%lx, object: 0x%lx\n" RETURNS, session, object,
                GetCkErrorString(result));
    TraceAnswers(session, object, attributes, count, result);
    return result;
}

TRACED C_SetAttributeValue(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object,
                           CK_ATTRIBUTE_PTR attributes, CK_ULONG count) {
    CTraceScope scope(__func__);
    TraceChanges(session, object, attributes, count);
    CK_RV result =
        Forward(&CK_FUNCTION_LIST::C_SetAttributeValue, session, object, attributes, count);
    TraceString("Session: 0x%lx, object: 0x%lx\n" RETURNS, session, object,
                GetCkErrorString(result));
    return result;
}

TRACED C_FindObjectsInit(CK_SESSION_HANDLE session, CK_ATTRIBUTE_PTR attributes, CK_ULONG count) {
    CTraceScope scope(__func__);
    TraceTemplateByItself(attributes, count);
    CK_RV result = Forward(&CK_FUNCTION_LIST::C_FindObjectsInit, session, attributes, count);
    TraceString("Session: 0x%lx\n" RETURNS, session, GetCkErrorString(result));
    return result;
}

TRACED C_FindObjects(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE_PTR objects, CK_ULONG room,
                     CK_ULONG_PTR count) {
    CTraceScope scope(__func__);
    CK_RV result = Forward(&CK_FUNCTION_LIST::C_FindObjects, session, objects, room, count);
    const CK_ULONG* given = Given(result, count);
    TraceString("Session: 0x%lx, room for: %lu, count: %s, objects: %s\n" RETURNS, session, room,
                CNumberText::Decimal(given).Text(), CNumbersText(objects, given).Text(),
                GetCkErrorString(result));
    return result;
}

TRACED C_FindObjectsFinal(CK_SESSION_HANDLE session) {
    CTraceScope scope(__func__);
    CK_RV result = Forward(&CK_FUNCTION_LIST::C_FindObjectsFinal, session);
    TraceString("Session: 0x%lx\n" RETURNS, session, GetCkErrorString(result));
    return result;
}

TRACED C_GenerateKey(CK_SESSION_HANDLE session, CK_MECHANISM_PTR mechanism,
                     CK_ATTRIBUTE_PTR attributes, CK_ULONG count, CK_OBJECT_HANDLE_PTR key) {
    CTraceScope scope(__func__);
    TraceMechanismSafely(mechanism);
    TraceHiddenTemplate(attributes, count);
    CK_RV result =
        Forward(&CK_FUNCTION_LIST::C_GenerateKey, session, mechanism, attributes, count, key);
    TraceString("Session: 0x%lx, key: %s\n" RETURNS, session,
                CNumberText::Hex(Given(result, key)).Text(), GetCkErrorString(result));
    return result;
}

TRACED C_GenerateKeyPair(CK_SESSION_HANDLE session, CK_MECHANISM_PTR mechanism,
                         CK_ATTRIBUTE_PTR publicAttributes, CK_ULONG publicCount,
                         CK_ATTRIBUTE_PTR privateAttributes, CK_ULONG privateCount,
                         CK_OBJECT_HANDLE_PTR publicKey, CK_OBJECT_HANDLE_PTR privateKey) {
    CTraceScope scope(__func__);
    TraceMechanismSafely(mechanism);
    TracePublicKeyTemplate(publicAttributes, publicCount);
    TraceHiddenTemplate(privateAttributes, privateCount);
    CK_RV result =
        Forward(&CK_FUNCTION_LIST::C_GenerateKeyPair, session, mechanism, publicAttributes,
                publicCount, privateAttributes, privateCount, publicKey, privateKey);
    TraceString("Session: 0x%lx, public key: %s, private key: %s\n" RETURNS, session,
                CNumberText::Hex(Given(result, publicKey)).Text(),
                CNumberText::Hex(Given(result, privateKey)).Text(), GetCkErrorString(result));
    return result;
}

TRACED C_WrapKey(CK_SESSION_HANDLE session, CK_MECHANISM_PTR mechanism,
                 CK_OBJECT_HANDLE wrappingKey, CK_OBJECT_HANDLE key, CK_BYTE_PTR wrapped,
                 CK_ULONG_PTR length) {
    CTraceScope scope(__func__);
    TraceMechanismSafely(mechanism);
    CK_RV result = Forward(&CK_FUNCTION_LIST::C_WrapKey, session, mechanism, wrappingKey, key,
                           wrapped, length);
    TraceString("Session: 0x%lx, wrapping key: 0x%lx, key: 0x%lx, wrapped length: %s\n" RETURNS,
                session, wrappingKey, key, CNumberText::Decimal(Given(result, length)).Text(),
                GetCkErrorString(result));
    return result;
}

TRACED C_UnwrapKey(CK_SESSION_HANDLE session, CK_MECHANISM_PTR mechanism,
                   CK_OBJECT_HANDLE unwrappingKey, CK_BYTE_PTR wrapped, CK_ULONG length,
                   CK_ATTRIBUTE_PTR attributes, CK_ULONG count, CK_OBJECT_HANDLE_PTR key) {
    CTraceScope scope(__func__);
    TraceMechanismSafely(mechanism);
    TraceHiddenTemplate(attributes, count);
    CK_RV result = Forward(&CK_FUNCTION_LIST::C_UnwrapKey, session, mechanism, unwrappingKey,
                           wrapped, length, attributes, count, key);
    TraceString("Session: 0x%lx, unwrapping key: 0x%lx, wrapped length: %lu, key: %s\n" RETURNS,
                session, unwrappingKey, length, CNumberText::Hex(Given(result, key)).Text(),
                GetCkErrorString(result));
    return result;
}

TRACED C_DeriveKey(CK_SESSION_HANDLE session, CK_MECHANISM_PTR mechanism, CK_OBJECT_HANDLE baseKey,
                   CK_ATTRIBUTE_PTR attributes, CK_ULONG count, CK_OBJECT_HANDLE_PTR key) {
    CTraceScope scope(__func__);
    TraceMechanismSafely(mechanism);
    TraceHiddenTemplate(attributes, count);
    CK_RV result = Forward(&CK_FUNCTION_LIST::C_DeriveKey, session, mechanism, baseKey, attributes,
                           count, key);
    TraceString("Session: 0x%lx, base key: 0x%lx, key: %s\n" RETURNS, session, baseKey,
                CNumberText::Hex(Given(result, key)).Text(), GetCkErrorString(result));
    return result;
}
