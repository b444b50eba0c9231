/**
 * The names and texts of what the document protocols answer (ICAOError of icao_exception.h).
 */
#pragma once

#include "util/ct_string.h"
#include <qorvs/cryptoki.h>

#include <cstdint>

namespace icao {

/** "unknown" for other codes. */
const char* GetICAOErrorName(int32_t code) noexcept;

/** A sentence for people; for other codes "Code 0x" and eight digits. */
CUTF8String GetICAOErrorText(int32_t code);

/**
 * What a value of Cryptoki means to the document protocols. False, with `code` left alone, for
 * values that have no counterpart.
 */
bool TranslateCryptokiError(CK_RV value, int32_t& code) noexcept;

}  // namespace icao
