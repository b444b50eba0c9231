/**
 * Dotted network addresses.
 */
#pragma once

#include "util/ct_string.h"
#include "util/exception.h"

#include <cstdint>

/** A text is not an IPv4 address. */
class NOT_IPV4 : public CException {
public:
    using CException::CException;
};

/** The pieces of "a.b.c.d:port" as they were written; port 0 stands for none. */
struct CAddress {
    CUTF8String parts[4];
    uint32_t port = 0;
};

/**
 * Takes an address apart. Its pieces are counted, not read: they need not be numbers.
 *
 * Throws NOT_IPV4 unless there are four pieces between the points, and std::runtime_error as ToUInt
 * does for a port that is not empty and no number.
 */
CAddress ParseAddress(const CUTF8String& text);
