/**
 * An upload of one large part, read from a socket: our reader beside a bare loop of recv over the
 * same bytes, and beside the post processor of libmicrohttpd in its own server.
 *
 * A child process sends. Where the memory of a reader is looked at, "KiB" is what the process grew.
 */
#include "system/http_multipart.h"

#include <benchmark/benchmark.h>

#ifdef QORVS_HAVE_LIBMICROHTTPD
#include <microhttpd.h>
#endif

#include <arpa/inet.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <condition_variable>
#include <cstring>
#include <fstream>
#include <mutex>
#include <string>
#include <utility>

namespace {

// Not a multiple of 100,000, and what a description can announce.
constexpr size_t kQuarter = size_t{256} << 20;
constexpr size_t kGigabyte = size_t{1} << 30;

// As long as those that curl makes; the peer takes none of a single character.
#define BOUNDARY "------------------------d74496d66958873e"

void Demand(bool met, const char* what) {
    if (!met) {
        perror(what);
        abort();
    }
}

/** What goes ahead of the part's data and behind it. */
struct CUpload {
    explicit CUpload(size_t partSize) : size(partSize) {
        before = "--" BOUNDARY
                 "\r\nContent-Disposition: form-data; name=\"json\"\r\n\r\n"
                 "{\"nbData\": 1, \"data1\": " +
                 std::to_string(size) +
                 "}\r\n--" BOUNDARY
                 "\r\nContent-Disposition: form-data; name=\"file\"; filename=\"f\"\r\n\r\n";
        head =
            "POST / HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n"
            "Content-Type: multipart/form-data; boundary=" BOUNDARY "\r\nContent-Length: " +
            std::to_string(before.size() + size + after.size()) + "\r\n\r\n";
    }

    size_t GetTotal() const { return head.size() + before.size() + size + after.size(); }

    size_t size;
    std::string head, before, after = "\r\n--" BOUNDARY "--\r\n";
};

void SendAll(int socket, const char* data, size_t size) {
    while (size > 0) {
        const ssize_t sent = send(socket, data, size, MSG_NOSIGNAL);
        Demand(sent > 0, "send");
        data += sent;
        size -= static_cast<size_t>(sent);
    }
}

sockaddr_in Loopback(uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

/** A child that sends an upload to a port and waits for the connection's end. */
class CSender {
public:
    CSender(const CUpload& upload, uint16_t port) : child(fork()) {
        Demand(child >= 0, "fork");
        if (child == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            Run(upload, port);
            _exit(0);
        }
    }
    ~CSender() { waitpid(child, nullptr, 0); }

private:
    static void Run(const CUpload& upload, uint16_t port) {
        static char block[size_t{1} << 16];
        std::memset(block, 'x', sizeof(block));
        const int peer = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const sockaddr_in address = Loopback(port);
        Demand(connect(peer, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0,
               "connect");
        SendAll(peer, upload.head.data(), upload.head.size());
        SendAll(peer, upload.before.data(), upload.before.size());
        for (size_t left = upload.size; left > 0;) {
            const size_t size = std::min(left, sizeof(block));
            SendAll(peer, block, size);
            left -= size;
        }
        SendAll(peer, upload.after.data(), upload.after.size());
        while (recv(peer, block, sizeof(block), 0) > 0) {
        }
    }

    pid_t child;
};

/** A socket that listens on a free port of the loopback interface. */
struct CListener {
    CListener() : descriptor(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)), address(Loopback(0)) {
        auto* const generic = reinterpret_cast<sockaddr*>(&address);
        socklen_t length = sizeof(address);
        Demand(bind(descriptor, generic, length) == 0 && listen(descriptor, 4) == 0 &&
                   getsockname(descriptor, generic, &length) == 0,
               "listen");
    }
    ~CListener() { close(descriptor); }

    uint16_t Port() const { return ntohs(address.sin_port); }
    int Accept() const { return accept(descriptor, nullptr, nullptr); }

    int descriptor;
    sockaddr_in address;
};

void CheckSize(size_t got, size_t expected) {
    if (got != expected) {
        fprintf(stderr, "%zu bytes instead of %zu\n", got, expected);
        abort();
    }
}

/** Takes what is copied to it, as a file would, and only counts it. */
class CCounter : public std::streambuf {
public:
    size_t count = 0;

protected:
    std::streamsize xsputn(const char* /*data*/, std::streamsize size) override {
        count += static_cast<size_t>(size);
        return size;
    }
    int_type overflow(int_type character) override { return ++count, character; }
};

size_t ReadHead(CHttpServerConnection& connection) {
    size_t lines = 0;
    while (connection.ReadLine().GetLength() > 0) {
        ++lines;
    }
    return lines;
}

void Receive(int peer, const CUpload& upload) {
    const auto connection = std::make_shared<CHttpServerConnection>(peer);
    ReadHead(*connection);
    CHttpMultipartReader reader(connection, BOUNDARY);
    CCounter counter;
    std::ostream(&counter) << reader.GetParts()[0].stream->rdbuf();
    CheckSize(counter.count, upload.size);
}

void Ours(benchmark::State& state) {
    const CUpload upload(static_cast<size_t>(state.range(0)));
    const CListener listener;
    for (auto _ : state) {
        const CSender sender(upload, listener.Port());
        Receive(listener.Accept(), upload);
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

/** The same through istream::read, into a block of the caller's. */
void OursRead(benchmark::State& state) {
    const CUpload upload(static_cast<size_t>(state.range(0)));
    const CListener listener;
    std::string block(size_t{1} << 16, ' ');
    for (auto _ : state) {
        const CSender sender(upload, listener.Port());
        const auto connection = std::make_shared<CHttpServerConnection>(listener.Accept());
        ReadHead(*connection);
        CHttpMultipartReader reader(connection, BOUNDARY);
        CHttpIStream& stream = *reader.GetParts()[0].stream;
        size_t count = 0;
        do {
            stream.read(block.data(), static_cast<std::streamsize>(block.size()));
            count += static_cast<size_t>(stream.gcount());
        } while (stream);
        CheckSize(count, upload.size);
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

/** What cannot be left out: the bytes are received in blocks of the same size and dropped. */
void Floor(benchmark::State& state) {
    const CUpload upload(static_cast<size_t>(state.range(0)));
    const CListener listener;
    std::string block(100000, ' ');
    for (auto _ : state) {
        const CSender sender(upload, listener.Port());
        const int peer = listener.Accept();
        size_t count = 0;
        while (count < upload.GetTotal()) {
            const ssize_t received = recv(peer, block.data(), block.size(), 0);
            Demand(received > 0, "recv");
            count += static_cast<size_t>(received);
        }
        close(peer);
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

#ifdef QORVS_HAVE_LIBMICROHTTPD
/** A server of libmicrohttpd that counts the bytes of the file of an upload. */
class CPeer {
public:
    CPeer() {
        daemon = MHD_start_daemon(MHD_USE_EPOLL_INTERNAL_THREAD, 0, nullptr, nullptr, Answer, this,
                                  MHD_OPTION_CONNECTION_MEMORY_LIMIT, size_t{256} * 1024,
                                  MHD_OPTION_NOTIFY_COMPLETED, Complete, this, MHD_OPTION_END);
        Demand(daemon != nullptr, "MHD_start_daemon");
    }
    ~CPeer() { MHD_stop_daemon(daemon); }

    uint16_t Port() const { return MHD_get_daemon_info(daemon, MHD_DAEMON_INFO_BIND_PORT)->port; }

    /** The bytes of the next file that is whole. */
    size_t Wait() {
        std::unique_lock<std::mutex> lock(mutex);
        done.wait(lock, [this] { return whole; });
        whole = false;
        return std::exchange(count, 0);
    }

private:
    static MHD_Result Take(void* context, MHD_ValueKind /*kind*/, const char* key,
                           const char* /*file*/, const char* /*type*/, const char* /*encoding*/,
                           const char* /*data*/, uint64_t /*offset*/, size_t size) {
        static_cast<CPeer*>(context)->count += std::strcmp(key, "file") == 0 ? size : 0;
        return MHD_YES;
    }

    static MHD_Result Answer(void* context, MHD_Connection* connection, const char* /*url*/,
                             const char* /*method*/, const char* /*version*/, const char* data,
                             size_t* size, void** request) {
        if (*request == nullptr) {
            *request = MHD_create_post_processor(connection, size_t{64} * 1024, Take, context);
            return MHD_YES;
        }
        if (*size > 0) {
            const auto result =
                MHD_post_process(static_cast<MHD_PostProcessor*>(*request), data, *size);
            *size = 0;
            return result;
        }
        MHD_Response* const response =
            MHD_create_response_from_buffer(0, nullptr, MHD_RESPMEM_PERSISTENT);
        const auto result = MHD_queue_response(connection, MHD_HTTP_OK, response);
        MHD_destroy_response(response);
        return result;
    }

    static void Complete(void* context, MHD_Connection* /*connection*/, void** request,
                         MHD_RequestTerminationCode /*code*/) {
        MHD_destroy_post_processor(static_cast<MHD_PostProcessor*>(*request));
        auto* const self = static_cast<CPeer*>(context);
        const std::lock_guard<std::mutex> lock(self->mutex);
        self->whole = true;
        self->done.notify_one();
    }

    MHD_Daemon* daemon;
    std::mutex mutex;
    std::condition_variable done;
    bool whole = false;
    size_t count = 0;
};

void Microhttpd(benchmark::State& state) {
    const CUpload upload(static_cast<size_t>(state.range(0)));
    CPeer peer;
    for (auto _ : state) {
        const CSender sender(upload, peer.Port());
        CheckSize(peer.Wait(), upload.size);
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
#endif

/** The most memory that the process has had at a time, in KiB. */
size_t PeakKiB() {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        if (word == "VmHWM:") {
            size_t kib = 0;
            status >> kib;
            return kib;
        }
    }
    return 0;
}

void Peak(benchmark::State& state) {
    const CUpload upload(static_cast<size_t>(state.range(0)));
    const CListener listener;
    const size_t before = PeakKiB();
    for (auto _ : state) {
        const CSender sender(upload, listener.Port());
        Receive(listener.Accept(), upload);
    }
    state.counters["KiB"] = static_cast<double>(PeakKiB() - before);
    state.counters["peak KiB"] = static_cast<double>(PeakKiB());
}

// First: the peak is the process's.
BENCHMARK(Peak)->Arg(kGigabyte)->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(Ours)->Arg(kQuarter)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(OursRead)->Arg(kQuarter)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(Floor)->Arg(kQuarter)->UseRealTime()->Unit(benchmark::kMillisecond);
#ifdef QORVS_HAVE_LIBMICROHTTPD
BENCHMARK(Microhttpd)->Arg(kQuarter)->UseRealTime()->Unit(benchmark::kMillisecond);
#endif

}  // namespace
