/**
 * Enter and Leave of the trace log as an object.
 */
#pragma once

#include <qorvs/trace.h>

/**
 * Writes the Entering line when made and the Leaving line when the scope ends, also by an
 * exception.
 *
 * The name is not copied: it must live as long as the object. __func__ and literals do.
 */
class CTraceScope {
public:
    explicit CTraceScope(const char* functionName) noexcept : name(functionName) {
        TraceEnter(name);
    }
    ~CTraceScope() { TraceLeave(name); }

    CTraceScope(const CTraceScope&) = delete;
    CTraceScope& operator=(const CTraceScope&) = delete;

private:
    const char* name;
};
