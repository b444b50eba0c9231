#include "trace/remote_log.h"

#include "system/http_requests.h"
#include "trace/line_mirror.h"
#include "trace/log_state.h"
#include "trace/trace_thread.h"
#include <qorvs/remote_log.h>

#include <pthread.h>
#include <unistd.h>

#include <mutex>
#include <string>
#include <utility>

namespace {

// A stop tries again this often to interrupt whoever waits for the endpoint.
constexpr useconds_t kInterruptMicroseconds = 1000;

// An endpoint that has stopped reading holds up the end of the process for no longer.
constexpr int kSettleMilliseconds = 1000;

/**
 * Silences the thread while it uses the connection, whose own lines would feed the recording, and
 * keeps it from being cancelled there: it holds locks, the log's among them.
 */
class CSuppressScope {
public:
    CSuppressScope() noexcept { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancelState); }
    ~CSuppressScope() { pthread_setcancelstate(cancelState, nullptr); }
    CSuppressScope(const CSuppressScope&) = delete;
    CSuppressScope& operator=(const CSuppressScope&) = delete;

private:
    CTraceSilence silence;
    int cancelState = 0;
};

}  // namespace

std::atomic<CRemoteLog*> CRemoteLog::instance{nullptr};
std::atomic<bool> CRemoteLog::recording{false};
std::atomic<int> CRemoteLog::descriptor{-1};

CRemoteLog& CRemoteLog::Get() {
    static std::once_flag once;
    std::call_once(once, [] { instance = new CRemoteLog; });
    return *instance;
}

void CRemoteLog::ForgetInChild() noexcept {
    recording = false;
    const int inherited = descriptor.exchange(-1);
    if (inherited >= 0) {
        close(inherited);
    }
    CRemoteLog* const parents = instance;
    if (parents != nullptr && parents->heir != nullptr) {
        instance = parents->heir;
    }
}

void CRemoteLog::Start(const char* url) {
    // The log's lock comes first, and a new file's header is posted under it.
    CLogState::Get().Reopen([this, url] {
        const CCriticalSectionGuard sending(sendLock);
        if (heir == nullptr) {
            heir = new CRemoteLog;
        }
        remoteUrl = ParseUrl(CISOString(url));
        Reconnect(current.number + 1);
    });
}

void CRemoteLog::Stop() {
    // Whoever waits for the endpoint holds sendLock.
    while (!sendLock.TryLock()) {
        {
            const CCriticalSectionGuard guard(connectionLock);
            for (const auto& waiting : {current.connection, connecting}) {
                if (waiting != nullptr) {
                    waiting->Interrupt();
                }
            }
        }
        usleep(kInterruptMicroseconds);
    }
    remoteUrl = ParseUrl({});
    Release();
    sendLock.Unlock();
}

/** Connects to the endpoint, under sendLock; nothing is recorded any more when that fails. */
void CRemoteLog::Reconnect(uint64_t number) {
    const CSuppressScope suppressed;
    try {
        auto made = std::make_shared<CRecordingConnection>();
        {
            const CCriticalSectionGuard guard(connectionLock);
            connecting = made;
        }
        made->Connect(remoteUrl, true);
        const CCriticalSectionGuard guard(connectionLock);
        descriptor = made->GetDescriptor();
        connecting = nullptr;
        current = {std::move(made), number};
        recording = true;
    } catch (...) {
        Release();
        throw;
    }
}

void CRemoteLog::Release() {
    std::shared_ptr<CRecordingConnection> former;
    const CSuppressScope suppressed;
    const CCriticalSectionGuard guard(connectionLock);
    recording = false;
    descriptor = -1;
    connecting = nullptr;
    former = std::move(current.connection);
}

void CRemoteLog::Mirror(const char* bytes, size_t length) noexcept {
    const CCriticalSectionGuard sending(sendLock);
    if (!IsRecording() || length == 0) {
        return;
    }
    try {
        SendBlock(CByteZone(reinterpret_cast<const unsigned char*>(bytes), length));
    } catch (...) {
        // Kept: nothing is told about it. The local log is all that is left.
        Release();
    }
}

void CRemoteLog::Settle() noexcept {
    for (int left = kSettleMilliseconds; left > 0; --left) {
        const auto connection = GetSource().connection;
        if (connection == nullptr || connection->HasSentAll()) {
            return;
        }
        usleep(1000);
    }
}

/** Posts a block, twice if need be, under sendLock. It stays queued whatever becomes of that. */
void CRemoteLog::SendBlock(CByteZone bytes) {
    const CSuppressScope suppressed;
    StartReceiver();
    const auto block = std::make_shared<const CByteZone>(std::move(bytes));
    {
        const CCriticalSectionGuard guard(queueLock);
        unacknowledged.push_back(block);
    }
    try {
        Post(*block);
    } catch (...) {
        Reconnect(current.number);
        Post(*block);
    }
}

void CRemoteLog::StartReceiver() {
    const CCriticalSectionGuard guard(startLock);
    if (!receiverStarted) {
        receiver.Start();
        receiverStarted = true;
    }
}

/** One POST under the next number; its answer is the receiver's. */
void CRemoteLog::Post(const CByteZone& bytes) {
    CHttpUrl url = remoteUrl;
    url.path += "&id=";
    url.path += std::to_string(nextId).c_str();
    // Through all 32 bits: behind the greatest number comes the least.
    nextId = static_cast<int32_t>(static_cast<uint32_t>(nextId) + 1);
    PostText(current.connection, url, bytes, false, true, true);
}

CRemoteLog::CSource CRemoteLog::GetSource() {
    const CCriticalSectionGuard guard(connectionLock);
    return current;
}

void CRemoteLog::DropOldest() {
    const CCriticalSectionGuard guard(queueLock);
    // An endpoint may answer what nobody has asked.
    if (!unacknowledged.empty()) {
        unacknowledged.pop_front();
    }
    if (unacknowledged.empty()) {
        unacknowledged.shrink_to_fit();
    }
}

CByteZone CRemoteLog::TakeUnacknowledged() {
    const CCriticalSectionGuard guard(queueLock);
    CByteZone joined;
    for (const Block& block : unacknowledged) {
        joined.Append(*block);
    }
    unacknowledged.clear();
    unacknowledged.shrink_to_fit();
    return joined;
}

CRemoteLog::CSource CRemoteLog::SendAgain() {
    // Up to the end: no new line may overtake the old ones.
    const CCriticalSectionGuard sending(sendLock);
    if (IsRecording()) {
        Reconnect(current.number);
        CByteZone joined = TakeUnacknowledged();
        if (!joined.IsEmpty()) {
            SendBlock(std::move(joined));
        }
    }
    return GetSource();
}

bool CRemoteLog::EndReceiver() {
    const CCriticalSectionGuard guard(startLock);
    // A recording that began meanwhile has taken the thread for running.
    receiverStarted = IsRecording();
    return !receiverStarted;
}

void MirrorLine(const char* bytes, size_t length) noexcept {
    if (CRemoteLog::IsRecording()) {
        CRemoteLog::Get().Mirror(bytes, length);
    }
}

void SettleMirror() noexcept {
    if (CRemoteLog::IsRecording()) {
        CRemoteLog::Get().Settle();
    }
}

void ForgetMirrorInChild() noexcept { CRemoteLog::ForgetInChild(); }

void StartRemoteLogsRecord(const char* url) { CRemoteLog::Get().Start(url); }

void StopRemoteLogsRecord() { CRemoteLog::Get().Stop(); }

bool AreRemoteLogsRecording() { return CRemoteLog::IsRecording(); }
