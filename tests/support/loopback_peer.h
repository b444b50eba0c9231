/**
 * A peer on the loopback interface that does what a test tells it.
 */
#pragma once

#include <cstdint>
#include <string>
#include <thread>
#include <vector>

/**
 * Listens on a free port of 127.0.0.1 and serves one connection after the other on a thread of its
 * own, each by the next script. The destructor closes what is open and waits for the thread.
 */
class CLoopbackPeer {
public:
    /**
     * Steps of a script, in order; the connection is closed behind the last one.
     *
     * "read" takes a request up to its blank line and, when it states a length, its body; "send"
     * sends the text behind the blank; "reset" closes with a reset; "hold" waits for the client to
     * close; "dawdle" lets 200 ms go by; "flood" sends the letter "x" until the client has closed
     * or got 64 MiB (4 MiB under a sanitizer).
     */
    using Script = std::vector<std::string>;

    explicit CLoopbackPeer(std::vector<Script> scripts);
    ~CLoopbackPeer();
    CLoopbackPeer(const CLoopbackPeer&) = delete;
    CLoopbackPeer& operator=(const CLoopbackPeer&) = delete;

    uint16_t GetPort() const { return port; }

    /** What the connections sent, one text each, once all scripts have been played. */
    const std::vector<std::string>& Wait();

private:
    void Serve(const std::vector<Script>& scripts);

    // In this order: listening gives the port, and the thread uses all.
    uint16_t port = 0;
    int listener = -1;
    std::vector<std::string> received;
    std::thread server;
};

/** A port of 127.0.0.1 that nobody listens on. */
uint16_t FindFreePort();
