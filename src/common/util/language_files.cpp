#include "util/language_files.h"

#include "util/resources.h"
#include <qorvs/trace_scope.h>

#include <pwd.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <map>
#include <string>
#include <vector>

std::atomic<bool> languageDownloading{false};

namespace {

/** What the language lock guards. Entries are never removed. */
struct CLanguageTables {
    std::map<std::string, CLanguageFile> files;
    std::map<std::string, CByteZone> data;

    // One of the two texts that a language can come from, neither of which ever goes away.
    const char* current = nullptr;
};

CLanguageTables& GetTables() {
    static auto& tables = *new CLanguageTables;
    return tables;
}

// ISO 639, with codes of earlier editions that systems still name.
constexpr const char* kRightToLeft[] = {"ar", "fa", "he", "iw", "kd", "pk", "ps", "ug", "ur", "yi"};

CISOString ReadPreferredLanguage() {
    const CISOString language(getenv("LANG"));
    return language.GetLength() == 0 ? GetDefaultLanguage() : language.Mid(0, 2);
}

/** The home directory that the system has for the user; empty when it has none. */
std::string ReadHomeDirectory() {
    passwd entry{};
    passwd* found = nullptr;
    std::vector<char> texts(16384);
    const int failed = getpwuid_r(getuid(), &entry, texts.data(), texts.size(), &found);
    return failed == 0 && found != nullptr ? found->pw_dir : "";
}

std::string ReadLanguageDir() {
    const char* const home = secure_getenv("HOME");
    return (home != nullptr ? home : ReadHomeDirectory()) + "/.local/share/QorvsRuntime/languages";
}

bool IsRegularFile(const char* path) {
    struct stat status {};
    return access(path, F_OK) == 0 && stat(path, &status) == 0 && S_ISREG(status.st_mode);
}

CLanguageFile LookUpLanguageFile(const char* language) {
    const CISOString fileName = GetLanguageFileName(language);
    CISOString path = CISOString(GetLanguageDir(), -1) + "/" + fileName;
    if (IsRegularFile(path.GetText())) {
        return {true, true, path};
    }
    path = CISOString("languages/") + fileName;
    CByteZone content;
    const bool found = GetResManager().ExtractFile(path.GetText(), content);
    if (found) {
        GetTables().data[language] = std::move(content);
    }
    return {found, false, path};
}

bool IsCurrentRightToLeft() {
    const char* const current = GetCurrentLanguage(false);
    return std::any_of(std::begin(kRightToLeft), std::end(kRightToLeft),
                       [=](const char* language) { return strcmp(language, current) == 0; });
}

/** What is taken in the place of a language's data. */
const CByteZone& GetFallbackData(const char* language) {
    static const auto& none = *new CByteZone;
    return strcmp(language, GetDefaultLanguage()) == 0 ? none
                                                       : GetLanguageData(GetDefaultLanguage());
}

}  // namespace

CCriticalSection& GetLanguageLock() {
    static auto& section = *new CCriticalSection;
    return section;
}

const char* GetPreferredLanguage() {
    const CTraceScope scope(__func__);
    static const auto& language = *new CISOString(ReadPreferredLanguage());
    return language.GetText();
}

const char* GetLanguageDir() {
    static const auto& directory = *new std::string(ReadLanguageDir());
    return directory.c_str();
}

CISOString GetLanguageFileName(const char* language) {
    return CISOString("language.") + CISOString(language, -1) + ".json";
}

CLanguageFile FindLanguageFile(const char* language) {
    const CCriticalSectionGuard guard(GetLanguageLock());
    auto& files = GetTables().files;
    auto known = files.find(language);
    if (known == files.end()) {
        known = files.emplace(language, LookUpLanguageFile(language)).first;
    }
    const CLanguageFile& file = known->second;
    // Storage of its own: counting the holders of shared storage is for one thread only.
    return {file.exists, file.onDisk,
            CISOString(file.path.GetBuffer(), static_cast<ptrdiff_t>(file.path.GetLength()))};
}

const CByteZone& GetLanguageData(const char* language) {
    const CCriticalSectionGuard guard(GetLanguageLock());
    auto& data = GetTables().data;
    const auto known = data.find(language);
    if (known != data.end()) {
        return known->second;
    }
    const CLanguageFile file = FindLanguageFile(language);
    if (!file.exists) {
        return GetFallbackData(language);
    }
    if (file.onDisk) {
        return data[language] = ReadFileBytes(file.path.GetText());
    }
    CByteZone content;
    if (!GetResManager().ExtractFile(file.path.GetText(), content)) {
        TraceString(
            "WARNING Couldn't read language file for %s qormgr.bin, falling back on default "
            "language",
            language);
        return GetFallbackData(language);
    }
    return data[language] = std::move(content);
}

const char* GetCurrentLanguage(bool refresh) {
    const CCriticalSectionGuard guard(GetLanguageLock());
    const char*& current = GetTables().current;
    if (current == nullptr || refresh) {
        const char* const preferred = GetPreferredLanguage();
        current = FindLanguageFile(preferred).exists ? preferred : GetDefaultLanguage();
    }
    return current;
}

bool IsRightToLeft() {
    static const bool isRightToLeft = IsCurrentRightToLeft();
    return isRightToLeft;
}
