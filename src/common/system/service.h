/**
 * The frame of a background service: one instance, in the background, until SIGTERM.
 */
#pragma once

#include "system/pid_file.h"
#include "util/ct_string.h"

#include <cstdint>

/** The category "Service management". */
constexpr int16_t kServiceCategory = 2;

/** What a service does within the frame. The object belongs to the caller of RunService. */
class CService {
public:
    CService() noexcept = default;
    CService(const CService&) = delete;
    CService& operator=(const CService&) = delete;

    // The order of the virtual operations is relied on by services built against it.

    /** Names the PID file. */
    virtual CUTF8String GetName() = 0;

    /** Names the service in the event log. */
    virtual CUTF8String GetDisplayName() = 0;

    /**
     * Prepares all that clients need to find, in the process that the launcher waits for and with
     * SIGTERM blocked. Run is called in a child of that process: descriptors pass over, threads and
     * locks of other processes do not. An exception ends the start.
     */
    virtual void Initialize() = 0;

    /** Works until Stop is called; in the background without the descriptors 0, 1 and 2. */
    virtual void Run() = 0;

    /**
     * Makes Run return, also when it has yet to begin; comes after an Initialize that has thrown,
     * too. Called from a signal handler, on any thread: only what is allowed there, and no
     * exception.
     */
    virtual void Stop() = 0;

    // Behind the others, which keep their places.
    virtual ~CService() = default;
};

/**
 * The main routine of a service, on the main thread and before there is any other.
 *
 * Refuses to start when the PID file exists, whatever it says; otherwise initialises the service,
 * goes into the background with "/" as directory, no umask and a session of its own, and runs it.
 * With "-f" for its only argument the service stays in the foreground and writes no PID file. What
 * happens is in the event log. SIGTERM calls Stop, and does nothing after the return.
 * `pidFileDirectory` ends with a slash.
 *
 * Returns 0 after Run, in the background process. The first process ends here: with exit(0) when
 * the service has been initialised and is about to run, with exit(2) when it could not be started,
 * which its parent takes for the answer. exit(2) also ends the process whose Run has thrown. Both
 * destroy the static objects of their process, but not the service of a caller's frame.
 *
 * Descriptors of 0, 1 and 2 that the process was started without lead to /dev/null until the
 * service is in the background.
 *
 * Two starts at the same moment may both succeed: there is no lock. With no umask, files that the
 * service makes later, the log's included, can be written by everybody unless it says otherwise.
 */
int RunService(CService& service, int argc, const char* const* argv,
               const char* pidFileDirectory = kPidFileDirectory);

/**
 * The path of the PID file of the service that runs in this process: the directory, the service's
 * name and ".pid". Settled by the first call; only after RunService has been called.
 */
const char* GetPidFilePath();
