// What can be read is written as bytes that give themselves when they are read and written again.
#include "asn1/asn1_errors.h"
#include "asn1/security_object.h"

#include <cstdlib>

template <class Type>
static CByteZone Again(CByteView input) {
    size_t position = 0;
    const auto value = Type::Decode(input, position);
    if (Type::GetTypeName() != nullptr) {
        CJsonPrinter printer;
        Type::Print(*value, printer);
    }
    CByteZone output(Type::GetEncodedLength(*value), 0);
    Type::Encode(*value, output, position = 0);
    return output;
}

template <class Type>
static void Try(CByteView input) {
    CByteZone output;
    try {
        output = Again<Type>(input);
    } catch (const EASN1&) {
        return;
    }
    if (Again<Type>(output) != output) {
        std::abort();
    }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Try<CSignedDataType>({data, size});
    Try<CLDSSecurityObjectType>({data, size});
    Try<CLDSVersionInfoType>({data, size});
    return 0;
}
