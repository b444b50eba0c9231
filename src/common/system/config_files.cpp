#include "system/config_files.h"

#include <pthread.h>
#include <stdlib.h>
#include <unistd.h>

#include <map>
#include <memory>
#include <mutex>
#include <tuple>

namespace {

using CConfigCache = std::map<CConfigKey, CConfig*>;

// Guards the cache and the library's own reads of what is in it. A leaf: nothing is traced, thrown
// on purpose or read from a file while it is held.
std::mutex cacheLock;

/** Never destroyed: static objects of the host trace, and so read settings, after ours have ended.
 */
CConfigCache& GetCache() {
    static auto* const cache = new CConfigCache;
    return *cache;
}

// A child must not inherit the lock from a thread that it does not have. Registered ahead of all
// other handlers of the library, so that before a fork this lock is the last to be taken, as it is
// everywhere else.
__attribute__((constructor(200))) void KeepLockAcrossForks() {
    pthread_atfork([] { cacheLock.lock(); }, [] { cacheLock.unlock(); },
                   [] { cacheLock.unlock(); });
}

/** A file in the home directory, whose name is taken byte by byte; null without HOME. */
CUTF8String GetHomePath(const char* name) {
    const char* const home = secure_getenv("HOME");
    return home != nullptr ? CUTF8String(home, -1) + name : CUTF8String();
}

CUTF8String ToPersistentPath(const CUTF8String& path) {
    const CStringList pieces = path.Split("qorvs.conf");
    CUTF8String persistent;
    const char* separator = "";
    for (const CUTF8String& piece : pieces) {
        persistent.Append(separator).Append(piece);
        separator = "qorvs-persistent.conf";
    }
    return persistent;
}

std::unique_ptr<CConfig> OpenConfig(bool user, bool persistent) {
    const CUTF8String path = user ? GetUserConfigPath() : GetSystemConfigPath();
    return std::make_unique<CConfig>(persistent ? ToPersistentPath(path) : path);
}

}  // namespace

bool CConfigKey::operator<(const CConfigKey& other) const noexcept {
    return std::tie(user, scope, persistent) < std::tie(other.user, other.scope, other.persistent);
}

CUTF8String GetUserConfigPath() { return GetHomePath("/.qorvs.conf"); }

CUTF8String GetSystemConfigPath() {
    const char* const named = secure_getenv("QORVS_CONFFILE");
    if (named != nullptr) {
        return CUTF8String(named, -1);
    }
    CUTF8String global = GetHomePath("/.qorvs.global.conf");
    if (!global.IsEmpty() && access(global.GetText(), R_OK) == 0) {
        return global;
    }
    return "/etc/qorvs.conf";
}

CConfig* GetConfig(bool user, bool reload, int32_t scope, bool persistent) {
    if (reload) {
        return OpenConfig(user, persistent).release();
    }
    const CConfigKey key{user, scope, persistent};
    {
        const std::lock_guard<std::mutex> lock(cacheLock);
        const auto found = GetCache().find(key);
        if (found != GetCache().end()) {
            return found->second;
        }
    }
    std::unique_ptr<CConfig> opened = OpenConfig(user, persistent);
    const std::lock_guard<std::mutex> lock(cacheLock);
    // Another thread may have been faster, and its callers hold what it stored.
    const auto stored = GetCache().emplace(key, opened.get());
    return stored.second ? opened.release() : stored.first->second;
}

CConfig* GetSystemConfig(int32_t scope) { return GetConfig(false, false, scope, false); }

CConfig* ReloadSystemConfig(int32_t scope) { return GetConfig(false, true, scope, false); }

CConfig* ReloadUserConfig(int32_t scope) { return GetConfig(true, true, scope, false); }

bool ReadKeptValue(int32_t scope, const char* section, const char* key, CUTF8String& value) {
    const CUTF8String sectionName(section);
    const CUTF8String keyName(key);
    CConfig* const kept = GetSystemConfig(scope);
    const std::lock_guard<std::mutex> lock(cacheLock);
    const CUTF8String* const found = kept->GetSection(sectionName)->FindValue(keyName);
    if (found == nullptr) {
        return false;
    }
    value = CUTF8String(found->GetBuffer(), static_cast<ptrdiff_t>(found->GetLength()));
    return true;
}
