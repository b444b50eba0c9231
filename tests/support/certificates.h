/**
 * A certification authority for tests, and a machine that trusts it.
 */
#pragma once

#include "support/settings_home.h"

/**
 * Makes certificates with the openssl command, each in one file with its key, valid for two days:
 *
 * "tls/good.pem" for localhost, "tls/elsewhere.pem" for another host, "tls/expired.pem",
 * "tls/client.pem" and "tls/foreign.pem", which signs itself. The authority's own is "tls/ca.pem"
 * and stands in "ssl/certs/ca-certificates.crt". With "tls/none.cnf" for its configuration OpenSSL
 * has no algorithms.
 *
 * Processes that live in the home find "ssl" as the directory of OpenSSL: "bin/openssl" prints the
 * file "openssl.says" when asked for it, and adds a line to "openssl.runs". Throws
 * std::runtime_error when the command fails.
 */
void MakeCertificates(const CSettingsHome& home);
