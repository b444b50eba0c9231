/**
 * HTTP over TLS: the client, through proxies too, and the server's end of an accepted socket.
 */
#pragma once

#include "system/http_connection_factory.h"
#include "system/tls_context.h"

/**
 * A connection that speaks TLS once connected, and before that plain text to a proxy.
 *
 * The server's chain is verified against the host's trust store; its name is not compared with the
 * URL's host, which is only sent as server name indication (RFC 6066, 3). A peer that closes
 * without close_notify reads as the end of the stream. The handshake has no limit of time. Every
 * client connection has a context of its own and loads the trust store; sessions are not resumed.
 */
class CHttpsConnection : public CHttpConnection {
public:
    /** A client. Throws std::runtime_error when the openssl command cannot be run. */
    CHttpsConnection();

    /**
     * A server: takes an accepted socket and shakes hands. The context, with certificate and key,
     * stays the caller's.
     *
     * Throws CHttpException "SSL accept failed: ", the code of SSL_get_error and the reason; the
     * socket is closed then.
     */
    CHttpsConnection(int acceptedSocket, SSL_CTX* context);

    int Send(const void* data, size_t length) override;
    int Recv(void* data, size_t length) override;

    /**
     * Asks a proxy for a tunnel (CONNECT, RFC 9110, 9.3.6). Throws CHttpConnectException when the
     * answer's status is not 200, and what connecting, sending and reading throw.
     */
    void ConnectProxy(const CHttpUrl& url, const CHttpUrl& proxyUrl) override;

    ~CHttpsConnection() override;

    void CheckProtocol(const CHttpUrl& url) override;

    /** Connects as the base does, then shakes hands: CHttpException "SSL connect failed: ". */
    void Connect(const CHttpUrl& url, bool useProxy) override;

    /** The path: a proxy sees only the tunnel. */
    CISOString GetRequestTarget(const CHttpUrl& url) override;

protected:
    SSL* GetSession() const noexcept { return ssl.get(); }

private:
    int32_t AskForTunnel(const CHttpUrl& url);
    void TracePeer() const;
    void ShutDown() noexcept;

    CSsl ssl;
    CSslContext sslContext;
    bool plainMode = false;
};

/** Makes plain connections for "http" and TLS ones for "https". No state. */
class CHttpsConnectionFactory : public CHttpConnectionFactory {
public:
    std::shared_ptr<CHttpConnection> GetConnection(const CHttpUrl& url) const override;
};
