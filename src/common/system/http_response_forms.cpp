#include "icao/desfire_errors.h"
#include "icao/icao_errors.h"
#include "system/http_server_connection.h"
#include "trace/ck_names.h"
#include <qorvs/trace.h>

#include <cstdio>
#include <cstring>
#include <string>

namespace {

constexpr char kErrorPage[] = "<html><body><h1>Error</h1></body></html>";
static_assert(sizeof(kErrorPage) - 1 == 40, "the length that is stated");

/** What stands in a header: characters that end a line, or a text, become "?". */
CISOString InOneLine(const CISOString& text) {
    CISOString line(text);
    char* const units = line.GetWritableBuffer();
    for (size_t i = 0; i < line.GetLength(); ++i) {
        if (units[i] == '\r' || units[i] == '\n' || units[i] == '\0') {
            units[i] = '?';
        }
    }
    return line;
}

/** An answer up to its body, which goes out as one block. */
class CHead {
public:
    CHead(const char* status, const CISOString& origin) {
        Line("HTTP/1.1 ", status);
        Line("Server: QorvsManager");
        if (origin.GetLength() > 0) {
            Line("Access-Control-Allow-Origin: ", origin);
        }
        Line("Connection: close");
    }

    template <class Value>
    CHead& Line(const CISOString& name, const Value& value) {
        return Line(name + value);
    }

    CHead& Line(const CISOString& line) {
        text += InOneLine(line);
        text += "\r\n";
        return *this;
    }

    CHead& Length(uint64_t length) {
        return Line("Content-Length: ", CISOString::FromUInt(length));
    }

    /** The whole, with the empty line that ends it. */
    const CISOString& End() { return text += "\r\n"; }

private:
    CISOString text;
};

/** The body of a failure up to its end, which its kinds write each in their own way. */
std::string FailureOf(const std::string& value, const char* text, size_t length) {
    return "{ \"errVal\": " + value + ", \"errString\": \"" + std::string(text, length) + "\"";
}

std::string FailureOf(const std::string& value, const char* name) {
    return FailureOf(value, name, std::strlen(name));
}

void SendFailure(CHttpConnection& connection, const std::string& body) {
    CHead head("500 Error", connection.GetOrigin());
    head.Line("Content-Type: application/json");
    CISOString text = head.End();
    text.AppendRaw(body.data(), body.size()) += "\r\n";
    connection.SendText(text);
}

}  // namespace

void CHttpServerConnection::SendHeaders(const CISOString& contentType, int32_t contentLength,
                                        bool noCache, const CHttpExtraHeaders& extraHeaders) {
    if (contentType.GetLength() == 0) {
        SendNoContent();
        return;
    }
    CHead head("200 OK", connection->GetOrigin());
    if (noCache) {
        head.Line("Cache-Control: no-cache, no-store, must-revalidate");
        head.Line("Pragma: no-cache").Line("Expires: 0");
    }
    head.Line("Content-Type: ", contentType);
    if (contentLength >= 0) {
        head.Length(static_cast<uint64_t>(contentLength));
    }
    for (const auto& [name, value] : extraHeaders) {
        head.Line("Access-Control-Expose-Headers: ", name);
        head.Line(name + ": ", value);
    }
    SendText(head.End());
}

void CHttpServerConnection::SendNoContent() { SendLine("HTTP/1.1 204 No Content"); }

void CHttpServerConnection::SendFile(const CUTF8String& fileName, const CByteZone& data) {
    CHead head("200 OK", connection->GetOrigin());
    head.Line("Content-Type: application/octet-stream");
    const CISOString name(fileName);
    head.Line("Content-Disposition: attachment",
              name.GetLength() == 0 ? name : CISOString("; filename=\"") + name + "\"");
    SendText(head.Length(data.GetSize()).End());
    SendBlock(data);
}

void CHttpServerConnection::SendHttpError(int code) {
    TraceString("\tHTTP error %d", code);
    const std::string status = std::to_string(code) + " Error";
    CHead head(status.c_str(), connection->GetOrigin());
    head.Line("Content-Type: text/html").Length(sizeof(kErrorPage) - 1);
    SendText(head.End() + kErrorPage + "\r\n");
}

void CHttpServerConnection::SendCustomError(const CUTF8String& message) {
    TraceString("\tHTTP error 500 Internal Server Error (custom %s)", message.GetText());
    SendFailure(*connection, FailureOf("-1", message.GetText(), message.GetLength()) + " }");
}

void CHttpServerConnection::SendCryptokiError(CK_RV code) {
    char digits[sizeof("0x") + 2 * sizeof(code)];
    std::snprintf(digits, sizeof(digits), "0x%016lX", code);
    const char* const known = FindCkErrorName(code);
    const char* const name = known != nullptr ? known : digits;
    TraceString("\tHTTP error 500 Internal Server Error (cryptoki %s)", name);
    SendFailure(*connection, FailureOf(std::to_string(code), name) + " }");
}

void CHttpServerConnection::SendIcaoError(int32_t code, const CUTF8String& customData) {
    const char* const name = icao::GetICAOErrorName(code);
    TraceString("\tHTTP error 500 Internal Server Error (ICAO service: %s)", name);
    std::string body = FailureOf(std::to_string(code), name);
    if (customData.GetLength() > 0) {
        body += ", \"customData\": " + std::string(customData.GetText(), customData.GetLength());
    }
    // Kept: no blank before the brace, unlike with messages and codes of Cryptoki.
    SendFailure(*connection, body + "}");
}

void CHttpServerConnection::SendDesfireError(int32_t code) {
    const char* const name = icao::GetDESFireErrorName(code);
    TraceString("\tHTTP error 500 Internal Server Error (DESFire service: %s)", name);
    SendFailure(*connection, FailureOf(std::to_string(code), name) + "}");
}
