#include "secrecy.h"

#include "forward.h"
#include <qorvs/trace.h>
#include <qorvs/trace_structures.h>

#include <algorithm>
#include <cstring>
#include <optional>

// The password-based mechanisms lie together in the standard's numbering.
static constexpr CK_MECHANISM_TYPE kFirstPasswordBased = CKM_PBE_MD2_DES_CBC;
static constexpr CK_MECHANISM_TYPE kLastPasswordBased = CKM_PBA_SHA1_WITH_SHA1_HMAC;

// What is known of an object; a value that cannot be read counts as the one that hides more.
struct CObjectTraits {
    std::optional<CK_OBJECT_CLASS> objectClass;
    std::optional<bool> isPrivate;

    void Read(const CK_ATTRIBUTE& attribute);
    bool IsPublic() const;
};

void CObjectTraits::Read(const CK_ATTRIBUTE& attribute) {
    if (attribute.type == CKA_CLASS) {
        CK_OBJECT_CLASS value = CKO_PRIVATE_KEY;
        if (attribute.pValue != nullptr && attribute.ulValueLen == sizeof value) {
            std::memcpy(&value, attribute.pValue, sizeof value);
        }
        objectClass = value;
    } else if (attribute.type == CKA_PRIVATE) {
        bool isReadable = attribute.pValue != nullptr && attribute.ulValueLen == sizeof(CK_BBOOL);
        bool value = !isReadable || *static_cast<const CK_BBOOL*>(attribute.pValue) != CK_FALSE;
        isPrivate = value || isPrivate.value_or(false);
    }
}

bool CObjectTraits::IsPublic() const {
    switch (objectClass.value_or(CKO_PRIVATE_KEY)) {
        case CKO_CERTIFICATE:
        case CKO_PUBLIC_KEY:
        case CKO_HW_FEATURE:
        case CKO_DOMAIN_PARAMETERS:
        case CKO_MECHANISM:
            return !isPrivate.value_or(false);
        case CKO_DATA:
            return !isPrivate.value_or(true);
        default:
            return false;
    }
}

static CObjectTraits ReadTraits(const CK_ATTRIBUTE* attributes, CK_ULONG count,
                                std::optional<CK_OBJECT_CLASS> usualClass = {}) {
    CObjectTraits traits{usualClass, {}};
    if (attributes != nullptr) {
        std::for_each_n(attributes, count,
                        [&](const CK_ATTRIBUTE& attribute) { traits.Read(attribute); });
    }
    return traits;
}

static bool IsPublicObject(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object) {
    CK_OBJECT_CLASS objectClass = CKO_PRIVATE_KEY;
    CK_BBOOL isPrivate = CK_TRUE;
    CK_ATTRIBUTE attributes[] = {{CKA_CLASS, &objectClass, sizeof objectClass},
                                 {CKA_PRIVATE, &isPrivate, sizeof isPrivate}};
    return Forward(&CK_FUNCTION_LIST::C_GetAttributeValue, session, object, attributes,
                   CK_ULONG{2}) == CKR_OK &&
           ReadTraits(attributes, 2).IsPublic();
}

static void TraceTitledTemplate(const CK_ATTRIBUTE* attributes, CK_ULONG count, bool isPublic) {
    if (attributes != nullptr && count > 0) {
        TraceString0(isPublic ? "Template:" : "Template, values hidden:");
        TraceTemplate(attributes, count, !isPublic);
    }
}

void TraceTemplateByItself(const CK_ATTRIBUTE* attributes, CK_ULONG count) {
    TraceTitledTemplate(attributes, count, ReadTraits(attributes, count).IsPublic());
}

void TracePublicKeyTemplate(const CK_ATTRIBUTE* attributes, CK_ULONG count) {
    bool isPublic = ReadTraits(attributes, count, CKO_PUBLIC_KEY).IsPublic();
    TraceTitledTemplate(attributes, count, isPublic);
}

void TraceHiddenTemplate(const CK_ATTRIBUTE* attributes, CK_ULONG count) {
    TraceTitledTemplate(attributes, count, false);
}

void TraceChanges(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object,
                  const CK_ATTRIBUTE* attributes, CK_ULONG count) {
    bool becomesPrivate = ReadTraits(attributes, count).isPrivate.value_or(false);
    TraceTitledTemplate(attributes, count, !becomesPrivate && IsPublicObject(session, object));
}

static bool IsFilled(const CK_ATTRIBUTE& attribute) {
    return attribute.pValue != nullptr && attribute.ulValueLen != 0 &&
           attribute.ulValueLen != static_cast<CK_ULONG>(-1);
}

static bool IsAnswered(CK_RV result) {
    return result == CKR_OK || result == CKR_ATTRIBUTE_SENSITIVE ||
           result == CKR_ATTRIBUTE_TYPE_INVALID;
}

void TraceAnswers(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object,
                  const CK_ATTRIBUTE* attributes, CK_ULONG count, CK_RV result) {
    if (attributes == nullptr) {
        return;
    }
    bool hasValues = IsAnswered(result) && std::any_of(attributes, attributes + count, IsFilled);
    TraceTemplate(attributes, count, !(hasValues && IsPublicObject(session, object)));
}

static bool MayHoldSecret(CK_MECHANISM_TYPE type) {
    return (type >= kFirstPasswordBased && type <= kLastPasswordBased) ||
           type >= CKM_VENDOR_DEFINED;
}

void TraceMechanismSafely(const CK_MECHANISM* mechanism) {
    if (mechanism == nullptr || !MayHoldSecret(mechanism->mechanism)) {
        TraceMechanism(mechanism);
        return;
    }
    CK_MECHANISM shown = {mechanism->mechanism, nullptr, 0};
    TraceMechanism(&shown);
    TraceString("Parameter hidden, length is %lu", mechanism->ulParameterLen);
}
