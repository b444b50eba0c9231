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

/** Two connected sockets; the peer is closed, after some bytes in either direction. */
struct CLeftSocket {
    explicit CLeftSocket(const std::string& from = "", const std::string& to = "") {
        int ends[2];
        socketpair(AF_UNIX, SOCK_STREAM, 0, ends);
        socket = std::make_unique<CUnixSocket>(ends[0], 1);
        send(ends[0], to.data(), to.size(), 0);
        send(ends[1], from.data(), from.size(), 0);
        close(ends[1]);
    }
    std::unique_ptr<CUnixSocket> socket;
    char room[8];
};

int Bare(int kind, const char* path = nullptr) {
    const int descriptor = socket(AF_UNIX, kind, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    strcpy(address.sun_path, path != nullptr ? path : "");
    return path == nullptr ||
                   bind(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0
               ? descriptor
               : -1;
}

void CallCancelled(void (*call)(CLocalSocket&)) {
    CUnixSocket socket(Bare(SOCK_STREAM), 1);
    socket.Cancel();
    call(socket);
}

/** Calls a socket whose peer has left "abc" and is there, or gone, and cancels it meanwhile. */
void CallCancelledBehind(bool gone, int32_t timeout, void (*call)(CLocalSocket&)) {
    int ends[2];
    socketpair(AF_UNIX, SOCK_STREAM, 0, ends);
    CUnixSocket socket(ends[0], timeout);
    write(ends[1], "abc", gone ? 0 : 3) < 0 ? perror("write") : void();
    if (gone) {
        close(ends[1]);
    }
    cancelledBehindCalls = &socket;
    call(socket);
}

void CallClosed(int32_t timeout) {
    const int descriptor = Bare(SOCK_STREAM);
    CUnixSocket socket(descriptor, timeout);
    close(descriptor);
    char byte;
    timeout == 0 ? static_cast<void>(socket.Accept()) : socket.Read(&byte, 1);
}

/** Calls that fail, with a path at which nothing lies. */
const std::pair<const char*, void (*)(const char*)> kFailures[] = {
    {"missing", [](const char* path) { CLocalSocket::Connect(path); }},
    {"stale",
     [](const char* path) {
         close(Bare(SOCK_STREAM, path));
         CLocalSocket::Connect(path);
     }},
    {"datagrams",
     [](const char* path) {
         const int descriptor = Bare(SOCK_DGRAM, path);
         CLocalSocket::Connect(path);
         close(descriptor);
     }},
    {"no descriptor to connect",
     [](const char* path) { LimitDescriptors(0), CLocalSocket::Connect(path); }},
    {"none to probe", [](const char* path) { LimitDescriptors(0), CLocalSocket::Listen(path); }},
    {"one to listen", [](const char* path) { LimitDescriptors(1), CLocalSocket::Listen(path); }},
    {"no directory", [](const char*) { CLocalSocket::Listen("/nonexistent/socket"); }},
    {"not to listen", [](const char* path) { listenFails = true, CLocalSocket::Listen(path); }},
    {"listened at",
     [](const char* path) {
         const auto listener = CLocalSocket::Listen(path);
         CLocalSocket::Listen(path);
     }},
    {"read, cancelled",
     [](const char*) { CallCancelled([](CLocalSocket& socket) { socket.Read(nullptr, 0); }); }},
    {"write, cancelled",
     [](const char*) { CallCancelled([](CLocalSocket& socket) { socket.Write(nullptr, 0); }); }},
    {"accept, cancelled",
     [](const char*) { CallCancelled([](CLocalSocket& socket) { socket.Accept(); }); }},
    {"silence",
     [](const char* path) {
         const auto listener = CLocalSocket::Listen(path);
         char byte;
         CLocalSocket::Connect(path, 1)->Read(&byte, 1);
     }},
    {"gone in the middle",
     [](const char*) {
         CLeftSocket left("abc");
         left.socket->Read(left.room, 4);
     }},
    {"gone with bytes unread",
     [](const char*) {
         CLeftSocket left("", "abc");
         left.socket->Read(left.room, 4);
     }},
    {"gone before", [](const char*) { CLeftSocket().socket->Write("abc", 3); }},
    {"nobody to read from",
     [](const char*) {
         char byte;
         CUnixSocket(Bare(SOCK_STREAM), 0).Read(&byte, 1);
     }},
    {"nobody to write to", [](const char*) { CUnixSocket(Bare(SOCK_STREAM), 0).Write("a", 1); }},
    {"not listening", [](const char*) { CLeftSocket("a").socket->Accept(); }},
    {"read, cancelled with the data there",
     [](const char*) {
         CallCancelledBehind(false, 0, [](CLocalSocket& s) {
             char all[3];
             s.Read(all, 3);
         });
     }},
    {"read, cancelled at the end",
     [](const char*) {
         CallCancelledBehind(true, 0, [](CLocalSocket& s) {
             char all[3];
             s.Read(all, 3);
         });
     }},
    {"read, cancelled when ready",
     [](const char*) {
         CallCancelledBehind(false, 1, [](CLocalSocket& s) {
             char all[3];
             s.Read(all, 3);
         });
     }},
    {"read, cancelled when time is up",
     [](const char*) {
         CallCancelledBehind(false, 1, [](CLocalSocket& s) {
             char all[4];
             cancelledBehindCalls = nullptr;
             s.Read(all, 3);
             cancelledBehindCalls = &s;
             s.Read(all, 1);
         });
     }},
    {"write, cancelled with all sent",
     [](const char*) {
         CallCancelledBehind(false, 0, [](CLocalSocket& s) { s.Write("abc", 3); });
     }},
    {"write, cancelled with the peer gone",
     [](const char*) { CallCancelledBehind(true, 0, [](CLocalSocket& s) { s.Write("abc", 3); }); }},
    {"accept, cancelled when ready",
     [](const char*) { CallCancelledBehind(false, 0, [](CLocalSocket& s) { s.Accept(); }); }},
    {"read, closed", [](const char*) { CallClosed(1); }},
    {"accept, closed", [](const char*) { CallClosed(0); }},
};

/** Prints class, event, category, code and words of each failure, and what the path was left as. */
void Fail(const CArguments& paths) {
    TraceString0("opened before descriptors are short");
    for (const auto& [name, call] : kFailures) {
        try {
            call(paths[0].c_str());
            printf("%s passed\n", name);
        } catch (const EIOError& error) {
            const CEventMessage& message = error.GetMessage();
            const char* const type = typeid(error).name();
            printf("%s %08X %d %lu %s\n", type + strspn(type, "0123456789"), message.id,
                   message.category, error.GetErrorCode(), RenderMessage(message).GetText());
        }
        LimitDescriptors(-1);
        listenFails = false;
        cancelledBehindCalls = nullptr;
        unlink(paths[0].c_str());
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
