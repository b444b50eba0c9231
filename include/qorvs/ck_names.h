/**
 * Names for the numbers of Cryptoki, of the PC/SC interface and of ISO 7816 status words.
 *
 * The results are zero-terminated and belong to the library; they live until the process ends. The
 * only ones that change are the texts that hold the number of an unknown code: each thread has one
 * such text per function, and the next unknown code on that thread overwrites it. All operations
 * may be called from any thread and throw nothing.
 */
#pragma once

#include <qorvs/ck_extensions.h>
#include <qorvs/cryptoki.h>
#include <qorvs/export.h>

#include <stdint.h>

QORVS_BEGIN_C

/** "CKR_OK" and its like up to CKR_FUNCTION_REJECTED, the CXR_ codes, or "Unknown: 0x00000123". */
QORVS_API const char* GetCkErrorString(CK_RV code) QORVS_NOEXCEPT;

/** "CKU_SO" and its like, the CXU_ types, or "Unknown: 0x00000123". */
QORVS_API const char* GetCkUserTypeString(CK_USER_TYPE type) QORVS_NOEXCEPT;

/** "CKA_CLASS" and its like, the CXA_ types, or "Unknown". */
QORVS_API const char* GetCkAttributeTypeString(CK_ATTRIBUTE_TYPE type) QORVS_NOEXCEPT;

/** "CKO_DATA" to "CKO_DOMAIN_PARAMETERS", "CXO_CONTAINER", or "Unknown". */
QORVS_API const char* GetCkObjectClassString(CK_OBJECT_CLASS objectClass) QORVS_NOEXCEPT;

/** "CKK_RSA" to "CKK_AES", or "Unknown". */
QORVS_API const char* GetCkKeyTypeString(CK_KEY_TYPE type) QORVS_NOEXCEPT;

/** "CKC_X_509", "CKC_X_509_ATTR_CERT", or "Unknown". */
QORVS_API const char* GetCkCertificateTypeString(CK_CERTIFICATE_TYPE type) QORVS_NOEXCEPT;

/**
 * "CKM_RSA_PKCS" and its like, or "unknown (0x00000123)".
 *
 * Of two names for one number the newer is given: EC before ECDSA, CAST128 before CAST5.
 */
QORVS_API const char* GetCkMechanismTypeString(CK_MECHANISM_TYPE type) QORVS_NOEXCEPT;

/**
 * The number of a mechanism from the name that GetCkMechanismTypeString gives for it, in the same
 * letters; (CK_MECHANISM_TYPE)-1 for any other name and for null.
 */
QORVS_API CK_MECHANISM_TYPE GetCkMechanismTypeFromString(const char* name) QORVS_NOEXCEPT;

/** "CXKEYSPEC_KEYEXCHANGE", "CXKEYSPEC_SIGNATURE", or "Unknown". */
QORVS_API const char* GetCxKeySpecString(CK_ULONG keySpec) QORVS_NOEXCEPT;

/** "CKD_NULL", "CKD_SHA1_KDF", or "unknown", here in lower case. */
QORVS_API const char* GetKdfString(CK_EC_KDF_TYPE kdf) QORVS_NOEXCEPT;

/** The name of one bit of CK_MECHANISM_INFO's flags, or "Unknown". */
QORVS_API const char* GetCkMechanismInfoFlagString(CK_FLAGS flag) QORVS_NOEXCEPT;

/** The name of one bit of CK_TOKEN_INFO's flags, or "Unknown". */
QORVS_API const char* GetCkTokenInfoFlagString(CK_FLAGS flag) QORVS_NOEXCEPT;

/** The name of one bit of CK_SESSION_INFO's flags, or "Unknown". */
QORVS_API const char* GetCkSessionInfoFlagString(CK_FLAGS flag) QORVS_NOEXCEPT;

/** The name of a card container type (CXC_), or "Unknown". */
QORVS_API const char* GetINCardContainer(CK_ULONG containerType) QORVS_NOEXCEPT;

/**
 * The name of a PC/SC result code as Windows numbers them, "NO_ERROR" for 0, or
 * "Unknown: 0x80100018".
 */
QORVS_API const char* GetWin32ErrorString(uint32_t code) QORVS_NOEXCEPT;

QORVS_END_C

#ifdef __cplusplus

/** What an ISO 7816 status word means, in English; empty for one that has no text. */
QORVS_API const char* GetSwString(unsigned short statusWord) noexcept;

#endif
