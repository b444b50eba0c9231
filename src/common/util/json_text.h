/**
 * The JSON text inside a reply.
 */
#pragma once

#include "util/ct_string.h"
#include "util/ct_zone.h"

/**
 * Cuts the first JSON object out of what surrounds it: from the first "{" to the "}" that closes
 * it, to the last "}" when none does, or to the end. Braces in strings do not count.
 *
 * Throws CException("Data is empty") when the reply is empty or has no "{".
 */
CUTF8String GetJson(const CByteZone& reply);
