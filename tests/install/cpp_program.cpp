// A stranger's C++ program: the scope object and the names that C++ has.
#include <qorvs/ck_extensions.h>
#include <qorvs/ck_names.h>
#include <qorvs/cryptoki.h>
#include <qorvs/trace.h>
#include <qorvs/trace_scope.h>
#include <qorvs/trace_structures.h>

#include <cstring>

int main() {
    const CTraceScope scope("cpp_program");
    TraceLine("From outside", __LINE__, __func__);
    TraceString0(GetSwString(0x9000));
    return std::strcmp(GetCkErrorString(CKR_OK), "CKR_OK");
}
