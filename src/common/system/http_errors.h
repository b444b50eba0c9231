/**
 * What the network code throws. Each has the code CKR_FUNCTION_FAILED and a text, and is thrown
 * with RAISE.
 */
#pragma once

#include "util/exception.h"

/** The root of network failures. */
class ENetwork : public CException {
public:
    using CException::CException;
};

/** A failure of the protocol or of a transfer. */
class CHttpException : public ENetwork {
public:
    using ENetwork::ENetwork;
};

/** A name that is not found, or a connection that cannot be made. */
class CHttpConnectException : public CHttpException {
public:
    using CHttpException::CHttpException;
};

/** A sentence with the system's words for an errno value behind it. */
CUTF8String WithReason(const char* sentence, int error);
