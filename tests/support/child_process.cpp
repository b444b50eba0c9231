#include "support/child_process.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

constexpr unsigned kLongestSeconds = 120;

// The program "env" puts the variables in place and becomes the program itself.
CChildProcess::CChildProcess(const std::string& program, std::vector<std::string> arguments,
                             std::vector<std::string> environment) {
    std::vector<char*> command{const_cast<char*>("env")};
    environment.push_back(QORVS_TEST_BIN_DIR "/" + program);
    for (std::vector<std::string>* const texts : {&environment, &arguments}) {
        for (std::string& text : *texts) {
            command.push_back(text.data());
        }
    }
    command.push_back(nullptr);
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0 || (id = fork()) < 0) {
        throw std::runtime_error("cannot start " + program);
    }
    if (id == 0) {
        alarm(kLongestSeconds);
        dup2(ends[1], STDOUT_FILENO);
        execvp(command[0], command.data());
        _exit(127);
    }
    close(ends[1]);
    output = ends[0];
}

CChildProcess::~CChildProcess() {
    if (id > 0) {
        Kill();
        Wait();
    }
    close(output);
}

bool CChildProcess::Fill() {
    char piece[4096];
    const ssize_t count = read(output, piece, sizeof(piece));
    pending.append(piece, count > 0 ? static_cast<size_t>(count) : 0);
    return count > 0;
}

bool CChildProcess::ReadLine(std::string& line) {
    while (pending.find('\n') == std::string::npos && Fill()) {
    }
    const size_t end = pending.find('\n');
    line = pending.substr(0, end);
    pending.erase(0, end == std::string::npos ? end : end + 1);
    return end != std::string::npos;
}

std::string CChildProcess::ReadAll() {
    while (Fill()) {
    }
    return std::move(pending);
}

void CChildProcess::Kill() { kill(id, SIGKILL); }

int CChildProcess::Wait() {
    int status = 0;
    waitpid(id, &status, 0);
    id = -1;
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}
