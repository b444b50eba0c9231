#include "util/address.h"

#include "util/numbers.h"
#include "util/raise.h"
#include "util/string_list.h"

#include <algorithm>
#include <iterator>

CAddress ParseAddress(const CUTF8String& text) {
    const CStringList hostAndPort = text.Split(":");
    const CStringList pieces = hostAndPort[0].Split(".");
    CAddress address;
    if (pieces.GetCount() != std::size(address.parts)) {
        TraceString("adress is not in IPV4 format");
        TraceString0(text.GetText());
        RAISE(NOT_IPV4());
    }
    std::copy(pieces.begin(), pieces.end(), address.parts);
    if (hostAndPort.GetCount() > 1 && hostAndPort[1].GetLength() > 0) {
        address.port = ToUInt(hostAndPort[1]);
    }
    return address;
}
