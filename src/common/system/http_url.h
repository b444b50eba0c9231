/**
 * The parts of a URL, and percent encoding (RFC 3986, 2.1).
 */
#pragma once

#include "util/ct_string.h"

#include <cstdint>

/** The parts of "scheme://host:port/path". */
struct CHttpUrl {
    /** Whether the text could be parsed. */
    bool valid = false;

    /** As written: schemes are compared with lower-case ones as they stand. */
    CISOString scheme;

    /** A name or a dotted address, without the port. */
    CISOString host;

    /** The stated port, else 443 for "https" and 80 for anything else. */
    int32_t port = 0;

    /** From the first "/" behind the host to the end, query and fragment included; at least "/". */
    CISOString path;
};

/**
 * Takes a URL apart. Nothing is decoded, user information is not known. A text without "://" or
 * with a port that is no decimal number gives a record that is not `valid`; of the latter, scheme,
 * host and path are filled all the same. Nothing is thrown.
 */
CHttpUrl ParseUrl(const CISOString& text);

/** Whether a text holds a control character (0x00 to 0x1F, 0x7F), which no line of a request may.
 */
bool HasControlCharacter(const CISOString& text);

/**
 * Writes every byte but letters, digits and "!()*-._~" as "%" and two upper-case hexadecimal digits
 * (unlike encodeURIComponent, the single quote too). Null gives the empty string.
 */
CISOString UrlEncode(const char* text);

/**
 * Reverses UrlEncode, and turns "+" into a blank. An escape that the text ends in ends the result;
 * one with other characters than hexadecimal digits is dropped. Null gives the empty string.
 *
 * The bytes are put into the string as they are, whatever its encoding.
 */
template <class String = CISOString>
String UrlDecode(const char* text);
