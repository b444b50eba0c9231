#include "system/settings.h"

#include "system/config_files.h"

#include <atomic>
#include <memory>

namespace {

constexpr char kSuite[] = "SecuritySuite";

// The only scope in use.
constexpr int32_t kScope = 2;

constexpr int32_t kEnforceTslQc = 1;

CUTF8String ReadText(const char* key) {
    CUTF8String value;
    ReadKeptValue(kScope, kSuite, key, value);
    return value;
}

/** Converts outside the lock: a value that is no number is traced. */
int32_t ReadInt(const char* key, int32_t fallback) {
    CUTF8String value;
    return ReadKeptValue(kScope, kSuite, key, value) ? ToSettingInt(value, fallback) : fallback;
}

/** The low bit, as a value that is stored in one bit reads back. */
bool ReadBit(const char* key) {
    const int32_t value = ReadInt(key, -1);
    return value != -1 && (value & 1) != 0;
}

int32_t ReadFreshInt(CConfig* config, const char* key, int32_t fallback) {
    const std::unique_ptr<CConfig> owned(config);
    return owned->GetSection(kSuite)->GetInt(key, fallback);
}

bool IsTraceEnabledIn(bool user, bool persistent) {
    return ReadFreshInt(GetConfig(user, true, kScope, persistent), "EnableTrace", 0) != 0;
}

}  // namespace

int32_t GetLoginPersistentCSP() { return ReadInt("LoginPersistentCSP", 0); }

bool IsLoginPersistentCSP() { return GetLoginPersistentCSP() != 0; }

int32_t GetLoginPersistent() { return ReadInt("LoginPersistent", 0); }

bool IsLoginPersistent() { return GetLoginPersistent() != 0; }

int32_t GetLoginTimeout() { return ReadInt("LoginTimeout", 30); }

uint32_t GetLoginTimeoutMs() { return static_cast<uint32_t>(GetLoginTimeout()) * 1000; }

bool IsLoginTimeoutSet() { return ReadBit("LoginTimeout"); }

bool IsSerialNumberAsGuid() { return ReadBit("SerialNumberAsGuid"); }

bool IsPinSessionCacheEnabled() { return ReadInt("EnablePinSessionCache", 0) != 0; }

bool IsPolicyEnforceTslQc() {
    return ReadFreshInt(ReloadUserConfig(kScope), "CertificateVerificationPolicy", 0) ==
           kEnforceTslQc;
}

const char* GetVerificationPolicyName(int32_t policy) {
    return policy == kEnforceTslQc ? "ENFORCE_TSLQC" : "ANY";
}

const char* GetTsaUrl() {
    // Published once, then never changed or destroyed: callers keep the pointer.
    static std::atomic<const CISOString*> kept{nullptr};
    const CISOString* url = kept.load(std::memory_order_acquire);
    if (url == nullptr) {
        auto read = std::make_unique<CISOString>(ReadText("TSAURL"));
        if (read->GetLength() == 0) {
            return nullptr;
        }
        if (kept.compare_exchange_strong(url, read.get(), std::memory_order_acq_rel)) {
            url = read.release();
        }
    }
    return url->GetText();
}

CUTF8String GetTsaServiceUrl() { return ReadText("TSAServiceURL"); }

CUTF8String GetTsaTokenUrl() { return ReadText("TSATokenURL"); }

CUTF8String GetTsaClientId() { return ReadText("TSAClientId"); }

CUTF8String GetTsaClientSecret() { return ReadText("TSAClientSecret"); }

bool IsTslConfigMissing() {
    return ReadText("TSLURL").GetLength() == 0 || ReadText("TSLCertificate").GetLength() == 0;
}

bool IsTraceEnabled() {
    return IsTraceEnabledIn(false, false) || IsTraceEnabledIn(true, false) ||
           IsTraceEnabledIn(false, true) || IsTraceEnabledIn(true, true);
}

CUTF8String GetTraceDirectory() { return ReadText("Trace"); }
