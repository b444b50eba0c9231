// Has, as PKCS #11 3.0 allows, several interfaces: a vendor's, 2.20, 3.0, and one from the future.
#include "fake_pkcs11.h"

struct CFunctionList3 {
    CK_FUNCTION_LIST base;
    CK_RV (*added[24])();
};

static CK_RV Added() { return 0x9000FFFF; }

static CFunctionList3 MakeList3(CK_BYTE minor) {
    CFunctionList3 list{fakeFunctions, {}};
    list.base.version = {3, minor};
    for (auto& function : list.added) {
        function = Added;
    }
    return list;
}

static CFunctionList3 functions30 = MakeList3(0);
static CFunctionList3 functions39 = MakeList3(9);
static CInterface interfaces[] = {
    {"Vendor", &fakeFunctions, 0},
    {"PKCS 11", &fakeFunctions, 0},
    {"PKCS 11", &functions30, 1},
    {"PKCS 11", &functions39, 0},
};

FAKE_EXPORT C_GetInterfaceList(CInterface* list, CK_ULONG* count) {
    for (CK_ULONG i = 0; list != nullptr && i < *count; i++) {
        list[i] = interfaces[i];
    }
    *count = 4;
    return CKR_OK;
}

FAKE_EXPORT C_GetInterface(const char*, CK_VERSION* version, CInterface** interface, CK_FLAGS) {
    *interface = &interfaces[version != nullptr && version->major == 2 ? 1 : 2];
    return CKR_OK;
}
