/**
 * The reports of services to the operating system's log.
 */
#pragma once

#include "util/event_message.h"

/** A log that takes messages of the catalog. */
class CEventLog {
public:
    virtual ~CEventLog() = default;
    virtual void Report(const CEventMessage& message) = 0;
};

/**
 * The system log, under the name "qorvs".
 *
 * The connection is the process's one: closing it when the process ends closes the host's as well.
 */
class CSysLog : public CEventLog {
public:
    CSysLog() noexcept;
    ~CSysLog() override;

    CSysLog(const CSysLog&) = delete;
    CSysLog& operator=(const CSysLog&) = delete;

    /**
     * Writes "[category] text" at the priority of the message's severity: informational, warning,
     * and critical for errors and internal messages.
     *
     * Line breaks in the text are written as they are. A category that the catalog does not know
     * is written as "(null)", a message that it does not know as an empty text.
     */
    void Report(const CEventMessage& message) override;
};

/** The log of this process, opened by the first call and closed when the process ends. */
CSysLog& GetEventLog();
