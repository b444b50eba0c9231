/**
 * The parameters that a key is made from.
 */
#pragma once

#include "crypto/openssl_error.h"
#include "crypto/openssl_handle.h"
#include "util/ct_zone.h"

#include <vector>

/**
 * Gathers named values for CreateKey. The first failure is reported by the name of the call, and
 * Build then gives null.
 */
class CKeyParameters {
public:
    CKeyParameters() : builder(Own(OSSL_PARAM_BLD_new())) {
        Check(static_cast<bool>(builder), "OSSL_PARAM_BLD_new");
    }

    /** The number is lent until Build is done; null is left out. */
    void Push(const char* name, const BIGNUM* number) {
        if (good && number != nullptr) {
            Check(OSSL_PARAM_BLD_push_BN(builder.Get(), name, number) > 0,
                  "OSSL_PARAM_BLD_push_BN");
        }
    }

    template <bool Secure>
    void Push(const char* name, const CTZone<unsigned char, Secure>& number) {
        BIGNUM* const made =
            BN_bin2bn(number.GetData(), static_cast<int>(number.GetSize()), nullptr);
        numbers.push_back(Secure ? OwnSecret(made) : Own(made));
        Check(made != nullptr, "BN_bin2bn");
        Push(name, made);
    }

    void Push(const char* name, const char* text) {
        if (good) {
            Check(OSSL_PARAM_BLD_push_utf8_string(builder.Get(), name, text, 0) > 0,
                  "OSSL_PARAM_BLD_push_utf8_string");
        }
    }

    /** The octets are lent until Build is done. */
    void PushOctets(const char* name, const CByteZone& octets) {
        if (good) {
            Check(OSSL_PARAM_BLD_push_octet_string(builder.Get(), name, octets.GetData(),
                                                   octets.GetSize()) > 0,
                  "OSSL_PARAM_BLD_push_octet_string");
        }
    }

    CTHandle<OSSL_PARAM> Build() {
        CTHandle<OSSL_PARAM> parameters;
        if (good) {
            parameters = OwnSecret(OSSL_PARAM_BLD_to_param(builder.Get()));
            Check(static_cast<bool>(parameters), "OSSL_PARAM_BLD_to_param");
        }
        return parameters;
    }

private:
    void Check(bool succeeded, const char* call) {
        if (good && !succeeded) {
            ReportOpenSSLError(call);
            good = false;
        }
    }

    CTHandle<OSSL_PARAM_BLD> builder;
    std::vector<CTHandle<BIGNUM>> numbers;
    bool good = true;
};
