#include "system/http_url.h"

#include "util/numbers.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <stdexcept>

namespace {

constexpr int32_t kHttpPort = 80;
constexpr int32_t kHttpsPort = 443;

/** The port that a text names. Above 0x7FFFFFFF it comes out negative. */
std::optional<int32_t> ParsePort(const CISOString& text) {
    try {
        return static_cast<int32_t>(ToUInt(text));
    } catch (const std::runtime_error&) {
        return std::nullopt;
    }
}

void ParseAuthority(const CISOString& authority, CHttpUrl& url) {
    const auto colon = authority.Find(U':');
    if (colon.IsNull()) {
        url.host = authority;
        url.port = url.scheme == "https" ? kHttpsPort : kHttpPort;
        return;
    }
    url.host = authority.Left(colon);
    const std::optional<int32_t> port =
        ParsePort(authority.Right(static_cast<ptrdiff_t>(colon.GetIndex() + 1)));
    url.valid = port.has_value();
    url.port = port.value_or(0);
}

bool IsUnreserved(unsigned char byte) {
    return (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
           (byte >= 'a' && byte <= 'z') || (byte != 0 && std::strchr("!()*-._~", byte) != nullptr);
}

/** The value of a hexadecimal digit, or -1. */
int DigitValue(char digit) {
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    const char lower = static_cast<char>(digit | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

}  // namespace

CHttpUrl ParseUrl(const CISOString& text) {
    CHttpUrl url;
    const auto separator = text.Find(CISOString("://"));
    if (separator.IsNull()) {
        return url;
    }
    url.valid = true;
    url.scheme = text.Left(separator);
    const CISOString rest = text.Right(static_cast<ptrdiff_t>(separator.GetIndex() + 3));
    const auto slash = rest.Find(U'/');
    url.path = slash.IsNull() ? CISOString("/") : rest.Right(slash);
    ParseAuthority(slash.IsNull() ? rest : rest.Left(slash), url);
    return url;
}

bool HasControlCharacter(const CISOString& text) {
    const char* const units = text.GetText();
    return std::any_of(units, units + text.GetLength(), [](char unit) {
        return static_cast<unsigned char>(unit) < 0x20 || unit == 0x7F;
    });
}

CISOString UrlEncode(const char* text) {
    CISOString encoded;
    for (const char* at = text; at != nullptr && *at != 0; ++at) {
        const auto byte = static_cast<unsigned char>(*at);
        if (IsUnreserved(byte)) {
            encoded.AppendRaw(at, 1);
        } else {
            constexpr char kDigits[] = "0123456789ABCDEF";
            const char escape[] = {'%', kDigits[byte >> 4], kDigits[byte & 0x0F]};
            encoded.AppendRaw(escape, sizeof(escape));
        }
    }
    return encoded;
}

template <class String>
String UrlDecode(const char* text) {
    String decoded;
    const char* at = text != nullptr ? text : "";
    while (*at != 0) {
        char byte = *at++;
        if (byte == '%') {
            if (at[0] == 0 || at[1] == 0) {
                break;
            }
            const int high = DigitValue(at[0]);
            const int low = DigitValue(at[1]);
            at += 2;
            if (high < 0 || low < 0) {
                continue;
            }
            byte = static_cast<char>(high << 4 | low);
        } else if (byte == '+') {
            byte = ' ';
        }
        decoded.AppendRaw(&byte, 1);
    }
    return decoded;
}

template CISOString UrlDecode<CISOString>(const char* text);
template CUTF8String UrlDecode<CUTF8String>(const char* text);
template CTString<CUTF8Encoding, true> UrlDecode<CTString<CUTF8Encoding, true>>(const char* text);
