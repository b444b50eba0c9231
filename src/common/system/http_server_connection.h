/**
 * The server's half of an HTTP connection.
 */
#pragma once

#include "system/http_connection.h"
#include "system/http_header.h"

#include <memory>

/**
 * Reads a request from a connection that was accepted and writes the answer to it.
 *
 * It belongs to one thread at a time. Failures are those of the connection: CHttpException.
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

protected:
    std::shared_ptr<CHttpConnection> connection;
    // A copy: the connection closes it.
    int32_t socket = -1;
};
