/**
 * Timestamps from a JSON service, which wants a bearer token (RFC 6750) and wraps the timestamp
 * token of RFC 3161 in its reply.
 */
#pragma once

#include "timestamp/timestamp_token.h"

/**
 * One request to the service. Its addresses and what the bearer token is asked for with are
 * settings (system/settings.h).
 */
class JSONTimestampToken : public TimestampToken {
public:
    explicit JSONTimestampToken(const CUTF8String& address) : TimestampToken(address) {}

    /** Gets a bearer token first, if need be. */
    void GetToken(CByteZone& result) override;

    /**
     * Sees to it that the process has a bearer token, which it keeps for 3000 seconds by the clock
     * of TimeManager: asks the service for one by its client credentials (RFC 6749, 4.4) when there
     * is none or when it is older. A reply without a token counts as none for the next call.
     *
     * One thread asks; others wait and take what it has got. A service that refuses a token does
     * not make it any older. Throws TSException.
     */
    static void InitAuthToken();

private:
    CByteZone MakeQuery() const;
};
