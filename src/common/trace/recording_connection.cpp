#include "trace/recording_connection.h"

#include "system/http_errors.h"
#include "system/sigpipe_guard.h"
#include "util/raise.h"

#include <openssl/err.h>

#include <errno.h>
#include <fcntl.h>
#include <linux/sockios.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <climits>
#include <cstring>

namespace {

constexpr size_t kReceiveStep = 4096;

/** The event that a session waits for before it goes on; 0 when it has failed or ended. */
short GetAwaitedEvent(SSL* session, int result) {
    switch (SSL_get_error(session, result)) {
        case SSL_ERROR_WANT_READ:
            return POLLIN;
        case SSL_ERROR_WANT_WRITE:
            return POLLOUT;
        default:
            return 0;
    }
}

}  // namespace

void CRecordingConnection::Connect(const CHttpUrl& url, bool useProxy) {
    CHttpsConnection::Connect(url, useProxy);
    const int flags = fcntl(socket, F_GETFL);
    if (flags < 0 || fcntl(socket, F_SETFL, flags | O_NONBLOCK) < 0) {
        const int error = errno;
        RAISE(CHttpConnectException(WithReason("Failed to set non-blocking : ", error)));
    }
    // Many answers are taken with one call.
    SSL_set_read_ahead(GetSession(), 1);
    connected = true;
}

int CRecordingConnection::Send(const void* data, size_t length) {
    if (!connected) {
        return CHttpsConnection::Send(data, length);
    }
    for (;;) {
        short event = 0;
        const int sent = TrySend(data, length, event);
        if (event == 0) {
            return sent;
        }
        pollfd ready{socket, event, 0};
        poll(&ready, 1, -1);
    }
}

/** Sends what goes out now; sets `event` when the same call has to be made again after it. */
int CRecordingConnection::TrySend(const void* data, size_t length, short& event) {
    const CSigPipeGuard guard;
    const std::lock_guard<std::mutex> lock(sessionLock);
    if (interrupted) {
        errno = ECONNABORTED;
        return -1;
    }
    SSL* const session = GetSession();
    const int sent = SSL_write(session, data, static_cast<int>(std::min<size_t>(length, INT_MAX)));
    if (sent <= 0) {
        event = GetAwaitedEvent(session, sent);
        ERR_clear_error();
    }
    return sent;
}

CRecordingConnection::EArrival CRecordingConnection::TakeLine(CISOString& line) {
    for (EArrival otherwise = EArrival::kNothing;;) {
        const char* const first = reinterpret_cast<const char*>(recvBuffer.GetData());
        const void* const feed =
            first != nullptr ? std::memchr(first, '\n', recvBuffer.GetSize()) : nullptr;
        if (feed != nullptr) {
            const size_t length = static_cast<size_t>(static_cast<const char*>(feed) - first) + 1;
            line = CISOString(first, static_cast<ptrdiff_t>(length));
            recvBuffer.Erase(0, length);
            return EArrival::kLine;
        }
        if (!ReceiveSome(otherwise)) {
            return otherwise;
        }
    }
}

/** Adds what has arrived to the buffer; false, with the reason, when nothing has. */
bool CRecordingConnection::ReceiveSome(EArrival& otherwise) {
    const size_t size = recvBuffer.GetSize();
    recvBuffer.Resize(size + kReceiveStep);
    const std::lock_guard<std::mutex> lock(sessionLock);
    SSL* const session = GetSession();
    const int received = SSL_read(session, recvBuffer.GetData() + size, kReceiveStep);
    recvBuffer.Resize(size + static_cast<size_t>(std::max(received, 0)));
    if (received > 0) {
        return true;
    }
    otherwise = GetAwaitedEvent(session, received) != 0 ? EArrival::kNothing : EArrival::kEnd;
    ERR_clear_error();
    return false;
}

void CRecordingConnection::WaitForData(int milliseconds) const {
    pollfd ready{socket, POLLIN, 0};
    poll(&ready, 1, milliseconds);
}

bool CRecordingConnection::HasSentAll() const noexcept {
    int left = 0;
    return ioctl(socket, SIOCOUTQ, &left) != 0 || left == 0;
}

void CRecordingConnection::Interrupt() noexcept {
    interrupted = true;
    shutdown(socket, SHUT_RDWR);
}
