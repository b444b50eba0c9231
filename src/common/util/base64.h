/**
 * Base 64 (RFC 4648, section 4).
 */
#pragma once

#include "util/ct_string.h"
#include "util/ct_zone.h"

/**
 * Decodes a text without line breaks inside; blanks and line breaks at its end do no harm. An empty
 * text gives an empty zone.
 *
 * Throws CException when the text holds less data than its length and padding promise, which is how
 * characters outside the alphabet show.
 */
CByteZone DecodeBase64(const CUTF8String& text);
