/**
 * A service that sends back what it is sent.
 */
#pragma once

#include "system/local_socket.h"
#include "system/service.h"
#include "system/thread.h"

#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

/** Answers one client until that goes or Stop is called; Stop and Wait belong to the service. */
class CEchoClientThread : public CThread {
public:
    explicit CEchoClientThread(std::unique_ptr<CLocalSocket> client)
        : connection(std::move(client)) {}

    int32_t Run() override;

    void Stop();
    bool HasEnded();

private:
    std::mutex mutex;  // guards against a Stop while the connection goes
    std::unique_ptr<CLocalSocket> connection;
};

/** Listens at one path and gives each client a thread. */
class CEchoService : public CService {
public:
    explicit CEchoService(std::string path) : socketPath(std::move(path)) {}

    CUTF8String GetName() override { return "echo_service"; }
    CUTF8String GetDisplayName() override { return "Echo service"; }

    /** Listens: who has seen the start succeed can connect. */
    void Initialize() override;
    void Run() override;

    void Stop() override;

private:
    void Serve(std::unique_ptr<CLocalSocket> client);
    void EndClients(bool all);

    const std::string socketPath;
    std::unique_ptr<CLocalSocket> listener;
    std::list<CEchoClientThread> clients;
};
