/* A stranger's C program: the headers must be C, and the names plain symbols. */
#include <qorvs/ck_extensions.h>
#include <qorvs/ck_names.h>
#include <qorvs/cryptoki.h>
#include <qorvs/trace.h>
#include <qorvs/trace_structures.h>

#include <string.h>

int main(void) {
    CK_MECHANISM mechanism = {CKM_SHA_1, NULL_PTR, 0};

    TraceEnter("c_program");
    TraceString("%d of %s", 7, GetCkErrorString(CKR_PIN_INCORRECT));
    TraceMechanism(&mechanism);
    TraceLeave("c_program");
    return strcmp(GetCkMechanismTypeString(CKM_SHA_1), "CKM_SHA_1");
}
