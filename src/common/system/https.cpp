#include "system/https.h"

#include "system/http_errors.h"
#include "system/http_response.h"
#include "system/sigpipe_guard.h"
#include "util/raise.h"

#include <openssl/err.h>
#include <openssl/x509.h>

#include <errno.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <memory>
#include <string>

namespace {

constexpr int32_t kTunnelOpen = 200;

struct CCertificateFree {
    void operator()(X509* certificate) const noexcept { X509_free(certificate); }
};
struct CTextFree {
    void operator()(char* text) const noexcept { OPENSSL_free(text); }
};

/** OpenSSL's oldest error as text; the queue is empty afterwards. */
std::string TakeErrorText() {
    char text[256];
    ERR_error_string_n(ERR_get_error(), text, sizeof(text));
    ERR_clear_error();
    return text;
}

/** The result of a transfer; a failed one leaves OpenSSL's queue, which is the host's too, empty.
 */
int Settled(int result) {
    if (result <= 0) {
        ERR_clear_error();
    }
    return result;
}

int ToLength(size_t length) { return static_cast<int>(std::min<size_t>(length, INT_MAX)); }

}  // namespace

CHttpsConnection::CHttpsConnection() : sslContext(CreateClientContext()) {
    if (sslContext != nullptr) {
        ssl.reset(SSL_new(sslContext.get()));
    }
}

CHttpsConnection::CHttpsConnection(int acceptedSocket, SSL_CTX* context)
    : CHttpConnection(acceptedSocket), ssl(SSL_new(context)) {
    const CSigPipeGuard guard;
    SSL_set_fd(ssl.get(), socket);
    ERR_clear_error();
    const int result = SSL_accept(ssl.get());
    if (result > 0) {
        return;
    }
    const int error = errno;
    const int code = SSL_get_error(ssl.get(), result);
    CUTF8String text = CUTF8String("SSL accept failed: ") + std::to_string(code).c_str();
    if (code == SSL_ERROR_SSL || code == SSL_ERROR_SYSCALL) {
        text += TakeErrorText().c_str();
    }
    if (code == SSL_ERROR_SYSCALL) {
        text += WithReason(" /// ", error);
    }
    ShutDown();
    RAISE(CHttpException(text));
}

CHttpsConnection::~CHttpsConnection() { ShutDown(); }

/** Tells the peer that nothing follows, without waiting for it, and frees the session. */
void CHttpsConnection::ShutDown() noexcept {
    if (ssl == nullptr) {
        return;
    }
    const CSigPipeGuard guard;
    SSL_shutdown(ssl.get());
    // A session that was never set up leaves an error, which would be the host's next one.
    ERR_clear_error();
    ssl.reset();
}

int CHttpsConnection::Send(const void* data, size_t length) {
    if (plainMode) {
        return CHttpConnection::Send(data, length);
    }
    const CSigPipeGuard guard;
    return Settled(SSL_write(ssl.get(), data, ToLength(length)));
}

int CHttpsConnection::Recv(void* data, size_t length) {
    if (plainMode) {
        return CHttpConnection::Recv(data, length);
    }
    // Reading writes too: alerts, and answers to key updates.
    const CSigPipeGuard guard;
    return Settled(SSL_read(ssl.get(), data, ToLength(length)));
}

void CHttpsConnection::ConnectProxy(const CHttpUrl& url, const CHttpUrl& proxyUrl) {
    // What an earlier proxy sent behind its answer is not this one's.
    DropReceived();
    CHttpConnection::ConnectProxy(url, proxyUrl);
    plainMode = true;
    int32_t status = 0;
    try {
        status = AskForTunnel(url);
    } catch (...) {
        plainMode = false;
        RERAISE();
    }
    plainMode = false;
    if (status != kTunnelOpen) {
        RAISE(CHttpConnectException(CUTF8String("HTTP CONNECT request to proxy returned status ") +
                                    std::to_string(status).c_str()));
    }
}

/** Asks the proxy that is connected; returns its answer's status. */
int32_t CHttpsConnection::AskForTunnel(const CHttpUrl& url) {
    if (HasControlCharacter(url.host)) {
        RAISE(CHttpException("Invalid URL format"));
    }
    SendLine(CISOString("CONNECT ") + url.host + ":" + std::to_string(url.port).c_str() +
             " HTTP/1.0");
    SendCrLf();
    return CHttpResponse::Read(this)->GetStatus();
}

void CHttpsConnection::CheckProtocol(const CHttpUrl& url) {
    if (url.scheme != "https") {
        RAISE(CHttpException("Unknown URL scheme"));
    }
}

void CHttpsConnection::Connect(const CHttpUrl& url, bool useProxy) {
    CHttpConnection::Connect(url, useProxy);
    // What a proxy sent behind its answer did not come from the server.
    DropReceived();
    const CSigPipeGuard guard;
    if (ssl == nullptr || SSL_set_fd(ssl.get(), socket) == 0 ||
        SSL_set_tlsext_host_name(ssl.get(), url.host.GetText()) == 0) {
        ERR_clear_error();
        RAISE(CHttpException("SSL connect failed: unable to set tlsext host name"));
    }
    // An error that the host left would be taken for the handshake's.
    ERR_clear_error();
    const int result = SSL_connect(ssl.get());
    if (result < 1) {
        const bool explained = SSL_get_error(ssl.get(), result) == SSL_ERROR_SSL;
        const std::string detail = TakeErrorText();
        RAISE(CHttpException(CUTF8String("SSL connect failed: ") +
                             (explained ? detail.c_str() : "")));
    }
    TracePeer();
}

void CHttpsConnection::TracePeer() const {
    const std::unique_ptr<X509, CCertificateFree> certificate(SSL_get1_peer_certificate(ssl.get()));
    if (certificate == nullptr || SSL_get_peer_cert_chain(ssl.get()) == nullptr) {
        return;
    }
    const std::unique_ptr<char, CTextFree> subject(
        X509_NAME_oneline(X509_get_subject_name(certificate.get()), nullptr, 0));
    TraceString("Server certificates:");
    TraceString("\tSubject: %s", subject != nullptr ? subject.get() : "");
}

CISOString CHttpsConnection::GetRequestTarget(const CHttpUrl& url) { return url.path; }

std::shared_ptr<CHttpConnection> CHttpsConnectionFactory::GetConnection(const CHttpUrl& url) const {
    if (url.scheme == "http") {
        return std::make_shared<CHttpConnection>();
    }
    if (url.scheme != "https") {
        RAISE(CHttpException(CUTF8String("Invalid protocol : ") + url.scheme));
    }
    return std::make_shared<CHttpsConnection>();
}
