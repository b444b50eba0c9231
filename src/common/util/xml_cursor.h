/**
 * The position in an XML text, and the steps over it that cannot fail.
 */
#pragma once

#include "util/ct_string.h"
#include "util/encodings.h"

#include <array>
#include <cstddef>

/**
 * Reads a text code point by code point; the text must outlive the cursor.
 *
 * What letters, digits and spaces are beyond ASCII is up to the host's locale; without one there
 * are none.
 */
class CXmlCursor {
public:
    explicit CXmlCursor(const CUTF8String& read) noexcept
        : text(read.GetText()), length(read.GetLength()) {}

    /** The next code point, kMalformed for a bad sequence, kEndOfText at the end. */
    char32_t Read() { return CUTF8Encoding::Read(text, length, position); }

    /**
     * Moves back by one byte, unless what was read last is the end of the text.
     *
     * Kept: by one byte also behind a sequence of several. The documents that are accepted depend
     * on it: no name begins with a letter beyond ASCII, and content that does loses it to a "?".
     */
    void PutBack(char32_t lastRead) noexcept { position -= lastRead != kEndOfText ? 1 : 0; }

    /** The name that begins here, empty when none does; the cursor is put back behind it. */
    CUTF8String ReadName();

    /** Reads a name and says whether it is this one. */
    bool ReadSameName(const CUTF8String& expected);

    /** Moves over spaces and at most one comment with the spaces behind it. */
    void SkipBlanks() {
        const auto next = static_cast<unsigned char>(text[position]);
        if (next <= ' ' || next == '<' || next >= 0x80) {
            SkipAnyBlanks();
        }
    }

    /** Moves behind the next such code point, or to the end. */
    void SkipPast(char32_t codePoint);

    /**
     * Appends what comes before `stop`, "&" or the end of the text to `run`, moves behind that code
     * point and gives it.
     *
     * Spaces that stand right before a "<" as the stop are left out.
     */
    char32_t ReadRun(CUTF8String& run, char32_t stop);

private:
    void SkipBytes(unsigned classes) noexcept;
    CUTF8String ReadAnyName();
    void SkipAnyBlanks();
    char32_t ReadPastSpaces();
    bool SkipCommentStart();
    void SkipComment();
    const CUTF8String& KnownName(size_t first, size_t last);
    void AppendPart(CUTF8String& target, size_t first, size_t last, bool isAscii) const;

    const char* text;
    size_t length;
    size_t position = 0;
    // Documents repeat few names. One that was met before gets the buffer from here.
    std::array<CUTF8String, 64> knownNames;
};
