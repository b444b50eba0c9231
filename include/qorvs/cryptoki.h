/**
 * Brings in the Cryptoki types and constants (PKCS #11, 2.x names).
 *
 * This is the one place that names the platform's header. A host that has a PKCS #11 header of its
 * own defines QORVS_CRYPTOKI_HEADER to it, quotes or angle brackets included, before it includes
 * any header of this library.
 */
#pragma once

#ifdef QORVS_CRYPTOKI_HEADER
#include QORVS_CRYPTOKI_HEADER
#else
#ifndef CRYPTOKI_COMPAT
#define CRYPTOKI_COMPAT
#endif
#include <p11-kit/pkcs11.h>
#endif
