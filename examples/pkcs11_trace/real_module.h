/**
 * The PKCS #11 module that the calls are forwarded to.
 *
 * It is loaded once, by the first call that needs it, from the path in the environment variable
 * QORVS_PKCS11_MODULE, else SoftHSM2's usual one. The variable is ignored in programs that run with
 * raised rights. The module is never unloaded: exit handlers of the host may still call it. Any
 * thread may ask.
 */
#pragma once

#include <qorvs/cryptoki.h>

/** CK_INTERFACE of PKCS #11 3.0, which headers of 2.x do not have. */
struct CInterface {
    const CK_UTF8CHAR* name;
    void* functionList;  // begins with a CK_VERSION
    CK_FLAGS flags;
};

using CGetInterfaceList = CK_RV (*)(CInterface*, CK_ULONG_PTR);
using CGetInterface = CK_RV (*)(const CK_UTF8CHAR*, CK_VERSION_PTR, CInterface**, CK_FLAGS);

class CRealModule {
public:
    /** The one object. When loading failed, the reason is in the log and it has no functions. */
    static const CRealModule& Instance();

    /** The module's list of the 2.x functions, or null. */
    const CK_FUNCTION_LIST* Functions() const { return functions; }

    /** Null in a module that knows 2.x only. */
    CGetInterfaceList GetInterfaceList() const { return getInterfaceList; }

    /** Null in a module that knows 2.x only. */
    CGetInterface GetInterface() const { return getInterface; }

    CRealModule(const CRealModule&) = delete;
    CRealModule& operator=(const CRealModule&) = delete;

private:
    CRealModule();

    void Load(const char* path);

    CK_FUNCTION_LIST* functions = nullptr;
    CGetInterfaceList getInterfaceList = nullptr;
    CGetInterface getInterface = nullptr;
};
