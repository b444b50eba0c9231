#include "trace/message_lines.h"

#include "util/ct_string.h"

#include <cstdint>
#include <cstring>
#include <new>

namespace {

bool IsBreak(char unit) { return unit == '\r' || unit == '\n'; }

size_t LengthWithoutBreaks(const char* text, size_t length) {
    while (length > 0 && IsBreak(text[length - 1])) {
        --length;
    }
    return length;
}

uint64_t LoadWord(const char* bytes) {
    uint64_t word = 0;
    std::memcpy(&word, bytes, sizeof(word));
    return word;
}

/** Whether a format has no byte above 0x7F and no control character up to CR, breaks among them. */
bool IsPlain(const char* text, size_t length) {
    constexpr uint64_t kOnes = 0x0101010101010101;
    uint64_t found = 0;
    size_t i = 0;
    for (; i + 8 <= length; i += 8) {
        const uint64_t word = LoadWord(text + i);
        found |= word | (word - kOnes * ('\r' + 1));
    }
    for (; i < length; ++i) {
        found |= static_cast<unsigned char>(text[i]) <= '\r' ? kOnes << 7 : 0;
        found |= static_cast<unsigned char>(text[i]);
    }
    return (found & kOnes << 7) == 0;
}

/** The lines of a format as one format: a line feed and a prefix in place of each break. */
void AppendLines(CLineWriter& lines, const CLinePrefix& prefix, const char* text, size_t length) {
    size_t begin = 0;
    for (size_t i = 0; i < length; ++i) {
        if (!IsBreak(text[i])) {
            continue;
        }
        lines.Append(text + begin, i - begin);
        lines.Append('\n');
        prefix.AppendTo(lines);
        if (IsBreak(text[i + 1]) && text[i + 1] != text[i]) {
            ++i;
        }
        begin = i + 1;
    }
    lines.Append(text + begin, length - begin);
}

void AppendCleaned(CLineWriter& writer, const CLinePrefix& prefix, const CUTF8String& format,
                   va_list arguments) {
    const char* const text = format.GetText();
    CLineWriter lines;
    AppendLines(lines, prefix, text, LengthWithoutBreaks(text, format.GetLength()));
    lines.Append('\0');
    if (lines.IsLost()) {
        writer.Lose();
        return;
    }
    prefix.AppendExpandedTo(writer);
    writer.AppendFormat(lines.GetText(), arguments);
}

}  // namespace

void AppendMessage(CLineWriter& writer, const CLinePrefix& prefix, const char* format,
                   va_list arguments) noexcept {
    const size_t length = std::strlen(format);
    try {
        if (IsPlain(format, length)) {
            prefix.AppendExpandedTo(writer);
            writer.AppendFormat(format, arguments);
        } else {
            const CUTF8String cleaned(format);
            AppendCleaned(writer, prefix, cleaned, arguments);
        }
    } catch (const std::bad_alloc&) {
        writer.Lose();
    }
    writer.Append('\n');
}
