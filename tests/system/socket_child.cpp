/**
 * The other process of the tests of local sockets and of peers: socket_child <scenario>
 * [arguments].
 */
#include "system/io_errors.h"
#include "system/peer_process.h"
#include "system/unix_socket.h"
#include <qorvs/trace.h>

#include <arpa/inet.h>
#include <dlfcn.h>
#include <errno.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <typeinfo>
#include <vector>

static bool listenFails = false;
static CLocalSocket* cancelledBehindCalls = nullptr;

// The C library's calls, behind each of which the socket is cancelled when one is named.
#define CANCELS_BEHIND(Result, name, parameters, arguments)                                 \
    Result name parameters {                                                                \
        auto* const real = reinterpret_cast<Result(*) parameters>(dlsym(RTLD_NEXT, #name)); \
        const Result result = real arguments;                                               \
        const int error = errno;                                                            \
        if (cancelledBehindCalls != nullptr) {                                              \
            cancelledBehindCalls->Cancel();                                                 \
        }                                                                                   \
        errno = error;                                                                      \
        return result;                                                                      \
    }

extern "C" {
CANCELS_BEHIND(ssize_t, recv, (int socket, void* to, size_t length, int flags),
               (socket, to, length, flags))
CANCELS_BEHIND(ssize_t, send, (int socket, const void* from, size_t length, int flags),
               (socket, from, length, flags))
CANCELS_BEHIND(int, ppoll,
               (pollfd * sockets, nfds_t count, const timespec* limit, const sigset_t* mask),
               (sockets, count, limit, mask))

int listen(int descriptor, int backlog) noexcept {
    static auto* const real = reinterpret_cast<int (*)(int, int)>(dlsym(RTLD_NEXT, "listen"));
    errno = EOPNOTSUPP;
    return listenFails ? -1 : real(descriptor, backlog);
}
}

namespace {

using CArguments = std::vector<std::string>;

/** Descriptors from so many free ones on cannot be had; a negative number lifts the limit. */
void LimitDescriptors(int free) {
    const int next = dup(0);
    close(next);
    const rlimit limit{free < 0 ? 1024U : static_cast<rlim_t>(next + free), 1024};
    setrlimit(RLIMIT_NOFILE, &limit);
}

/** A path at which nothing lies, and a socket; all is as before when the scope ends. */
struct CPlace {
    explicit CPlace(const std::string& place) : path(place.c_str()) {}
    ~CPlace() {
        LimitDescriptors(-1);
        listenFails = false;
        cancelledBehindCalls = nullptr;
        unlink(path);
    }

    void Connect() { used = CLocalSocket::Connect(path, 1); }
    void Listen() { used = CLocalSocket::Listen(path); }
    void Bind(int kind) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        strcpy(address.sun_path, path);
        bind(socket(AF_UNIX, kind, 0), reinterpret_cast<sockaddr*>(&address), sizeof(address));
    }
    void Fresh(int32_t timeout = 0) {
        descriptor = socket(AF_UNIX, SOCK_STREAM, 0);
        used = std::make_unique<CUnixSocket>(descriptor, timeout);
    }
    void Pair(const std::string& arrives, const std::string& unread = "", int32_t timeout = 0) {
        int ends[2];
        socketpair(AF_UNIX, SOCK_STREAM, 0, ends);
        send(ends[0], unread.data(), unread.size(), 0);
        send(ends[1], arrives.data(), arrives.size(), 0);
        used = std::make_unique<CUnixSocket>(ends[0], timeout);
        descriptor = ends[1];
    }
    void Close() const { close(descriptor); }
    void Read(size_t length) { used->Read(room, length); }
    void Write(size_t length) { used->Write("abc", length); }
    void CancelBehind() const { cancelledBehindCalls = used.get(); }

    const char* path;
    std::unique_ptr<CLocalSocket> used;
    int descriptor = -1;
    char room[8];
};

void (*const kFailures[])(CPlace&) = {
    [](CPlace& at) { at.Connect(); },
    [](CPlace& at) { at.Bind(SOCK_STREAM), at.Connect(); },
    [](CPlace& at) { at.Bind(SOCK_DGRAM), at.Connect(); },
    [](CPlace& at) { LimitDescriptors(0), at.Connect(); },
    [](CPlace& at) { LimitDescriptors(0), at.Listen(); },
    [](CPlace& at) { LimitDescriptors(1), at.Listen(); },
    [](CPlace& at) { at.path = "/nonexistent/socket", at.Listen(); },
    [](CPlace& at) { listenFails = true, at.Listen(); },
    [](CPlace& at) { at.Listen(), at.Listen(); },
    [](CPlace& at) { at.Fresh(), at.used->Cancel(), at.Read(0); },
    [](CPlace& at) { at.Fresh(), at.used->Cancel(), at.Write(0); },
    [](CPlace& at) { at.Fresh(), at.used->Cancel(), at.used->Accept(); },
    [](CPlace& at) { at.Pair("abc", "", 1), at.Read(4); },
    [](CPlace& at) { at.Pair("abc"), at.Close(), at.Read(4); },
    [](CPlace& at) { at.Pair("", "abc"), at.Close(), at.Read(4); },
    [](CPlace& at) { at.Pair(""), at.Close(), at.Write(3); },
    [](CPlace& at) { at.Fresh(), at.Read(1); },
    [](CPlace& at) { at.Fresh(), at.Write(1); },
    [](CPlace& at) { at.Pair("a"), at.used->Accept(); },
    [](CPlace& at) { at.Pair("abc"), at.CancelBehind(), at.Read(3); },
    [](CPlace& at) { at.Pair(""), at.Close(), at.CancelBehind(), at.Read(3); },
    [](CPlace& at) { at.Pair("abc", "", 1), at.CancelBehind(), at.Read(3); },
    [](CPlace& at) { at.Pair("", "", 1), at.CancelBehind(), at.Read(1); },
    [](CPlace& at) { at.Pair(""), at.CancelBehind(), at.Write(3); },
    [](CPlace& at) { at.Pair(""), at.Close(), at.CancelBehind(), at.Write(3); },
    [](CPlace& at) { at.Pair("abc"), at.CancelBehind(), at.used->Accept(); },
    [](CPlace& at) { at.Fresh(1), at.Close(), at.Read(1); },
    [](CPlace& at) { at.Fresh(), at.Close(), at.used->Accept(); },
};

/** Prints class, event, category, code and words of what each call throws. */
void Fail(const CArguments& paths) {
    TraceString0("opened before descriptors are short");
    for (const auto call : kFailures) {
        CPlace place(paths[0]);
        try {
            call(place);
            puts("passed");
        } catch (const EIOError& error) {
            const CEventMessage& message = error.GetMessage();
            const char* const type = typeid(error).name();
            printf("%s %08X %d %lu %s\n", type + strspn(type, "0123456789"), message.id,
                   message.category, error.GetErrorCode(), RenderMessage(message).GetText());
        }
    }
}

/** Accepts a client at a path and sends back what comes, in messages of so many bytes. */
void Echo(const CArguments& arguments) {
    const auto listener = CLocalSocket::Listen(arguments[0].c_str());
    puts("ready");
    fflush(stdout);
    const auto client = listener->Accept();
    std::string message(std::stoul(arguments[1]), '\0');
    try {
        for (;;) {
            client->Read(message.data(), message.size());
            client->Write(message.data(), message.size());
        }
    } catch (const EIOSocketClosed&) {
        puts("closed");
    }
}

/** Connects to a port of the loopback interface; 0 is a listener of our own, which accepts. */
int Dial(const std::string& port) {
    sockaddr_in address{
        AF_INET, htons(static_cast<uint16_t>(std::stoul(port))), {htonl(INADDR_LOOPBACK)}, {}};
    socklen_t size = sizeof(address);
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    const int listener = socket(AF_INET, SOCK_STREAM, 0);
    const int dialled = socket(AF_INET, SOCK_STREAM, 0);
    if (port == "0") {
        listen(listener, 1);
        getsockname(listener, generic, &size);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    }
    connect(dialled, generic, size);
    setenv("PEER", ("127.0.0.1:" + std::to_string(ntohs(address.sin_port))).c_str(), 1);
    getsockname(dialled, generic, &size);
    setenv("OWN", ("127.0.0.1:" + std::to_string(ntohs(address.sin_port))).c_str(), 1);
    return dialled;
}

void StayConnected(const CArguments& ports) {
    Dial(ports[0]);
    puts("connected");
    fflush(stdout);
    pause();
}

/** Looks up the peer of a kind of socket; lsof finds the ends' names in OWN and PEER. */
void LookUp(const CArguments& kinds) {
    const int connected = Dial("0");
    const std::map<std::string, int> sockets = {{"connected", connected},
                                                {"no pipe", connected},
                                                {"unconnected", socket(AF_INET, SOCK_STREAM, 0)},
                                                {"none", -1}};
    TraceString0("opened before descriptors are short");
    LimitDescriptors(kinds[0] == "no pipe" ? 0 : -1);
    const CPeerProcess process = GetClientPidAndUid(sockets.at(kinds[0]));
    printf("%u %u", process.pid, process.uid);
}

}  // namespace

int main(int argc, char** argv) {
    const std::map<std::string, void (*)(const CArguments&)> scenarios = {
        {"fail", &Fail}, {"echo", &Echo}, {"dial", &StayConnected}, {"peer", &LookUp}};
    scenarios.at(argv[1])({argv + 2, argv + argc});
}
