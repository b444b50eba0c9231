#include "system/local_socket.h"

#include "system/io_errors.h"
#include "system/unix_socket.h"
#include "util/raise.h"

#include <errno.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <utility>

namespace {

/** A socket until a CUnixSocket takes it. */
class CDescriptor {
public:
    explicit CDescriptor(int flags = 0) noexcept
        : number(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | flags, 0)) {}
    ~CDescriptor() {
        if (number >= 0) {
            close(number);
        }
    }
    CDescriptor(const CDescriptor&) = delete;
    CDescriptor& operator=(const CDescriptor&) = delete;

    bool IsOpen() const noexcept { return number >= 0; }
    int Get() const noexcept { return number; }
    void Detach() noexcept { number = -1; }

private:
    int number;
};

/** A path as the calls take it, cut to what fits. */
class CSocketName {
public:
    explicit CSocketName(const char* path) noexcept {
        address.sun_family = AF_UNIX;
        strncpy(address.sun_path, path, sizeof(address.sun_path) - 1);
    }

    const sockaddr* Get() const noexcept { return reinterpret_cast<const sockaddr*>(&address); }
    // Kept: without the path's zero. It is the kernel that ends the name, as listeners of other
    // programs find it.
    socklen_t GetSize() const noexcept {
        return static_cast<socklen_t>(strlen(address.sun_path) + 2);
    }
    const char* GetPath() const noexcept { return address.sun_path; }

private:
    sockaddr_un address{};
};

/** 0, or the errno value of what failed. */
int ConnectTo(const CSocketName& name, const CDescriptor& descriptor) noexcept {
    return connect(descriptor.Get(), name.Get(), name.GetSize()) == 0 ? 0 : errno;
}

}  // namespace

std::unique_ptr<CLocalSocket> CLocalSocket::Connect(const char* path, int32_t timeout) {
    CDescriptor descriptor;
    if (!descriptor.IsOpen()) {
        const int error = errno;
        RAISE(EIOError("socket", error));
    }
    const int error = ConnectTo(CSocketName(path), descriptor);
    if (error == ECONNREFUSED || error == ENOENT) {
        RAISE(EIOSocketNoListener(error));
    }
    if (error != 0) {
        RAISE(EIOError("connect", error));
    }
    auto connection = std::make_unique<CUnixSocket>(descriptor.Get(), timeout);
    descriptor.Detach();
    return connection;
}

std::unique_ptr<CLocalSocket> CLocalSocket::Listen(const char* path) {
    const CSocketName name(path);
    CDescriptor probe;
    if (!probe.IsOpen()) {
        const int error = errno;
        RAISE(EIOError("socket", error));
    }
    if (ConnectTo(name, probe) == 0) {
        RAISE(EIOSocketBusy());
    }
    unlink(name.GetPath());
    // A client that another process takes first must not make Accept block where it cannot be
    // cancelled.
    CDescriptor descriptor(SOCK_NONBLOCK);
    if (!descriptor.IsOpen()) {
        const int error = errno;
        RAISE(EIOError("socket", error));
    }
    if (bind(descriptor.Get(), name.Get(), name.GetSize()) != 0) {
        const int error = errno;
        RAISE(EIOError("bind", error));
    }
    constexpr int kWaitingClients = 5;
    if (listen(descriptor.Get(), kWaitingClients) != 0) {
        const int error = errno;
        RAISE(EIOError("listen", error));
    }
    chmod(name.GetPath(), 0777);
    // Kept: the probe stays open as long as the listener: who counts descriptors finds two.
    auto listener = std::make_unique<CUnixSocket>(descriptor.Get(), 0, probe.Get());
    descriptor.Detach();
    probe.Detach();
    return listener;
}
