/**
 * Owning handles of OpenSSL's timestamp objects, and their DER.
 */
#pragma once

#include "crypto/openssl_handle.h"
#include "util/ct_zone.h"

#include <openssl/ts.h>

#include <cstddef>

inline CTHandle<TS_MSG_IMPRINT> Own(TS_MSG_IMPRINT* imprint) {
    return {imprint, TS_MSG_IMPRINT_free};
}
inline CTHandle<TS_REQ> Own(TS_REQ* request) { return {request, TS_REQ_free}; }
inline CTHandle<TS_RESP> Own(TS_RESP* response) { return {response, TS_RESP_free}; }
inline CTHandle<TS_VERIFY_CTX> Own(TS_VERIFY_CTX* context) { return {context, TS_VERIFY_CTX_free}; }

/** The DER of an object by its i2d function; empty when that fails, and nothing is reported. */
template <class Object>
CByteZone EncodeDer(int (*encode)(const Object*, unsigned char**), const Object* object) {
    CByteZone der;
    const int size = encode(object, nullptr);
    if (size > 0) {
        der.Resize(static_cast<size_t>(size));
        unsigned char* end = der.GetData();  // the call moves it
        encode(object, &end);
    }
    return der;
}
