/**
 * Writes Cryptoki structures into the trace log, one structure at a time.
 *
 * The lines of one structure are never split by another thread's lines. The structures are read
 * during the call and not kept. A null structure writes nothing. Values of private keys, and
 * CKA_VALUE of any object, reach the log by their length only.
 */
#pragma once

#include <qorvs/cryptoki.h>
#include <qorvs/export.h>

QORVS_BEGIN_C

/**
 * Writes `count` attributes, a line each: name, length in bytes, value.
 *
 * A set `hideValues` writes "(data present)" in place of every value. A length of
 * (CK_ULONG)-1, as failed attribute reads leave it, counts as an empty value.
 */
QORVS_API void TraceTemplate(const CK_ATTRIBUTE* attributes, CK_ULONG count,
                             unsigned char hideValues) QORVS_NOEXCEPT;

/** Writes a mechanism's name and, when it has one, its parameter in hexadecimal. */
QORVS_API void TraceMechanism(const CK_MECHANISM* mechanism) QORVS_NOEXCEPT;

/** Writes the key sizes and flags of a mechanism. */
QORVS_API void TraceMechanismInfo(const CK_MECHANISM_INFO* info) QORVS_NOEXCEPT;

/** Writes the label, identity, flags, PIN lengths, memory sizes and versions of a token. */
QORVS_API void TraceTokenInfo(const CK_TOKEN_INFO* info) QORVS_NOEXCEPT;

/** Writes the slot, state, device error and flags of a session. */
QORVS_API void TraceSessionInfo(const CK_SESSION_INFO* info) QORVS_NOEXCEPT;

QORVS_END_C
