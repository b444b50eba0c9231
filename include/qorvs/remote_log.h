/**
 * Recording: what goes into the log of this process goes to an HTTPS endpoint too, as it is
 * written.
 *
 * Each call of the trace functions becomes one POST on a kept connection; the endpoint answers each
 * with a status line. 200 acknowledges the oldest post that is not acknowledged yet; 401 ends the
 * recording; anything else, and the end of the connection, makes the library connect again and send
 * everything that is not acknowledged once more, as one post. Posts are numbered by "&id=" and the
 * number, appended to the URL's path and query (docs/log_format.md).
 *
 * A tracing thread waits until its post is sent, not for the answer. What is not acknowledged stays
 * in memory: an endpoint that does not answer makes it grow. The local log is the same whatever
 * becomes of a recording. The child of a fork does not record.
 */
#pragma once

#include <qorvs/export.h>

#include <stdbool.h>

QORVS_BEGIN_C

/**
 * Starts a recording to an "https" URL, in place of one that runs; then a new log file is begun,
 * whose header is the first post. Without tracing nothing is opened and nothing is sent.
 *
 * Blocks until connected. C++ callers get the library's exceptions, which have no common base, when
 * the URL is none ("Invalid URL format"; null counts as empty) or the endpoint cannot be reached;
 * then nothing is recorded.
 */
QORVS_API void StartRemoteLogsRecord(const char* url);

/**
 * Ends the recording, also one that waits for its endpoint at this moment. What is not acknowledged
 * is kept for the next recording.
 */
QORVS_API void StopRemoteLogsRecord(void);

/** Whether a recording runs; the answer may be old by the time that it is read. */
QORVS_API bool AreRemoteLogsRecording(void);

QORVS_END_C
