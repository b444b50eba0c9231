/**
 * The thread that reads the answers to the posts of a recording.
 */
#pragma once

#include "system/thread.h"

class CRemoteLog;

/** Runs from the first post of a recording until the endpoint answers 401. */
class CHttpResponseReceiverThread : public CThread {
public:
    explicit CHttpResponseReceiverThread(CRemoteLog& remoteLog) noexcept : log(remoteLog) {}

    int32_t Run() override;

private:
    CRemoteLog& log;
};
