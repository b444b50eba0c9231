/**
 * The launcher's side of the services: starting the cache server, and who else is there.
 */
#pragma once

#include "system/product.h"
#include "util/exception.h"

#include <cstdint>

/** A service could not be started. Thrown with RAISE. */
class EService : public CException {
public:
    using CException::CException;
};

/**
 * Starts the program at `path` and waits for its first process, which tells by its exit status
 * whether the service runs (RunService). The program has no arguments, the environment and the
 * signal mask of the caller and none of its descriptors below 256.
 *
 * Throws EService when the process cannot be made, cannot be waited for (also where the host
 * ignores SIGCHLD), is ended by a signal or exits with anything but 0, as it does when there is no
 * such program. `serviceName` stands in the message; the failure is in the event log as well.
 */
void StartCacheServer(const CUTF8String& serviceName, const char* path = GetCacheServerPath());

/** Whether a process with the word QRManager in its command line runs, for any user. */
bool IsManagerRunning();

/** The real user of this process. */
uint32_t GetCurrentUserId() noexcept;
