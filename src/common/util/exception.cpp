#include "util/exception.h"

#include "trace/ck_error_text.h"

#include <utility>

CException::CException(unsigned long code, const CEventMessage& message)
    : shared(new CValRefCounter<CEventMessage>(message)), errorCode(code) {}

CException::CException(unsigned long code, const CUTF8String& text)
    : CException(code, MakeTextMessage(text)) {}

CException::CException(unsigned long code) : CException(code, CUTF8String(GetCkErrorText(code))) {}

CException::CException(const CException& other) noexcept
    : shared(other.shared), errorCode(other.errorCode) {
    if (shared != nullptr) {
        shared->AddReference();
    }
}

CException& CException::operator=(const CException& other) noexcept {
    CException copy(other);
    std::swap(shared, copy.shared);
    errorCode = copy.errorCode;
    return *this;
}

CException::~CException() {
    if (shared != nullptr && shared->DropReference()) {
        delete shared;
    }
}

const CEventMessage& CException::GetMessage() const {
    static const auto* const empty = new CEventMessage;
    return shared != nullptr ? *shared : *empty;
}
