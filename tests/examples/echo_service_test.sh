#!/usr/bin/env bash
# Lives through a day of the echo service with real processes: started by its client, found running,
# refused a second time, under load, stopped. Needs QORVS_BUILD_DIR.
set -euo pipefail

program=$QORVS_BUILD_DIR/examples/echo_service
work=$(mktemp -d)
export ECHO_SERVICE_DIR=$work QORVS_CONFFILE=$work/qorvs.conf HOME=$work
pid_file=$work/echo_service.pid
service=
trap '[ -z "$service" ] || kill -9 "$service" 2>/dev/null || :; rm -rf "$work"' EXIT
touch "$QORVS_CONFFILE"

fail() { echo "FAILED: $*" >&2; exit 1; }

# Ends when the process has, whoever its parent is.
stop_service() {
    kill -TERM "$service"
    timeout 60 tail --pid="$service" -s 0.02 -f /dev/null || fail "the service does not stop"
    service=
    [ ! -e "$pid_file" ] || fail "the PID file is left"
    [ ! -e "$work/echo_service.socket" ] || fail "the socket is left"
}

expect_echo() {
    local answer
    answer=$(timeout 60 "$program" client "$@") || fail "no echo: $answer"
    [ "$answer" = "$(printf '%s\n' "$@")" ] || fail "another echo: $answer"
}

# Two clients at a time, each with many messages of many sizes, in one connection each.
expect_echo hello '' "100%s"
# Who answers has written its number.
service=$(cat "$pid_file")
sizes=()
for size in 1 4095 4096 65536 100000; do
    sizes+=("$(printf "%0${size}d" "$size")")
done
expect_echo "${sizes[@]}" & one=$!
expect_echo "${sizes[@]}" & two=$!
wait $one
wait $two
[ "$(cat "$pid_file")" = "$service" ] || fail "another service was started"

status=0
"$program" >"$work/output" 2>&1 || status=$?
[ $status = 2 ] || fail "a second start gives $status"
[ "$(cat "$work/output")" = "The service might be already running because the PID file \"$pid_file\" already exists." ] ||
    fail "a second start says $(cat "$work/output")"

# A client that announces too much is not served; one that stays open does not keep the service.
if command -v python3 >/dev/null; then
    python3 - "$work/echo_service.socket" <<'END' || fail "the clients of python"
import socket, sys
def connect():
    client = socket.socket(socket.AF_UNIX)
    client.settimeout(60)
    client.connect(sys.argv[1])
    return client
greedy = connect()
greedy.sendall(b"\xff\xff\xff\xff")
assert greedy.recv(1) == b""
partial = connect()
partial.sendall(b"\0\0\0\x05ab")
partial.close()
END
    coproc idle { exec python3 -uc '
import socket, sys
client = socket.socket(socket.AF_UNIX)
client.connect(sys.argv[1])
client.sendall(b"\0\0")
print("connected")
sys.stdin.read()' "$work/echo_service.socket"; }
    read -r _ <&"${idle[0]}" || fail "no idle client"
fi
expect_echo again
stop_service
[ -z "${idle_PID:-}" ] || kill "$idle_PID"

# In the foreground, stopped from outside; the client finds it and starts none.
"$program" -f & service=$!
until [ -S "$work/echo_service.socket" ]; do kill -0 "$service" && sleep 0.01; done
expect_echo foreground
[ ! -e "$pid_file" ] || fail "a PID file in the foreground"
kill -TERM "$service"
wait "$service" || fail "the foreground service gives $?"
service=

# Nobody can listen here.
export ECHO_SERVICE_DIR=$work/missing
! "$program" client hello >"$work/output" 2>&1 || fail "an echo out of nowhere"
grep -q '^Status is 00000200\.$' "$work/output" || fail "the client says $(cat "$work/output")"
