/**
 * The doors of the module: the lists of traced functions, and the interfaces of PKCS #11 3.0.
 *
 * The list of 3.0 and 3.1 begins with the functions of 2.x. Those are traced; the 24 functions that
 * follow are the real module's own, and so are lists of later versions and vendors' interfaces.
 */
#include "forward.h"
#include <qorvs/ck_names.h>
#include <qorvs/trace_scope.h>
#include <qorvs/trace_structures.h>

#include <cstring>
#include <mutex>

static constexpr char kStandardInterface[] = "PKCS 11";
static constexpr CK_VERSION kNewest2x = {2, 40};

// CK_FUNCTION_LIST_3_0, which headers of 2.x do not have.
struct CFunctionList3 {
    CK_FUNCTION_LIST base;
    CGetInterfaceList getInterfaceList;
    CGetInterface getInterface;
    void (*others[22])();
};

TRACED C_GetInterfaceList(CInterface* interfaces, CK_ULONG_PTR count);
TRACED C_GetInterface(const CK_UTF8CHAR* name, CK_VERSION_PTR version, CInterface** interface,
                      CK_FLAGS flags);

static CK_FUNCTION_LIST MakeList(CK_VERSION version) {
    // clang-format off
    return {
        version,
        C_Initialize, C_Finalize, C_GetInfo, C_GetFunctionList,
        C_GetSlotList, C_GetSlotInfo, C_GetTokenInfo, C_GetMechanismList, C_GetMechanismInfo,
        C_InitToken, C_InitPIN, C_SetPIN,
        C_OpenSession, C_CloseSession, C_CloseAllSessions, C_GetSessionInfo,
        C_GetOperationState, C_SetOperationState, C_Login, C_Logout,
        C_CreateObject, C_CopyObject, C_DestroyObject, C_GetObjectSize,
        C_GetAttributeValue, C_SetAttributeValue,
        C_FindObjectsInit, C_FindObjects, C_FindObjectsFinal,
        C_EncryptInit, C_Encrypt, C_EncryptUpdate, C_EncryptFinal,
        C_DecryptInit, C_Decrypt, C_DecryptUpdate, C_DecryptFinal,
        C_DigestInit, C_Digest, C_DigestUpdate, C_DigestKey, C_DigestFinal,
        C_SignInit, C_Sign, C_SignUpdate, C_SignFinal, C_SignRecoverInit, C_SignRecover,
        C_VerifyInit, C_Verify, C_VerifyUpdate, C_VerifyFinal,
        C_VerifyRecoverInit, C_VerifyRecover,
        C_DigestEncryptUpdate, C_DecryptDigestUpdate, C_SignEncryptUpdate, C_DecryptVerifyUpdate,
        C_GenerateKey, C_GenerateKeyPair, C_WrapKey, C_UnwrapKey, C_DeriveKey,
        C_SeedRandom, C_GenerateRandom, C_GetFunctionStatus, C_CancelFunction, C_WaitForSlotEvent,
    };
    // clang-format on
}

static CK_FUNCTION_LIST& TracedFunctions() {
    static CK_FUNCTION_LIST functions = [] {
        const CK_FUNCTION_LIST* real = CRealModule::Instance().Functions();
        return MakeList(real != nullptr && real->version.major == 2 ? real->version : kNewest2x);
    }();
    return functions;
}

// The traced sides of the real module's interfaces. They live as long as the process, since hosts
// keep the pointers. A module has two or three; what does not fit is passed through.
class CTracedInterfaces {
public:
    /** The traced side of an interface, or the interface itself when it is passed through. */
    const CInterface* Find(const CInterface* real);

private:
    struct CEntry {
        const void* realFunctions;
        CInterface interface;
        CFunctionList3 functions;
    };

    static bool Fill(CEntry& entry, const CInterface& real);

    std::mutex lock;  // guards the rest; nothing else is locked or traced while it is held
    CEntry entries[8];
    size_t count = 0;
};

bool CTracedInterfaces::Fill(CEntry& entry, const CInterface& real) {
    CK_VERSION version;
    std::memcpy(&version, real.functionList, sizeof version);
    entry.realFunctions = real.functionList;
    entry.interface = real;
    if (version.major == 2) {
        entry.interface.functionList = &TracedFunctions();
        return true;
    }
    if (version.major == 3 && version.minor <= 1) {
        std::memcpy(&entry.functions, real.functionList, sizeof entry.functions);
        entry.functions.base = MakeList(version);
        entry.functions.getInterfaceList = C_GetInterfaceList;
        entry.functions.getInterface = C_GetInterface;
        entry.interface.functionList = &entry.functions;
        return true;
    }
    return false;
}

const CInterface* CTracedInterfaces::Find(const CInterface* real) {
    if (real == nullptr || real->name == nullptr || real->functionList == nullptr ||
        std::strcmp(reinterpret_cast<const char*>(real->name), kStandardInterface) != 0) {
        return real;
    }
    TracedFunctions();  // made before the lock is taken, since it may load the module and trace
    std::lock_guard<std::mutex> guard(lock);
    for (size_t i = 0; i < count; i++) {
        if (entries[i].realFunctions == real->functionList) {
            return &entries[i].interface;
        }
    }
    if (count == std::size(entries) || !Fill(entries[count], *real)) {
        return real;
    }
    return &entries[count++].interface;
}

static CTracedInterfaces tracedInterfaces;

// The one interface of a module that knows 2.x only.
static CInterface& OnlyInterface() {
    static CInterface interface = {reinterpret_cast<const CK_UTF8CHAR*>(kStandardInterface),
                                   &TracedFunctions(), 0};
    return interface;
}

static CK_RV ListOnlyInterface(CInterface* interfaces, CK_ULONG_PTR count) {
    if (count == nullptr) {
        return CKR_ARGUMENTS_BAD;
    }
    CK_ULONG room = *count;
    *count = 1;
    if (interfaces == nullptr) {
        return CKR_OK;
    }
    if (room == 0) {
        return CKR_BUFFER_TOO_SMALL;
    }
    *interfaces = OnlyInterface();
    return CKR_OK;
}

static CK_RV GetOnlyInterface(const CK_UTF8CHAR* name, CK_VERSION_PTR version,
                              CInterface** interface, CK_FLAGS flags) {
    if (interface == nullptr) {
        return CKR_ARGUMENTS_BAD;
    }
    CK_VERSION ours = TracedFunctions().version;
    bool isNamed = name == nullptr ||
                   std::strcmp(reinterpret_cast<const char*>(name), kStandardInterface) == 0;
    bool isVersion =
        version == nullptr || (version->major == ours.major && version->minor == ours.minor);
    if (!isNamed || !isVersion || flags != 0) {
        return CKR_FUNCTION_FAILED;
    }
    *interface = &OnlyInterface();
    return CKR_OK;
}

TRACED C_GetFunctionList(CK_FUNCTION_LIST_PTR_PTR list) {
    CTraceScope scope(__func__);
    CK_RV result = list == nullptr                                  ? CKR_ARGUMENTS_BAD
                   : CRealModule::Instance().Functions() == nullptr ? CKR_GENERAL_ERROR
                                                                    : CKR_OK;
    if (result == CKR_OK) {
        *list = &TracedFunctions();
    }
    TraceString(RETURNS, GetCkErrorString(result));
    return result;
}

TRACED C_GetInterfaceList(CInterface* interfaces, CK_ULONG_PTR count) {
    CTraceScope scope(__func__);
    const CRealModule& real = CRealModule::Instance();
    CK_RV result = CKR_GENERAL_ERROR;
    if (real.GetInterfaceList() != nullptr) {
        result = CallGuarded(real.GetInterfaceList(), interfaces, count);
        const CK_ULONG* given = Given(result, count);
        for (CK_ULONG i = 0; interfaces != nullptr && given != nullptr && i < *given; i++) {
            interfaces[i] = *tracedInterfaces.Find(&interfaces[i]);
        }
    } else if (real.Functions() != nullptr) {
        result = ListOnlyInterface(interfaces, count);
    }
    TraceString("Count: %s\n" RETURNS, CNumberText::Decimal(Given(result, count)).Text(),
                GetCkErrorString(result));
    return result;
}

TRACED C_GetInterface(const CK_UTF8CHAR* name, CK_VERSION_PTR version, CInterface** interface,
                      CK_FLAGS flags) {
    CTraceScope scope(__func__);
    const CRealModule& real = CRealModule::Instance();
    CK_RV result = CKR_GENERAL_ERROR;
    if (real.GetInterface() != nullptr) {
        result = CallGuarded(real.GetInterface(), name, version, interface, flags);
        if (Given(result, interface) != nullptr) {
            *interface = const_cast<CInterface*>(tracedInterfaces.Find(*interface));
        }
    } else if (real.Functions() != nullptr) {
        result = GetOnlyInterface(name, version, interface, flags);
    }
    TraceString("Name: %s, flags: 0x%lx\n" RETURNS,
                name != nullptr ? reinterpret_cast<const char*>(name) : "none", flags,
                GetCkErrorString(result));
    return result;
}
