/**
 * Who the service is over TLS.
 */
#pragma once

#include "system/tls_context.h"

/**
 * A server's context with a key and a certificate of its own, made here and now for localhost and
 * 127.0.0.1 and valid for a day. Nobody trusts it until told to; a service that stays installs one
 * that the machine's users were asked about.
 *
 * Throws std::runtime_error when OpenSSL fails.
 */
CSslContext MakeServerContext();
