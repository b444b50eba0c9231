#include "system/tls_context.h"

#include "system/host.h"
#include "util/ct_string.h"
#include "util/string_list.h"
#include <qorvs/trace.h>

#include <openssl/err.h>

#include <mutex>
#include <string>

namespace {

/**
 * The certificate directory of the process. Never destroyed: threads of the host may still connect
 * while it ends.
 */
struct CCertificatePath {
    // Guards `text` alone: nothing is traced, run or thrown under it.
    std::mutex lock;
    std::string text;
};

CCertificatePath& GetSharedPath() {
    static CCertificatePath* const path = new CCertificatePath;
    return *path;
}

CISOString AskForPath() {
    const CUTF8String output = ReadCommand("openssl version -d | awk -F'\"' '{print $2}'");
    const CStringList lines = output.Split("\n");
    if (lines.GetCount() == 0) {
        TraceString("Fallback connect https for linux using certpath = %s", "/usr/lib/ssl");
        return "/usr/lib/ssl";
    }
    return CISOString(lines[0]);
}

/** Two threads may ask at once; both then know the answer. */
CISOString GetCertificatePath() {
    CCertificatePath& shared = GetSharedPath();
    {
        const std::lock_guard<std::mutex> guard(shared.lock);
        if (!shared.text.empty()) {
            return {shared.text.data(), static_cast<ptrdiff_t>(shared.text.size())};
        }
    }
    CISOString path = AskForPath();
    const std::lock_guard<std::mutex> guard(shared.lock);
    shared.text.assign(path.GetText(), path.GetLength());
    return path;
}

}  // namespace

CSslContext CreateClientContext() {
    OPENSSL_init_ssl(0, nullptr);
    CSslContext context(SSL_CTX_new(TLS_client_method()));
    if (context == nullptr) {
        TraceString("ERROR: Unable to create SSL context");
    }
    const CISOString directory = GetCertificatePath() + "/certs";
    if (context != nullptr) {
        const CISOString file = directory + "/ca-certificates.crt";
        // Either may be missing on a host. What counts is whether the server's chain verifies.
        SSL_CTX_load_verify_locations(context.get(), file.GetText(), directory.GetText());
        SSL_CTX_set_default_verify_paths(context.get());
        SSL_CTX_set_verify(context.get(), SSL_VERIFY_PEER, nullptr);
    }
    ERR_clear_error();
    return context;
}
