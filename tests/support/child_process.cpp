#include "support/child_process.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <stdexcept>

namespace {

constexpr unsigned kLongestSeconds = 120;

std::vector<char*> ToPointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

std::vector<std::string> MergeVariables(const std::vector<std::string>& own) {
    std::map<std::string, std::string> byName;
    const auto add = [&byName](const std::string& variable) {
        byName.emplace(variable.substr(0, variable.find('=')), variable);
    };
    std::for_each(own.begin(), own.end(), add);
    for (char** variable = environ; *variable != nullptr; ++variable) {
        add(*variable);
    }
    std::vector<std::string> variables;
    for (const auto& [name, variable] : byName) {
        variables.push_back(variable);
    }
    return variables;
}

}  // namespace

CChildProcess::CChildProcess(const std::string& program, std::vector<std::string> arguments,
                             const std::vector<std::string>& environment) {
    const std::string path = std::string(QORVS_TEST_BIN_DIR) + "/" + program;
    arguments.insert(arguments.begin(), path);
    std::vector<std::string> variables = MergeVariables(environment);
    const std::vector<char*> argumentPointers = ToPointers(arguments);
    const std::vector<char*> variablePointers = ToPointers(variables);
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0 || (id = fork()) < 0) {
        throw std::runtime_error("cannot start " + path);
    }
    if (id == 0) {
        alarm(kLongestSeconds);
        dup2(ends[1], STDOUT_FILENO);
        execve(path.c_str(), argumentPointers.data(), variablePointers.data());
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
    size_t end = 0;
    while ((end = pending.find('\n')) == std::string::npos) {
        if (!Fill()) {
            return false;
        }
    }
    line = pending.substr(0, end);
    pending.erase(0, end + 1);
    return true;
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
