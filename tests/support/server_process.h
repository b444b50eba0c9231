/**
 * Other people's servers, started by a test on a free port of the loopback interface.
 */
#pragma once

#include "support/child_process.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

/** The whole file; empty when it cannot be read. */
std::string ReadWholeFile(const std::string& path);

/** Skips the test when one of the programs, in a literal, is not installed. */
#define SKIP_WITHOUT(names)                                              \
    if (system("PATH=$PATH:/usr/sbin which " names " > /dev/null") != 0) \
    GTEST_SKIP() << "not installed: one of " names

/**
 * A program that runs in the foreground, as one process, until the object goes away.
 *
 * Ports come from FindFreePort: the caller writes one into the configuration or the arguments. The
 * constructor returns once the port is listened on; it looks at the kernel's table, so the server
 * sees no connection but those of the test.
 */
class CServerProcess {
public:
    /**
     * `command` is the program, of those for administrators too, and its arguments. Its outputs go
     * into the file `outputPath`; its input stays open and silent. Throws std::runtime_error with
     * the outputs when the port stays closed.
     */
    CServerProcess(const std::vector<std::string>& command, uint16_t port,
                   const std::string& outputPath);

    /** Asks the program to end and waits for it: killed ones leave shared memory behind. */
    ~CServerProcess();

private:
    CChildProcess process;
};
