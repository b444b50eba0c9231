/**
 * Timestamps from authorities that speak RFC 3161 over HTTP (section 3.4).
 */
#pragma once

#include "timestamp/timestamp_token.h"

class RFC3161TimestampToken : public TimestampToken {
public:
    explicit RFC3161TimestampToken(const CUTF8String& address) : TimestampToken(address) {}

    /** Traces "Failed to parse TS response." ahead of the failure for a body that is none. */
    void GetToken(CByteZone& result) override;
};
