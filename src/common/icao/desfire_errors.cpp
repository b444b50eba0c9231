#include "icao/desfire_errors.h"

#include <iterator>

namespace icao {

// By code.
static constexpr const char* kNames[] = {
    "DESFIRE_ERROR_OUT_OF_EEPROM_ERROR",  "DESFIRE_ERROR_ILLEGAL_COMMAND_CODE",
    "DESFIRE_ERROR_INTEGRITY_ERROR",      "DESFIRE_ERROR_NO_SUCH_KEY",
    "DESFIRE_ERROR_LENGTH_ERROR",         "DESFIRE_ERROR_PERMISSION_DENIED",
    "DESFIRE_ERROR_PARAMETER_ERROR",      "DESFIRE_ERROR_APPLICATION_NOT_FOUND",
    "DESFIRE_ERROR_AUTHENTICATION_ERROR", "DESFIRE_ERROR_ADDITIONAL_FRAME",
    "DESFIRE_ERROR_BOUNDARY_ERROR",       "DESFIRE_ERROR_COMMAND_ABORTED",
    "DESFIRE_ERROR_COUNT_ERROR",          "DESFIRE_ERROR_DUPLICATE_ERROR",
    "DESFIRE_ERROR_FILE_NOT_FOUND",
};
static_assert(std::size(kNames) == 15);

const char* GetDESFireErrorName(int32_t code) noexcept {
    return code >= 0 && code < static_cast<int32_t>(std::size(kNames)) ? kNames[code]
                                                                       : "DESFIRE_ERROR_UNKNOWN";
}

}  // namespace icao
