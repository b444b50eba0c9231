#include "trace/response_receiver.h"

#include "system/http_response.h"
#include "system/sigpipe_guard.h"
#include "trace/remote_log.h"
#include <qorvs/trace.h>

#include <pthread.h>
#include <unistd.h>

#include <optional>
#include <utility>

namespace {

constexpr useconds_t kIdleMicroseconds = 100000;
constexpr int kIdleMilliseconds = 100;

constexpr int32_t kAccepted = 200;
constexpr int32_t kRefused = 401;

/** Reads the answers of one endpoint after the other. */
class CAnswerReader {
public:
    explicit CAnswerReader(CRemoteLog& remoteLog) : log(remoteLog) {}

    /** Reads an answer, or waits a while for one. False once the endpoint has refused. */
    bool ReadNext();

private:
    bool IsLost(const CRemoteLog::CSource& now) const {
        return source.connection != nullptr && now.connection != nullptr &&
               source.connection != now.connection && source.number == now.number;
    }

    bool Follow(const CISOString& line);
    void SendAgain();

    CRemoteLog& log;
    CRemoteLog::CSource source;
};

bool CAnswerReader::ReadNext() {
    CRemoteLog::CSource now = log.GetSource();
    // A thread that could not post has connected again: nobody answers what went out before.
    if (IsLost(now)) {
        SendAgain();
        return true;
    }
    source = std::move(now);
    if (source.connection == nullptr) {
        usleep(kIdleMicroseconds);
        return true;
    }
    CISOString line;
    switch (source.connection->TakeLine(line)) {
        case CRecordingConnection::EArrival::kLine:
            return Follow(line);
        case CRecordingConnection::EArrival::kEnd:
            SendAgain();
            return true;
        default:
            source.connection->WaitForData(kIdleMilliseconds);
            return true;
    }
}

/** Does what a line of the endpoint asks for. Lines of headers ask for nothing. */
bool CAnswerReader::Follow(const CISOString& line) {
    const std::optional<CHttpStatusLine> answer = ParseStatusLine(line);
    if (!answer) {
        return true;
    }
    if (answer->status == kRefused) {
        log.Stop();
        return false;
    }
    if (answer->status == kAccepted) {
        log.DropOldest();
    } else {
        SendAgain();
    }
    return true;
}

void CAnswerReader::SendAgain() {
    source = {};
    source = log.SendAgain();
}

}  // namespace

int32_t CHttpResponseReceiverThread::Run() {
    // For the life of the thread: reading writes too.
    const CSigPipeGuard guard;
    for (CAnswerReader reader(log);;) {
        try {
            if (!reader.ReadNext() && log.EndReceiver()) {
                // Nobody waits for it: the next recording starts the object anew.
                pthread_detach(pthread_self());
                return 0;
            }
        } catch (...) {
            TraceString("Error while running http response receiver thread");
            usleep(kIdleMicroseconds);
        }
    }
}
