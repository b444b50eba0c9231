#!/usr/bin/env bash
# Makes documents of all kinds with the openssl command, in the present directory; documents.txt and
# document_check.txt say what is to be thought of each.
set -euo pipefail

rsa=(rsa -pkeyopt rsa_keygen_bits:2048)
named=(ec -pkeyopt ec_paramgen_curve:brainpoolP256r1)
explicit=("${named[@]}" -pkeyopt ec_param_enc:explicit)
authority='basicConstraints=critical,CA:TRUE\nkeyUsage=critical,keyCertSign,cRLSign\n'
signing='keyUsage=critical,digitalSignature\n'

# A key and its certificate: file, kind of key, common name, days, extensions, and who issues it.
certificate() {
    local -n kind=$2
    local issuer=(-signkey "$1.key")
    [ -z "${6-}" ] || issuer=(-CA "$6.pem" -CAkey "$6.key")
    openssl genpkey -algorithm "${kind[@]}" -out "$1.key"
    openssl req -new -key "$1.key" -subj "/C=UT/O=Utopia/CN=$3" -out request
    printf "$5" >extensions
    openssl x509 -req -in request -days "$4" -extfile extensions -set_serial "$((++serial))" \
        -out "$1.pem" "${issuer[@]}"
}
csca() {
    certificate "$1" "$2" "$3" "$4" "$authority" "${5-}"
    openssl x509 -in "$1.pem" -outform DER -out "$1.cer"
}

# Signed data: file, content, its type, who signs it, and options of the command.
signed() {
    openssl cms -sign -binary -nodetach -nosmimecap -in "$2" -econtent_type "$3" -outform DER \
        -out "$1" -signer "$4.pem" -inkey "$4.key" -md sha256 "${@:5}"
}
card() { signed "$1.card" content 0.4.0.127.0.7.3.2.1 "${@:2}"; }
sod() {
    signed signed "${list-list}" 2.23.136.1.1.1 "${@:2}"
    wrap signed >"$1.sod"
}
wrap() {
    printf "\\x77\\x82\\x$(printf %04x "$(stat -c %s "$1")" | sed 's/../&\\x/')"
    cat "$1"
}
# All but the last byte, which becomes another one.
forge() { head -c -1 "$1"; tail -c 1 "$1" | tr '\0-\377' '\1-\377\0'; }

# A list of hashes: the algorithm's identifier and the numbers of data groups.
hashes() {
    printf 'asn1 = SEQUENCE:lds\n[lds]\nv = INTEGER:0\na = SEQUENCE:algorithm\nh = SEQUENCE:hashes\n'
    printf '[algorithm]\noid = OID:%s\n[hashes]\n' "$1"
    for number in "${@:2}"; do printf '%s = SEQUENCE:dg%s\n' "$number" "$number"; done
    for number in "${@:2}"; do
        printf '[dg%s]\nn = INTEGER:%s\nh = FORMAT:HEX,OCTETSTRING:%s\n' "$number" "$number" \
            "$(openssl dgst -sha256 -r "$number.dg" | cut -d' ' -f1)"
    done
}
for number in 1 2 14; do echo "data group $number" >"$number.dg"; done
hashes 2.16.840.1.101.3.4.2.1 1 2 14 >list.cnf
hashes 1.2.3.4 1 >unknown.cnf
for list in list unknown; do openssl asn1parse -genconf $list.cnf -noout -out $list; done
unset list
echo "what EF.CardSecurity says" >content
: >empty
printf '\x30\x03\x02\x01' >garbage

serial=0
csca csca rsa 'CSCA' 2
csca twin rsa 'CSCA' 2 # another key under the same name
csca named named 'CSCA 2' 2
csca explicit explicit 'CSCA 3' 2
csca old named 'CSCA 4' -1
csca sub named 'Between' 2 csca
certificate ds rsa 'DS' 2 "$signing" csca
certificate ds_named named 'DS 2' 2 "$signing" named
certificate ds_explicit explicit 'DS 3' 2 "$signing" explicit
certificate ds_explicit_expired explicit 'DS 3' -1 "$signing" explicit
certificate ds_other named 'DS 5' 2 "$signing" csca
certificate ds_expired named 'DS 6' -1 "$signing" csca
certificate ds_of_old named 'DS 7' 2 "$signing" old
certificate ds_of_sub named 'DS 8' 2 "$signing" sub
certificate ds_stamping named 'DS 9' 2 "extendedKeyUsage=timeStamping\n" csca
certificate own named 'DS' 2 "$signing"
openssl x509 -in ds.pem -outform DER -out ds.cer

for name in ds ds_{named,explicit,explicit_expired,expired,of_old,stamping} own; do sod "$name" "$name"; done
sod of_sub ds_of_sub -certfile sub.pem
sod no_certificate ds -nocerts
sod pss ds -keyopt rsa_padding_mode:pss
sod key_identifier ds -keyid
sod two_signers ds -signer own.pem -inkey own.key
list=unknown sod unknown ds
list=content sod nolist ds
forge ds.sod >forged.sod
forge own.sod >own_forged.sod
{ printf '\x04\x01\x00'; cat ds.sod; printf '\0\0'; } >amid.sod
wrap garbage >garbage.sod

card ds ds
card without ds -nocerts
card own own
card other ds_other
card both own -signer ds.pem -inkey ds.key
forge ds.card >forged.card
