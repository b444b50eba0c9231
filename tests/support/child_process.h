/**
 * Programs that tests run as processes of their own.
 */
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define QORVS_INSTRUMENTED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define QORVS_INSTRUMENTED 1
#endif
#endif
#ifndef QORVS_INSTRUMENTED
#define QORVS_INSTRUMENTED 0
#endif

/** Whether a sanitizer watches: then loads are smaller, and heap and start-up are not the plain
 * ones. */
constexpr bool kInstrumented = QORVS_INSTRUMENTED != 0;

/**
 * A process that runs one of the programs beside the tests.
 *
 * Its standard output is read through a pipe. An alarm ends it after two minutes, whatever it does;
 * the destructor kills it when nobody has waited for it.
 */
class CChildProcess {
public:
    /** `environment` holds "NAME=value", in place of what the test has itself. */
    CChildProcess(const std::string& program, std::vector<std::string> arguments,
                  std::vector<std::string> environment);
    ~CChildProcess();
    CChildProcess(const CChildProcess&) = delete;
    CChildProcess& operator=(const CChildProcess&) = delete;

    pid_t GetId() const { return id; }

    /** The next line of the output, without its line feed; false at the end of the output. */
    bool ReadLine(std::string& line);

    /** All the rest of the output. */
    std::string ReadAll();

    void Kill();

    /** Waits for the end: the exit status, or minus the signal that ended the process. */
    int Wait();

private:
    bool Fill();

    pid_t id = -1;
    int output = -1;
    std::string pending;
};
