/**
 * What the ASN.1 code throws, with the code CKR_FUNCTION_FAILED. Where no text is named, the
 * message is empty.
 */
#pragma once

#include "util/exception.h"

/** The root of the family, for those who catch; never thrown itself. */
class EASN1 : public CException {
public:
    using CException::CException;
};

/** Well-formed input, or a value, beyond what the codec takes. */
class EASN1UnsupportedFormat : public EASN1 {
public:
    using EASN1::EASN1;
};

/** Malformed or truncated input. */
class EASN1InvalidData : public EASN1 {
public:
    using EASN1::EASN1;
};

/** The output cannot hold the encoding. */
class EASN1BufferTooSmall : public EASN1 {
public:
    using EASN1::EASN1;
};

/** Input or a value that does not fit its type description. */
class EASN1InconsistentData : public EASN1 {
public:
    using EASN1::EASN1;
};

/** An absent item was read. */
class EASN1TagNotFound : public EASN1 {
public:
    using EASN1::EASN1;
};

static_assert(sizeof(EASN1TagNotFound) == sizeof(CException), "the family adds no members");
