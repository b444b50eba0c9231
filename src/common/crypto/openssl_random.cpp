#include "crypto/openssl_wrapper.h"
#include "crypto/raise_openssl.h"
#include <qorvs/trace.h>

#include <openssl/rand.h>

#include <algorithm>
#include <climits>

void OpenSSLWrap::GenerateRandom(unsigned char* buffer, size_t length) {
    TraceString0("OpenSSLWrap::GenerateRandom");
    if (buffer == nullptr || length == 0) {
        RAISE_INVALID_PARAMETERS();
    }
    for (size_t done = 0; done < length;) {
        const size_t count = std::min<size_t>(length - done, INT_MAX);
        if (RAND_bytes(buffer + done, static_cast<int>(count)) <= 0) {
            RAISE_OPENSSL("RAND_bytes");
        }
        done += count;
    }
}
