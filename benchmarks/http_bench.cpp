/**
 * GET over plain TCP and over TLS beside libcurl: a new handle and connection each, HTTP/1.0, the
 * same trust. A short request also stands beside a floor that does only what cannot be left out.
 *
 * All of them talk to one server, a child process on the loopback interface.
 */
#include "system/http_requests.h"
#include "system/https.h"
#include "trace_home.h"

#include <benchmark/benchmark.h>

#ifdef QORVS_HAVE_LIBCURL
#include <curl/curl.h>
#endif

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>

namespace {

namespace fs = std::filesystem;

constexpr const char* kShort = "/1024";
constexpr const char* kLong = "/10485760";

void Demand(bool met, const char* what) {
    if (!met) {
        perror(what);
        abort();
    }
}

/** A socket that listens on a free port of the loopback interface. */
struct CListener {
    CListener() : descriptor(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        auto* const generic = reinterpret_cast<sockaddr*>(&address);
        socklen_t length = sizeof(address);
        Demand(bind(descriptor, generic, length) == 0 && listen(descriptor, 64) == 0 &&
                   getsockname(descriptor, generic, &length) == 0,
               "listen");
    }

    std::string Port() const { return std::to_string(ntohs(address.sin_port)); }

    int descriptor;
    sockaddr_in address{};
};

/** Answers "/<size>" with that many bytes, one connection after the other, plain and TLS. */
class CServer {
public:
    explicit CServer(const std::string& certificateAndKey) {
        child = fork();
        Demand(child >= 0, "fork");
        if (child == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            signal(SIGPIPE, SIG_IGN);
            Serve(certificateAndKey.c_str());
        }
    }
    ~CServer() {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }

    CListener plain, tls;

private:
    [[noreturn]] void Serve(const char* file) const {
        SSL_CTX* const context = SSL_CTX_new(TLS_server_method());
        Demand(SSL_CTX_use_certificate_chain_file(context, file) == 1 &&
                   SSL_CTX_use_PrivateKey_file(context, file, SSL_FILETYPE_PEM) == 1,
               file);
        pollfd ready[] = {{plain.descriptor, POLLIN, 0}, {tls.descriptor, POLLIN, 0}};
        for (;;) {
            poll(ready, 2, -1);
            if (ready[0].revents != 0) {
                const int peer = accept(plain.descriptor, nullptr, nullptr);
                Answer([peer](char* to, size_t room) { return recv(peer, to, room, 0); },
                       [peer](const char* from, size_t size) { return send(peer, from, size, 0); });
                close(peer);
            }
            if (ready[1].revents != 0) {
                const int peer = accept(tls.descriptor, nullptr, nullptr);
                const CSsl ssl(SSL_new(context));
                SSL_set_fd(ssl.get(), peer);
                if (SSL_accept(ssl.get()) == 1) {
                    Answer(
                        [&](char* to, size_t room) {
                            return SSL_read(ssl.get(), to, static_cast<int>(room));
                        },
                        [&](const char* from, size_t size) {
                            return SSL_write(ssl.get(), from, static_cast<int>(size));
                        });
                    SSL_shutdown(ssl.get());
                }
                close(peer);
            }
        }
    }

    template <class Receive, class Transmit>
    static void Answer(Receive receive, Transmit transmit) {
        char room[4096];
        std::string request;
        while (request.find("\r\n\r\n") == std::string::npos) {
            const auto received = receive(room, sizeof(room));
            if (received <= 0) {
                return;
            }
            request.append(room, static_cast<size_t>(received));
        }
        static std::string size, answer;
        const std::string wanted = request.substr(5, request.find(' ', 5) - 5);
        if (wanted != size) {
            size = wanted;
            answer =
                "HTTP/1.0 200 OK\r\nServer: bench\r\nContent-Type: text/plain\r\n"
                "Content-Length: " +
                size + "\r\n\r\n" + std::string(std::stoul(size), 'x');
        }
        for (size_t sent = 0; sent < answer.size();) {
            const auto result = transmit(answer.data() + sent, answer.size() - sent);
            if (result <= 0) {
                return;
            }
            sent += static_cast<size_t>(result);
        }
    }

    pid_t child;
};

/**
 * A machine of its own: the log is off, and the stand-in for the openssl command names a directory
 * where two trust stores take turns. Both hold the server's certificate, one the machine's too.
 */
class CMachine {
public:
    CMachine() : home("ssl") {
        setenv("QORVS_CONFFILE", "/dev/null", 1);
        // OpenSSL's own default file would be a second bundle to load, where there is one.
        setenv("SSL_CERT_FILE", home.File("none").c_str(), 1);
        setenv("SSL_CERT_DIR", home.File("none").c_str(), 1);
        setenv("PATH", (home.File("") + ":" + getenv("PATH")).c_str(), 1);
        const std::string file = home.File("server.pem");
        Demand(system(("openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes "
                       "-days 2 -subj /CN=127.0.0.1 -addext subjectAltName=IP:127.0.0.1 -keyout " +
                       file + " 2>/dev/null >>" + file)
                          .c_str()) == 0,
               "openssl");
        std::ofstream(home.File("openssl"))
            << "#!/bin/sh\necho 'OPENSSLDIR: \"" << home.File("ssl") << "\"'\n";
        fs::permissions(home.File("openssl"), fs::perms::owner_all);
        for (const char* name : {"machine", "one"}) {
            fs::create_directory(home.File(name));
            std::ofstream bundle(home.File(name) + "/ca-certificates.crt");
            bundle << std::ifstream(file).rdbuf();
            if (*name == 'm') {
                bundle << std::ifstream("/etc/ssl/certs/ca-certificates.crt").rdbuf();
            }
        }
        server = std::make_unique<CServer>(file);
    }

    void Trust(const char* name) const {
        const std::string link = home.File("ssl/certs");
        fs::remove(link);
        fs::create_directory_symlink(home.File(name), link);
    }

    CTraceHome home;
    std::unique_ptr<CServer> server;
};

CMachine& Machine() {
    static CMachine machine;
    return machine;
}

void TrustMachine(const benchmark::State&) { Machine().Trust("machine"); }
void TrustOne(const benchmark::State&) { Machine().Trust("one"); }

std::string Url(bool tls, const char* path) {
    const CServer& server = *Machine().server;
    return (tls ? "https://127.0.0.1:" + server.tls.Port()
                : "http://127.0.0.1:" + server.plain.Port()) +
           path;
}

void Check(const char* path, size_t size) {
    if (std::to_string(size) != path + 1) {
        fprintf(stderr, "%zu bytes instead of %s\n", size, path + 1);
        abort();
    }
}

void Fetch(const CISOString& url, const char* path) {
    const auto response = GetUrl(CHttpsConnectionFactory(), url, false, false);
    Check(path, response->GetBody().GetSize());
}

void Ours(benchmark::State& state, bool tls, const char* path) {
    const CISOString url(Url(tls, path).c_str());
    for (auto _ : state) {
        Fetch(url, path);
    }
}

#ifdef QORVS_HAVE_LIBCURL
size_t Collect(const char* data, size_t size, size_t count, void* body) {
    static_cast<std::string*>(body)->append(data, size * count);
    return size * count;
}

void Curl(benchmark::State& state, bool tls, const char* path) {
    static const CURLcode ready = curl_global_init(CURL_GLOBAL_DEFAULT);
    const std::string url = Url(tls, path);
    const std::string directory = Machine().home.File("ssl/certs");
    const std::string bundle = directory + "/ca-certificates.crt";
    for (auto _ : state) {
        std::string body;
        CURL* const handle = curl_easy_init();
        curl_easy_setopt(handle, CURLOPT_URL, url.c_str());
        curl_easy_setopt(handle, CURLOPT_HTTP_VERSION, CURL_HTTP_VERSION_1_0);
        curl_easy_setopt(handle, CURLOPT_PROXY, "");
        curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
        curl_easy_setopt(handle, CURLOPT_FORBID_REUSE, 1L);
        curl_easy_setopt(handle, CURLOPT_CAINFO, bundle.c_str());
        curl_easy_setopt(handle, CURLOPT_CAPATH, directory.c_str());
        curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, Collect);
        curl_easy_setopt(handle, CURLOPT_WRITEDATA, &body);
        const CURLcode result = curl_easy_perform(handle);
        curl_easy_cleanup(handle);
        Demand(ready == CURLE_OK && result == CURLE_OK, curl_easy_strerror(result));
        Check(path, body.size());
    }
}
#endif

/** The blocks that our request is made of, sent one by one; the answer is not taken apart. */
void Floor(benchmark::State& state) {
    const std::string target = std::string("GET ") + kShort + " HTTP/1.0";
    const std::string blocks[] = {target,        "\r\n", "User-Agent: QORVS", "\r\n",
                                  "Accept: */*", "\r\n", "Host: 127.0.0.1",   "\r\n",
                                  "\r\n"};
    const auto& address = reinterpret_cast<const sockaddr&>(Machine().server->plain.address);
    const int on = 1, off = 0;
    char answer[4096];
    for (auto _ : state) {
        const int peer = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        setsockopt(peer, IPPROTO_TCP, TCP_CORK, &on, sizeof(on));
        Demand(connect(peer, &address, sizeof(sockaddr_in)) == 0, "connect");
        for (const std::string& block : blocks) {
            send(peer, block.data(), block.size(), 0);
        }
        setsockopt(peer, IPPROTO_TCP, TCP_CORK, &off, sizeof(off));
        size_t size = 0;
        for (ssize_t more; (more = recv(peer, answer + size, sizeof(answer) - size, 0)) > 0;) {
            size += static_cast<size_t>(more);
        }
        close(peer);
        const auto* const body = static_cast<const char*>(memmem(answer, size, "\r\n\r\n", 4));
        Check(kShort, static_cast<size_t>(answer + size - body) - 4);
    }
}
BENCHMARK(Floor)->UseRealTime();

// Setup runs for every repetition: in random order, the stores change from run to run.
#define PAIR_ROW(peer)                                                                       \
    BENCHMARK_CAPTURE(peer, plain 1 KiB, false, kShort)->Setup(TrustOne)->UseRealTime();     \
    BENCHMARK_CAPTURE(peer, plain 10 MiB, false, kLong)->Setup(TrustOne)->UseRealTime();     \
    BENCHMARK_CAPTURE(peer, TLS 1 KiB, true, kShort)->Setup(TrustMachine)->UseRealTime();    \
    BENCHMARK_CAPTURE(peer, TLS 1 KiB one CA, true, kShort)->Setup(TrustOne)->UseRealTime(); \
    BENCHMARK_CAPTURE(peer, TLS 10 MiB one CA, true, kLong)->Setup(TrustOne)->UseRealTime()

PAIR_ROW(Ours);
#ifdef QORVS_HAVE_LIBCURL
PAIR_ROW(Curl);
#endif

size_t ResidentKiB() {
    size_t pages = 0;
    std::ifstream statm("/proc/self/statm");
    statm >> pages >> pages;
    return pages * static_cast<size_t>(sysconf(_SC_PAGESIZE)) / 1024;
}

size_t OpenDescriptors() {
    const fs::directory_iterator files("/proc/self/fd");
    return static_cast<size_t>(std::distance(begin(files), end(files)));
}

/** What is left behind by requests in a row: descriptors, and memory after the first hundred. */
void LeftBehind(benchmark::State& state, bool tls) {
    const CISOString url(Url(tls, kShort).c_str());
    for (int i = 0; i < 100; ++i) {
        Fetch(url, kShort);
    }
    const size_t descriptors = OpenDescriptors();
    const size_t kib = ResidentKiB();
    for (auto _ : state) {
        Fetch(url, kShort);
    }
    state.counters["descriptors"] = static_cast<double>(OpenDescriptors() - descriptors);
    state.counters["KiB"] = static_cast<double>(ResidentKiB()) - static_cast<double>(kib);
}
BENCHMARK_CAPTURE(LeftBehind, plain, false)
    ->Setup(TrustOne)
    ->Iterations(10000)
    ->Repetitions(2)
    ->UseRealTime();
BENCHMARK_CAPTURE(LeftBehind, TLS, true)
    ->Setup(TrustOne)
    ->Iterations(10000)
    ->Repetitions(2)
    ->UseRealTime();

}  // namespace
