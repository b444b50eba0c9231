/**
 * The traced functions for the module itself, slots and tokens, and sessions. PINs are never read.
 */
#include "forward.h"
#include <qorvs/ck_names.h>
#include <qorvs/trace_scope.h>
#include <qorvs/trace_structures.h>

static const char* PinText(const CK_UTF8CHAR* pin) { return pin != nullptr ? "given" : "none"; }

// Texts of the standard have fixed widths and no end mark.
template <size_t width>
static void TraceText(const char* title, const CK_UTF8CHAR (&text)[width]) {
    TraceString("%s: \"%.*s\"", title, static_cast<int>(width),
                reinterpret_cast<const char*>(text));
}

// All functions whose only argument is a session.
static CK_RV ForwardSession(const char* name, CK_C_CloseSession CK_FUNCTION_LIST::*function,
                            CK_SESSION_HANDLE session) {
    CTraceScope scope(name);
    CK_RV result = Forward(function, session);
    TraceString("Session: 0x%lx\n" RETURNS, session, GetCkErrorString(result));
    return result;
}

TRACED C_Initialize(void* arguments) {
    CTraceScope scope(__func__);
    CK_RV result = Forward(&CK_FUNCTION_LIST::C_Initialize, arguments);
    auto given = static_cast<const CK_C_INITIALIZE_ARGS*>(arguments);
    TraceString("Flags: %s\n" RETURNS,
                CNumberText::Hex(given != nullptr ? &given->flags : nullptr).Text(),
                GetCkErrorString(result));
    return result;
}

TRACED C_Finalize(void* reserved) {
    CTraceScope scope(__func__);
    CK_RV result = Forward(&CK_FUNCTION_LIST::C_Finalize, reserved);
    TraceString(RETURNS, GetCkErrorString(result));
    return result;
}

TRACED C_GetInfo(CK_INFO_PTR info) {
    CTraceScope scope(__func__);
    CK_RV result = Forward(&CK_FUNCTION_LIST::C_GetInfo, info);
    TraceString(RETURNS, GetCkErrorString(result));
    if (const CK_INFO* given = Given(result, info)) {
        TraceText("Manufacturer", given->manufacturerID);
        TraceText("Library", given->libraryDescription);
        TraceString("Library version: %d.%d\nCryptoki version: %d.%d", given->libraryVersion.major,
                    given->libraryVersion.minor, given->cryptokiVersion.major,
                    given->cryptokiVersion.minor);
    }
    return result;
}

TRACED C_GetSlotList(CK_BBOOL tokenPresent, CK_SLOT_ID_PTR slots, CK_ULONG_PTR count) {
    CTraceScope scope(__func__);
    CK_RV result = Forward(&CK_FUNCTION_LIST::C_GetSlotList, tokenPresent, slots, count);
    const CK_ULONG* given = Given(result, count);
    TraceString("Only with token: %d, count: %s, slots: %s\n" RETURNS, tokenPresent,
                CNumberText::Decimal(given).Text(), CNumbersText(slots, given).Text(),
                GetCkErrorString(result));
    return result;
}

TRACED C_GetSlotInfo(CK_SLOT_ID slot, CK_SLOT_INFO_PTR info) {
    CTraceScope scope(__func__);
    CK_RV result = Forward(&CK_FUNCTION_LIST::C_GetSlotInfo, slot, info);
    TraceString("Slot: 0x%lx\n" RETURNS, slot, GetCkErrorString(result));
    if (const CK_SLOT_INFO* given = Given(result, info)) {
        TraceText("Description", given->slotDescription);
        TraceText("Manufacturer", given->manufacturerID);
        TraceString("Flags: 0x%lx", given->flags);
    }
    return result;
}

TRACED C_GetTokenInfo(CK_SLOT_ID slot, CK_TOKEN_INFO_PTR info) {
    CTraceScope scope(__func__);
    CK_RV result = Forward(&CK_FUNCTION_LIST::C_GetTokenInfo, slot, info);
    TraceString("Slot: 0x%lx\n" RETURNS, slot, GetCkErrorString(result));
    TraceTokenInfo(Given(result, info));
    return result;
}

TRACED C_WaitForSlotEvent(CK_FLAGS flags, CK_SLOT_ID_PTR slot, void* reserved) {
    CTraceScope scope(__func__);
    CK_RV result = Forward(&CK_FUNCTION_LIST::C_WaitForSlotEvent, flags, slot, reserved);
    TraceString("Flags: 0x%lx, slot: %s\n" RETURNS, flags,
                CNumberText::Hex(Given(result, slot)).Text(), GetCkErrorString(result));
    return result;
}

TRACED C_GetMechanismList(CK_SLOT_ID slot, CK_MECHANISM_TYPE_PTR mechanisms, CK_ULONG_PTR count) {
    CTraceScope scope(__func__);
    CK_RV result = Forward(&CK_FUNCTION_LIST::C_GetMechanismList, slot, mechanisms, count);
    const CK_ULONG* given = Given(result, count);
    TraceString("Slot: 0x%lx, count: %s, mechanisms: %s\n" RETURNS, slot,
                CNumberText::Decimal(given).Text(), CNumbersText(mechanisms, given).Text(),
                GetCkErrorString(result));
    return result;
}

TRACED C_GetMechanismInfo(CK_SLOT_ID slot, CK_MECHANISM_TYPE type, CK_MECHANISM_INFO_PTR info) {
    CTraceScope scope(__func__);
    CK_RV result = Forward(&CK_FUNCTION_LIST::C_GetMechanismInfo, slot, type, info);
    TraceString("Slot: 0x%lx, mechanism: %s\n" RETURNS, slot, GetCkMechanismTypeString(type),
                GetCkErrorString(result));
    TraceMechanismInfo(Given(result, info));
    return result;
}

TRACED C_InitToken(CK_SLOT_ID slot, CK_UTF8CHAR_PTR pin, CK_ULONG pinLength,
                   CK_UTF8CHAR_PTR label) {
    constexpr int kLabelWidth = 32;
    CTraceScope scope(__func__);
    CK_RV result = Forward(&CK_FUNCTION_LIST::C_InitToken, slot, pin, pinLength, label);
    TraceString("Slot: 0x%lx, PIN: %s, label: \"%.*s\"\n" RETURNS, slot, PinText(pin), kLabelWidth,
                label != nullptr ? reinterpret_cast<const char*>(label) : "",
                GetCkErrorString(result));
    return result;
}

TRACED C_InitPIN(CK_SESSION_HANDLE session, CK_UTF8CHAR_PTR pin, CK_ULONG pinLength) {
    CTraceScope scope(__func__);
    CK_RV result = Forward(&CK_FUNCTION_LIST::C_InitPIN, session, pin, pinLength);
    TraceString("Session: 0x%lx, PIN: %s\n" RETURNS, session, PinText(pin),
                GetCkErrorString(result));
    return result;
}

TRACED C_SetPIN(CK_SESSION_HANDLE session, CK_UTF8CHAR_PTR oldPin, CK_ULONG oldLength,
                CK_UTF8CHAR_PTR newPin, CK_ULONG newLength) {
    CTraceScope scope(__func__);
    CK_RV result =
        Forward(&CK_FUNCTION_LIST::C_SetPIN, session, oldPin, oldLength, newPin, newLength);
    TraceString("Session: 0x%lx, old PIN: %s, new PIN: %s\n" RETURNS, session, PinText(oldPin),
                PinText(newPin), GetCkErrorString(result));
    return result;
}

TRACED C_OpenSession(CK_SLOT_ID slot, CK_FLAGS flags, void* application, CK_NOTIFY notify,
                     CK_SESSION_HANDLE_PTR session) {
    CTraceScope scope(__func__);
    CK_RV result =
        Forward(&CK_FUNCTION_LIST::C_OpenSession, slot, flags, application, notify, session);
    TraceString("Slot: 0x%lx, flags: 0x%lx, session: %s\n" RETURNS, slot, flags,
                CNumberText::Hex(Given(result, session)).Text(), GetCkErrorString(result));
    return result;
}

TRACED C_CloseSession(CK_SESSION_HANDLE session) {
    return ForwardSession(__func__, &CK_FUNCTION_LIST::C_CloseSession, session);
}

TRACED C_CloseAllSessions(CK_SLOT_ID slot) {
    CTraceScope scope(__func__);
    CK_RV result = Forward(&CK_FUNCTION_LIST::C_CloseAllSessions, slot);
    TraceString("Slot: 0x%lx\n" RETURNS, slot, GetCkErrorString(result));
    return result;
}

TRACED C_GetSessionInfo(CK_SESSION_HANDLE session, CK_SESSION_INFO_PTR info) {
    CTraceScope scope(__func__);
    CK_RV result = Forward(&CK_FUNCTION_LIST::C_GetSessionInfo, session, info);
    TraceString("Session: 0x%lx\n" RETURNS, session, GetCkErrorString(result));
    TraceSessionInfo(Given(result, info));
    return result;
}

TRACED C_GetOperationState(CK_SESSION_HANDLE session, CK_BYTE_PTR state, CK_ULONG_PTR length) {
    CTraceScope scope(__func__);
    CK_RV result = Forward(&CK_FUNCTION_LIST::C_GetOperationState, session, state, length);
    TraceString("Session: 0x%lx, state length: %s\n" RETURNS, session,
                CNumberText::Decimal(Given(result, length)).Text(), GetCkErrorString(result));
    return result;
}

TRACED C_SetOperationState(CK_SESSION_HANDLE session, CK_BYTE_PTR state, CK_ULONG length,
                           CK_OBJECT_HANDLE encryptionKey, CK_OBJECT_HANDLE authenticationKey) {
    CTraceScope scope(__func__);
    CK_RV result = Forward(&CK_FUNCTION_LIST::C_SetOperationState, session, state, length,
                           encryptionKey, authenticationKey);
    TraceString("Session: 0x%lx, state length: %lu, keys: 0x%lx 0x%lx\n" RETURNS, session, length,
                encryptionKey, authenticationKey, GetCkErrorString(result));
    return result;
}

TRACED C_Login(CK_SESSION_HANDLE session, CK_USER_TYPE user, CK_UTF8CHAR_PTR pin,
               CK_ULONG pinLength) {
    CTraceScope scope(__func__);
    CK_RV result = Forward(&CK_FUNCTION_LIST::C_Login, session, user, pin, pinLength);
    TraceString("Session: 0x%lx, user: %s, PIN: %s\n" RETURNS, session, GetCkUserTypeString(user),
                PinText(pin), GetCkErrorString(result));
    return result;
}

TRACED C_Logout(CK_SESSION_HANDLE session) {
    return ForwardSession(__func__, &CK_FUNCTION_LIST::C_Logout, session);
}

TRACED C_GetFunctionStatus(CK_SESSION_HANDLE session) {
    return ForwardSession(__func__, &CK_FUNCTION_LIST::C_GetFunctionStatus, session);
}

TRACED C_CancelFunction(CK_SESSION_HANDLE session) {
    return ForwardSession(__func__, &CK_FUNCTION_LIST::C_CancelFunction, session);
}
