#include "util/language.h"

#include "util/js_parser.h"
#include "util/language_files.h"
#include "util/string_list.h"
#include <qorvs/trace_scope.h>

#include <errno.h>
#include <stdlib.h>
#include <time.h>

#include <cstdio>
#include <cstring>
#include <memory>

namespace {

/** The language in use, under the language lock; never destroyed but by a reload. */
CLanguage* instance = nullptr;

/** The value of what stands from the first "{" on. */
CJSValuePtr ParseLanguage(const CByteZone& data) {
    const auto* cursor = reinterpret_cast<const char*>(data.GetData());
    const char* const end = cursor + data.GetSize();
    while (cursor != end && *cursor != '{') {
        ++cursor;
    }
    return Parse(cursor, end);
}

void WaitOneSecond() {
    timespec left{1, 0};
    while (nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
}

/** Ends the process in the words of assert, in every kind of build. */
[[noreturn]] void FailAssertion(const char* condition, const char* file, unsigned line,
                                const char* function) {
    fprintf(stderr, "%s: %s:%u: %s: Assertion `%s' failed.\n", program_invocation_short_name, file,
            line, function, condition);
    abort();
}

}  // namespace

CLanguage::CLanguage(bool refresh) {
    const CTraceScope scope("CLanguage::Init");
    const CCriticalSectionGuard guard(GetLanguageLock());
    m_jsonLang = ParseLanguage(GetLanguageData(GetCurrentLanguage(refresh)));
}

CUTF8String CLanguage::operator[](const char* key) {
    const CCriticalSectionGuard guard(GetLanguageLock());
    if (m_jsonLang == nullptr) {
        FailAssertion("m_jsonLang != NULL", "../../src/common/util/language", __LINE__,
                      "CUTF8String CLanguage::operator[](const char*)");
    }
    auto entry = known.find(key);
    if (entry == known.end()) {
        const CJSValue* const value = Find(key);
        if (value == kJSNull) {
            TraceString("CLanguage: no string found for key : %s", key);
            return "Undefined";
        }
        entry = known.emplace(key, value).first;
    }
    return entry->second->GetString();
}

const CJSValue* CLanguage::Find(const char* key) const {
    const CJSValue* value = m_jsonLang.get();
    for (const CISOString& item : CISOString(key).Split(".")) {
        value = value->GetByKey(item.GetText());
        if (value == kJSNull) {
            break;
        }
    }
    return value;
}

CLanguage& GetLanguage() {
    const CCriticalSectionGuard guard(GetLanguageLock());
    if (instance == nullptr) {
        if (languageDownloading) {
            WaitOneSecond();
        }
        instance = new CLanguage(false);
    }
    return *instance;
}

void ReloadLanguage() {
    const CCriticalSectionGuard guard(GetLanguageLock());
    if (instance != nullptr) {
        delete std::exchange(instance, nullptr);
        instance = new CLanguage(true);
    }
}

CUTF8String Translate(const char* key) {
    // Held all the way, so that no reload deletes the language in between.
    const CCriticalSectionGuard guard(GetLanguageLock());
    return GetLanguage()[key];
}
