/**
 * The server's half of an HTTP connection.
 */
#pragma once

#include "system/http_connection.h"
#include "system/http_header.h"
#include "system/peer_process.h"
#include <qorvs/cryptoki.h>

#include <memory>
#include <utility>
#include <vector>

/** Headers of a server's own, each a name and a value, in the order in which they go out. */
using CHttpExtraHeaders = std::vector<std::pair<CISOString, CISOString>>;

/**
 * Reads a request from a connection that was accepted and writes the answer to it (HTTP/1.1, RFC
 * 9112). Accepting, and choosing an answer, are the caller's.
 *
 * A connection carries one request: every answer says that it closes, and the caller does so. The
 * answers name the origin whose pages may read them (Access-Control-Allow-Origin of the Fetch
 * standard) when SetOrigin has been given one. It is not compared with the request's: the caller
 * decides whom it lets in. CR, LF and NUL in what goes into a header become "?"; all else is sent
 * as it is.
 *
 * It belongs to one thread at a time. Failures are those of the connection: CHttpException. What
 * was sent until then has been sent.
 */
class CHttpServerConnection {
public:
    /** Over a connection that is connected to nobody. */
    CHttpServerConnection();

    /** Takes an accepted socket; it is closed with the connection. */
    explicit CHttpServerConnection(int acceptedSocket);

    /** Takes a connection: a way in for TLS. */
    explicit CHttpServerConnection(CHttpConnection* transport);

    CHttpServerConnection(const CHttpServerConnection&) = delete;
    CHttpServerConnection& operator=(const CHttpServerConnection&) = delete;

    // The order of the virtual operations and of the fields is relied on by modules built against
    // it.
    virtual ~CHttpServerConnection() = default;
    virtual CISOString ReadLine() { return connection->ReadLine(); }
    virtual CSecureISOString ReadSecureLine() { return connection->ReadSecureLine(); }

    /** The next line as a header, empty at the end of the headers. */
    CHttpHeader ReadHeader() { return CHttpHeader(connection->ReadLine()); }

    CISOString ReadLineBytes() { return connection->ReadLineBytes(); }

    bool RecvBlock(CByteZone& out) { return connection->RecvBlock(out); }

    bool RecvBlockWithCappedLength(CByteZone& out, size_t cap) {
        return connection->RecvBlockWithCappedLength(out, cap);
    }

    void RecvMultipartBlock(const CISOString& boundary, CByteZone& out, bool first) {
        connection->RecvMultipartBlock(boundary, out, first);
    }

    void SkipMultipartBlock(const CISOString& boundary, bool first) {
        connection->SkipMultipartBlock(boundary, first);
    }

    /** Appends blocks to `out` until it holds `minimum` bytes or the data ends; returns `out`. */
    CByteZone& RecvUpTo(size_t minimum, CByteZone& out);

    template <class Text>
    void SendText(const Text& text) {
        connection->SendText(text);
    }

    template <class Text>
    CHttpServerConnection& operator<<(const Text& text) {
        connection->SendText(text);
        return *this;
    }

    void SendCrLf() { connection->SendCrLf(); }

    template <class Text>
    void SendLine(const Text& text) {
        connection->SendLine(text);
    }

    void SendBlock(const void* data, size_t length) { connection->SendBlock(data, length); }
    void SendBlock(const CByteZone& block) { SendBlock(block.GetData(), block.GetSize()); }

    bool IsAlive() const { return connection->IsAlive(); }

    /** The process at the other end, on this machine; both numbers 0 when it is not known. */
    CPeerProcess GetClientPidAndUid() const;

    /** The origin that the answers name from now on; an empty one, none. */
    void SetOrigin(const CISOString& allowed) { connection->SetOrigin(allowed); }

    /**
     * The head of an answer that succeeds; the body is the caller's to send. A negative length is
     * not stated. With `noCache` nobody keeps the answer. Pages of the origin can read the extra
     * headers. An empty content type gives SendNoContent instead, whatever else is given.
     */
    void SendHeaders(const CISOString& contentType, int32_t contentLength, bool noCache,
                     const CHttpExtraHeaders& extraHeaders = {});

    /**
     * An answer without a body, status 204.
     *
     * Kept: the line is all, without an empty one behind it, a server or an origin. The end of the
     * connection ends it. Over TLS browsers take that for a failure.
     */
    void SendNoContent();

    /**
     * A file to be saved under a name. In the name, "?" stands for characters beyond U+00FF;
     * quotes in it are sent as they are and end it early for the peer. An empty name is not stated.
     */
    void SendFile(const CUTF8String& fileName, const CByteZone& data);

    /**
     * A page that says "Error", with a status.
     *
     * Kept: two bytes, the end of its line, follow the length that it states.
     */
    void SendHttpError(int code);

    /**
     * Failures as JSON with status 500: {"errVal": number, "errString": text}, where the text is a
     * name of the code or, with -1, the message. Each is traced.
     *
     * Kept: nothing is escaped. Only texts of the program's own may be given; a message with a
     * quote in it gives what is no JSON. A code of Cryptoki without a name gets "0x" and 16 digits.
     * The custom data is a JSON value and goes out as "customData", unless it is empty.
     */
    void SendCustomError(const CUTF8String& message);
    void SendCryptokiError(CK_RV code);
    void SendIcaoError(int32_t code, const CUTF8String& customData = {});
    void SendDesfireError(int32_t code);

protected:
    std::shared_ptr<CHttpConnection> connection;
    // A copy: the connection closes it.
    int32_t socket = -1;
};
