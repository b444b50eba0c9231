/**
 * Streams between the processes of one machine.
 */
#pragma once

#include "system/product.h"
#include "system/stream.h"

#include <cstdint>
#include <memory>

/**
 * A connected or a listening socket of the UNIX domain, known by its path.
 *
 * A path of more than 107 bytes is cut there, without a word. The path's file may be opened by
 * every user of the machine: whom a service answers is for the service to decide.
 */
class CLocalSocket : public CStream {
public:
    /**
     * Connects to the listener at `path`. `timeout` is how many seconds Read waits for more data;
     * zero or less is without end.
     *
     * Throws EIOSocketNoListener when there is no listener, EIOError for "socket" and "connect".
     */
    static std::unique_ptr<CLocalSocket> Connect(const char* path = GetLocalSocketPath(),
                                                 int32_t timeout = 0);

    /**
     * Listens at `path`, with room for 5 clients that wait to be accepted. Whatever lies at the
     * path is removed when nobody answers there, and the new file may be used by everybody (0777).
     * The file stays when the listener goes.
     *
     * Throws EIOSocketBusy, and leaves the file alone, when a listener answers; EIOError for
     * "socket", "bind" and "listen".
     */
    static std::unique_ptr<CLocalSocket> Listen(const char* path = GetLocalSocketPath());

    /**
     * Waits for the next client and gives its connection, which reads without a limit of time and
     * is cancelled on its own. For listeners only.
     *
     * Throws EIOCancelled, and EIOError for "select" and "accept".
     */
    virtual std::unique_ptr<CLocalSocket> Accept() = 0;
};
