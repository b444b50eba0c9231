/**
 * What the service answers to whom.
 */
#pragma once

#include "system/http_server_connection.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <set>
#include <string>

/** What the service was started with; the threads of the service share it. */
struct CService {
    std::filesystem::path directory;
    std::set<std::string> origins;
    uint16_t port = 0;
};

/**
 * Reads a request and answers it. Throws CHttpException when the connection fails.
 *
 * Any page that the user visits can send requests here, so: one whose origin is not allowed is
 * refused (403), and so is one for a host that is not this machine (421), since a page may have had
 * a name of its own point here. A body in chunks is not taken (411). A request
 * without an origin is no page's, or one whose answer the page cannot read.
 */
void Answer(const std::shared_ptr<CHttpServerConnection>& server, const CService& service);
