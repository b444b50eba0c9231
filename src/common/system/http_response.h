/**
 * The answer of an HTTP server: status, headers and, when asked for, the body.
 */
#pragma once

#include "system/http_connection.h"
#include "system/http_header.h"
#include "util/owned_array.h"

#include <memory>
#include <optional>

/** What a status line says. */
struct CHttpStatusLine {
    int32_t status = -1;

    /** May be empty. */
    CISOString reason;
};

/** Takes "HTTP/1.<any> <status>[ <reason>]" apart; nothing for any other line. */
std::optional<CHttpStatusLine> ParseStatusLine(const CISOString& line);

/**
 * A response, whose body stays in the socket until it is asked for. Belongs to one thread at a
 * time.
 *
 * Read from a shared connection it keeps the connection open; read from a bare one, it must not be
 * asked for a body that was not read once that connection has gone.
 */
class CHttpResponse {
public:
    /**
     * Reads the status line and the headers. Any status is a response; only a malformed line fails,
     * with CHttpException "Bad HTTP response".
     */
    static std::unique_ptr<CHttpResponse> Read(CHttpConnection* connection);
    static std::unique_ptr<CHttpResponse> Read(std::shared_ptr<CHttpConnection> connection);

    int32_t GetStatus() const noexcept { return status; }

    /** The text behind the status code; may be empty. */
    const CISOString& GetReason() const noexcept { return reason; }

    /** The connection that the response was read from; not owned. */
    CHttpConnection* GetConnection() const noexcept { return connection; }

    /** The first header of a name, in any case; an empty one when there is none. */
    CHttpHeader GetHeader(const CISOString& name) const;

    size_t GetHeaderCount() const noexcept { return headers.GetCount(); }
    const CISOString& GetHeaderName(size_t index) const noexcept { return headers[index].name; }
    const CISOString& GetHeaderValue(size_t index) const noexcept { return headers[index].value; }

    void AddHeader(const CISOString& name, const CISOString& value);

    /**
     * The body, read up to the end of the stream on the first call: Content-Length is not looked
     * at. Throws CHttpException when receiving fails; what came until then stays.
     */
    const CByteZone& GetBody();

    /** The body, read until it has at least `minimum` bytes or the stream ends. */
    const CByteZone& GetBodyUpTo(size_t minimum);

private:
    struct CField {
        CISOString name;
        CISOString value;
    };

    CHttpResponse(int32_t statusCode, CISOString reasonText, CHttpConnection* source);
    void ReadHeaders();

    CTOwnedArray<CField> headers;
    CISOString reason;
    int32_t status = -1;
    CHttpConnection* connection = nullptr;
    std::shared_ptr<CHttpConnection> keepConnection;
    CByteZone body;
};
