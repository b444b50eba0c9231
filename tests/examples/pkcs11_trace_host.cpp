// Loads the tracing module as a program would. Usage: pkcs11_trace_host <module> <what to try>
#include "fake_pkcs11.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <string>

#define CHECK(condition) \
    ((condition) ? void() : (printf("line %d: not %s\n", __LINE__, #condition), exit(1)))

static void* module;

template <typename Function>
static Function Symbol(const char* name) {
    return reinterpret_cast<Function>(dlsym(module, name));
}

static CK_FUNCTION_LIST* Functions(CK_RV expected = CKR_OK) {
    CK_FUNCTION_LIST* list = nullptr;
    CHECK(Symbol<CK_C_GetFunctionList>("C_GetFunctionList")(&list) == expected);
    return list;
}

static void CheckList(const void* list, size_t begin, size_t end) {
    constexpr size_t kGetFunctionList = 3;  // not forwarded
    for (size_t i = begin; i < end; i++) {
        const CFunction call = static_cast<const CFakeList*>(list)->functions[i];
        CHECK(call({}, {}, {}, {}, {}, {}, {}, {}) ==
              (i == kGetFunctionList ? CKR_ARGUMENTS_BAD : CodeOf(i)));
    }
}

static void TryUnloadable() {
    CHECK(Functions(CKR_GENERAL_ERROR) == nullptr);
    CHECK(Symbol<CK_C_Finalize>("C_Finalize")(nullptr) == CKR_GENERAL_ERROR);
}

using CGetInterfaceList = CK_RV (*)(CInterface*, CK_ULONG*);
using CGetInterface = CK_RV (*)(const char*, CK_VERSION*, CInterface**, CK_FLAGS);

static void TryModuleOf2x() {
    CheckList(Functions(), 0, kFunctions);
    CInterface listed, *given = nullptr;
    CK_ULONG count = 0;
    CK_VERSION newer = {3, 0};
    const auto getList = Symbol<CGetInterfaceList>("C_GetInterfaceList");
    const auto get = Symbol<CGetInterface>("C_GetInterface");
    CHECK(getList(nullptr, nullptr) == CKR_ARGUMENTS_BAD &&
          get({}, {}, {}, 0) == CKR_ARGUMENTS_BAD);
    CHECK(getList(&listed, &count) == CKR_BUFFER_TOO_SMALL && getList(&listed, &count) == CKR_OK);
    CHECK(count == 1 && listed.functionList == Functions() && Functions()->version.minor == 20);
    CHECK(get("PKCS 11", {}, &given, 0) == CKR_OK && given->functionList == Functions());
    CHECK(get({}, &newer, &given, 0) == CKR_FUNCTION_FAILED);
}

static void TryModuleOf3x() {
    CInterface listed[4];
    CK_ULONG count = 4;
    CHECK(Symbol<CGetInterfaceList>("C_GetInterfaceList")(listed, &count) == CKR_OK && count == 4);
    const auto list = [&](int i) { return static_cast<CK_FUNCTION_LIST*>(listed[i].functionList); };
    CHECK(list(0) != Functions() && list(0)->version.major == 2 && list(1) == Functions());
    CHECK(list(3)->version.minor == 9 && list(3)->C_Login != Functions()->C_Login);
    CHECK(listed[2].flags == 1 && list(2)->version.major == 3);
    CheckList(list(2), 0, kFunctions);
    CheckList(list(2), kFunctions + 2, kFunctions + kAddedIn3);

    CInterface* interface = nullptr;
    auto getInterface = Symbol<CGetInterface>("C_GetInterface");
    CHECK(getInterface({}, {}, &interface, 0) == CKR_OK && interface->functionList == list(2));
    CHECK(reinterpret_cast<CGetInterface*>(list(2) + 1)[1] == getInterface);
}

static void TryTemplate(char* label, CK_OBJECT_CLASS type, CK_ULONG typeLength,
                        CK_BBOOL isPrivate) {
    CK_ATTRIBUTE attributes[] = {
        {CKA_ID, nullptr, static_cast<CK_ULONG>(-1)},
        {CKA_LABEL, label, strlen(label)},
        {type != static_cast<CK_ULONG>(-1) ? CKA_CLASS : CKA_KEY_TYPE, &type, typeLength},
        {isPrivate <= CK_TRUE ? CKA_PRIVATE : CKA_TOKEN, &isPrivate, sizeof isPrivate},
    };
    Functions()->C_CreateObject(1, attributes, 4, nullptr);
    Functions()->C_FindObjectsInit(1, attributes, 4);
}

// The fake module leaves buffers alone: what it "answers" is what the host had in them.
static void TrySecrets() {
    char label[8];
    long type, length, isPrivate;
    while (scanf("%7s%ld%ld%ld", label, &type, &length, &isPrivate) == 4) {
        TryTemplate(label, type, length, static_cast<CK_BBOOL>(isPrivate));
    }
    CK_FUNCTION_LIST* list = Functions();
    CK_UTF8CHAR text[] = "hidden";
    CK_ATTRIBUTE hidden[] = {{CKA_LABEL, text, 6}};
    list->C_GetAttributeValue(1, 1, hidden, 1);
    list->C_SetAttributeValue(1, 1, hidden, 1);
    list->C_CopyObject(1, 1, hidden, 1, nullptr);
    list->C_GenerateKey(1, nullptr, hidden, 1, nullptr);
    list->C_GenerateKeyPair(1, nullptr, nullptr, 0, hidden, 1, nullptr, nullptr);
    list->C_UnwrapKey(1, nullptr, 1, nullptr, 0, hidden, 1, nullptr);
    list->C_DeriveKey(1, nullptr, 1, hidden, 1, nullptr);
    list->C_InitToken(1, text, 6, nullptr);
    list->C_InitPIN(1, text, 6);
    list->C_SetPIN(1, text, 6, text, 6);
    list->C_Login(1, CKU_USER, text, 6);
    list->C_SeedRandom(1, text, 6);
    for (CK_ULONG kind : {CKM_PBE_SHA1_DES3_EDE_CBC, CKM_PKCS5_PBKD2, CKM_VENDOR_DEFINED + 1}) {
        CK_MECHANISM mechanism = {kind, text, 6};
        list->C_SignInit(1, &mechanism, 1);
    }
}

int main(int, char** arguments) {
    const std::map<std::string, void (*)()> trials = {
        {"module-of-2x", TryModuleOf2x},
        {"unloadable", TryUnloadable},
        {"module-of-3x", TryModuleOf3x},
        {"secrets", TrySecrets},
    };
    module = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
    trials.at(arguments[2])();
}
