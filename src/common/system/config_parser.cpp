#include "system/config_parser.h"

#include "util/encodings.h"

#include <wctype.h>

#include <array>
#include <cstdint>
#include <vector>

namespace {

// What a code point can be to the grammar; a line feed is a space as well.
constexpr unsigned kSpace = 0x01;
constexpr unsigned kLineEnd = 0x02;
constexpr unsigned kAssign = 0x04;
constexpr unsigned kOpen = 0x08;
constexpr unsigned kClose = 0x10;
constexpr unsigned kTextEnd = 0x20;

// Of bytes: this one begins a sequence that must be decoded.
constexpr uint8_t kSequence = 0x80;

constexpr std::array<uint8_t, 256> MakeClasses() {
    std::array<uint8_t, 256> classes{};
    for (const char space : {' ', '\t', '\n', '\v', '\f', '\r'}) {
        classes[static_cast<unsigned char>(space)] = kSpace;
    }
    classes['\n'] |= kLineEnd;
    classes['='] = kAssign;
    classes['{'] = kOpen;
    classes['}'] = kClose;
    for (size_t byte = 0x80; byte < 0x100; ++byte) {
        classes[byte] = kSequence;
    }
    return classes;
}

constexpr std::array<uint8_t, 256> kClasses = MakeClasses();

/** A name or a value in the text: without the spaces behind it. */
struct CTextPiece {
    size_t first;
    size_t last;
    bool isAscii;
};

class CConfigParser {
public:
    CConfigParser(CConfig& root, const char* begin, size_t size) : text(begin), length(size) {
        open.push_back(&root);
    }

    void Parse();

private:
    unsigned Look(size_t& next) const;
    unsigned LookAtSequence(size_t& next) const;
    void SkipSpaces();
    CTextPiece Read(unsigned stops);
    CUTF8String Extract(const CTextPiece& piece) const;

    void ReadItem();
    void DropUnnamed(unsigned stop);
    void ReadValue(const CTextPiece& key);
    void Keep(const CTextPiece& key, const CTextPiece& value);
    void Enter(const CTextPiece& name);
    void Leave();
    bool IsAtRoot() const { return dropped == 0 && open.size() == 1; }

    const char* text;
    size_t length;
    size_t cursor = 0;
    // The sections that the cursor is in, the root first; then those too deep to be kept.
    std::vector<CConfig*> open;
    size_t dropped = 0;
};

/** The classes of the next code point, and where the one after it begins. */
inline unsigned CConfigParser::Look(size_t& next) const {
    const unsigned classes =
        cursor < length ? kClasses[static_cast<unsigned char>(text[cursor])] : kTextEnd;
    next = cursor + 1;
    return classes != kSequence ? classes : LookAtSequence(next);
}

unsigned CConfigParser::LookAtSequence(size_t& next) const {
    next = cursor;
    const char32_t codePoint = CUTF8Encoding::Read(text, length, next);
    if (codePoint == kEndOfText) {
        return kTextEnd;
    }
    // Forms that are longer than they need be count as what they stand for.
    if (codePoint < 0x80) {
        return kClasses[codePoint];
    }
    return iswspace(static_cast<wint_t>(codePoint)) != 0 ? kSpace : 0;
}

void CConfigParser::SkipSpaces() {
    size_t next = cursor;
    while ((Look(next) & kSpace) != 0) {
        cursor = next;
    }
}

/** Everything up to one of the stops or the end of the text, which are left where they are. */
inline CTextPiece CConfigParser::Read(unsigned stops) {
    CTextPiece piece{cursor, cursor, true};
    for (;;) {
        size_t at = cursor;
        while (at < length && kClasses[static_cast<unsigned char>(text[at])] == 0) {
            ++at;
        }
        piece.last = at > cursor ? at : piece.last;
        cursor = at;
        size_t next = at;
        const unsigned classes = Look(next);
        if ((classes & (stops | kTextEnd)) != 0) {
            return piece;
        }
        piece.isAscii &= static_cast<unsigned char>(text[at]) < 0x80;
        piece.last = (classes & kSpace) == 0 ? next : piece.last;
        cursor = next;
    }
}

CUTF8String CConfigParser::Extract(const CTextPiece& piece) const {
    if (piece.isAscii) {
        return CUTF8String(text + piece.first, static_cast<ptrdiff_t>(piece.last - piece.first));
    }
    CUTF8String extracted;
    for (size_t index = piece.first; index < piece.last;) {
        extracted.Append(CUTF8Encoding::Read(text, piece.last, index));
    }
    return extracted;
}

void CConfigParser::Parse() {
    for (;;) {
        size_t next = cursor;
        const unsigned classes = Look(next);
        // Kept: a brace that closes nothing ends the file. What stands behind it is not read.
        if ((classes & kTextEnd) != 0 || ((classes & kClose) != 0 && IsAtRoot())) {
            return;
        }
        if ((classes & kClose) != 0) {
            cursor = next;
            Leave();
            continue;
        }
        SkipSpaces();
        ReadItem();
    }
}

void CConfigParser::ReadItem() {
    const CTextPiece name = Read(kAssign | kLineEnd | kOpen | kClose);
    size_t next = cursor;
    const unsigned stop = Look(next);
    if (name.first == name.last) {
        DropUnnamed(stop);
    } else if ((stop & kAssign) != 0) {
        cursor = next;
        ReadValue(name);
    } else if ((stop & kLineEnd) != 0) {
        cursor = next;
        Keep(name, {});
    } else if ((stop & kOpen) != 0) {
        cursor = next;
        Enter(name);
    }
}

void CConfigParser::DropUnnamed(unsigned stop) {
    if ((stop & kOpen) != 0) {
        // Kept: the brace that ends an unnamed block is left, and closes the section around it too.
        Read(kClose);
    } else if ((stop & kAssign) != 0) {
        Read(kLineEnd);
    }
}

void CConfigParser::ReadValue(const CTextPiece& key) {
    // Kept: line ends are skipped too, so a key with nothing behind "=" takes the next line.
    SkipSpaces();
    const CTextPiece value = Read(kLineEnd);
    Keep(key, value);
    size_t next = cursor;
    if ((Look(next) & kLineEnd) != 0) {
        cursor = next;
    }
}

void CConfigParser::Keep(const CTextPiece& key, const CTextPiece& value) {
    if (dropped == 0) {
        open.back()->AppendEntry(Extract(key), Extract(value));
    }
}

void CConfigParser::Enter(const CTextPiece& name) {
    if (dropped > 0 || open.size() > kDeepestSection) {
        ++dropped;
    } else {
        open.push_back(open.back()->AppendSection(Extract(name)));
    }
}

void CConfigParser::Leave() {
    if (dropped > 0) {
        --dropped;
    } else {
        open.pop_back();
    }
}

void AppendTabs(CUTF8String& text, size_t count) { text.PadRight(text.GetLength() + count, '\t'); }

void AppendText(CUTF8String& text, const CConfig& section, size_t depth) {
    for (const auto& inner : section.GetSections()) {
        AppendTabs(text, depth);
        text.Append(inner->GetName()).Append(" {\n");
        AppendText(text, *inner, depth + 1);
        AppendTabs(text, depth);
        text.Append("}\n");
    }
    for (const CConfigEntry& entry : section.GetEntries()) {
        AppendTabs(text, depth);
        text.Append(entry.key);
        if (entry.value.GetLength() > 0) {
            text.Append(" = ").Append(entry.value);
        }
        text.Append("\n");
    }
}

}  // namespace

void ParseConfig(CConfig& root, const char* text, size_t length) {
    CConfigParser(root, text, length).Parse();
}

CUTF8String ToText(const CConfig& section, size_t depth) {
    CUTF8String text;
    AppendText(text, section, depth);
    return text;
}
