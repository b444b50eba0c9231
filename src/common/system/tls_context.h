/**
 * The trust that client connections start from.
 */
#pragma once

#include <openssl/ssl.h>

#include <memory>

struct CSslContextFree {
    void operator()(SSL_CTX* context) const noexcept { SSL_CTX_free(context); }
};
using CSslContext = std::unique_ptr<SSL_CTX, CSslContextFree>;

struct CSslFree {
    void operator()(SSL* ssl) const noexcept { SSL_free(ssl); }
};
using CSsl = std::unique_ptr<SSL, CSslFree>;

/**
 * A client context that verifies the server's chain against the host's certificates: those below
 * the directory that the installed openssl command names, and those of OpenSSL's own defaults.
 * Protocol versions and ciphers are OpenSSL's defaults.
 *
 * Null when OpenSSL cannot make one, which is traced. The command runs on the calling thread as
 * long as no directory is known; what it names is kept for the process. Throws std::runtime_error
 * with "popen() failed!". Leaves OpenSSL's error queue empty.
 */
CSslContext CreateClientContext();
