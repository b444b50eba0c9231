// Loads the tracing module as a program would. Usage: pkcs11_trace_host <module> <what to try>
#include "pkcs11_functions.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#define CHECK(condition)                                                 \
    do {                                                                 \
        if (!(condition)) {                                              \
            printf("line %d: %s does not hold\n", __LINE__, #condition); \
            exit(1);                                                     \
        }                                                                \
    } while (false)

static void* module;

template <typename Function>
static Function Symbol(const char* name) {
    auto function = reinterpret_cast<Function>(dlsym(module, name));
    CHECK(function != nullptr);
    return function;
}

static CK_FUNCTION_LIST* Functions() {
    CK_FUNCTION_LIST* list = nullptr;
    CHECK(Symbol<CK_C_GetFunctionList>("C_GetFunctionList")(&list) == CKR_OK);
    return list;
}

template <typename... Parameters>
static CK_RV CallWithNothing(CK_RV (*function)(Parameters...)) {
    return function(Parameters{}...);
}

static void CheckList(const CK_FUNCTION_LIST* list) {
    CK_RV codes[] = {
#define CALL_ROW(name) CallWithNothing(list->name),
        PKCS11_FUNCTIONS(CALL_ROW)};
    CK_RV expected[] = {
#define CODE_ROW(name) PKCS11_CODE(name),
        PKCS11_FUNCTIONS(CODE_ROW)};
    constexpr size_t kGetFunctionList = 3;  // not forwarded
    for (size_t i = 0; i < sizeof codes / sizeof *codes; i++) {
        CK_RV forwarded = getenv("FAKE_PKCS11_OK") != nullptr ? CKR_OK : expected[i];
        CHECK(codes[i] == (i == kGetFunctionList ? CKR_ARGUMENTS_BAD : forwarded));
    }
}

static void TryNulls() {
    CK_FUNCTION_LIST* list = Functions();
    CHECK(list->version.major == 2 && list->version.minor == 20);
    CheckList(list);
}

static void TryUnloadable() {
    CK_FUNCTION_LIST* list = nullptr;
    CHECK(Symbol<CK_C_GetFunctionList>("C_GetFunctionList")(&list) == CKR_GENERAL_ERROR);
    CHECK(list == nullptr);
    CHECK(Symbol<CK_C_Finalize>("C_Finalize")(nullptr) == CKR_GENERAL_ERROR);
}

using CGetInterfaceList = CK_RV (*)(CInterface*, CK_ULONG*);
using CGetInterface = CK_RV (*)(const char*, CK_VERSION*, CInterface**, CK_FLAGS);

static void TryInterfaceOf2x() {
    auto getInterface = Symbol<CGetInterface>("C_GetInterface");
    auto getList = Symbol<CGetInterfaceList>("C_GetInterfaceList");
    CInterface* interface = nullptr;
    CHECK(getInterface("PKCS 11", nullptr, &interface, 0) == CKR_OK);
    CHECK(interface->functionList == Functions());
    CK_VERSION newer = {3, 0};
    CHECK(getInterface(nullptr, &newer, &interface, 0) == CKR_FUNCTION_FAILED);
    CHECK(getInterface(nullptr, nullptr, nullptr, 0) == CKR_ARGUMENTS_BAD);
    CInterface listed;
    CK_ULONG count = 0;
    CHECK(getList(nullptr, nullptr) == CKR_ARGUMENTS_BAD);
    CHECK(getList(&listed, &count) == CKR_BUFFER_TOO_SMALL && count == 1);
    CHECK(getList(&listed, &count) == CKR_OK && listed.functionList == Functions());
}

static void TryInterfacesOf3x() {
    CInterface listed[4];
    CK_ULONG count = 4;
    CHECK(Symbol<CGetInterfaceList>("C_GetInterfaceList")(listed, &count) == CKR_OK && count == 4);
    auto major = [&](int i) { return static_cast<CK_VERSION*>(listed[i].functionList)->major; };
    CHECK(listed[0].functionList != Functions() && major(0) == 2);
    CHECK(listed[1].functionList == Functions());
    CHECK(listed[2].flags == 1 && major(2) == 3);

    CInterface* interface = nullptr;
    CHECK(Symbol<CGetInterface>("C_GetInterface")(nullptr, nullptr, &interface, 0) == CKR_OK);
    CHECK(interface->functionList == listed[2].functionList);
    auto list3 = static_cast<CK_FUNCTION_LIST*>(listed[2].functionList);
    CheckList(list3);
    CHECK(list3->C_Login == Functions()->C_Login);
    auto added = reinterpret_cast<CK_RV (**)()>(list3 + 1);
    CHECK(reinterpret_cast<void*>(added[1]) == dlsym(module, "C_GetInterface"));
    CHECK(added[2]() == 0x9000FFFF && added[23]() == 0x9000FFFF);

    auto future = static_cast<CK_FUNCTION_LIST*>(listed[3].functionList);
    CHECK(future->C_Login != list3->C_Login);
}

// A data object, certificate or key with what its template says; the label tells what must become
// of it. A negative number is left out, a class of 4 bytes cannot be read.
static const struct CTemplateRow {
    const char* label;
    int objectClass;
    CK_ULONG classLength;
    int isPrivate;
} templateRows[] = {
    {"hidden", -1, 8, -1},
    {"hidden", -1, 8, CK_FALSE},
    {"hidden", CKO_DATA, 8, -1},
    {"hidden", CKO_DATA, 8, CK_TRUE},
    {"hidden", CKO_DATA, 4, CK_FALSE},
    {"hidden", CKO_CERTIFICATE, 8, CK_TRUE},
    {"hidden", CKO_PRIVATE_KEY, 8, CK_FALSE},
    {"hidden", CKO_SECRET_KEY, 8, CK_FALSE},
    {"shown", CKO_CERTIFICATE, 8, -1},
    {"shown", CKO_DATA, 8, CK_FALSE},
};

static void TryTemplate(const CK_FUNCTION_LIST* list, const CTemplateRow& row) {
    auto objectClass = static_cast<CK_OBJECT_CLASS>(row.objectClass);
    auto isPrivate = static_cast<CK_BBOOL>(row.isPrivate);
    CK_ATTRIBUTE attributes[4] = {
        {CKA_ID, nullptr, static_cast<CK_ULONG>(-1)},
        {CKA_LABEL, const_cast<char*>(row.label), strlen(row.label)},
    };
    CK_ULONG count = 2;
    if (row.objectClass >= 0) {
        attributes[count++] = {CKA_CLASS, &objectClass, row.classLength};
    }
    if (row.isPrivate >= 0) {
        attributes[count++] = {CKA_PRIVATE, &isPrivate, sizeof isPrivate};
    }
    list->C_CreateObject(1, attributes, count, nullptr);
    list->C_FindObjectsInit(1, attributes, count);
}

// The fake module leaves buffers alone: what it "answers" is what the host had in them.
static void TrySecrets() {
    CK_FUNCTION_LIST* list = Functions();
    for (const auto& row : templateRows) {
        TryTemplate(list, row);
    }
    CK_ATTRIBUTE hidden[] = {{CKA_LABEL, const_cast<char*>("hidden"), 6}};
    list->C_GetAttributeValue(1, 1, hidden, 1);
    list->C_SetAttributeValue(1, 1, hidden, 1);
    list->C_CopyObject(1, 1, hidden, 1, nullptr);
    list->C_GenerateKey(1, nullptr, hidden, 1, nullptr);
    list->C_GenerateKeyPair(1, nullptr, nullptr, 0, hidden, 1, nullptr, nullptr);
    list->C_UnwrapKey(1, nullptr, 1, nullptr, 0, hidden, 1, nullptr);
    list->C_DeriveKey(1, nullptr, 1, hidden, 1, nullptr);

    CK_UTF8CHAR text[] = "hidden";
    list->C_InitToken(1, text, 6, nullptr);
    list->C_InitPIN(1, text, 6);
    list->C_SetPIN(1, text, 6, text, 6);
    list->C_Login(1, CKU_USER, text, 6);
    list->C_SeedRandom(1, text, 6);
    list->C_Sign(1, text, 6, nullptr, nullptr);
    for (CK_MECHANISM_TYPE type :
         {CKM_PBE_SHA1_DES3_EDE_CBC, CKM_PKCS5_PBKD2, CKM_VENDOR_DEFINED + 1}) {
        CK_MECHANISM mechanism = {type, text, 6};
        list->C_SignInit(1, &mechanism, 1);
    }
    CK_MECHANISM mechanism = {CKM_AES_CBC, const_cast<char*>("an IV is shown.."), 16};
    list->C_EncryptInit(1, &mechanism, 1);
}

static const struct {
    const char* name;
    void (*run)();
} trials[] = {
    {"nulls", TryNulls},
    {"unloadable", TryUnloadable},
    {"interface-of-2x", TryInterfaceOf2x},
    {"interfaces-of-3x", TryInterfacesOf3x},
    {"secrets", TrySecrets},
};

int main(int count, char** arguments) {
    CHECK(count == 3);
    module = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) {
        printf("%s\n", dlerror());
        return 1;
    }
    for (const auto& trial : trials) {
        if (strcmp(trial.name, arguments[2]) == 0) {
            trial.run();
            return 0;
        }
    }
    return 2;
}
