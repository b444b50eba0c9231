/**
 * A client connection for one HTTP/1.0 exchange (RFC 1945) over TCP and IPv4.
 */
#pragma once

#include "system/http_url.h"
#include "util/ct_string.h"
#include "util/ct_zone.h"

#include <atomic>
#include <cstdint>

/** Text that is wiped when its buffer is released. */
using CSecureISOString = CTString<CISOEncoding, true>;

/**
 * A socket with a buffer for reading lines. TLS derives from it and overrides the raw operations.
 *
 * A connection belongs to one thread at a time. It is connected once, by Connect, ConnectProxy or
 * the adopting constructor, and closed by the destructor. Calls block; only connections to proxies
 * have a limit of time. A peer that closes never raises SIGPIPE in the host: it is a failure to
 * send. There is no limit to the length of a line or the number of headers that a peer may send.
 *
 * Failures are CHttpException, those to connect CHttpConnectException; their texts end in the
 * system's words for errno. The connection can still be destroyed then, and nothing else.
 */
class CHttpConnection {
public:
    CHttpConnection() = default;

    /** Takes an accepted socket; the destructor closes it. */
    explicit CHttpConnection(int acceptedSocket) : socket(acceptedSocket) {}

    CHttpConnection(const CHttpConnection&) = delete;
    CHttpConnection& operator=(const CHttpConnection&) = delete;

    // The order of the virtual operations is relied on by modules built against it.

    /** One send of up to `length` bytes; its result, negative with errno set on failure. */
    virtual int Send(const void* data, size_t length);

    /** One receive of up to `length` bytes; its result: 0 at the end, negative on failure. */
    virtual int Recv(void* data, size_t length);

    /** Connects to a proxy for `url`, within three seconds. */
    virtual void ConnectProxy(const CHttpUrl& url, const CHttpUrl& proxyUrl);

    virtual ~CHttpConnection();

    /** Throws CHttpException "Unknown URL scheme" for a scheme that is not this connection's. */
    virtual void CheckProtocol(const CHttpUrl& url);

    /**
     * Connects to the URL's host: straight when `useProxy` is false, the host is the literal
     * 127.0.0.1 or the desktop names no proxy; else through the first of the desktop's proxies that
     * can be reached, and straight when none can.
     *
     * Throws CHttpException "Invalid URL format" for a URL that is not valid, what CheckProtocol
     * throws, CHttpConnectException, and what fetching the desktop's proxy script throws.
     */
    virtual void Connect(const CHttpUrl& url, bool useProxy);

    /**
     * The next line, ended by LF or the end of the stream, without its LF and without any CR. The
     * end of the stream therefore reads as an empty line.
     */
    virtual CISOString ReadLine();
    virtual CSecureISOString ReadSecureLine();

    /** What a request line names: the path, or the URL without its port when sent to a proxy. */
    virtual CISOString GetRequestTarget(const CHttpUrl& url);

    /** The IPv4 address of the URL's host in network order: the first that the resolver names. */
    static uint32_t GetInternetAddress(const CHttpUrl& url);

    /** Connects without a limit of time. */
    void ConnectSocket(const CHttpUrl& url);

    /** Connects within so many seconds. */
    void ConnectSocketTimeOut(const CHttpUrl& url, int seconds);

    /** Sends all of a block; one of no bytes sends nothing. */
    void SendBlock(const void* data, size_t length);

    /** Sends a text without a line's end. */
    void SendText(const CISOString& text);
    void SendText(const CSecureISOString& text);
    void SendText(const char* text);

    /** Sends CR LF. */
    void SendCrLf();

    /** Sends a text and then CR LF, as two blocks. */
    template <class Text>
    void SendLine(const Text& text) {
        SendText(text);
        SendCrLf();
    }

    /**
     * While on, blocks gather in the kernel and leave in full segments, the rest when turned off:
     * a peer is not woken for each of them. Stays on when a block fails.
     */
    void HoldBack(bool on);

    /** Receives when no byte of `recvBuffer` is left; false at the end of the stream. */
    bool EnsureData();

    /** Gives what is left in the buffer, else receives up to 2000 bytes; false at the end. */
    bool RecvBlock(CByteZone& out);

    /**
     * Gives up to `cap` bytes with at most one receive. At the end of the stream the bytes that
     * were left in the buffer are in `out` although the result is false.
     */
    bool RecvBlockWithCappedLength(CByteZone& out, size_t cap);

    /**
     * Moves the bytes up to a multipart boundary (RFC 2046, 5.1.1) to `out`, in which they replace
     * what was there, and goes on behind the boundary. Its CR LF belongs to it except when it is
     * the `first`. `boundary` has no dashes.
     *
     * Throws CHttpException "Invalid multipart data" when the data ends before, or for an empty
     * boundary.
     */
    void RecvMultipartBlock(const CISOString& boundary, CByteZone& out, bool first);

    /** The same for bytes that nobody wants: however many, they take no memory. */
    void SkipMultipartBlock(const CISOString& boundary, bool first);

    /** Appends everything up to the end of the stream to `body`, which keeps what came on failure.
     */
    void RecvToEnd(CByteZone& body);

    /** The next line with its CR and LF as they came. */
    CISOString ReadRawLine();

    /** What ReadLine and ReadSecureLine read, also where these are overridden. */
    CISOString ReadLineBytes();
    CSecureISOString ReadSecureLineBytes();

    /** Whether the peer has not closed yet, as far as a look without waiting tells. */
    bool IsAlive() const;

    /** The descriptor, which stays the connection's; -1 when there is none. */
    int GetSocket() const noexcept { return socket; }

    /** The origin whose pages a server's answers are for; empty for none. */
    const CISOString& GetOrigin() const noexcept { return origin; }
    void SetOrigin(const CISOString& allowed) noexcept { origin = allowed; }

protected:
    /** Forgets what was received and not read. */
    void DropReceived();

    CByteZone recvBuffer;
    size_t recvPos = 0;

    CISOString origin;

    // Atomic for who interrupts a connection from another thread.
    std::atomic<int32_t> socket{-1};
    bool viaProxy = false;

private:
    bool ConnectEntry(const CHttpUrl& url, CISOString entry);
    bool OpenSocket();
    template <class Zone>
    void CollectLine(Zone& line);
    bool RecvBlock(CByteZone& out, size_t position);
    void RecvMultipartBlock(const CISOString& boundary, CByteZone* out, bool first);

    // Sockets of failed attempts, open as long as the connection is.
    CTZone<int, false> abandoned;
};
