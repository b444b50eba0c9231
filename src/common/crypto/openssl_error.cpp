#include "crypto/openssl_error.h"

#include "crypto/openssl_handle.h"
#include <qorvs/trace.h>

#include <openssl/err.h>

void ReportOpenSSLError(const char* callName) noexcept {
    const auto text = Own(BIO_new(BIO_s_mem()));
    char* begin = nullptr;
    if (text) {
        ERR_print_errors(text.Get());
        if (BIO_write(text.Get(), "", 1) == 1) {  // the terminator
            BIO_ctrl(text.Get(), BIO_CTRL_INFO, 0, &begin);
        }
    }
    ERR_clear_error();  // what a failure in here left
    TraceString("OpenSSL::%s failed: %s", callName, begin != nullptr ? begin : "");
}
