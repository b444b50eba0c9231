#include "request.h"

#include "system/http_part.h"

#include <algorithm>
#include <sstream>

namespace {

constexpr int kMostHeaders = 100;

/** Units are bytes: what the client sent, unchanged. */
std::string ToBytes(const CISOString& text) { return {text.GetText(), text.GetLength()}; }

/** Keeps what the service uses. */
void Keep(CHttpHeader& header, CRequest& request, bool& waits) {
    const CISOString name = header.GetName();
    const std::string value = ToBytes(header.GetValue());
    if (name == "host") {
        request.host = value;
    } else if (name == "origin") {
        request.origin = value;
    } else if (name == "expect") {
        waits = value == "100-continue";
    } else if (name == "transfer-encoding") {
        request.encoded = true;
    } else if (name == "content-type") {
        request.boundary = GetMultipartBoundary(header);
    }
}

}  // namespace

std::optional<CRequest> ReadRequest(CHttpServerConnection& server) {
    CRequest request;
    std::istringstream line(ToBytes(server.ReadLine()));
    std::string version;
    line >> request.method >> request.path >> version;
    if (version.rfind("HTTP/1.", 0) != 0) {
        return std::nullopt;
    }
    request.path.resize(std::min(request.path.size(), request.path.find('?')));
    bool waits = false;
    for (int count = 0;; ++count) {
        CHttpHeader header = server.ReadHeader();
        if (header.IsEmpty()) {
            break;
        }
        if (count == kMostHeaders) {
            return std::nullopt;
        }
        Keep(header, request, waits);
    }
    if (waits) {
        server.SendLine("HTTP/1.1 100 Continue");
        server.SendCrLf();
    }
    return request;
}
