#include "trace/attribute_value.h"

#include "qorvs/ck_extensions.h"
#include "qorvs/ck_names.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>

namespace {

constexpr CK_ULONG kDateLength = 8;

/** What a failed read of an attribute leaves is no length. */
CK_ULONG GetLength(const CK_ATTRIBUTE& attribute) {
    return attribute.ulValueLen == static_cast<CK_ULONG>(-1) ? 0 : attribute.ulValueLen;
}

/** A number from an address that need not be aligned. */
CK_ULONG GetNumber(const CK_ATTRIBUTE& attribute) {
    CK_ULONG number = 0;
    std::memcpy(&number, attribute.pValue, sizeof(number));
    return number;
}

int Narrow(CK_ULONG number) { return static_cast<int>(number); }

void AppendBracketedHex(CLineWriter& writer, CK_ULONG number) {
    writer.Append(" (");
    writer.AppendHexNumber(static_cast<uint32_t>(number), 8);
    writer.Append(')');
}

/** Appends a text of a fixed largest length, which a zero byte may end early. */
void AppendText(CLineWriter& writer, const void* text, size_t length) {
    const char* const begin = static_cast<const char*>(text);
    writer.Append(begin, strnlen(begin, length));
}

void AppendBytes(CLineWriter& writer, const CK_ATTRIBUTE& attribute) {
    const CK_ULONG length = GetLength(attribute);
    if (length == 0) {
        writer.Append("(empty)");
    } else {
        writer.AppendHex(static_cast<const unsigned char*>(attribute.pValue), length);
    }
}

template <const CNameTable& kNames>
void AppendNamed(CLineWriter& writer, const CK_ATTRIBUTE& attribute) {
    AppendNameOrNumber(writer, GetNumber(attribute), kNames);
}

void AppendMechanism(CLineWriter& writer, const CK_ATTRIBUTE& attribute) {
    writer.Append(GetCkMechanismTypeString(GetNumber(attribute)));
}

void AppendContainer(CLineWriter& writer, const CK_ATTRIBUTE& attribute) {
    const CK_ULONG number = GetNumber(attribute);
    AppendNameOrNumber(writer, number, kCardContainerNames);
    AppendBracketedHex(writer, number);
}

void AppendBool(CLineWriter& writer, const CK_ATTRIBUTE& attribute) {
    const unsigned char byte = *static_cast<const unsigned char*>(attribute.pValue);
    writer.Append(byte != 0 ? "TRUE (" : "FALSE (");
    writer.AppendDecimal(byte);
    writer.Append(')');
}

void AppendNumber(CLineWriter& writer, const CK_ATTRIBUTE& attribute) {
    const CK_ULONG number = GetNumber(attribute);
    writer.AppendDecimal(Narrow(number));
    AppendBracketedHex(writer, number);
}

void AppendDate(CLineWriter& writer, const CK_ATTRIBUTE& attribute) {
    AppendText(writer, attribute.pValue, kDateLength);
}

void AppendQuoted(CLineWriter& writer, const CK_ATTRIBUTE& attribute) {
    writer.Append('"');
    AppendText(writer, attribute.pValue, GetLength(attribute));
    writer.Append('"');
}

void AppendUndisclosed(CLineWriter& writer, const CK_ATTRIBUTE& attribute) {
    writer.Append("<undisclosed, length is ");
    writer.AppendDecimal(Narrow(attribute.ulValueLen));
    writer.Append('>');
}

using AppendValue = void (*)(CLineWriter& writer, const CK_ATTRIBUTE& attribute);

constexpr CK_ULONG kAnyLength = static_cast<CK_ULONG>(-1);
constexpr CK_ULONG kNumberLength = sizeof(CK_ULONG);

/** How the value of an attribute is written when it has the length that its type demands. */
struct CValueRow {
    CK_ATTRIBUTE_TYPE type;
    CK_ULONG length;
    AppendValue append;
};

// clang-format off
constexpr CValueRow kValues[] = {
    {CKA_CLASS,                     kNumberLength, AppendNamed<kObjectClassNames>},
    {CKA_CERTIFICATE_TYPE,          kNumberLength, AppendNamed<kCertificateTypeNames>},
    {CKA_KEY_TYPE,                  kNumberLength, AppendNamed<kKeyTypeNames>},
    {CKA_KEY_GEN_MECHANISM,         kNumberLength, AppendMechanism},
    {CXA_CONTAINER_KEYSPEC,         kNumberLength, AppendNamed<kKeySpecNames>},
    {CXA_CARD_CONTAINER,            kNumberLength, AppendContainer},

    {CKA_TOKEN,                     1,             AppendBool},
    {CKA_PRIVATE,                   1,             AppendBool},
    {CKA_TRUSTED,                   1,             AppendBool},
    {CKA_SENSITIVE,                 1,             AppendBool},
    {CKA_ENCRYPT,                   1,             AppendBool},
    {CKA_DECRYPT,                   1,             AppendBool},
    {CKA_WRAP,                      1,             AppendBool},
    {CKA_UNWRAP,                    1,             AppendBool},
    {CKA_SIGN,                      1,             AppendBool},
    {CKA_SIGN_RECOVER,              1,             AppendBool},
    {CKA_VERIFY,                    1,             AppendBool},
    {CKA_VERIFY_RECOVER,            1,             AppendBool},
    {CKA_DERIVE,                    1,             AppendBool},
    {CKA_EXTRACTABLE,               1,             AppendBool},
    {CKA_LOCAL,                     1,             AppendBool},
    {CKA_NEVER_EXTRACTABLE,         1,             AppendBool},
    {CKA_ALWAYS_SENSITIVE,          1,             AppendBool},
    {CKA_MODIFIABLE,                1,             AppendBool},
    {CKA_SECONDARY_AUTH,            1,             AppendBool},
    {CKA_RESET_ON_INIT,             1,             AppendBool},
    {CKA_HAS_RESET,                 1,             AppendBool},

    {CKA_MODULUS_BITS,              kNumberLength, AppendNumber},
    {CKA_PRIME_BITS,                kNumberLength, AppendNumber},
    {CKA_SUB_PRIME_BITS,            kNumberLength, AppendNumber},
    {CKA_VALUE_BITS,                kNumberLength, AppendNumber},
    {CKA_VALUE_LEN,                 kNumberLength, AppendNumber},
    {CKA_AUTH_PIN_FLAGS,            kNumberLength, AppendNumber},
    {CXA_VSLOT,                     kNumberLength, AppendNumber},
    {CXA_ACTIVATE_CONTAINER_COUNT,  kNumberLength, AppendNumber},

    {CKA_START_DATE,                kDateLength,   AppendDate},
    {CKA_END_DATE,                  kDateLength,   AppendDate},

    {CKA_LABEL,                     kAnyLength,    AppendQuoted},
    {CKA_APPLICATION,               kAnyLength,    AppendQuoted},
    {CXA_CONTAINER_NAME,            kAnyLength,    AppendQuoted},

    // CKA_VALUE whatever the object is: a certificate's as well as a key's.
    {CKA_VALUE,                     kAnyLength,    AppendUndisclosed},
    {CKA_PRIVATE_EXPONENT,          kAnyLength,    AppendUndisclosed},
    {CKA_PRIME_1,                   kAnyLength,    AppendUndisclosed},
    {CKA_PRIME_2,                   kAnyLength,    AppendUndisclosed},
    {CKA_EXPONENT_1,                kAnyLength,    AppendUndisclosed},
    {CKA_EXPONENT_2,                kAnyLength,    AppendUndisclosed},
    {CKA_COEFFICIENT,               kAnyLength,    AppendUndisclosed},
};
// clang-format on

constexpr auto kValuesByType = [] {
    std::array<CValueRow, std::size(kValues)> rows{};
    size_t count = 0;
    for (const CValueRow& row : kValues) {
        size_t at = count++;
        for (; at > 0 && rows[at - 1].type > row.type; --at) {
            rows[at] = rows[at - 1];
        }
        rows[at] = row;
    }
    return rows;
}();

const CValueRow* FindRow(CK_ATTRIBUTE_TYPE type) {
    const auto* const row = std::lower_bound(
        kValuesByType.begin(), kValuesByType.end(), type,
        [](const CValueRow& left, CK_ATTRIBUTE_TYPE right) { return left.type < right; });
    return row != kValuesByType.end() && row->type == type ? row : nullptr;
}

}  // namespace

void AppendNameOrNumber(CLineWriter& writer, unsigned long number,
                        const CNameTable& names) noexcept {
    if (const char* const name = names.Find(number)) {
        writer.Append(name);
    } else {
        writer.AppendHexNumber(number, 16);
    }
}

void AppendAttributeValue(CLineWriter& writer, const CK_ATTRIBUTE& attribute) noexcept {
    const CValueRow* const row = FindRow(attribute.type);
    const bool fits =
        row != nullptr && (row->length == kAnyLength || row->length == attribute.ulValueLen);
    (fits ? row->append : AppendBytes)(writer, attribute);
}
