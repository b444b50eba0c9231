#!/usr/bin/env bash
# Drives the tracing module with a host of its own over fake modules, and with pkcs11-tool over
# SoftHSM, and reads the logs. Needs QORVS_BUILD_DIR.
set -euo pipefail

root=$(cd "$(dirname "$0")/../.." && pwd)
module=$QORVS_BUILD_DIR/lib/qorvs-pkcs11-trace.so
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export TMPDIR=$work QORVS_CONFFILE=$work/qorvs.conf SOFTHSM2_CONF=$work/softhsm2.conf

# A sanitizer's runtime has to be loaded before everything else, which pkcs11-tool does not do.
sanitizer=$(ldd "$module" | awk '/lib[at]san/ {print $3}')

fail() { echo "FAILED: ${logs##*/}: $*" >&2; exit 1; }

# Gives the case a log directory of its own.
begin() {
    logs=$work/$1
    mkdir -p "$logs"
    printf 'SecuritySuite {\n    EnableTrace = 1\n    Trace = %s\n}\n' "$logs" >"$QORVS_CONFFILE"
}

# A case of the host over a module; with "ok" behind it the fake functions succeed.
run_host() {
    begin "$2${3:-}"
    env ${3:+FAKE_PKCS11_OK=1} QORVS_PKCS11_MODULE="$1" \
        timeout 60 "$QORVS_BUILD_DIR/tests/pkcs11_trace_host" "$module" "$2" || fail "the host gave $?"
}

tool() {
    LD_PRELOAD=$sanitizer ASAN_OPTIONS=detect_leaks=0 \
        pkcs11-tool --module "$module" "$@" >"$work/output" 2>&1 ||
        fail "pkcs11-tool $*: $(cat "$work/output")"
}

expect_line() { grep -qE -- "$1" "$logs"/*.log || fail "no line with $1"; }
expect_none() { ! grep -iE -- "$1" "$logs"/*.log || fail "a line with $1"; }

# Each Leaving belongs to the last open Entering of its file, and nothing stays open.
expect_nested() {
    for log in "$logs"/*.log; do
        awk '$3 == "Entering" { open[++depth] = $4 }
             $3 == "Leaving" && open[depth--] != $4 { depth = -1; exit }
             END { exit depth != 0 }' "$log" || fail "not nested: $log"
    done
}

for answer in '' ok; do
    run_host "$QORVS_BUILD_DIR/tests/fake2x_module.so" module-of-2x $answer
    [ "$(sort -u -k4,4 <(grep -h ' Leaving C_' "$logs"/*.log) | wc -l)" = 70 ] ||
        fail "not all of the 68 functions and the 2 for interfaces are in the log"
    expect_nested

    run_host "$QORVS_BUILD_DIR/tests/fake2x_module.so" secrets $answer < <(tail -n +4 "$root/tests/vectors/examples/templates.txt")
    expect_none 'hidden"|68696464656E'
    expect_line 'Parameter hidden, length is 6$'
    [ "$(grep -c 'CKA_LABEL.*"shown"' "$logs"/*.log)" = 4 ] || fail "public labels are not shown"
done

run_host /nonexistent.so unloadable
expect_line 'No PKCS #11 module: /nonexistent.so: cannot open'
run_host "$module" unloadable
run_host "$QORVS_BUILD_DIR/tests/fake3x_module.so" module-of-3x

unset QORVS_PKCS11_MODULE
mkdir "$work/tokens"
printf 'directories.tokendir = %s\n' "$work/tokens" >"$SOFTHSM2_CONF"
printf 'a private value' >"$work/value"
user=(--token-label Test --login --pin user-pin-of-test)

begin token
tool --init-token --slot-index 0 --label Test --so-pin so-pin-of-test
tool --init-pin --token-label Test --login --login-type so --so-pin so-pin-of-test \
    --new-pin user-pin-of-test
expect_line 'user: CKU_SO, PIN: given$'
tool "${user[@]}" --write-object "$work/value" --type data --label "public label"
tool "${user[@]}" --write-object "$work/value" --type data --label "private label" --private
tool "${user[@]}" --keypairgen --key-type EC:prime256v1 --id 2A --label "pair label"
tool "${user[@]}" --list-objects --test
expect_line 'CKA_LABEL	Len=12	"public label"$'
expect_line 'CKA_LABEL	Len=13	\(data present\)$'
grep -q 'No errors' "$work/output" || fail "pkcs11-tool --test found errors"
expect_none 'private (label|value)|6120707269766174652076616C7565|pin-of-test'
expect_nested

if [ -z "$sanitizer" ]; then
    "$root/examples/pkcs11_trace/run_session.sh" "$QORVS_BUILD_DIR" >"$work/session" 2>&1 ||
        fail "run_session.sh: $(cat "$work/session")"
    grep -q "Entering C_Verify\.$" "$work/session" || fail "no C_Verify in the session's log"
fi
