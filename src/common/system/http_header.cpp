#include "system/http_header.h"

#include <cwctype>
#include <utility>

namespace {

/** Walks through "key=value; key="value"". */
class CParameterReader {
public:
    explicit CParameterReader(CISOString parameters) : text(std::move(parameters)) {}

    bool IsAtEnd() const { return position >= text.GetLength(); }

    bool StartsWith(char unit) const { return !IsAtEnd() && text.GetText()[position] == unit; }

    void Skip() { ++position; }

    void SkipSpace() {
        while (!IsAtEnd() && iswspace(static_cast<unsigned char>(text.GetText()[position])) != 0) {
            ++position;
        }
    }

    /** The text before a separator, or up to the end; goes on behind it. */
    CISOString ReadUntil(char separator) {
        const size_t first = position;
        while (!IsAtEnd() && text.GetText()[position] != separator) {
            ++position;
        }
        const size_t count = position - first;
        Skip();
        return text.Mid(static_cast<ptrdiff_t>(first), static_cast<ptrdiff_t>(count));
    }

    CISOString ReadValue() {
        SkipSpace();
        if (!StartsWith('"')) {
            return ReadUntil(';');
        }
        Skip();
        CISOString value = ReadUntil('"');
        ReadUntil(';');
        return value;
    }

private:
    CISOString text;
    size_t position = 0;
};

}  // namespace

const CISOString& CHttpHeader::GetName() {
    Parse();
    return name;
}

const CISOString& CHttpHeader::GetValue() {
    Parse();
    return value;
}

CISOString CHttpHeader::GetParameter(const CISOString& key) {
    ParseParameters();
    for (const CParameter& parameter : params) {
        if (parameter.key == key) {
            return parameter.value;
        }
    }
    return {};
}

bool CHttpHeader::IsEmpty() {
    Parse();
    return name.GetLength() == 0 && value.GetLength() == 0;
}

bool CHttpHeader::operator==(const char* text) {
    Parse();
    return value == text;
}

void CHttpHeader::Parse() {
    if (std::exchange(parsed, true)) {
        return;
    }
    const auto colon = line.Find(U':');
    if (!colon.IsNull()) {
        name = line.Left(colon).TrimRight(U' ').ToLower();
        value = line.Right(static_cast<ptrdiff_t>(colon.GetIndex() + 1)).TrimLeft(U' ');
    }
}

void CHttpHeader::ParseParameters() {
    Parse();
    if (std::exchange(paramsParsed, true)) {
        return;
    }
    const CISOString source = value.GetLength() > 0 ? value : line;
    const auto semicolon = source.Find(U';');
    if (semicolon.IsNull()) {
        return;
    }
    value = source.Left(semicolon);
    CParameterReader reader(source.Right(static_cast<ptrdiff_t>(semicolon.GetIndex() + 1)));
    while (!reader.IsAtEnd()) {
        reader.SkipSpace();
        const CISOString key = reader.ReadUntil('=').TrimRight(U' ').ToLower();
        SetParameter(key, reader.ReadValue());
    }
}

void CHttpHeader::SetParameter(const CISOString& key, const CISOString& text) {
    for (CParameter& parameter : params) {
        if (parameter.key == key) {
            parameter.value = text;
            return;
        }
    }
    params.Append({key, text});
}
