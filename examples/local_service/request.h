/**
 * A request, as far as the service looks at it.
 */
#pragma once

#include "system/http_server_connection.h"

#include <optional>
#include <string>

struct CRequest {
    std::string method;
    std::string path;  // without a query, not decoded
    std::string host;
    std::string origin;
    CISOString boundary;   // of a multipart body
    bool encoded = false;  // the body is in chunks, or more
};

/**
 * Reads the request line and the headers. A client that waits for "100 Continue" gets it.
 *
 * Nothing for what is no request. Throws CHttpException when the connection fails.
 */
std::optional<CRequest> ReadRequest(CHttpServerConnection& server);
