/**
 * The exception of the document protocols.
 */
#pragma once

#include "util/ct_string.h"
#include "util/raise.h"

#include <cstdint>
#include <utility>

namespace icao {

/** What the protocols answer; the names and texts are those of GetICAOErrorName and ...Text. */
enum ICAOError : int32_t {
    ICAO_ERR_OK = 0,
    ICAO_ERR_FILE_NOT_FOUND,
    ICAO_ERR_INVALID_PARAMS,
    ICAO_ERR_GENERAL_ERROR,
    ICAO_ERR_OPERATION_NOT_PERMITTED,
    ICAO_ERR_SECURITY_STATUS_NOT_SATISFIED,
    ICAO_ERR_CREDENTIAL_SUSPENDED,
    ICAO_ERR_CREDENTIAL_DEACTIVATED,
    ICAO_ERR_CREDENTIAL_BLOCKED,
    ICAO_ERR_FUNCTION_FAILED,
    ICAO_ERR_FUNCTION_NOT_SUPPORTED,
    ICAO_ERR_AUTHENTICATION_FAILED,
    ICAO_ERR_VERIFY_CERTIFICATE_FAILED,
    ICAO_ERR_TOKEN_NOT_RECOGNIZED,
    ICAO_ERR_TOKEN_NOT_PRESENT,
};

/**
 * Thrown by value. Kept: it has no base class; callers catch it beside CException.
 */
class CICAOException {
public:
    explicit CICAOException(int32_t errorCode) noexcept : code(errorCode) {}
    CICAOException(int32_t errorCode, CUTF8String text) noexcept
        : code(errorCode), message(std::move(text)) {}

    /** One of ICAOError. */
    int32_t GetErrorCode() const noexcept { return code; }

    /** Empty in all that the library throws: its words are in the log. */
    CUTF8String GetMessage() const { return message; }

private:
    int32_t code;
    CUTF8String message;
};

}  // namespace icao

/** Traces why a protocol step is refused and throws CICAOException with the code. */
#define REJECT_ICAO(code, ...)                  \
    do {                                        \
        TraceString(__VA_ARGS__);               \
        RAISE_ICAO(icao::CICAOException(code)); \
    } while (false)
