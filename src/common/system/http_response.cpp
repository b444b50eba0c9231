#include "system/http_response.h"

#include "system/http_errors.h"
#include "util/numbers.h"
#include "util/raise.h"

#include <stdexcept>
#include <utility>

namespace {

std::optional<int32_t> ParseStatus(const CISOString& text) {
    try {
        return static_cast<int32_t>(ToUInt(text));
    } catch (const std::runtime_error&) {
        return std::nullopt;
    }
}

}  // namespace

std::optional<CHttpStatusLine> ParseStatusLine(const CISOString& line) {
    const auto blank = line.Find(U' ');
    if (blank.IsNull() || blank.GetIndex() == 0 ||
        line.Mid(0, static_cast<ptrdiff_t>(blank.GetIndex()) - 1) != "HTTP/1.") {
        return std::nullopt;
    }
    const CISOString rest = line.Right(static_cast<ptrdiff_t>(blank.GetIndex() + 1));
    const auto end = rest.Find(U' ');
    const auto status = ParseStatus(end.IsNull() ? rest : rest.Left(end));
    if (!status) {
        return std::nullopt;
    }
    return CHttpStatusLine{*status, end.IsNull()
                                        ? CISOString()
                                        : rest.Right(static_cast<ptrdiff_t>(end.GetIndex() + 1))};
}

CHttpResponse::CHttpResponse(int32_t statusCode, CISOString reasonText, CHttpConnection* source)
    : reason(std::move(reasonText)), status(statusCode), connection(source) {}

std::unique_ptr<CHttpResponse> CHttpResponse::Read(CHttpConnection* connection) {
    const std::optional<CHttpStatusLine> line = ParseStatusLine(connection->ReadLine());
    if (!line) {
        RAISE(CHttpException("Bad HTTP response"));
    }
    std::unique_ptr<CHttpResponse> response(
        new CHttpResponse(line->status, line->reason, connection));
    for (CISOString header; (header = connection->ReadLine()).GetLength() > 0;) {
        const auto colon = header.Find(U':');
        if (colon.IsNull()) {
            RAISE(CHttpException("Bad HTTP response"));
        }
        response->AddHeader(header.Left(colon).TrimRight(U' '),
                            header.Right(static_cast<ptrdiff_t>(colon.GetIndex() + 1)).Trim(U' '));
    }
    return response;
}

std::unique_ptr<CHttpResponse> CHttpResponse::Read(std::shared_ptr<CHttpConnection> connection) {
    std::unique_ptr<CHttpResponse> response = Read(connection.get());
    response->keepConnection = std::move(connection);
    return response;
}

CHttpHeader CHttpResponse::GetHeader(const CISOString& name) const {
    for (const CField& header : headers) {
        if (header.name.CompareNoCase(name) == 0) {
            return CHttpHeader(header.name + ": " + header.value);
        }
    }
    return {};
}

void CHttpResponse::AddHeader(const CISOString& name, const CISOString& value) {
    headers.Append({name, value});
}

const CByteZone& CHttpResponse::GetBody() {
    if (body.GetData() == nullptr) {
        connection->RecvToEnd(body);
    }
    return body;
}

const CByteZone& CHttpResponse::GetBodyUpTo(size_t minimum) {
    if (body.GetData() == nullptr) {
        for (CByteZone block; body.GetSize() < minimum && connection->RecvBlock(block);) {
            body.Append(block);
        }
    }
    return body;
}
