/**
 * Which language the program speaks, and where its texts come from: JSON files in the user's data
 * directory, then the packed resources.
 *
 * All of it is looked up once in the life of the process, also what is missing: a file that comes
 * later is for the next process. Any thread may call at any time. Nothing is thrown but
 * std::bad_alloc.
 */
#pragma once

#include "system/critical_section.h"
#include "util/ct_string.h"
#include "util/ct_zone.h"

#include <atomic>

/** True while a language file is being downloaded. Set by the downloader. */
extern std::atomic<bool> languageDownloading;

/** Where the file of a language lies. */
struct CLanguageFile {
    bool exists = false;
    bool onDisk = false;

    /** A path, byte by byte, or the name of a resource. */
    CISOString path;
};

/** The code of the language that everything falls back on. */
inline const char* GetDefaultLanguage() { return "en"; }

/**
 * The lock of everything about languages: the tables here and the texts in use. Taken before the
 * lock of the log; never destroyed.
 */
CCriticalSection& GetLanguageLock();

/**
 * The code of the language that the environment asks for: the first two characters of LANG, the one
 * that there is, or "en" without any, in ISO 8859-1. There need not be texts for it.
 */
const char* GetPreferredLanguage();

/** The user's directory for language files; it need not exist. */
const char* GetLanguageDir();

/** "language.<code>.json". */
CISOString GetLanguageFileName(const char* language);

/** Where the file of a language lies, as it was when the process first asked. */
CLanguageFile FindLanguageFile(const char* language);

/**
 * The file of a language as it was read first, of the default language when there is none; empty
 * when that too is missing, or the file cannot be read. The zone stays as long as the process.
 */
const CByteZone& GetLanguageData(const char* language);

/**
 * The code of the language in use: the preferred one when it has a file, otherwise "en". `refresh`
 * chooses anew.
 */
const char* GetCurrentLanguage(bool refresh);

/**
 * Whether the language in use is written from right to left.
 *
 * Kept: answered by the language of the first call for as long as the process lives. Windows that
 * are open have been laid out by it.
 */
bool IsRightToLeft();
