#!/usr/bin/env bash
# Records the session of run_session.sh to an endpoint on the loopback interface and prints what the
# endpoint shows: the log, line by line, as it was written.
#
# Usage: record_session.sh <build directory>
#
# Certificate and endpoint are private to the run and gone at its end.
set -euo pipefail

if [ $# -ne 1 ] || [ ! -d "$1" ]; then
    sed -n -e 's/^# \(Usage: .*\)/\1/p' "$0" >&2
    exit 2
fi
here=$(dirname "$(realpath "$0")")

work=$(mktemp -d)
endpoint=
trap 'kill $endpoint 2>/dev/null || true; rm -rf "$work"' EXIT
openssl req -x509 -batch -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 1 \
    -subj /CN=localhost -keyout "$work/key.pem" -out "$work/certificate.pem" 2>/dev/null

"$here/recording_endpoint.py" --certificate "$work/certificate.pem" --key "$work/key.pem" \
    >"$work/recorded" &
endpoint=$!
until [ -s "$work/recorded" ]; do
    kill -0 $endpoint
    sleep 0.05
done

# The endpoint's certificate is all that the session trusts.
QORVS_RECORD_URL=$(head -n 1 "$work/recorded") SSL_CERT_FILE=$work/certificate.pem \
    "$here/../pkcs11_trace/run_session.sh" "$1" >"$work/session" || {
    cat "$work/session"
    exit 1
}

kill $endpoint
wait $endpoint || true
echo "== What the endpoint received:"
cat "$work/recorded"
if ! grep -q "Entering C_Sign\." "$work/recorded"; then
    echo "The session did not reach the endpoint." >&2
    exit 1
fi
