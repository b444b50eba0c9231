#include "echo_service.h"

#include "echo_messages.h"
#include "system/event_log.h"
#include "system/io_errors.h"
#include "system/thread_error.h"
#include "util/raise.h"

#include <unistd.h>

#include <iterator>
#include <stdexcept>

int32_t CEchoClientThread::Run() {
    try {
        for (;;) {
            SendEcho(*connection, ReceiveEcho(*connection));
        }
    } catch (const CException& end) {
        // Mostly that the client has gone, or that the service stops.
        TraceString0(RenderMessage(end.GetMessage()).GetText());
    } catch (const std::exception& failure) {
        TraceString0(failure.what());
    }
    const std::lock_guard<std::mutex> guard(mutex);
    connection.reset();
    return 0;
}

void CEchoClientThread::Stop() {
    const std::lock_guard<std::mutex> guard(mutex);
    if (connection) {
        connection->Cancel();
    }
}

bool CEchoClientThread::HasEnded() {
    const std::lock_guard<std::mutex> guard(mutex);
    return !connection;
}

void CEchoService::Initialize() { listener = CLocalSocket::Listen(socketPath.c_str()); }

void CEchoService::Run() {
    try {
        for (;;) {
            Serve(listener->Accept());
            EndClients(false);
        }
    } catch (const EIOCancelled&) {
        // Stop was called.
    } catch (...) {
        EndClients(true);
        RERAISE();
    }
    EndClients(true);
    unlink(socketPath.c_str());
}

// In a signal handler, where Cancel may be called; all else is left to Run.
void CEchoService::Stop() {
    if (listener) {
        listener->Cancel();
    }
}

void CEchoService::Serve(std::unique_ptr<CLocalSocket> client) {
    clients.emplace_back(std::move(client));
    try {
        clients.back().Start();
    } catch (const EThreadError& failure) {
        clients.pop_back();
        GetEventLog().Report(CEventMessage(
            0x81030008, kServiceCategory,
            CUTF8FmtArgs() << GetDisplayName() << RenderMessage(failure.GetMessage())));
    }
}

/** Waits for clients that have gone, or stops and waits for all. */
void CEchoService::EndClients(bool all) {
    for (auto client = clients.begin(); client != clients.end();) {
        const auto next = std::next(client);
        if (all) {
            client->Stop();
        }
        if (all || client->HasEnded()) {
            client->Wait();
            clients.erase(client);
        }
        client = next;
    }
}
