/**
 * The program's texts in the language of its user.
 *
 * Texts are the strings of a tree of JSON objects. They are named by the keys on the way to them
 * with dots in between: "dialog.pin.title".
 */
#pragma once

#include "util/ct_string.h"
#include "util/js_value.h"

#include <string>
#include <unordered_map>

/** The texts of one language. Any thread may look up at any time. */
class CLanguage {
public:
    /**
     * Loads the current language, chosen anew with `refresh`. A file that cannot be parsed gives no
     * texts; whatever stands ahead of the first "{" is passed over.
     */
    explicit CLanguage(bool refresh);

    CLanguage(const CLanguage&) = delete;
    CLanguage& operator=(const CLanguage&) = delete;

    /**
     * The text of a key, in UTF-8: "Undefined", with a line in the log, when there is no value, and
     * empty for a value that is no string. Without a tree the process ends.
     */
    CUTF8String operator[](const char* key);

private:
    const CJSValue* Find(const char* key) const;

    CJSValuePtr m_jsonLang;

    // The keys that were found already: sections are searched entry by entry.
    std::unordered_map<std::string, const CJSValue*> known;
};

/**
 * The language of the process, loaded on the first call, which waits a second when a language is
 * being downloaded. Valid until ReloadLanguage is called: Translate is safe from that.
 */
CLanguage& GetLanguage();

/** Chooses the language anew and parses its file again; nothing when none was loaded. */
void ReloadLanguage();

/** The text of a key in the language of the process. */
CUTF8String Translate(const char* key);
