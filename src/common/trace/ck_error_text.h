/**
 * The sentences that users read for return codes.
 */
#pragma once

#include "util/ct_string.h"
#include <qorvs/cryptoki.h>

/**
 * One English sentence for a return code of Cryptoki or of this middleware, or "Code 0x" with all
 * its hexadecimal digits, at least eight, for any other code.
 */
CUTF8String GetCkErrorText(CK_RV code);
