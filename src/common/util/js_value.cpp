#include "util/js_value.h"

#include <cstring>
#include <cwctype>
#include <limits>

namespace {

/** Keeps its value past the exit handlers, which may still read trees. */
union CSharedNull {
    constexpr CSharedNull() noexcept : value() {}
    ~CSharedNull() {}

    CJSNull value;
};

CSharedNull sharedNull;

constexpr int kNoDigit = -1;

int DigitValue(char32_t codePoint) {
    if (codePoint >= U'0' && codePoint <= U'9') {
        return static_cast<int>(codePoint - U'0');
    }
    const char32_t lower = codePoint | 0x20;
    return lower >= U'a' && lower <= U'f' ? static_cast<int>(lower - U'a') + 10 : kNoDigit;
}

bool IsSpace(char32_t codePoint) { return iswspace(static_cast<wint_t>(codePoint)) != 0; }

template <class Encoding>
CByteZone DecodeHex(const CTString<Encoding, false>& text) {
    CByteZone bytes;
    auto at = text.Begin();
    for (char32_t first; (first = text.Next(at)) != kEndOfText;) {
        if (IsSpace(first)) {
            continue;
        }
        const int high = DigitValue(first);
        const char32_t second = text.Next(at);
        const int low = DigitValue(second);
        if (high != kNoDigit && low != kNoDigit) {
            bytes.Append(static_cast<unsigned char>(high << 4 | low));
        } else if (high != kNoDigit && IsSpace(second)) {
            bytes.Append(static_cast<unsigned char>(high));
        } else {
            break;
        }
    }
    return bytes;
}

/** A copy with storage of its own: counting the holders of shared storage is for one thread only.
 */
template <class Encoding>
CTString<Encoding, false> OwnCopy(const CTString<Encoding, false>& text) {
    return {text.GetBuffer(), static_cast<ptrdiff_t>(text.GetLength())};
}

}  // namespace

CJSValue* const kJSNull = &sharedNull.value;

void CJSDeleter::operator()(CJSValue* value) const noexcept {
    if (value != kJSNull) {
        delete value;
    }
}

double CJSValue::GetDouble() const { return std::numeric_limits<double>::max(); }

const CJSValue* CJSValue::GetAt(size_t /*index*/) const { return kJSNull; }

const CJSValue* CJSValue::GetByKey(const char* /*key*/) const { return kJSNull; }

const CJSValue* CJSValue::GetByHexKey(const CByteZone& /*bytes*/) const { return kJSNull; }

CJSContainer::~CJSContainer() {
    for (CJSContainer* at = this;;) {
        const size_t count = at->items.GetCount();
        if (count > 0) {
            CJSValue* const last = at->items[count - 1];
            at->items.Remove(count - 1);
            CJSContainer* const inner = last->TakeContainer();
            if (inner != last) {
                CJSDeleter()(last);
            }
            if (inner != nullptr) {
                inner->parent = at;
                at = inner;
            }
        } else if (at == this) {
            return;
        } else {
            CJSDeleter()(std::exchange(at, at->parent));
        }
    }
}

const CJSValue* CJSContainer::GetAt(size_t index) const {
    return index < items.GetCount() ? items[index] : kJSNull;
}

void CJSContainer::DropLastContainer() noexcept {
    CJSValue*& last = items[items.GetCount() - 1];
    CJSContainer* const inner = last->TakeContainer();
    if (inner == last) {
        last = kJSNull;
    }
    CJSDeleter()(inner);
}

const CJSValue* CJSObject::GetByKey(const char* key) const {
    for (const CJSValue* entry : items) {
        if (std::strcmp(static_cast<const CJSKeyedValue*>(entry)->GetKeyText(), key) == 0) {
            return entry;
        }
    }
    return kJSNull;
}

const CJSValue* CJSObject::GetByHexKey(const CByteZone& bytes) const {
    for (const CJSValue* entry : items) {
        if (static_cast<const CJSKeyedValue*>(entry)->HasHexKey(bytes)) {
            return entry;
        }
    }
    return kJSNull;
}

CISOString CJSKeyedValue::GetKey() const { return OwnCopy(key); }

bool CJSKeyedValue::HasHexKey(const CByteZone& bytes) const { return DecodeHex(key) == bytes; }

CJSContainer* CJSKeyedValue::TakeContainer() noexcept {
    CJSContainer* const container = value->TakeContainer();
    if (container != nullptr) {
        static_cast<void>(value.release());
        value.reset(kJSNull);
    }
    return container;
}

CUTF8String CJSString::GetString() const { return OwnCopy(text); }

CByteZone CJSString::GetBytes() const { return DecodeHex(text); }
