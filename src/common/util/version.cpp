#include "util/version.h"

#include "util/numbers.h"
#include "util/raise.h"
#include "util/string_list.h"

#include <cstring>

static CStringList SplitNumbers(const CUTF8String& run) {
    CStringList numbers;
    for (const CUTF8String& number : run.Split(".")) {
        if (number.GetLength() > 0) {
            numbers.Append(number);
        }
    }
    return numbers;
}

CUTF8String ExtractVersion(const CUTF8String& text) {
    const char* const begin = text.GetText() + std::strcspn(text.GetText(), "0123456789");
    const size_t length = std::strspn(begin, ".0123456789");
    if (length == 0) {
        RAISE(CException(CUTF8String("no version found! (evaluating ") + text + ")"));
    }
    const CStringList numbers = SplitNumbers(CUTF8String(begin, static_cast<ptrdiff_t>(length)));
    if (numbers.GetCount() > Version::kCount) {
        RAISE(CException(CUTF8String("too long version found! (evaluating ") + text + ")"));
    }
    CUTF8String version = numbers[0];
    for (size_t i = 1; i < numbers.GetCount(); ++i) {
        version += '.';
        version += numbers[i];
    }
    return version;
}

std::shared_ptr<const Version> Version::FromText(const CUTF8String& text) {
    const CStringList numbers = ExtractVersion(text).Split(".");
    auto version = std::make_shared<Version>();
    for (size_t i = 0; i < numbers.GetCount(); ++i) {
        version->numbers[i] = ToUInt(numbers[i]);
    }
    return version;
}

CUTF8String Version::GetText(unsigned first, unsigned last) const {
    if (last < first || last >= kCount) {
        RAISE(InvalideIndexOrder());
    }
    CUTF8String text = CUTF8String::FromUInt(numbers[first]);
    for (unsigned i = first + 1; i <= last; ++i) {
        text += '.';
        text += CUTF8String::FromUInt(numbers[i]);
    }
    return text;
}
