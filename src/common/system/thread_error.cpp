#include "system/thread_error.h"

EThreadError::EThreadError(const char* call, int error)
    : CException(MakeErrnoMessage(call, error, kSystemCategory)) {}

EThreadError::~EThreadError() = default;
