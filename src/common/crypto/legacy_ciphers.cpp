#include "crypto/legacy_ciphers.h"

#include "system/product.h"

#include <openssl/err.h>
#include <openssl/provider.h>

#include <string>

namespace {

bool LoadLegacy(OSSL_LIB_CTX* context, const char* directory) {
    return OSSL_PROVIDER_set_default_search_path(context, directory) == 1 &&
           OSSL_PROVIDER_load(context, "legacy") != nullptr;
}

/** Null when there is no memory. A missing module shows as a cipher that is not found. */
OSSL_LIB_CTX* MakeContext() {
    OSSL_LIB_CTX* const context = OSSL_LIB_CTX_new();
    if (context == nullptr) {
        return nullptr;
    }
    OSSL_PROVIDER_load(context, "default");
    if (!LoadLegacy(context, (std::string(GetLibraryDir()) + "/ossl-modules").c_str())) {
        LoadLegacy(context, OPENSSL_info(OPENSSL_INFO_MODULES_DIR));
    }
    return context;
}

OSSL_LIB_CTX* GetContext() {
    static OSSL_LIB_CTX* const context = MakeContext();
    return context;
}

template <class Object>
using CTFetch = Object* (*)(OSSL_LIB_CTX* context, const char* name, const char* properties);

template <class Object>
CTHandle<Object> Fetch(CTFetch<Object> fetch, const char* name) {
    // Failures on the way are not the host's.
    ERR_set_mark();
    OSSL_LIB_CTX* const context = GetContext();
    auto found = Own(context != nullptr ? fetch(context, name, nullptr) : nullptr);
    ERR_pop_to_mark();
    return found ? std::move(found) : Own(fetch(nullptr, name, nullptr));
}

}  // namespace

CTHandle<EVP_CIPHER> FetchLegacyCipher(const char* name) { return Fetch(EVP_CIPHER_fetch, name); }

CTHandle<EVP_MD> FetchLegacyDigest(const char* name) { return Fetch(EVP_MD_fetch, name); }
