/**
 * The connection of a recording: written by tracing threads, read by another one, and interrupted
 * by a third.
 */
#pragma once

#include "system/https.h"

#include <atomic>
#include <mutex>

/**
 * A TLS connection that never waits inside OpenSSL once it is connected, so that one thread may
 * read while another one writes. One thread at a time may write, and one read.
 */
class CRecordingConnection : public CHttpsConnection {
public:
    enum class EArrival { kLine, kNothing, kEnd };

    int Send(const void* data, size_t length) override;
    void Connect(const CHttpUrl& url, bool useProxy) override;

    /** The next line with its line feed, if it is there whole; does not wait. */
    EArrival TakeLine(CISOString& line);

    /** Waits until something can be read, at most so long. */
    void WaitForData(int milliseconds) const;

    /** Whether all that was sent has reached the peer's machine. */
    bool HasSentAll() const noexcept;

    /** Makes every call that waits for the peer fail, now and later. Any thread may call. */
    void Interrupt() noexcept;

    int GetDescriptor() const noexcept { return socket; }

private:
    int TrySend(const void* data, size_t length, short& event);
    bool ReceiveSome(EArrival& otherwise);

    // Guards the session. Nothing is waited for under it.
    std::mutex sessionLock;
    bool connected = false;
    std::atomic<bool> interrupted{false};
};
