#include "icao/icao_errors.h"

#include "icao/icao_exception.h"

#include <cstdio>
#include <iterator>

namespace icao {

namespace {

struct CErrorRow {
    int32_t code;
    const char* name;
    const char* text;
};

#define ERROR_ROW(code, text) \
    { code, #code, text }

// Codes are row numbers.
// clang-format off
constexpr CErrorRow kErrors[] = {
    ERROR_ROW(ICAO_ERR_OK, "The operation succeeded."),
    ERROR_ROW(ICAO_ERR_FILE_NOT_FOUND, "The file does not exist."),
    ERROR_ROW(ICAO_ERR_INVALID_PARAMS, "The given parameters are invalid."),
    ERROR_ROW(ICAO_ERR_GENERAL_ERROR,
              "An unrecoverable error occurred. This may be due to an inconsistency in the smart card data."),
    ERROR_ROW(ICAO_ERR_OPERATION_NOT_PERMITTED, "The operation is not permitted by token."),
    ERROR_ROW(ICAO_ERR_SECURITY_STATUS_NOT_SATISFIED,
              "The security status for this operation is not satisfied."),
    ERROR_ROW(ICAO_ERR_CREDENTIAL_SUSPENDED,
              "The given credential is suspended. Please launch procedure to resume it."),
    ERROR_ROW(ICAO_ERR_CREDENTIAL_DEACTIVATED,
              "The given credential is deactivated. Please launch procedure to activate it."),
    ERROR_ROW(ICAO_ERR_CREDENTIAL_BLOCKED,
              "The given credential is blocked. Please launch procedure to unblock it."),
    ERROR_ROW(ICAO_ERR_FUNCTION_FAILED,
              "The operation failed for some unknown reason. Please try again."),
    ERROR_ROW(ICAO_ERR_FUNCTION_NOT_SUPPORTED,
              "The operation is not supported by the token or middleware."),
    ERROR_ROW(ICAO_ERR_AUTHENTICATION_FAILED, "The authentication failed."),
    ERROR_ROW(ICAO_ERR_VERIFY_CERTIFICATE_FAILED, "The certificate verification failed."),
    ERROR_ROW(ICAO_ERR_TOKEN_NOT_RECOGNIZED, "The token is not supported."),
    ERROR_ROW(ICAO_ERR_TOKEN_NOT_PRESENT, "The token is not present."),
};
// clang-format on

constexpr bool AreCodesRowNumbers() {
    for (size_t row = 0; row < std::size(kErrors); ++row) {
        if (kErrors[row].code != static_cast<int32_t>(row)) {
            return false;
        }
    }
    return true;
}
static_assert(AreCodesRowNumbers());

struct CTranslation {
    CK_RV value;
    int32_t code;
};

constexpr CTranslation kTranslations[] = {
    {CKR_OK, ICAO_ERR_OK},
    {CKR_GENERAL_ERROR, ICAO_ERR_GENERAL_ERROR},
    {CKR_FUNCTION_FAILED, ICAO_ERR_FUNCTION_FAILED},
    {CKR_FUNCTION_NOT_SUPPORTED, ICAO_ERR_FUNCTION_NOT_SUPPORTED},
    {CKR_TOKEN_NOT_PRESENT, ICAO_ERR_TOKEN_NOT_PRESENT},
    {CKR_TOKEN_NOT_RECOGNIZED, ICAO_ERR_TOKEN_NOT_RECOGNIZED},
};

const CErrorRow* FindError(int32_t code) noexcept {
    return code >= 0 && code < static_cast<int32_t>(std::size(kErrors)) ? &kErrors[code] : nullptr;
}

}  // namespace

const char* GetICAOErrorName(int32_t code) noexcept {
    const CErrorRow* const row = FindError(code);
    return row != nullptr ? row->name : "unknown";
}

CUTF8String GetICAOErrorText(int32_t code) {
    if (const CErrorRow* const row = FindError(code)) {
        return row->text;
    }
    char text[sizeof "Code 0xFFFFFFFF"];
    std::snprintf(text, sizeof text, "Code 0x%08X", static_cast<unsigned>(code));
    return text;
}

bool TranslateCryptokiError(CK_RV value, int32_t& code) noexcept {
    for (const CTranslation& row : kTranslations) {
        if (row.value == value) {
            code = row.code;
            return true;
        }
    }
    return false;
}

}  // namespace icao
