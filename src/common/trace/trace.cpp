#include "qorvs/trace.h"

#include "qorvs/trace_structures.h"
#include "trace/log_state.h"
#include "trace/tracer.h"

#include <cstdarg>
#include <new>

namespace {

// Null until the library has loaded so far that output is safe; never cleared, since the host's
// static objects trace after ours have ended.
Tracer* tracer = nullptr;

Tracer* MakeTracer() noexcept {
    try {
        CLogState::Create();
        return new Tracer;
    } catch (...) {
        return nullptr;
    }
}

[[maybe_unused]] const bool kLoaded = (tracer = MakeTracer()) != nullptr;

/** The tracer, or null when nothing would come of a call. */
Tracer* GetListener() noexcept { return CLogState::IsSilent() ? nullptr : tracer; }

template <class Structure>
void Forward(void (Tracer::*operation)(const Structure*) noexcept,
             const Structure* structure) noexcept {
    if (Tracer* const listener = GetListener()) {
        (listener->*operation)(structure);
    }
}

}  // namespace

void TraceEnter(const char* name) noexcept {
    if (Tracer* const listener = GetListener()) {
        listener->Enter(name);
    }
}

void TraceLeave(const char* name) noexcept {
    // Not only a listener: leaving gives a thread its mark, also while the log is off.
    if (tracer != nullptr) {
        tracer->Leave(name);
    }
}

void TraceString(const char* format, ...) noexcept {
    if (Tracer* const listener = GetListener()) {
        va_list arguments;
        va_start(arguments, format);
        listener->String(format, arguments);
        va_end(arguments);
    }
}

void TraceString0(const char* text) noexcept { TraceString("%s", text); }

void TraceLine(const char* label, unsigned long line, const char* function) noexcept {
    TraceString("'%s' in (%s), line %d", label, function, static_cast<int>(line));
}

void TraceLineLight() noexcept { TraceString("WARNING Exception raised light"); }

void UpdateLogsTrackingState(const char* state) noexcept {
    if (state == nullptr) {
        CLogState::ToggleTracking();
    } else {
        // Kept: the byte itself decides, so the digit "0" turns tracking on.
        CLogState::SetTracking(*state != 0);
    }
}

void TraceTemplate(const CK_ATTRIBUTE* attributes, CK_ULONG count,
                   unsigned char hideValues) noexcept {
    if (Tracer* const listener = GetListener()) {
        listener->Template(attributes, count, hideValues);
    }
}

void TraceMechanism(const CK_MECHANISM* mechanism) noexcept {
    Forward(&Tracer::Mechanism, mechanism);
}

void TraceMechanismInfo(const CK_MECHANISM_INFO* info) noexcept {
    Forward(&Tracer::MechanismInfo, info);
}

void TraceTokenInfo(const CK_TOKEN_INFO* info) noexcept { Forward(&Tracer::TokenInfo, info); }

void TraceSessionInfo(const CK_SESSION_INFO* info) noexcept { Forward(&Tracer::SessionInfo, info); }
