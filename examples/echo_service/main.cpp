/**
 * echo_service: a background service and its client in one program.
 *
 * Usage: echo_service [-f]             be the service; in the foreground with "-f"
 *        echo_service client TEXT...   send each text and print what comes back
 *
 * The client starts the service when there is none, and goes on once that is ready:
 *
 *     $ export ECHO_SERVICE_DIR=$(mktemp -d)
 *     $ echo_service client hello "and again"
 *     hello
 *     and again
 *     $ kill $(cat $ECHO_SERVICE_DIR/echo_service.pid)
 *
 * ECHO_SERVICE_DIR is where the socket and the PID file lie; without it they are in /var/run, as
 * those of installed services. What becomes of the service is in the system log under "qorvs". The
 * client's exit status is 1 when it got no echo; the reason stands on the standard error output.
 */
#include "echo_messages.h"
#include "echo_service.h"
#include "system/cache_server.h"
#include "system/host.h"
#include "system/io_errors.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr int32_t kAnswerSeconds = 30;

std::string GetDirectory() {
    const char* const directory = getenv("ECHO_SERVICE_DIR");
    return directory != nullptr ? std::string(directory) + "/" : kPidFileDirectory;
}

/** The connection to the service, which is started when nobody listens. */
std::unique_ptr<CLocalSocket> ConnectOrStart(const std::string& path) {
    try {
        return CLocalSocket::Connect(path.c_str(), kAnswerSeconds);
    } catch (const EIOSocketNoListener&) {
        StartCacheServer("Echo service", GetExecutablePath().GetText());
        return CLocalSocket::Connect(path.c_str(), kAnswerSeconds);
    }
}

int RunClient(const std::string& path, int count, char** texts) {
    try {
        const std::unique_ptr<CLocalSocket> connection = ConnectOrStart(path);
        for (int i = 0; i < count; ++i) {
            SendEcho(*connection, texts[i]);
            puts(ReceiveEcho(*connection).c_str());
        }
        return EXIT_SUCCESS;
    } catch (const CException& failure) {
        fprintf(stderr, "%s\n", RenderMessage(failure.GetMessage()).GetText());
    } catch (const std::exception& failure) {
        fprintf(stderr, "%s\n", failure.what());
    }
    return EXIT_FAILURE;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string directory = GetDirectory();
    const std::string path = directory + "echo_service.socket";
    if (argc > 2 && strcmp(argv[1], "client") == 0) {
        return RunClient(path, argc - 2, argv + 2);
    }
    CEchoService service(path);
    return RunService(service, argc, argv, directory.c_str());
}
