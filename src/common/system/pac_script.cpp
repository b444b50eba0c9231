#include "system/pac_script.h"

#include <qorvs/trace.h>

#include <quickjs.h>

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>
#include <memory>
#include <string>

namespace {

// The script comes over plain HTTP from whoever runs the network.
constexpr size_t kMemoryLimit = size_t{64} * 1024 * 1024;
constexpr size_t kStackLimit = size_t{256} * 1024;
constexpr long kSecondsLimit = 10;

long GetSeconds() noexcept {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec;
}

int HasRunOut(JSRuntime* /*runtime*/, void* deadline) {
    return GetSeconds() >= *static_cast<const long*>(deadline) ? 1 : 0;
}

template <auto Free>
struct CFree {
    template <class Object>
    void operator()(Object* object) const noexcept {
        Free(object);
    }
};
using CRuntime = std::unique_ptr<JSRuntime, CFree<JS_FreeRuntime>>;
using CContext = std::unique_ptr<JSContext, CFree<JS_FreeContext>>;

/** A value of a script, freed with its owner. */
class CScriptValue {
public:
    CScriptValue(JSContext* scriptContext, JSValue scriptValue) noexcept
        : context(scriptContext), value(scriptValue) {}
    ~CScriptValue() { JS_FreeValue(context, value); }
    CScriptValue(const CScriptValue&) = delete;
    CScriptValue& operator=(const CScriptValue&) = delete;

    JSValue Get() const noexcept { return value; }
    bool IsException() const noexcept { return JS_IsException(value) != 0; }

    /** The value as UTF-8 text; false when it has none, as an object whose toString throws. */
    bool ToText(std::string& text) const {
        const char* const words = JS_ToCString(context, value);
        if (words == nullptr) {
            return false;
        }
        const std::unique_ptr<const char, CTextFree> owned(words, CTextFree{context});
        text = words;
        return true;
    }

private:
    struct CTextFree {
        JSContext* context;
        void operator()(const char* text) const noexcept { JS_FreeCString(context, text); }
    };

    JSContext* context;
    JSValue value;
};

/** Runs the script, then its function. False when that throws. */
bool CallScript(JSContext* context, const CISOString& script, const char* urlText,
                const CUTF8String& host, std::string& answer) {
    {
        // Not looked at: a script that fails here has no function to call.
        const CScriptValue ignored(context, JS_Eval(context, script.GetText(), script.GetLength(),
                                                    "<input>", JS_EVAL_TYPE_GLOBAL));
    }
    const CScriptValue global(context, JS_GetGlobalObject(context));
    const CScriptValue function(context,
                                JS_GetPropertyStr(context, global.Get(), "FindProxyForURL"));
    const CScriptValue url(context, JS_NewStringLen(context, urlText, std::strlen(urlText)));
    const CScriptValue hostName(context,
                                JS_NewStringLen(context, host.GetText(), host.GetLength()));
    JSValue arguments[] = {url.Get(), hostName.Get()};
    const CScriptValue result(context,
                              JS_Call(context, function.Get(), JS_UNDEFINED, 2, arguments));
    return !result.IsException() && result.ToText(answer);
}

/** What came of a script: what it returned, or why it failed. */
struct CAnswer {
    bool failed = true;
    std::string text;
};

CAnswer Evaluate(const CISOString& script, const char* urlText, const CUTF8String& host) {
    const CRuntime runtime(JS_NewRuntime());
    const CContext context(runtime != nullptr ? JS_NewContext(runtime.get()) : nullptr);
    CAnswer answer;
    if (context == nullptr) {
        return answer;
    }
    long deadline = GetSeconds() + kSecondsLimit;
    JS_SetMemoryLimit(runtime.get(), kMemoryLimit);
    JS_SetMaxStackSize(runtime.get(), kStackLimit);
    JS_SetInterruptHandler(runtime.get(), HasRunOut, &deadline);
    answer.failed = !CallScript(context.get(), script, urlText, host, answer.text);
    if (answer.failed) {
        const CScriptValue reason(context.get(), JS_GetException(context.get()));
        reason.ToText(answer.text);
    }
    return answer;
}

/** Writes an answer for Receive: a letter for its kind, then its text. */
void Send(int file, const CAnswer& answer) {
    const std::string message = (answer.failed ? "-" : "+") + answer.text;
    for (size_t sent = 0; sent < message.size();) {
        const ssize_t count = write(file, message.data() + sent, message.size() - sent);
        if (count <= 0) {
            return;
        }
        sent += static_cast<size_t>(count);
    }
}

/** Reads an answer to its end; one that does not begin in time is a failure. */
CAnswer Receive(int file) {
    // A little more than the interpreter's own limit, whose words are better.
    constexpr int kMilliseconds = static_cast<int>(kSecondsLimit + 1) * 1000;
    CAnswer answer{true, "InternalError: interrupted"};
    pollfd readable{file, POLLIN, 0};
    std::string message;
    char piece[4096];
    int ready = 0;
    while ((ready = poll(&readable, 1, kMilliseconds)) < 0 && errno == EINTR) {
    }
    if (ready == 1) {
        for (ssize_t count; (count = read(file, piece, sizeof(piece))) > 0;) {
            message.append(piece, static_cast<size_t>(count));
        }
    }
    if (!message.empty()) {
        answer = {message[0] == '-', message.substr(1)};
    }
    return answer;
}

/** Holds all signals off: a handler of the host must not run in a child that it does not know. */
class CSignalBlock {
public:
    CSignalBlock() noexcept {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before);
    }
    ~CSignalBlock() { pthread_sigmask(SIG_SETMASK, &before, nullptr); }
    CSignalBlock(const CSignalBlock&) = delete;
    CSignalBlock& operator=(const CSignalBlock&) = delete;

private:
    sigset_t before{};
};

/**
 * Evaluates in a process of its own: the interpreter does not look at its limits inside its native
 * loops, and a child can be ended there too.
 */
CAnswer EvaluateInChild(const CISOString& script, const char* urlText, const CUTF8String& host) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return {};
    }
    pid_t child = -1;
    {
        const CSignalBlock noHandlers;
        child = fork();
        if (child == 0) {
            Send(ends[1], Evaluate(script, urlText, host));
            _exit(0);
        }
    }
    close(ends[1]);
    CAnswer answer;
    if (child > 0) {
        answer = Receive(ends[0]);
        kill(child, SIGKILL);
        while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
        }
    }
    close(ends[0]);
    return answer;
}

void RemoveAll(std::string& text, const char* word) {
    const size_t length = std::strlen(word);
    for (size_t at = 0; (at = text.find(word, at)) != std::string::npos;) {
        text.erase(at, length);
    }
}

}  // namespace

CUTF8String EvaluatePacScript(const CISOString& script, const char* urlText,
                              const CUTF8String& host) {
    CAnswer answer = EvaluateInChild(script, urlText, host);
    if (answer.failed) {
        TraceString(" Error evaluating JS of pac file :%s", answer.text.c_str());
        TraceString("Proxy Pac file value : : %s", CUTF8String(script).GetText());
        return {};
    }
    RemoveAll(answer.text, "PROXY ");
    // Kept: each byte is a character of its own.
    return CUTF8String(CISOString(answer.text.data(), static_cast<ptrdiff_t>(answer.text.size())));
}
