// Has, as PKCS #11 3.0 allows, several interfaces: a vendor's, 2.20, 3.0, and one from the future.
#include "fake2x_module.h"

#include <algorithm>
#include <iterator>

static CFakeList functions30 = MakeFakeList(3, 0, kAllFakes);
static CFakeList functions39 = MakeFakeList(3, 9, kAllFakes);
static CInterface interfaces[] = {
    {"Vendor", &functions20, 0},
    {"PKCS 11", &functions20, 0},
    {"PKCS 11", &functions30, 1},
    {"PKCS 11", &functions39, 0},
};

FAKE_EXPORT C_GetInterfaceList(CInterface* list, CK_ULONG* count) {
    const size_t room = list != nullptr ? *count : 0;
    *count = std::size(interfaces);
    std::copy_n(interfaces, std::min(room, std::size(interfaces)), list);
    return CKR_OK;
}

FAKE_EXPORT C_GetInterface(const char*, CK_VERSION* version, CInterface** interface, CK_FLAGS) {
    *interface = &interfaces[version != nullptr && version->major == 2 ? 1 : 2];
    return CKR_OK;
}
