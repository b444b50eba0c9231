#include "answers.h"

#include "request.h"
#include "system/http_streams.h"
#include "transfers.h"

#include <cstdlib>

namespace {

using Server = std::shared_ptr<CHttpServerConnection>;

/** A request, and what of its path stands behind the route's. */
struct CCall {
    const Server& server;
    const CService& service;
    const CRequest& request;
    std::string rest;

    long GetNumber() const { return std::strtol(rest.c_str(), nullptr, 0); }
    unsigned long GetCode() const { return std::strtoul(rest.c_str(), nullptr, 0); }
};

void SendGreeting(const CCall& call) {
    const std::string text = "Hello from this machine\n";
    call.server->SendHeaders("text/plain", static_cast<int32_t>(text.size()), false,
                             {{"X-Service", "local"}, {"X-Version", "1"}});
    *call.server << text.c_str();
}

/** Who asks: a service can tell its users which program that is. Each answer is a new one. */
void SendPeer(const CCall& call) {
    const CPeerProcess peer = call.server->GetClientPidAndUid();
    call.server->SendHeaders("application/json", -1, true);
    CHttpStringStream(call.server) << "{\"pid\": " << peer.pid << ", \"uid\": " << peer.uid << "}";
}

/** A body whose length nobody knows ahead, as it is made. */
void SendLines(const CCall& call) {
    call.server->SendHeaders("text/plain", -1, false);
    CHttpOStream out(std::make_unique<CHttpStreamBuffer>(call.server));
    for (long line = 1; line <= call.GetNumber() && out; ++line) {
        out << line << '\n';
    }
}

void SendNamedFile(const CCall& call) {
    call.server->SendFile(UrlDecode<CUTF8String>(call.rest.c_str()), CByteZone("contents\n"));
}

struct CRoute {
    const char* method;
    const char* path;  // one that ends in "/" is followed by an argument
    void (*answer)(const CCall& call);
};

// One for each form of an answer, and two that move files.
const CRoute kRoutes[] = {
    {"GET", "/headers", SendGreeting},
    {"GET", "/peer", SendPeer},
    {"GET", "/lines/", SendLines},
    {"GET", "/file/", SendNamedFile},
    {"GET", "/nothing", [](const CCall& call) { call.server->SendHeaders("", 0, false); }},
    {"GET", "/http/",
     [](const CCall& call) { call.server->SendHttpError(static_cast<int>(call.GetNumber())); }},
    {"GET", "/custom",
     [](const CCall& call) { call.server->SendCustomError("Please insert the card – now"); }},
    {"GET", "/cryptoki/",
     [](const CCall& call) { call.server->SendCryptokiError(call.GetCode()); }},
    {"GET", "/icao/",
     [](const CCall& call) {
         call.server->SendIcaoError(static_cast<int32_t>(call.GetNumber()), "{\"retry\": true}");
     }},
    {"GET", "/desfire/",
     [](const CCall& call) {
         call.server->SendDesfireError(static_cast<int32_t>(call.GetNumber()));
     }},
    {"GET", "/download/",
     [](const CCall& call) { SendDownload(call.server, call.rest, call.service.directory); }},
    {"POST", "/upload",
     [](const CCall& call) { TakeUpload(call.server, call.request, call.service.directory); }},
};

/** Whether a path is the route's; `rest` is what follows then. */
bool Follows(const std::string& path, const std::string& route, std::string& rest) {
    if (path.rfind(route, 0) != 0 || (route.back() != '/' && path != route)) {
        return false;
    }
    rest = path.substr(route.size());
    return true;
}

/** The route of a request, or the status that says why there is none. */
const CRoute* FindRoute(const CRequest& request, std::string& rest, int& status) {
    status = 404;
    for (const CRoute& route : kRoutes) {
        if (Follows(request.path, route.path, rest)) {
            if (request.method == route.method) {
                return &route;
            }
            status = 405;
        }
    }
    return nullptr;
}

/** The status that a request is refused with before anyone looks what it wants; or 0. */
int FindObjection(const CRequest& request, const CService& service) {
    const std::string port = ":" + std::to_string(service.port);
    if (request.host != "127.0.0.1" + port && request.host != "localhost" + port) {
        return 421;
    }
    if (!request.origin.empty() && service.origins.count(request.origin) == 0) {
        return 403;
    }
    return request.encoded ? 411 : 0;
}

}  // namespace

void Answer(const Server& server, const CService& service) {
    const std::optional<CRequest> request = ReadRequest(*server);
    if (!request) {
        server->SendHttpError(400);
        return;
    }
    std::string rest;
    int status = 0;
    const CRoute* const route = FindRoute(*request, rest, status);
    const int objection = FindObjection(*request, service);
    if (objection == 0) {
        server->SetOrigin(CISOString(request->origin.c_str()));
    }
    if (objection == 0 && route != nullptr) {
        route->answer({server, service, *request, rest});
    } else {
        server->SendHttpError(objection != 0 ? objection : status);
    }
}
