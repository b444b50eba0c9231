#!/usr/bin/env bash
# Lets pkcs11-tool use a SoftHSM token through the tracing module and prints the log of it.
#
# Usage: run_session.sh <build directory>
#
# Token and settings are private to the run and are removed at its end; the log stays.
set -euo pipefail

if [ $# -ne 1 ] || [ ! -d "$1" ]; then
    sed -n -e 's/^# \(Usage: .*\)/\1/p' "$0" >&2
    exit 2
fi
module=$(realpath "$1")/lib/qorvs-pkcs11-trace.so

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
logs=$(mktemp -d "${TMPDIR:-/tmp}/qorvs-log.XXXXXX")

mkdir "$work/tokens"
printf 'directories.tokendir = %s\nobjectstore.backend = file\nlog.level = ERROR\n' \
    "$work/tokens" >"$work/softhsm2.conf"
printf 'SecuritySuite {\n    EnableTrace = 1\n    Trace = %s\n}\n' "$logs" >"$work/qorvs.conf"
export SOFTHSM2_CONF=$work/softhsm2.conf QORVS_CONFFILE=$work/qorvs.conf

# Made up for each run, so that a search of the log for them means something.
soPin=$(od -An -N8 -tx1 /dev/urandom | tr -d ' \n')
userPin=$(od -An -N8 -tx1 /dev/urandom | tr -d ' \n')

step() {
    echo "== $1"
    shift
    pkcs11-tool --module "$module" "$@"
}

withPin=(--token-label Example --login --pin "$userPin")
head -c 32 /dev/urandom >"$work/digest"  # SoftHSM's ECDSA takes the digest of a text

step "Initialise a token" --init-token --slot-index 0 --label Example --so-pin "$soPin"
step "Set the user's PIN" --init-pin --token-label Example --login --login-type so \
    --so-pin "$soPin" --new-pin "$userPin"
step "Make an EC key pair" "${withPin[@]}" --keypairgen --key-type EC:prime256v1 \
    --id 01 --label Signature
step "Sign" "${withPin[@]}" --sign --mechanism ECDSA --id 01 \
    --input-file "$work/digest" --output-file "$work/signature"
step "Verify" "${withPin[@]}" --verify --mechanism ECDSA --id 01 \
    --input-file "$work/digest" --signature-file "$work/signature"
step "List objects" "${withPin[@]}" --list-objects

shopt -s nullglob
files=("$logs"/*.log)
if [ ${#files[@]} -eq 0 ]; then
    echo "No log was written in $logs" >&2
    exit 1
fi

echo
echo "== The log lies in $logs, one file for each pkcs11-tool:"
for file in "${files[@]}"; do
    echo
    echo "-- $file"
    cat "$file"
done

if grep -qF -e "$soPin" -e "$userPin" "${files[@]}"; then
    echo "A PIN stands in the log." >&2
    exit 1
fi
