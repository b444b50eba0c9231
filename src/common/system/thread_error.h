/**
 * The failure of a call of the thread library.
 */
#pragma once

#include "util/exception.h"

/**
 * Carries kFailedCallMessage with the name of the call and the text of `error`.
 *
 * Kept: `error` is errno, which these calls do not set; most reports read "Success. (0)". Logs are
 * matched on the text, so the calls' own results do not take its place.
 */
class EThreadError : public CException {
public:
    EThreadError(const char* call, int error);
    ~EThreadError() override;
};
