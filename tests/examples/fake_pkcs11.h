/** Modules that do nothing, whatever their arguments are. */
#pragma once

#include <qorvs/cryptoki.h>

#include <cstddef>
#include <cstdlib>
#include <utility>

constexpr size_t kFunctions = 68;
constexpr size_t kAddedIn3 = 24;

/** Any function of a list: none has more parameters, and all are passed as words. */
using CFunction = CK_RV (*)(void*, void*, void*, void*, void*, void*, void*, void*);

/** CK_FUNCTION_LIST, and behind it what 3.0 adds. */
struct CFakeList {
    CK_VERSION version;
    CFunction functions[kFunctions + kAddedIn3];
};
static_assert(offsetof(CFakeList, functions[kFunctions]) == sizeof(CK_FUNCTION_LIST));

struct CInterface {
    const char* name;
    void* functionList;
    CK_FLAGS flags;
};

/** Each function answers with a code of its own, so that a call that went astray shows. */
inline CK_RV CodeOf(size_t index) {
    return getenv("FAKE_PKCS11_OK") != nullptr ? CKR_OK : 0x90000000 + index;
}

template <size_t index>
CK_RV Fake(void*, void*, void*, void*, void*, void*, void*, void*) {
    return CodeOf(index);
}

template <size_t... indices>
CFakeList MakeFakeList(CK_BYTE major, CK_BYTE minor, std::index_sequence<indices...>) {
    return {{major, minor}, {Fake<indices>...}};
}

constexpr auto kAllFakes = std::make_index_sequence<kFunctions + kAddedIn3>();
