#include "util/xml_cursor.h"

#include <qorvs/trace.h>

#include <wctype.h>

#include <cstdint>

namespace {

// What a byte can be to the grammar.
constexpr uint8_t kSpace = 0x01;
constexpr uint8_t kLetter = 0x02;    // begins a name
constexpr uint8_t kNamePart = 0x04;  // goes on with it
constexpr uint8_t kText = 0x08;      // never ends a run of text
constexpr uint8_t kSequence = 0x10;  // must be decoded

constexpr uint8_t ClassOf(unsigned byte) {
    const bool isLetter =
        (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || byte == '_' || byte == ':';
    const bool isNamePart = isLetter || (byte >= '0' && byte <= '9') || byte == '-' || byte == '.';
    if (byte >= 0x80) {
        return kSequence;
    }
    if (byte == ' ' || (byte >= '\t' && byte <= '\r')) {
        return kSpace;
    }
    // Zero is the terminator, or a zero byte of the text: only Read can tell.
    if (byte == '<' || byte == '&' || byte == '"' || byte == '\'' || byte == 0) {
        return 0;
    }
    return static_cast<uint8_t>(kText | (isLetter ? kLetter : 0) | (isNamePart ? kNamePart : 0));
}

constexpr std::array<uint8_t, 256> MakeClasses() {
    std::array<uint8_t, 256> classes{};
    for (unsigned byte = 0; byte < 256; ++byte) {
        classes[byte] = ClassOf(byte);
    }
    return classes;
}

constexpr std::array<uint8_t, 256> kClasses = MakeClasses();

/** Compares names, which are too short for a call of the C library. */
bool IsSame(const char* left, const char* right, size_t size) {
    size_t same = 0;
    while (same < size && left[same] == right[same]) {
        ++same;
    }
    return same == size;
}

bool IsOf(unsigned classes, char byte) {
    return (kClasses[static_cast<unsigned char>(byte)] & classes) != 0;
}

bool IsSpace(char32_t codePoint) {
    return codePoint < 0x80 ? (kClasses[codePoint] & kSpace) != 0
                            : iswspace(static_cast<wint_t>(codePoint)) != 0;
}

bool IsNameStart(char32_t codePoint) {
    return codePoint < 0x80 ? (kClasses[codePoint] & kLetter) != 0
                            : iswalpha(static_cast<wint_t>(codePoint)) != 0;
}

bool IsNamePart(char32_t codePoint) {
    return codePoint < 0x80 ? (kClasses[codePoint] & kNamePart) != 0
                            : iswalnum(static_cast<wint_t>(codePoint)) != 0;
}

}  // namespace

/** Moves over bytes of these classes, to the terminator at most. */
inline void CXmlCursor::SkipBytes(unsigned classes) noexcept {
    const char* at = text + position;
    while (IsOf(classes, *at)) {
        ++at;
    }
    position = static_cast<size_t>(at - text);
}

CUTF8String CXmlCursor::ReadName() {
    const size_t first = position;
    if (IsOf(kLetter, text[first])) {
        SkipBytes(kNamePart);
    }
    if (IsOf(kSequence, text[position])) {
        position = first;
        return ReadAnyName();
    }
    return position > first ? KnownName(first, position) : CUTF8String();
}

bool CXmlCursor::ReadSameName(const CUTF8String& expected) {
    const size_t size = expected.GetLength();
    const char* const name = text + position;
    if (length - position > size && IsSame(name, expected.GetText(), size) &&
        !IsOf(kNamePart | kSequence, name[size])) {
        position += size;
        return true;
    }
    return ReadName() == expected;
}

CUTF8String CXmlCursor::ReadAnyName() {
    CUTF8String name;
    char32_t read = Read();
    if (IsNameStart(read)) {
        do {
            name.Append(read);
            read = Read();
        } while (IsNamePart(read));
    }
    PutBack(read);
    return name;
}

void CXmlCursor::SkipAnyBlanks() {
    const char32_t stop = ReadPastSpaces();
    if (stop != '<') {
        PutBack(stop);
        return;
    }
    if (SkipCommentStart()) {
        SkipComment();
    }
}

void CXmlCursor::SkipPast(char32_t codePoint) {
    for (char32_t read = Read(); read != codePoint && read != kEndOfText;) {
        read = Read();
    }
}

char32_t CXmlCursor::ReadRun(CUTF8String& run, char32_t stop) {
    const size_t first = position;
    size_t solid = position;  // behind the last code point that is no space
    bool isAscii = true;
    for (;;) {
        const size_t begin = position;
        SkipBytes(kText | kSpace);
        const size_t last = position;
        size_t behind = last;
        while (behind > begin && IsOf(kSpace, text[behind - 1])) {
            --behind;
        }
        solid = behind > begin ? behind : solid;
        const bool isSequence = IsOf(kSequence, text[last]);
        const char32_t read = Read();
        if (read == stop || read == '&' || read == kEndOfText) {
            AppendPart(run, first, read == '<' ? solid : last, isAscii);
            return read;
        }
        isAscii = isAscii && !isSequence;
        solid = IsSpace(read) ? solid : position;
    }
}

/** The first code point that is no space; the cursor is behind it. */
char32_t CXmlCursor::ReadPastSpaces() {
    SkipBytes(kSpace);
    char32_t read = Read();
    while (IsSpace(read)) {
        read = Read();
    }
    return read;
}

/** Behind a "<": moves over the "!--" of a comment, or puts back all that was read and the "<". */
bool CXmlCursor::SkipCommentStart() {
    size_t matched = 1;
    for (const char32_t expected : {U'!', U'-', U'-'}) {
        const char32_t read = Read();
        if (read != expected) {
            PutBack(read);
            position -= matched;
            return false;
        }
        ++matched;
    }
    return true;
}

void CXmlCursor::SkipComment() {
    for (;;) {
        const char32_t read = Read();
        if (read == kEndOfText) {
            TraceString0("Warning: XML Comment never ends");
            return;
        }
        // Kept: a third dash is taken with the two before it, so that "--->" ends nothing.
        if (read == '-' && Read() == '-' && Read() == '>') {
            break;
        }
    }
    PutBack(ReadPastSpaces());
}

const CUTF8String& CXmlCursor::KnownName(size_t first, size_t last) {
    const size_t size = last - first;
    const auto byteAt = [this](size_t index) -> size_t {
        return static_cast<unsigned char>(text[index]);
    };
    const size_t hash =
        size * 7 + byteAt(first) * 3 + byteAt(first + size / 2) * 5 + byteAt(last - 1);
    CUTF8String& known = knownNames[hash % knownNames.size()];
    if (known.GetLength() != size || !IsSame(known.GetText(), text + first, size)) {
        known = CUTF8String(text + first, static_cast<ptrdiff_t>(size));
    }
    return known;
}

/** Appends a part of the text, which ends between code points. Unless it is ASCII, malformed
 * sequences in it become "?". */
void CXmlCursor::AppendPart(CUTF8String& target, size_t first, size_t last, bool isAscii) const {
    if (isAscii) {
        target.AppendRaw(text + first, last - first);
        return;
    }
    for (size_t index = first; index < last;) {
        target.Append(CUTF8Encoding::Read(text, last, index));
    }
}
