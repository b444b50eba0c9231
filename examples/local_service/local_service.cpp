/**
 * local_service: a service for the programs and the web pages of this machine.
 *
 * Usage: local_service [--plain] [--port NUMBER] [--allow ORIGIN]... DIRECTORY
 *
 * Listens on 127.0.0.1, on a free port when none is given, prints where, and serves until it is
 * interrupted. DIRECTORY takes the uploads. Pages of the origins that are allowed may read the
 * answers; page.html, beside this file, shows how they ask.
 *
 *     $ local_service --allow http://localhost:8000 /tmp/uploads
 *     https://127.0.0.1:40233
 *
 *     $ curl -k https://127.0.0.1:40233/cryptoki/0xA0
 *     { "errVal": 160, "errString": "CKR_PIN_INCORRECT" }
 *
 *     $ curl -k -F 'description={"nbData": 1, "data1": 5}' -F data=@five https://.../upload
 *     {"directory": "upload_k3Jw0x", "sizes": [5]}
 *
 * /headers, /peer, /lines/COUNT, /file/NAME, /nothing, /http/STATUS, /custom, /cryptoki/CODE,
 * /icao/CODE and /desfire/CODE show one form of an answer each; /download/DIRECTORY/part1 gives an
 * upload back.
 *
 * A fixed number of threads serve one connection each, and wait ten seconds for a silent peer. The
 * certificate is made at the start (--plain: no TLS). What goes wrong with a connection stands in
 * the log of the library.
 */
#include "answers.h"
#include "identity.h"
#include "system/https.h"
#include "util/exception.h"
#include <qorvs/trace.h>

#include <arpa/inet.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

constexpr int kThreads = 32;
constexpr int kSecondsOfSilence = 10;
constexpr size_t kMostDropped = size_t{16} * 1024 * 1024;

struct COptions {
    CService service;
    bool plain = false;
};

/** False for arguments that are none. */
bool ReadOptions(int argc, char** argv, COptions& options) {
    int at = 1;
    for (; at < argc - 1; ++at) {
        const std::string option = argv[at];
        if (option == "--plain") {
            options.plain = true;
        } else if (option == "--port") {
            options.service.port = static_cast<uint16_t>(std::atoi(argv[++at]));
        } else if (option == "--allow") {
            options.service.origins.insert(argv[++at]);
        } else {
            return false;
        }
    }
    options.service.directory = at < argc ? argv[at] : "";
    return std::filesystem::is_directory(options.service.directory);
}

/** Listens on 127.0.0.1 and puts the port into `port`, which may be 0. */
int Listen(uint16_t& port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* const any = reinterpret_cast<sockaddr*>(&address);
    socklen_t length = sizeof(address);
    const int reuse = 1;
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof(reuse));
    if (bind(listener, any, length) != 0 || listen(listener, SOMAXCONN) != 0 ||
        getsockname(listener, any, &length) != 0) {
        throw std::runtime_error("cannot listen on 127.0.0.1");
    }
    port = ntohs(address.sin_port);
    return listener;
}

/**
 * Takes what is left of a request before its connection goes: one that is closed with bytes unread
 * is reset, and the answer that was sent may be lost.
 */
void Linger(int connection) {
    char piece[65536];
    size_t dropped = 0;
    shutdown(connection, SHUT_WR);
    for (ssize_t count = 1; count > 0 && dropped < kMostDropped;) {
        count = recv(connection, piece, sizeof(piece), 0);
        dropped += count > 0 ? static_cast<size_t>(count) : 0;
    }
    close(connection);
}

void Serve(int accepted, SSL_CTX* context, const CService& service) {
    const timeval silence{kSecondsOfSilence, 0};
    setsockopt(accepted, SOL_SOCKET, SO_RCVTIMEO, &silence, sizeof(silence));
    setsockopt(accepted, SOL_SOCKET, SO_SNDTIMEO, &silence, sizeof(silence));
    const int lingering = fcntl(accepted, F_DUPFD_CLOEXEC, 0);
    try {
        Answer(context != nullptr
                   ? std::make_shared<CHttpServerConnection>(
                         std::make_unique<CHttpsConnection>(accepted, context).release())
                   : std::make_shared<CHttpServerConnection>(accepted),
               service);
    } catch (const CException&) {
        // It was traced, and nobody is there any more whom it could be told.
    } catch (const std::exception& exception) {
        TraceString("Request failed: %s", exception.what());
    }
    Linger(lingering);
}

/** Serves one connection after the other until the listening socket is shut down. */
void ServeAll(int listener, SSL_CTX* context, const CService& service) {
    for (;;) {
        const int accepted = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (accepted >= 0) {
            Serve(accepted, context, service);
        } else if (errno != ECONNABORTED && errno != EINTR) {
            return;
        }
    }
}

void WaitForEnd(const sigset_t& signals) {
    int received = 0;
    sigwait(&signals, &received);
}

void Run(COptions& options) {
    // Ahead of the threads, which take it over: the signals are for sigwait.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    const CSslContext context = options.plain ? nullptr : MakeServerContext();
    const int listener = Listen(options.service.port);
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back(ServeAll, listener, context.get(), std::cref(options.service));
    }
    std::cout << (options.plain ? "http" : "https") << "://127.0.0.1:" << options.service.port
              << std::endl;
    WaitForEnd(signals);
    shutdown(listener, SHUT_RDWR);
    for (std::thread& thread : threads) {
        thread.join();
    }
    close(listener);
}

}  // namespace

int main(int argc, char** argv) {
    COptions options;
    if (!ReadOptions(argc, argv, options)) {
        std::cerr << "Usage: local_service [--plain] [--port NUMBER] [--allow ORIGIN]... "
                     "DIRECTORY\n";
        return 2;
    }
    try {
        Run(options);
    } catch (const std::exception& exception) {
        std::cerr << "local_service: " << exception.what() << '\n';
        return 1;
    }
    return 0;
}
