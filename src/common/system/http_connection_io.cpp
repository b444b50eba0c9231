#include "system/http_connection.h"
#include "system/http_errors.h"
#include "system/sigpipe_guard.h"
#include "util/raise.h"

#include <errno.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <algorithm>
#include <climits>
#include <cstring>

namespace {

constexpr size_t kLineBufferSize = 256;
constexpr size_t kBlockSize = 2000;
constexpr size_t kBodyStep = size_t{64} * 1024;

/** Removes every CR and the LF at the end. */
template <class Zone>
void DropBreaks(Zone& line) {
    unsigned char* const last =
        std::remove_if(line.GetData(), line.GetEnd(),
                       [](unsigned char byte) { return byte == '\r' || byte == '\n'; });
    line.Resize(static_cast<size_t>(last - line.GetData()));
}

template <class Text, class Zone>
Text ToText(const Zone& bytes) {
    Text text;
    text.AppendRaw(reinterpret_cast<const char*>(bytes.GetData()), bytes.GetSize());
    return text;
}

}  // namespace

int CHttpConnection::Send(const void* data, size_t length) {
    const CSigPipeGuard guard;
    return static_cast<int>(send(socket, data, length, 0));
}

int CHttpConnection::Recv(void* data, size_t length) {
    return static_cast<int>(recv(socket, data, length, 0));
}

CISOString CHttpConnection::ReadLine() { return ReadLineBytes(); }

CSecureISOString CHttpConnection::ReadSecureLine() { return ReadSecureLineBytes(); }

void CHttpConnection::SendBlock(const void* data, size_t length) {
    // Kept: the low 32 bits decide, so a block from 2 GiB on may be sent not at all.
    if (static_cast<int32_t>(length) < 1) {
        return;
    }
    const auto* at = static_cast<const unsigned char*>(data);
    for (size_t left = length; left > 0;) {
        const int sent = Send(at, left);
        if (sent < 0) {
            const int error = errno;
            RAISE(CHttpException(WithReason("Unable to send data: ", error)));
        }
        if (sent == 0) {
            RAISE(CHttpException("Sent zero bytes"));
        }
        at += sent;
        left -= static_cast<size_t>(sent);
    }
}

void CHttpConnection::SendText(const CISOString& text) {
    SendBlock(text.GetText(), text.GetLength());
}

void CHttpConnection::SendText(const CSecureISOString& text) {
    SendBlock(text.GetText(), text.GetLength());
}

void CHttpConnection::SendText(const char* text) { SendBlock(text, std::strlen(text)); }

void CHttpConnection::SendCrLf() { SendBlock("\r\n", 2); }

void CHttpConnection::HoldBack(bool on) {
    // Only what it costs to send depends on it: a refusal changes nothing else.
    const int value = on ? 1 : 0;
    setsockopt(socket, IPPROTO_TCP, TCP_CORK, &value, sizeof(value));
}

bool CHttpConnection::EnsureData() {
    if (recvPos < recvBuffer.GetSize()) {
        return true;
    }
    recvPos = 0;
    recvBuffer.Fill(kLineBufferSize, 0);
    const int received = Recv(recvBuffer.GetData(), kLineBufferSize);
    if (received < 0) {
        const int error = errno;
        recvBuffer.Clear();
        RAISE(CHttpException(WithReason("Unable to receive data: ", error)));
    }
    recvBuffer.Resize(static_cast<size_t>(received));
    return received != 0;
}

/** Moves the bytes up to LF, or up to the end of the stream, to `line`. */
template <class Zone>
void CHttpConnection::CollectLine(Zone& line) {
    while (EnsureData()) {
        const unsigned char* const first = recvBuffer.GetData() + recvPos;
        const auto* const feed = static_cast<const unsigned char*>(
            std::memchr(first, '\n', recvBuffer.GetSize() - recvPos));
        const unsigned char* const last = feed != nullptr ? feed + 1 : recvBuffer.GetEnd();
        line.Append(first, static_cast<size_t>(last - first));
        recvPos += static_cast<size_t>(last - first);
        if (feed != nullptr) {
            return;
        }
    }
}

CISOString CHttpConnection::ReadRawLine() {
    CByteZone line;
    CollectLine(line);
    return ToText<CISOString>(line);
}

CISOString CHttpConnection::ReadLineBytes() {
    CByteZone line;
    CollectLine(line);
    DropBreaks(line);
    return ToText<CISOString>(line);
}

CSecureISOString CHttpConnection::ReadSecureLineBytes() {
    CSecureByteZone line;
    CollectLine(line);
    DropBreaks(line);
    return ToText<CSecureISOString>(line);
}

bool CHttpConnection::RecvBlock(CByteZone& out) {
    if (recvPos < recvBuffer.GetSize()) {
        out.Assign(recvBuffer.GetData() + recvPos, recvBuffer.GetSize() - recvPos);
        DropReceived();
        return true;
    }
    out.Fill(kBlockSize, 0);
    return RecvBlock(out, 0);
}

/** Receives into a zone from a position to its end, and cuts it behind what came. */
bool CHttpConnection::RecvBlock(CByteZone& out, size_t position) {
    const int received = Recv(out.GetData() + position, out.GetSize() - position);
    if (received < 0) {
        const int error = errno;
        out.Resize(position);
        RAISE(CHttpException(WithReason("Unable to receive data: ", error)));
    }
    out.Resize(position + static_cast<size_t>(received));
    return received > 0;
}

bool CHttpConnection::RecvBlockWithCappedLength(CByteZone& out, size_t cap) {
    const size_t unread = recvBuffer.GetSize() - recvPos;
    const size_t buffered = std::min(unread, cap);
    out.Resize(cap);
    std::copy_n(recvBuffer.GetData() + recvPos, buffered, out.GetData());
    recvPos += buffered;
    if (buffered == cap) {
        return cap > 0;
    }
    const int received = Recv(out.GetData() + buffered, cap - buffered);
    if (received < 0) {
        const int error = errno;
        out.Resize(buffered);
        RAISE(CHttpException(WithReason("Unable to receive data: ", error)));
    }
    out.Resize(buffered + static_cast<size_t>(received));
    return received > 0;
}

void CHttpConnection::RecvToEnd(CByteZone& body) {
    CByteZone first;
    // Ahead of growing the body: one that got nothing stays as it is.
    if (!RecvBlock(first)) {
        return;
    }
    body.Append(first);
    for (bool more = true; more;) {
        const size_t size = body.GetSize();
        body.Reserve(CheckedSum(size, kBodyStep));
        body.Resize(std::min(body.GetCapacity(), size + INT_MAX));
        more = RecvBlock(body, size);
    }
}

bool CHttpConnection::IsAlive() const {
    char byte = 0;
    const ssize_t peeked = recv(socket, &byte, 1, MSG_PEEK | MSG_DONTWAIT);
    return peeked > 0 || (peeked < 0 && errno == EAGAIN);
}

void CHttpConnection::DropReceived() {
    recvBuffer.Clear();
    recvPos = 0;
}
