// Has, as PKCS #11 3.0 allows, several interfaces: a vendor's, 2.20 and 3.0.
#include "fake2x_module.h"

#include <algorithm>

static CFakeList functions30 = MakeFakeList(3, 0, kAllFakes);
static CInterface interfaces[] = {
    {"Vendor", &functions20, 0},
    {"PKCS 11", &functions20, 0},
    {"PKCS 11", &functions30, 1},
};

FAKE_EXPORT C_GetInterfaceList(CInterface* list, CK_ULONG* count) {
    std::copy_n(interfaces, list != nullptr ? *count : 0, list);
    *count = 3;
    return CKR_OK;
}

FAKE_EXPORT C_GetInterface(const char*, CK_VERSION* version, CInterface** interface, CK_FLAGS) {
    *interface = &interfaces[version != nullptr && version->major == 2 ? 1 : 2];
    return CKR_OK;
}
