#include "support/loopback_peer.h"

#include "support/child_process.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>
#include <utility>

namespace {

constexpr size_t kFlood = size_t{kInstrumented ? 4 : 64} * 1024 * 1024;

int Listen(uint16_t& port) {
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* const any = reinterpret_cast<sockaddr*>(&address);
    socklen_t length = sizeof(address);
    if (bind(listener, any, length) != 0 || listen(listener, 16) != 0 ||
        getsockname(listener, any, &length) != 0) {
        throw std::runtime_error("cannot listen on the loopback interface");
    }
    port = ntohs(address.sin_port);
    return listener;
}

bool ReadSome(int client, std::string& text) {
    char piece[4096];
    const ssize_t count = recv(client, piece, sizeof(piece), 0);
    text.append(piece, count > 0 ? static_cast<size_t>(count) : 0);
    return count > 0;
}

/** Whether a text is a request up to its blank line and with the body whose length it states. */
bool IsWhole(const std::string& text) {
    const size_t end = text.find("\r\n\r\n");
    const size_t length = text.rfind("Content-Length: ", end);
    const bool stated = end != std::string::npos && length != std::string::npos;
    const size_t body = stated ? std::stoul(text.substr(length + 16)) : 0;
    return end != std::string::npos && text.size() >= end + 4 + body;
}

void Play(int client, const CLoopbackPeer::Script& script, std::string& text) {
    for (const std::string& step : script) {
        if (step == "reset") {
            const linger hard{1, 0};
            setsockopt(client, SOL_SOCKET, SO_LINGER, &hard, sizeof(hard));
        } else if (step == "read" || step == "hold") {
            while ((step == "hold" || !IsWhole(text)) && ReadSome(client, text)) {
            }
        } else if (step == "dawdle") {
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
        } else {
            const std::string sent = step == "flood" ? std::string(kFlood, 'x') : step.substr(5);
            send(client, sent.data(), sent.size(), MSG_NOSIGNAL);
        }
    }
}

}  // namespace

CLoopbackPeer::CLoopbackPeer(std::vector<Script> scripts)
    : listener(Listen(port)),
      received(scripts.size()),
      server([this, scripts = std::move(scripts)] { Serve(scripts); }) {}

CLoopbackPeer::~CLoopbackPeer() {
    shutdown(listener, SHUT_RDWR);
    if (server.joinable()) {
        server.join();
    }
    close(listener);
}

const std::vector<std::string>& CLoopbackPeer::Wait() {
    server.join();
    return received;
}

void CLoopbackPeer::Serve(const std::vector<Script>& scripts) {
    for (size_t i = 0; i < scripts.size(); ++i) {
        const int client = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (client < 0) {
            return;
        }
        Play(client, scripts[i], received[i]);
        close(client);
    }
}

uint16_t FindFreePort() {
    uint16_t port = 0;
    close(Listen(port));
    return port;
}
