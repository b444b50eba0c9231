#include "support/server_process.h"

#include <signal.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <regex>
#include <stdexcept>
#include <thread>

constexpr auto kLongestStart = std::chrono::seconds(20);

std::string ReadWholeFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// A shell becomes the program; the kernel ends it when the test is killed. A pipe that is open for
// writing too never ends.
static std::vector<std::string> Shell(const std::vector<std::string>& command,
                                      const std::string& output) {
    std::string script =
        "PATH=$PATH:/usr/sbin; rm -f $0.in; mkfifo $0.in; exec setpriv --pdeathsig KILL";
    for (const std::string& word : command) {
        script += " '" + std::regex_replace(word, std::regex("'"), R"('\'')") + "'";
    }
    return {"sh", "-c", script + " <> $0.in > $0 2>&1", output};
}

CServerProcess::CServerProcess(const std::vector<std::string>& command, uint16_t port,
                               const std::string& outputPath)
    : process("", {}, Shell(command, outputPath)) {
    // Local ends stand in hexadecimal behind a colon; 0A is the state of a listening socket.
    char row[32];
    snprintf(row, sizeof(row), ":%04X [0-9A-F:]+ 0A ", static_cast<unsigned>(port));
    const std::regex listening(row);
    const auto deadline = std::chrono::steady_clock::now() + kLongestStart;
    // The table is long when a test before has made many connections.
    auto pause = std::chrono::milliseconds(2);
    while (!std::regex_search(ReadWholeFile("/proc/net/tcp") + ReadWholeFile("/proc/net/tcp6"),
                              listening)) {
        if (std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error("the server does not listen: " + ReadWholeFile(outputPath));
        }
        std::this_thread::sleep_for(pause *= 2);
    }
}

CServerProcess::~CServerProcess() {
    kill(process.GetId(), SIGTERM);
    process.Wait();
}
