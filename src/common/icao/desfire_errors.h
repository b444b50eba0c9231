/**
 * The names of what DESFire cards answer.
 */
#pragma once

#include <cstdint>

namespace icao {

/**
 * The codes are numbers of our own, 0 to 14, not the status octets of the cards.
 * "DESFIRE_ERROR_UNKNOWN" for others.
 */
const char* GetDESFireErrorName(int32_t code) noexcept;

}  // namespace icao
