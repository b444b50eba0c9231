#include "system/event_log.h"

#include "system/catalog.h"

#include <syslog.h>

// Kept: errors, and messages of no severity, are critical. Monitoring filters on the priority.
static int GetPriority(ESeverity severity) {
    switch (severity) {
        case ESeverity::kInformational:
            return LOG_USER | LOG_INFO;
        case ESeverity::kWarning:
            return LOG_USER | LOG_WARNING;
        default:
            return LOG_USER | LOG_CRIT;
    }
}

CSysLog::CSysLog() noexcept { openlog("qorvs", 0, LOG_USER); }

CSysLog::~CSysLog() { closelog(); }

void CSysLog::Report(const CEventMessage& message) {
    const CUTF8String text = RenderMessage(message);
    const char* category = GetCatalogText(static_cast<uint32_t>(message.category));
    syslog(GetPriority(GetSeverity(message.id)), "[%s] %s",
           category != nullptr ? category : "(null)", text.GetText());
}

CSysLog& GetEventLog() {
    static CSysLog log;
    return log;
}
