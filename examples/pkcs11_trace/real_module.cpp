#include "real_module.h"

#include <qorvs/ck_names.h>
#include <qorvs/remote_log.h>
#include <qorvs/trace.h>

#include <dlfcn.h>
#include <stdlib.h>
#include <unistd.h>

#include <string>

static constexpr char kModuleVariable[] = "QORVS_PKCS11_MODULE";
static constexpr char kRecordVariable[] = "QORVS_RECORD_URL";
static constexpr char kDefaultModule[] = "/usr/lib/softhsm/libsofthsm2.so";

template <typename Function>
static Function Symbol(void* library, const char* name) {
    return reinterpret_cast<Function>(dlsym(library, name));
}

// A module that forwards to itself would never return.
static bool IsThisModule(CK_C_GetFunctionList function) {
    Dl_info theirs{};
    Dl_info ours{};
    return dladdr(reinterpret_cast<void*>(function), &theirs) != 0 &&
           dladdr(kModuleVariable, &ours) != 0 && theirs.dli_fbase == ours.dli_fbase;
}

// The log goes to an endpoint too, under the number of the process.
static void StartRecording(const std::string& url) {
    try {
        StartRemoteLogsRecord((url + "?process=" + std::to_string(getpid())).c_str());
    } catch (...) {
        // The session goes on without; the endpoint shows that nothing came.
    }
}

const CRealModule& CRealModule::Instance() {
    static const CRealModule module;  // has nothing to destroy, so exit handlers may use it
    return module;
}

CRealModule::CRealModule() {
    if (const char* url = secure_getenv(kRecordVariable)) {
        StartRecording(url);
    }
    const char* path = secure_getenv(kModuleVariable);
    Load(path != nullptr && *path != '\0' ? path : kDefaultModule);
}

void CRealModule::Load(const char* path) {
    void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        TraceString("No PKCS #11 module: %s", dlerror());
        return;
    }
    auto getFunctionList = Symbol<CK_C_GetFunctionList>(library, "C_GetFunctionList");
    if (getFunctionList == nullptr || IsThisModule(getFunctionList)) {
        TraceString("No PKCS #11 module to forward to: %s", path);
        return;
    }
    CK_RV result = getFunctionList(&functions);
    if (result != CKR_OK || functions == nullptr) {
        TraceString("No functions from %s: %s", path, GetCkErrorString(result));
        functions = nullptr;
        return;
    }
    getInterfaceList = Symbol<CGetInterfaceList>(library, "C_GetInterfaceList");
    getInterface = Symbol<CGetInterface>(library, "C_GetInterface");
    TraceString("Forwarding to %s, functions of version %d.%d", path, functions->version.major,
                functions->version.minor);
}
