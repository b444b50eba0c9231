#include "asn1/big_number.h"

#include "asn1/primitives.h"
#include "util/exception.h"
#include "util/raise.h"

#include <utility>

namespace {

constexpr unsigned long kDataInvalid = 0x20;  // CKR_DATA_INVALID

}  // namespace

uint64_t FromBigInt(const unsigned char* bytes, size_t size) {
    const CByteView all(bytes, size);
    const auto* const first = std::find_if(all.begin(), all.end(), [](int b) { return b != 0; });
    const CByteView significant(first, static_cast<size_t>(all.end() - first));
    if (significant.GetSize() > 4) {
        RAISE(CException(kDataInvalid));
    }
    return DecodeUnsigned(significant);
}

CBigNumber::CBigNumber(CByteView number) {
    const bool looksNegative = !number.IsEmpty() && number[0] >= 0x80;
    content.Reserve(CheckedSum(number.GetSize(), looksNegative));
    if (looksNegative) {
        content.Append(0);
    }
    content.Append(number.GetData(), number.GetSize());
}

CBigNumber& CBigNumber::operator=(CByteView number) {
    CBigNumber copy(number);
    std::swap(content, copy.content);
    return *this;
}

CByteView CBigNumber::GetUnsigned() const {
    const CByteView all(content);
    return all.Sub(!all.IsEmpty() && all[0] == 0 ? 1 : 0);
}
