#include "trace/tracer.h"

#include "trace/line_prefix.h"
#include "trace/log_state.h"
#include "trace/message_lines.h"
#include "trace/structure_dump.h"

#include <cstring>
#include <string_view>

namespace {

const char* OrNull(const char* text) { return text != nullptr ? text : "(null)"; }

/** Writes "<verb> <name>.", with blank lines behind it. */
void WriteNamed(CLineWriter& writer, const CTraceThread& thread, std::string_view verb,
                std::string_view name, std::string_view end) noexcept {
    const CLinePrefix prefix(thread);
    char* at = writer.Extend(prefix.GetLength() + verb.size() + name.size() + end.size());
    if (at == nullptr) {
        return;
    }
    at = prefix.Put(at);
    for (const std::string_view part : {verb, name, end}) {
        std::memcpy(at, part.data(), part.size());
        at += part.size();
    }
}

template <class Structure>
void Dump(const Structure* structure,
          void (CStructureDump::*write)(const Structure& structure) noexcept) noexcept {
    const COutputGuard guard;
    if (guard.IsActive() && structure != nullptr) {
        (CStructureDump(guard.GetWriter()).*write)(*structure);
    }
}

}  // namespace

void Tracer::Enter(const char* name) noexcept {
    const COutputGuard guard;
    if (!guard.IsActive()) {
        return;
    }
    CTraceThread& thread = GetTraceThread();
    WriteNamed(guard.GetWriter(), thread, "Entering ", OrNull(name), ".\n");
    ++thread.indent;
}

void Tracer::Leave(const char* name) noexcept {
    // Kept: ahead of the guard, so a thread that only leaves takes a mark while the log is off.
    CTraceThread& thread = GetTraceThread();
    const COutputGuard guard;
    if (!guard.IsActive()) {
        return;
    }
    if (thread.indent > 0) {
        --thread.indent;
    }
    WriteNamed(guard.GetWriter(), thread, "Leaving ", OrNull(name),
               thread.indent == 0 ? ".\n\n" : ".\n");
}

void Tracer::String(const char* format, va_list arguments) noexcept {
    const COutputGuard guard;
    if (guard.IsActive()) {
        const CLinePrefix prefix(GetTraceThread());
        guard.RestoreErrno();
        AppendMessage(guard.GetWriter(), prefix, OrNull(format), arguments);
    }
}

void Tracer::Template(const CK_ATTRIBUTE* attributes, CK_ULONG count,
                      unsigned char hideValues) noexcept {
    const COutputGuard guard;
    if (guard.IsActive() && attributes != nullptr) {
        CStructureDump(guard.GetWriter()).Template(attributes, count, hideValues != 0);
    }
}

void Tracer::Mechanism(const CK_MECHANISM* mechanism) noexcept {
    Dump(mechanism, &CStructureDump::Mechanism);
}

void Tracer::MechanismInfo(const CK_MECHANISM_INFO* info) noexcept {
    Dump(info, &CStructureDump::MechanismInfo);
}

void Tracer::TokenInfo(const CK_TOKEN_INFO* info) noexcept {
    Dump(info, &CStructureDump::TokenInfo);
}

void Tracer::SessionInfo(const CK_SESSION_INFO* info) noexcept {
    Dump(info, &CStructureDump::SessionInfo);
}
