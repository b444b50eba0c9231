/**
 * The recording of the log: what is posted, what waits for an answer, and to whom.
 */
#pragma once

#include "system/critical_section.h"
#include "system/http_url.h"
#include "trace/recording_connection.h"
#include "trace/response_receiver.h"
#include "util/ct_zone.h"

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>

/**
 * One object for the process, never destroyed: the log's closing lines are posted while the process
 * ends.
 *
 * Locks are taken in this order: the log's lock, sendLock, connectionLock, queueLock. startLock is
 * held alone. Waiting for the endpoint happens under sendLock at most, so that a stop, which
 * interrupts whoever waits, gets to all of them.
 */
class CRemoteLog {
public:
    static CRemoteLog& Get();

    /** See qorvs/remote_log.h. */
    void Start(const char* url);
    void Stop();
    static bool IsRecording() noexcept { return recording.load(std::memory_order_relaxed); }

    void Mirror(const char* bytes, size_t length) noexcept;
    void Settle() noexcept;

    /** In the child of a fork, whose parent may be anywhere in here: goes over to a new object. */
    static void ForgetInChild() noexcept;

    // For the thread that reads the answers.

    /** What the receiver reads from: a connection and the number of the recording that made it. */
    struct CSource {
        std::shared_ptr<CRecordingConnection> connection;
        uint64_t number = 0;
    };
    CSource GetSource();

    /** The oldest post has been acknowledged. */
    void DropOldest();

    /**
     * Connects again and sends all that is not acknowledged as one post; nothing after a stop.
     * Gives what is to be read from then on.
     */
    CSource SendAgain();

    /** The receiver is about to end; false when it has to go on, since a recording has begun. */
    bool EndReceiver();

private:
    using Block = std::shared_ptr<const CByteZone>;

    CRemoteLog() : receiver(*this) {}

    void Reconnect(uint64_t number);
    void Release();
    void SendBlock(CByteZone bytes);
    void StartReceiver();
    void Post(const CByteZone& bytes);
    CByteZone TakeUnacknowledged();

    // Held while a recording begins, ends, connects or posts; guards the URL and the next number.
    CCriticalSection sendLock;
    CHttpUrl remoteUrl;
    int32_t nextId = 0;

    // Held for a moment only. `connecting` is the one that is not connected yet.
    CCriticalSection connectionLock;
    CSource current;
    std::shared_ptr<CRecordingConnection> connecting;

    CCriticalSection queueLock;
    std::deque<Block> unacknowledged;

    CCriticalSection startLock;
    bool receiverStarted = false;
    CHttpResponseReceiverThread receiver;

    // Takes over in the child of a fork, where nothing can be made; its parent stays as it was.
    CRemoteLog* heir = nullptr;

    static std::atomic<CRemoteLog*> instance;
    // Beside `current`, for those who ask without a lock.
    static std::atomic<bool> recording;
    // The connected socket, which the child of a fork closes.
    static std::atomic<int> descriptor;
};
