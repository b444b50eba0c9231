/**
 * The two-call pattern of Cryptoki: ask for the length, then for the data.
 */
#pragma once

#include <cstddef>

/**
 * Copies the data into the caller's buffer and returns true, or, when `destination` is null, only
 * stores the length and returns false.
 *
 * Throws CException with code 7 (CKR_ARGUMENTS_BAD) when `destinationLength` is null, and with code
 * 336 (CKR_BUFFER_TOO_SMALL) when the buffer is, after storing the length.
 *
 * Kept: a copy leaves `*destinationLength` as it is; a caller that offers more room does not learn
 * the length.
 */
bool ReturnData(unsigned char* destination, unsigned long* destinationLength,
                const unsigned char* data, size_t length);
