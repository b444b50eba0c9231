#include "support/certificates.h"

#include <cstdlib>
#include <stdexcept>

constexpr const char* kMakeAll = R"(
new="openssl req -batch -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes"
own() { $new -x509 -days 2 -subj "/CN=$1" -keyout $1.pem -out $1.pem; }
sign() { # file, common name, days
    $new -subj "/O=Tests/CN=$2" -keyout $1.pem |
        openssl x509 -req -CA ca.pem -set_serial 1 -days $3 >> $1.pem
}
own ca && own foreign && cp ca.pem ../ssl/certs/ca-certificates.crt
printf 'openssl_conf = a\n[a]\nproviders = b\n[b]\nnull = c\n[c]\nactivate = 1\n' > none.cnf
sign good localhost 2 && sign elsewhere elsewhere.example 2
sign expired localhost -1 && sign client "A client" 2
)";

void MakeCertificates(const CSettingsHome& home) {
    home.Write("tls/make.sh", kMakeAll);
    home.Write("ssl/certs/README", "What this machine trusts.\n");
    home.Write("openssl.says", "OPENSSLDIR: \"" + home.Path("ssl") + "\"\nMODULES: \"/none\"\n");
    home.Write("bin/openssl", "#!/bin/sh\ncd " + home.Path("") +
                                  "\necho \"$@\" >> openssl.runs\ncat openssl.says\n");
    if (system(("cd " + home.Path("tls") + " && sh -e make.sh > make.log 2>&1").c_str()) != 0) {
        throw std::runtime_error("cannot make certificates");
    }
}
