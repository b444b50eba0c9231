#include "system/pac_script.h"

#include <qorvs/trace.h>

#include <quickjs.h>

#include <time.h>

#include <cstddef>
#include <cstring>
#include <memory>
#include <string>

namespace {

// The script comes over plain HTTP from whoever runs the network, and runs in the host.
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

void TraceFailure(JSContext* context, const CISOString& script) {
    std::string reason;
    CScriptValue(context, JS_GetException(context)).ToText(reason);
    TraceString(" Error evaluating JS of pac file :%s", reason.c_str());
    TraceString("Proxy Pac file value : : %s", CUTF8String(script).GetText());
}

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

void RemoveAll(std::string& text, const char* word) {
    const size_t length = std::strlen(word);
    for (size_t at = 0; (at = text.find(word, at)) != std::string::npos;) {
        text.erase(at, length);
    }
}

}  // namespace

CUTF8String EvaluatePacScript(const CISOString& script, const char* urlText,
                              const CUTF8String& host) {
    const CRuntime runtime(JS_NewRuntime());
    const CContext context(runtime != nullptr ? JS_NewContext(runtime.get()) : nullptr);
    if (context == nullptr) {
        return {};
    }
    long deadline = GetSeconds() + kSecondsLimit;
    JS_SetMemoryLimit(runtime.get(), kMemoryLimit);
    JS_SetMaxStackSize(runtime.get(), kStackLimit);
    JS_SetInterruptHandler(runtime.get(), HasRunOut, &deadline);

    std::string answer;
    if (!CallScript(context.get(), script, urlText, host, answer)) {
        TraceFailure(context.get(), script);
        return {};
    }
    RemoveAll(answer, "PROXY ");
    // Kept: each byte is a character of its own.
    return CUTF8String(CISOString(answer.data(), static_cast<ptrdiff_t>(answer.size())));
}
