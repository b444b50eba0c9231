#include "util/language.h"

#include "support/language_runs.h"
#include "support/server_process.h"

TEST(Language, IsThatOfTheEnvironment) {
    SKIP_WITHOUT("zip");
    FOR_EACH_STANZA(row, ReadStanzas("util/languages.txt")) { CheckLanguageRun(row); }
}

TEST(Language, WithoutATreeEndsTheProcess) {
    alignas(CLanguage) char memory[sizeof(CLanguage)] = {};
    EXPECT_DEATH((*reinterpret_cast<CLanguage*>(memory))["a"],
                 "util_tests: \\.\\./\\.\\./src/common/util/language:[0-9]+: CUTF8String "
                 "CLanguage::operator\\[\\]\\(const char\\*\\): Assertion `m_jsonLang != NULL' "
                 "failed\\.");
}

TEST(LanguageConcurrency, ThreadsTranslateReloadAndLookUp) {
    SKIP_WITHOUT("zip");
    FOR_EACH_STANZA(row, ReadStanzas("util/languages_at_once.txt")) { CheckLanguageRun(row); }
}
