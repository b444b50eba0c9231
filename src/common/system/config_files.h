/**
 * Which settings files there are, and the settings that the process keeps.
 */
#pragma once

#include "system/config.h"

#include <cstdint>

/** What tells the kept settings apart. Their scope has no part in the choice of the file. */
struct CConfigKey {
    uint8_t user;
    int32_t scope;
    uint8_t persistent;

    bool operator<(const CConfigKey& other) const noexcept;
};

/** "$HOME/.qorvs.conf"; empty without HOME. */
CUTF8String GetUserConfigPath();

/**
 * The file that the environment variable QORVS_CONFFILE names, else "$HOME/.qorvs.global.conf" when
 * it can be read, else "/etc/qorvs.conf".
 *
 * In programs that run with raised privileges the environment is not asked, by either.
 */
CUTF8String GetSystemConfigPath();

/**
 * The settings of the user or of the system, from the ordinary or the persistent file: the latter
 * has "qorvs-persistent.conf" where the path says "qorvs.conf", if it does.
 *
 * With `reload` the file is read and the caller deletes the result. Otherwise the file is read on
 * the first call with the same user, scope and persistent, and all callers get the same object,
 * which lives as long as the process and does not follow the file. It may be asked for by any
 * thread, but the object itself has no lock: to read a setting, use settings.h.
 */
CConfig* GetConfig(bool user, bool reload, int32_t scope, bool persistent);

/** The system's settings, kept. */
CConfig* GetSystemConfig(int32_t scope);

/** The system's settings, read afresh; the caller deletes them. */
CConfig* ReloadSystemConfig(int32_t scope);

/** The user's settings, read afresh; the caller deletes them. */
CConfig* ReloadUserConfig(int32_t scope);

/**
 * A value from a top-level section of the kept system settings, as a copy of its own; false when
 * there is none. Any thread may call at any time: the reads are under one lock, which is held for
 * nothing else. A missing section is added to the kept settings.
 */
bool ReadKeptValue(int32_t scope, const char* section, const char* key, CUTF8String& value);
