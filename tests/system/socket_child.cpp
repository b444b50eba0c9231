/**
 * Takes steps with local sockets, or looks for peers: socket_child <step>...
 *
 * A step is a socket, A to D, what is done with it, and an argument: "A read 3". Prints what is
 * read, and class, event, category, code and words of what a step throws.
 */
#include "system/io_errors.h"
#include "system/peer_process.h"
#include "system/unix_socket.h"
#include <qorvs/trace.h>

#include <arpa/inet.h>
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <future>
#include <map>
#include <memory>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

static std::string failingCall;
static CLocalSocket* cancelledBehindCalls = nullptr;
static int socketsLeft = -1;  // without end

// A call of the C library, behind which a socket is cancelled when one is named.
#define WATCHED(Result, name, parameters, arguments)                                            \
    Result name parameters {                                                                    \
        auto* const real = reinterpret_cast<Result(*) parameters>(dlsym(RTLD_NEXT, #name));     \
        const Result result = failingCall == #name ? (errno = EOPNOTSUPP, -1) : real arguments; \
        const int error = errno;                                                                \
        if (cancelledBehindCalls != nullptr) {                                                  \
            cancelledBehindCalls->Cancel();                                                     \
        }                                                                                       \
        errno = error;                                                                          \
        return result;                                                                          \
    }

extern "C" {
WATCHED(ssize_t, recv, (int socket, void* to, size_t length, int flags),
        (socket, to, length, flags))
WATCHED(ssize_t, send, (int socket, const void* from, size_t length, int flags),
        (socket, from, length, flags))
WATCHED(int, ppoll, (pollfd * sockets, nfds_t count, const timespec* limit, const sigset_t* mask),
        (sockets, count, limit, mask))
int socket(int family, int type, int protocol) noexcept {
    // Not by the limit of the process: a sanitizer needs a descriptor to look at what is thrown.
    return socketsLeft-- == 0 ? (errno = EMFILE, -1)
                              : static_cast<int>(syscall(SYS_socket, family, type, protocol));
}
WATCHED(int, listen, (int socket, int backlog) noexcept, (socket, backlog))
}

namespace {

using CSocket = std::unique_ptr<CLocalSocket>;
using CText = const std::string;

std::string path = std::string(getenv("HOME")) + "/socket";
CSocket sockets[4];
int bare = -1;  // the descriptor that was made last for the other end
pid_t caller = -1;
std::vector<std::future<void>> later;

void LimitDescriptors(int next) {
    const rlimit limit{static_cast<rlim_t>(next), 4096};
    setrlimit(RLIMIT_NOFILE, &limit);
}

/** The next socket has the other end. Descriptors are some that a select set has no room for. */
void Pair(CSocket& used, CText& seconds) {
    int ends[2];
    socketpair(AF_UNIX, SOCK_STREAM, 0, ends);
    used = std::make_unique<CUnixSocket>(fcntl(ends[0], F_DUPFD, 2000), std::stoi(seconds));
    close(ends[0]);
    bare = ends[1];
    (&used)[1] = std::make_unique<CUnixSocket>(bare, 0);
}

void Fresh(CSocket& used, CText& seconds) {
    bare = socket(AF_UNIX, SOCK_STREAM, 0);
    used = std::make_unique<CUnixSocket>(bare, std::stoi(seconds));
}

void Read(CSocket& used, CText& length) {
    char room[8]{};
    used->Read(room, std::stoul(length));
    puts(room);
}

void Echo(CSocket& used, CText& length) {
    std::string message(std::stoul(length), '\0');
    for (;;) {
        used->Read(message.data(), message.size());
        used->Write(message.data(), message.size());
    }
}

/** Counts the letters up to the end of the stream, and says what follows them. */
void Drain(CSocket&, CText&) {
    std::string all;
    char piece[32768];
    for (ssize_t count; (count = recv(bare, piece, sizeof(piece), 0)) != 0;) {
        all.append(piece, count > 0 ? static_cast<size_t>(count) : 0);
    }
    const size_t letters = all.find_first_not_of('d');
    const bool areZeros = all.find_first_not_of('\0', letters) == std::string::npos;
    printf("%zu, %s\n", letters, areZeros && all.size() < 2 * letters ? "zeros" : "others");
}

void Storm(CSocket&, CText&) {
    const itimerval often{{0, 1000}, {0, 1000}};
    setitimer(ITIMER_REAL, &often, nullptr);
}

/** A child of ours calls over the loopback interface; lsof finds the ends' names in OWN and PEER.
 */
void TakeCall(CSocket&, CText&) {
    sockaddr_in address{};
    socklen_t size = sizeof(address);
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    const int listener = socket(AF_INET, SOCK_STREAM, 0);
    listen(listener, 1);
    getsockname(listener, generic, &size);
    caller = fork();
    if (caller == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        connect(socket(AF_INET, SOCK_STREAM, 0), generic, size);
        pause();
    }
    bare = accept(listener, nullptr, nullptr);
    for (const auto& [name, call] : {std::pair("OWN", &getsockname), {"PEER", &getpeername}}) {
        call(bare, generic, &size);
        setenv(name, ("127.0.0.1:" + std::to_string(ntohs(address.sin_port))).c_str(), 1);
    }
}

void LookUp(CSocket&, CText&) {
    const CPeerProcess process = GetClientPidAndUid(bare);
    const bool isCaller = process.pid == static_cast<uint32_t>(caller) && process.uid == getuid();
    isCaller ? printf("the caller\n") : printf("%u %u\n", process.pid, process.uid);
}

void Perform(const std::string& step);

void PerformLater(CSocket&, CText& milliseconds) {
    const std::string step = milliseconds.substr(milliseconds.find(' ') + 1);
    later.push_back(std::async(std::launch::async, [step, wait = std::stoi(milliseconds)] {
        poll(nullptr, 0, wait);
        Perform(step);
    }));
}

/** How many descriptors are open, more than when first asked. */
void Count(CSocket&, CText&) {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    const auto open = std::distance(begin(all), end(all));
    static const auto first = open;
    printf("%td\n", open - first);
}

/** Blocks SIGALRM, and says whether one is pending. */
void Block(CSocket&, CText&) {
    sigset_t alarm, pending;
    sigemptyset(&alarm);
    sigaddset(&alarm, SIGALRM);
    pthread_sigmask(SIG_BLOCK, &alarm, nullptr);
    sigpending(&pending);
    puts(sigismember(&pending, SIGALRM) == 1 ? "pending" : "blocked");
}

void PrintMode(CSocket&, CText&) {
    struct stat file {};
    stat(path.substr(0, 107).c_str(), &file);
    printf("%o\n", file.st_mode);
}

const std::map<std::string, void (*)(CSocket&, CText&)> kSteps = {
    {"pair", &Pair},
    {"fresh", &Fresh},
    {"read", &Read},
    {"echo", &Echo},
    {"drain", &Drain},
    {"storm", &Storm},
    {"call", &TakeCall},
    {"peer", &LookUp},
    {"later", &PerformLater},
    {"await", [](CSocket&, CText&) { later.back().wait(); }},
    {"block", &Block},
    {"count", &Count},
    {"mode", &PrintMode},
    {"path", [](CSocket&, CText& to) { path = to; }},
    {"connect", [](CSocket& used, CText&) { used = CLocalSocket::Connect(path.c_str(), 1); }},
    {"listen", [](CSocket& used, CText&) { used = CLocalSocket::Listen(path.c_str()); }},
    {"accept", [](CSocket& used, CText&) { (&used)[1] = used->Accept(); }},
    {"write", [](CSocket& used, CText& text) { used->Write(text.data(), text.size()); }},
    {"flood",
     [](CSocket& used, CText&) { used->Write(std::string(1 << 20, 'd').data(), 1 << 20); }},
    {"cancel", [](CSocket& used, CText&) { used->Cancel(); }},
    {"reset", [](CSocket& used, CText&) { used->ResetCancel(); }},
    {"watch", [](CSocket& used, CText&) { cancelledBehindCalls = used.get(); }},
    {"close", [](CSocket& used, CText&) { used.reset(); }},
    {"unplug", [](CSocket&, CText&) { close(bare); }},
    {"hangup", [](CSocket&, CText&) { kill(caller, SIGKILL), waitpid(caller, nullptr, 0); }},
    {"descriptors", [](CSocket&, CText& free) { LimitDescriptors(dup(0) + 1 + std::stoi(free)); }},
    {"sockets", [](CSocket&, CText& left) { socketsLeft = std::stoi(left); }},
    {"fails", [](CSocket&, CText& call) { failingCall = call; }},
};

void Perform(const std::string& step) {
    const char who = step[0];
    const size_t end = std::min(step.find(' ', 2), step.size());
    const std::string verb = step.substr(2, end - 2);
    const std::string argument = step.substr(std::min(end + 1, step.size()));
    try {
        kSteps.at(verb)(sockets[who == '-' ? 0 : who - 'A'], argument);
    } catch (const EIOError& error) {
        const CEventMessage& message = error.GetMessage();
        const char* const type = typeid(error).name();
        printf("%s %08X %d %lu %s\n", type + strspn(type, "0123456789"), message.id,
               message.category, error.GetErrorCode(), RenderMessage(message).GetText());
    }
}

}  // namespace

int main(int count, char** steps) {
    setvbuf(stdout, nullptr, _IOLBF, 0);
    LimitDescriptors(3000);
    TraceString0("steps");
    for (int i = 1; i < count; ++i) {
        Perform(steps[i]);
    }
}
