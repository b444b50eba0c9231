#include "system/http_connection.h"

#include "system/http_errors.h"
#include "system/proxy_resolver.h"
#include "util/raise.h"

#include <arpa/inet.h>
#include <cxxabi.h>
#include <errno.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <exception>

namespace {

// A dead proxy must not hold up the next one, or the direct try that follows, for long.
constexpr int kProxyConnectSeconds = 3;

sockaddr_in MakeAddress(const CHttpUrl& url) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(url.port));
    address.sin_addr.s_addr = CHttpConnection::GetInternetAddress(url);
    return address;
}

/** The first IPv4 address of a name, in network order; false when there is none. */
bool LookUp(const char* host, uint32_t& address) {
    // Not gethostbyname, whose answer other threads of the host would overwrite.
    CTZone<char, false> room;
    hostent entry{};
    hostent* found = nullptr;
    int reason = 0;
    int result = ERANGE;
    for (size_t size = 1024; result == ERANGE; size *= 2) {
        room.Resize(size);
        result = gethostbyname_r(host, &entry, room.GetData(), size, &found, &reason);
    }
    if (found == nullptr || found->h_length != sizeof(address) ||
        found->h_addr_list[0] == nullptr) {
        return false;
    }
    std::memcpy(&address, found->h_addr_list[0], sizeof(address));
    return true;
}

/** The text that a failed attempt is traced with. */
CUTF8String GetFailureText(const std::exception_ptr& failure) {
    try {
        std::rethrow_exception(failure);
    } catch (const CException& exception) {
        return RenderMessage(exception.GetMessage());
    } catch (...) {
        return "Unknown exception";
    }
}

/** What an entry of the proxy list stands for. */
CHttpUrl ParseEntry(CISOString& entry) {
    // Kept: anywhere, not only in front. An entry with such a host name is passed over.
    if (entry.Find(CISOString("http")).IsNull()) {
        entry = CISOString("http://") + entry;
    }
    return ParseUrl(entry);
}

}  // namespace

CHttpConnection::~CHttpConnection() {
    if (socket >= 0) {
        close(socket);
    }
    for (const int descriptor : abandoned) {
        close(descriptor);
    }
}

void CHttpConnection::ConnectProxy(const CHttpUrl& /*url*/, const CHttpUrl& proxyUrl) {
    ConnectSocketTimeOut(proxyUrl, kProxyConnectSeconds);
}

void CHttpConnection::CheckProtocol(const CHttpUrl& url) {
    if (url.scheme != "http") {
        RAISE(CHttpException("Unknown URL scheme"));
    }
}

void CHttpConnection::Connect(const CHttpUrl& url, bool useProxy) {
    if (!url.valid) {
        RAISE(CHttpException("Invalid URL format"));
    }
    CheckProtocol(url);
    // Kept: the literal alone. A name for the loop-back address goes through the proxies.
    if (!useProxy || url.host == "127.0.0.1") {
        ConnectSocket(url);
        return;
    }
    const CTStringList<CISOString> proxies = GetProxies(url);
    if (proxies.GetCount() == 0) {
        ConnectSocket(url);
        return;
    }
    for (const CISOString& proxy : proxies) {
        if (ConnectEntry(url, proxy)) {
            return;
        }
    }
    TraceString("Failed to tunnel to any proxy, fallback connect without proxy");
    ConnectSocket(url);
}

/** Tries one entry of the proxy list; false when the next one is to be tried. */
bool CHttpConnection::ConnectEntry(const CHttpUrl& url, CISOString entry) {
    if (entry == "DIRECT") {
        ConnectSocket(url);
    } else {
        const CHttpUrl proxyUrl = ParseEntry(entry);
        if (!proxyUrl.valid) {
            TraceString("Not valid proxy: %s", CUTF8String(entry).GetText());
            return false;
        }
        try {
            ConnectProxy(url, proxyUrl);
        } catch (const abi::__forced_unwind&) {
            throw;  // the thread is being cancelled
        } catch (...) {
            TraceString("Failed to connect to proxy '%s': %s", CUTF8String(entry).GetText(),
                        GetFailureText(std::current_exception()).GetText());
            return false;
        }
    }
    TraceString("Successfully connected to proxy %s", CUTF8String(entry).GetText());
    // Kept: for "DIRECT" too, so that its request line has the absolute form.
    viaProxy = true;
    return true;
}

CISOString CHttpConnection::GetRequestTarget(const CHttpUrl& url) {
    if (!viaProxy) {
        return url.path;
    }
    // Kept: the absolute form has no port. Adding it changes the request line that proxies see.
    return url.scheme + "://" + url.host + url.path;
}

uint32_t CHttpConnection::GetInternetAddress(const CHttpUrl& url) {
    uint32_t address = inet_addr(url.host.GetText());
    if (address == INADDR_NONE && !LookUp(url.host.GetText(), address)) {
        RAISE(CHttpConnectException(CUTF8String("Host \"") + url.host + "\" not found"));
    }
    return address;
}

/** Makes a new socket; false with errno set when there is none. */
bool CHttpConnection::OpenSocket() {
    if (socket >= 0) {
        abandoned.Append(socket);
    }
    socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    // A request goes out in small blocks: none may wait for the peer to acknowledge the last.
    const int on = 1;
    return socket >= 0 && setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on)) == 0;
}

void CHttpConnection::ConnectSocket(const CHttpUrl& url) {
    const sockaddr_in address = MakeAddress(url);
    if (!OpenSocket()) {
        const int error = errno;
        RAISE(CHttpConnectException(WithReason("Unable to create socket: ", error)));
    }
    if (connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) < 0) {
        const int error = errno;
        RAISE(CHttpConnectException(WithReason("Connection failed: ", error)));
    }
}

void CHttpConnection::ConnectSocketTimeOut(const CHttpUrl& url, int seconds) {
    const sockaddr_in address = MakeAddress(url);
    if (!OpenSocket()) {
        const int error = errno;
        RAISE(CHttpConnectException(WithReason("Unable to create socket: ", error)));
    }
    const int flags = fcntl(socket, F_GETFL);
    // Kept: the one flag, not added to the others; and it stays after a failure.
    if (flags < 0 || fcntl(socket, F_SETFL, O_NONBLOCK) < 0) {
        const int error = errno;
        RAISE(CHttpConnectException(WithReason("Failed to set non-blocking : ", error)));
    }
    // What came of it is asked for below.
    static_cast<void>(
        connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)));
    pollfd writable{socket, POLLOUT, 0};
    if (poll(&writable, 1, seconds * 1000) != 1) {
        const int error = errno;
        RAISE(CHttpConnectException(WithReason("Connection select failed: ", error)));
    }
    int failure = 0;
    socklen_t length = sizeof(failure);
    getsockopt(socket, SOL_SOCKET, SO_ERROR, &failure, &length);
    if (failure != 0) {
        // Kept: errno's words, mostly those of a connection in progress, and not the failure's.
        const int error = errno;
        RAISE(CHttpConnectException(WithReason("Connection failed: ", error)));
    }
    if (fcntl(socket, F_SETFL, flags) < 0) {
        const int error = errno;
        RAISE(CHttpConnectException(WithReason("Failed to set non-blocking : ", error)));
    }
}
