#!/usr/bin/env bash
# Stamps a file with the example, from authorities without and with faults. Needs QORVS_BUILD_DIR.
set -euo pipefail

root=$(cd "$(dirname "$0")/../.." && pwd)
command -v python3 openssl >/dev/null || exit 77
work=$(mktemp -d)
export QORVS_CONFFILE=$work/qorvs.conf

exec {authority}< <(exec python3 "$root/tests/timestamp/authority.py" "$work" 0 2>"$work/errors")
server=$!
trap 'kill $server; rm -rf "$work"' EXIT
read -r port <&"$authority" || { cat "$work/errors" >&2; exit 1; }
printf 'SecuritySuite {\n    TSAURL = http://localhost:%s/tsa\n}\n' "$port" >"$QORVS_CONFFILE"

fail() { echo "FAILED: $*: $(cat "$work/output")" >&2; exit 1; }

# The exit status that is expected, the root, and the fault of an authority, or none for the one in
# the settings.
stamp() {
    rm -f "$work/file.tst"
    printf 'a file' >"$work/file"
    local status=0
    "$(find "$QORVS_BUILD_DIR" -name timestamp -type f)" "$work/file" "$work/$2" \
        ${3+"http://localhost:$port/tsa?$3"} >"$work/output" 2>&1 || status=$?
    [ $status = "$1" ] || fail "status $status for $*"
}

expect() { grep -q -- "$1" "$work/output" || fail "no $1"; }

stamp 0 root.pem
expect '^Library  version, imprint and nonce belong to the request$'
expect '^Verification: OK$'
expect '^Result   proved$'
cmp "$work/file.tst" "$work/token.der" || fail "another token"

for case in 'signer.pem' 'root.pem signature'; do
    stamp 1 $case
    expect '^Library  version, imprint and nonce belong to the request$'
    expect '^Verification: FAILED$'
    expect '^Result   NOT PROVED'
done

stamp 1 root.pem other-nonce
expect 'The answer is no token for this request'
[ ! -e "$work/file.tst" ] || fail "a token that was refused is there"
stamp 1 root.pem 500
expect 'WARNING! RFC3161TimestampToken::GetToken got status (500)'
