#include "util/format_message.h"

#include <cstdint>
#include <cstring>

namespace {

/** The number of leading bytes that are ASCII and no "%"; eight are looked at in one go. */
size_t CountPlain(const char* text, size_t length) {
    constexpr uint64_t kOnes = 0x0101010101010101;
    size_t count = 0;
    for (; length - count >= sizeof(uint64_t); count += sizeof(uint64_t)) {
        uint64_t bytes;
        std::memcpy(&bytes, text + count, sizeof(bytes));
        const uint64_t difference = bytes ^ (kOnes * '%');
        if ((((difference - kOnes) & ~difference) | bytes) & (kOnes * 0x80)) {
            break;
        }
    }
    while (count < length && text[count] != '%' && static_cast<unsigned char>(text[count]) < 0x80) {
        ++count;
    }
    return count;
}

/** Collects a text piece by piece; a short one costs one allocation. */
template <class Encoding>
class CTTextCollector {
public:
    using Text = CTString<Encoding, false>;

    void Add(const char* units, size_t length) {
        if (length > sizeof(pending) - used) {
            Flush();
            if (length > sizeof(pending)) {
                text.AppendRaw(units, length);
                return;
            }
        }
        std::memcpy(pending + used, units, length);
        used += length;
    }
    void Add(char32_t codePoint) {
        char units[kLongestSequence];
        Add(units, Encoding::Write(codePoint, units));
    }
    void Add(const Text& piece) { Add(piece.GetText(), piece.GetLength()); }

    Text Take() {
        Flush();
        return std::move(text);
    }

private:
    void Flush() {
        text.AppendRaw(pending, used);
        used = 0;
    }

    Text text;
    size_t used = 0;
    char pending[512];
};

template <class Encoding>
class CTMessageExpander {
public:
    using Text = CTString<Encoding, false>;
    using Args = CTFmtArgs<Encoding, false>;

    CTMessageExpander(const Text& text, const Args& arguments)
        : units(text.GetText()), length(text.GetLength()), args(arguments) {}

    Text Expand() {
        do {
            CopyLiterals();
        } while (ExpandPlaceholder());
        return result.Take();
    }

private:
    char32_t Next() { return Encoding::Read(units, length, position); }

    /** Copies up to the next "%" and moves behind it, or to the end. */
    void CopyLiterals() {
        const size_t count = CountPlain(units + position, length - position);
        result.Add(units + position, count);
        position += count;
        for (char32_t c; (c = Next()) != '%' && c != kEndOfText;) {
            result.Add(c);
        }
    }

    /** Expands what stands behind a "%"; false when the text ends here. */
    bool ExpandPlaceholder() {
        const char32_t selector = Next();
        if (selector == kEndOfText) {
            return false;
        }
        if (selector == '%') {
            result.Add(selector);
        }
        return selector < '1' || selector > '9' || ExpandArgument(selector - '1');
    }

    bool ExpandArgument(size_t index) {
        const size_t behindSelector = position;
        const bool hasSpec = Next() == '!';
        Text spec;
        if (!hasSpec) {
            position = behindSelector;
        } else if (!ReadSpec(spec)) {
            return false;
        }
        if (index < args.GetCount()) {
            result.Add(hasSpec ? args[index].GetText(spec) : args[index].GetText());
        }
        return true;
    }

    /** Reads up to the closing "!"; false when the text ends before it. */
    bool ReadSpec(Text& spec) {
        CTTextCollector<Encoding> collected;
        char32_t c;
        while ((c = Next()) != '!' && c != kEndOfText) {
            collected.Add(c);
        }
        spec = collected.Take();
        return c == '!';
    }

    const char* units;
    size_t length;
    const Args& args;
    size_t position = 0;
    CTTextCollector<Encoding> result;
};

}  // namespace

template <class Encoding>
CTString<Encoding, false> FormatMessage(const typename CTFmtArgs<Encoding, false>::Text& text,
                                        const CTFmtArgs<Encoding, false>& args) {
    return CTMessageExpander<Encoding>(text, args).Expand();
}

template CUTF8String FormatMessage(const CUTF8String&, const CUTF8FmtArgs&);
template CISOString FormatMessage(const CISOString&, const CISOFmtArgs&);
