#include "system/http_requests.h"

#include "system/http_errors.h"
#include "system/sigpipe_guard.h"
#include "util/format_message.h"
#include "util/raise.h"

#include <utility>

namespace {

/** The lines of a request, which goes out as a whole once they are all there. */
class CRequest {
public:
    CRequest(const char* method, CHttpConnection& target, const CHttpUrl& requestUrl)
        : connection(target), url(requestUrl) {
        Line(CISOString(method) + " " + connection.GetRequestTarget(url) + " HTTP/1.0");
        Line("User-Agent: QORVS");
    }

    CRequest& Line(const CISOString& line) {
        lines.Append(line);
        return *this;
    }

    CRequest& Lines(const CTStringList<CISOString>& more) {
        for (const CISOString& line : more) {
            lines.Append(line);
        }
        return *this;
    }

    CRequest& LineIf(bool wanted, const char* line) { return wanted ? Line(line) : *this; }

    CRequest& Origin(bool wanted) { return LineIf(wanted, "Origin: qor.local"); }

    // Kept: without the port, as the servers expect it.
    CRequest& Host() { return Line(CISOString("Host: ") + url.host); }

    CRequest& ContentType(const CISOString& type) {
        return Line(CISOString("Content-Type: ") + type);
    }

    void Send() { Transmit(CByteZone()); }

    void Send(const CByteZone& body) {
        CISOFmtArgs length;
        length << static_cast<unsigned long>(body.GetSize());
        Line(FormatMessage(CISOString("Content-Length: %1"), length));
        Transmit(body);
    }

private:
    void Transmit(const CByteZone& body) {
        Check();
        // One for all blocks: each has its own, which then costs nothing.
        const CSigPipeGuard guard;
        connection.HoldBack(true);
        for (const CISOString& line : lines) {
            connection.SendLine(line);
        }
        connection.SendCrLf();
        connection.SendBlock(body.GetData(), body.GetSize());
        connection.HoldBack(false);
    }

    /** Refuses text that would end its line ahead of time. */
    void Check() const {
        for (const CISOString& line : lines) {
            if (HasControlCharacter(line)) {
                RAISE(CHttpException("Invalid URL format"));
            }
        }
    }

    CHttpConnection& connection;
    const CHttpUrl& url;
    CTStringList<CISOString> lines;
};

std::shared_ptr<CHttpConnection> Open(const CHttpConnectionFactory& factory, const CHttpUrl& url,
                                      bool useProxy) {
    std::shared_ptr<CHttpConnection> connection = factory.GetConnection(url);
    connection->Connect(url, useProxy);
    return connection;
}

void SendForm(CHttpConnection& connection, const CHttpUrl& url, const CByteZone& body,
              bool sendOrigin) {
    CRequest("POST", connection, url)
        .Origin(sendOrigin)
        .Host()
        .ContentType("application/x-www-form-urlencoded")
        .Send(body);
}

}  // namespace

std::unique_ptr<CHttpResponse> Get(const CHttpConnectionFactory& factory, const CHttpUrl& url,
                                   bool sendOrigin, bool useProxy) {
    auto connection = Open(factory, url, useProxy);
    CRequest("GET", *connection, url).Origin(sendOrigin).Line("Accept: */*").Host().Send();
    return CHttpResponse::Read(std::move(connection));
}

std::unique_ptr<CHttpResponse> GetUrl(const CHttpConnectionFactory& factory,
                                      const CISOString& urlText, bool sendOrigin, bool useProxy) {
    return Get(factory, ParseUrl(urlText), sendOrigin, useProxy);
}

std::unique_ptr<CHttpResponse> GetAcceptingJson(const CHttpConnectionFactory& factory,
                                                const CISOString& urlText,
                                                const CTStringList<CISOString>& extraLines) {
    const CHttpUrl url = ParseUrl(urlText);
    auto connection = Open(factory, url, true);
    CRequest("GET", *connection, url)
        .Lines(extraLines)
        .Line("Accept: application/json")
        .Host()
        .Send();
    return CHttpResponse::Read(std::move(connection));
}

std::unique_ptr<CHttpResponse> PostForm(CHttpConnection& connection, const CHttpUrl& url,
                                        const CByteZone& body, bool sendOrigin) {
    SendForm(connection, url, body, sendOrigin);
    return CHttpResponse::Read(&connection);
}

std::unique_ptr<CHttpResponse> PostForm(const CHttpConnectionFactory& factory, const CHttpUrl& url,
                                        const CByteZone& body, bool sendOrigin) {
    auto connection = Open(factory, url, true);
    SendForm(*connection, url, body, sendOrigin);
    return CHttpResponse::Read(std::move(connection));
}

std::unique_ptr<CHttpResponse> PostText(const std::shared_ptr<CHttpConnection>& connection,
                                        const CHttpUrl& url, const CByteZone& body, bool sendOrigin,
                                        bool keepAlive, bool noReply) {
    if (connection == nullptr) {
        return nullptr;
    }
    CRequest("POST", *connection, url)
        .Origin(sendOrigin)
        .Host()
        .LineIf(keepAlive, "Connection: keep-alive")
        .ContentType("text/plain")
        .Send(body);
    return noReply ? nullptr : CHttpResponse::Read(connection);
}

std::unique_ptr<CHttpResponse> PostJson(const CHttpConnectionFactory& factory, const CHttpUrl& url,
                                        const CByteZone& body) {
    return PostTyped(factory, url, body, "application/json");
}

std::unique_ptr<CHttpResponse> PostJson(const CHttpConnectionFactory& factory, const CHttpUrl& url,
                                        const CByteZone& body,
                                        const CTStringList<CISOString>& extraLines) {
    auto connection = Open(factory, url, true);
    CRequest("POST", *connection, url)
        .Host()
        .ContentType("application/json")
        .Lines(extraLines)
        .Send(body);
    return CHttpResponse::Read(std::move(connection));
}

std::unique_ptr<CHttpResponse> PostTimestampQuery(const CHttpConnectionFactory& factory,
                                                  const CHttpUrl& url, const CByteZone& body) {
    auto connection = Open(factory, url, true);
    CRequest("POST", *connection, url)
        .Host()
        .ContentType("application/timestamp-query")
        .Line("Accept: application/timestamp-reply")
        .Line("Connection: Close")
        .Send(body);
    return CHttpResponse::Read(std::move(connection));
}

std::unique_ptr<CHttpResponse> PostTyped(const CHttpConnectionFactory& factory, const CHttpUrl& url,
                                         const CByteZone& body, const CISOString& contentType) {
    auto connection = Open(factory, url, true);
    CRequest("POST", *connection, url).Host().ContentType(contentType).Send(body);
    return CHttpResponse::Read(std::move(connection));
}
