/**
 * The root of the library's exceptions.
 */
#pragma once

#include "util/event_message.h"
#include "util/ref_counter.h"

/** The code of exceptions that name none: CKR_FUNCTION_FAILED. */
constexpr unsigned long kFunctionFailed = 6;

/**
 * A Cryptoki return code and, mostly, a message. Nothing here derives from std::exception.
 *
 * Copies share the message, whose count is plain memory: an exception and its copies belong to one
 * thread. Throw through raise.h.
 */
class CException {
public:
    CException() noexcept = default;
    explicit CException(const CEventMessage& message) : CException(kFunctionFailed, message) {}
    CException(unsigned long code, const CEventMessage& message);

    /** The text becomes the message (kTextMessage, kSystemCategory). */
    explicit CException(const CUTF8String& text) : CException(kFunctionFailed, text) {}
    CException(unsigned long code, const CUTF8String& text);

    /** The message is the English sentence for the code. */
    explicit CException(unsigned long code);

    CException(const CException& other) noexcept;
    CException& operator=(const CException& other) noexcept;
    virtual ~CException();

    bool HasMessage() const noexcept { return shared != nullptr; }

    /** The message, or an empty one with the id 0 that is never destroyed. */
    const CEventMessage& GetMessage() const;

    unsigned long GetErrorCode() const noexcept { return errorCode; }

private:
    // Kept: always empty. Modules built against us find the next two fields behind it.
    CEventMessage unused;
    CValRefCounter<CEventMessage>* shared = nullptr;
    unsigned long errorCode = kFunctionFailed;
};

static_assert(sizeof(CException) == 40, "modules rely on table, message, shared message, code");

/** A failure whose code goes back to the caller of Cryptoki. Thrown with RAISE_CCK. */
class CCkException : public CException {
public:
    using CException::CException;
};
