#!/usr/bin/env bash
# Lets curl talk to local_service, plain and over TLS: every form of an answer against a transcript,
# uploads and downloads of several sizes, peers that leave. With --print, prints the transcript of
# the service as it is. Needs QORVS_BUILD_DIR.
set -euo pipefail

transcript=$(cd "$(dirname "$0")/../vectors/system" && pwd)/local_service.txt
work=$(mktemp -d)
service=
stop() { [ -z "$service" ] || { kill "$service" && wait "$service"; }; }
trap 'stop; rm -rf "$work"' EXIT
cd "$work"
# No curl of a test may ask a proxy, or wait without end.
printf 'silent\ninsecure\nnoproxy = *\nmax-time = 60\n' >.curlrc
export HOME=$work
mkdir uploads

start() {
    rm -f url && mkfifo url
    "$QORVS_BUILD_DIR/examples/local_service" --allow http://a.example "$@" uploads >url &
    service=$!
    read -r url <url
    port=${url##*:}
}
fail() { echo "$scheme: $*" && exit 1; }

# A line "$ curl" is given to curl, "$ raw" is a format of printf that is sent; others are answers.
talk() {
    local line
    while IFS= read -r line; do
        case $line in
        '$ curl '*)
            echo "$line"
            eval "curl --include ${line#* curl }" | tr -d '\r' | sed '$a\'
            ;;
        '$ raw '*)
            echo "$line"
            exec 9<>"/dev/tcp/127.0.0.1/$plain_port"
            printf "${line#* raw }" "$plain_port" >&9
            tr -d '\r' <&9 | sed '$a\'
            exec 9>&-
            ;;
        '#'*) echo "$line" ;;
        esac
    done <"$transcript" | sed 's/"upload_[A-Za-z0-9]*/"upload_NAME/'
}

# Parts of these sizes go up in one request, and come back one by one.
upload() {
    local description="{\"nbData\": $#" number=0 size arguments=()
    for size in "$@"; do
        number=$((number + 1))
        head -c "$size" /dev/urandom >"part$number"
        description+=", \"data$number\": $size"
        arguments+=(-F "data$number=@part$number;filename=\"../part$number\"")
    done
    answer=$(curl -F "description=$description};type=application/json" "${arguments[@]}" "$url/upload")
    [[ $answer =~ ^\{\"directory\":\ \"(upload_[A-Za-z0-9]{6})\",\ \"sizes\":\ \[([0-9, ]*)\]\}$ ]] ||
        fail "upload of $*: $answer"
    [ "${BASH_REMATCH[2]//,/}" = "$*" ] || fail "sizes of $*: $answer"
    for ((; number > 0; number--)); do
        cmp "part$number" "uploads/${BASH_REMATCH[1]}/part$number"
        curl --fail "$url/download/${BASH_REMATCH[1]}/part$number" | cmp "part$number" -
    done
    last=${BASH_REMATCH[1]}
}

plain_port=
for scheme in http https; do
    if [ "$scheme" = http ]; then start --plain; else start; fi
    [[ $url = "$scheme://127.0.0.1:"* ]] || fail "$url"
    plain_port=${plain_port:-$port}
    if [ "$scheme" = http ]; then
        talk >made
        if [ "${1:-}" = --print ]; then cat made && exit; fi
        diff "$transcript" made
    else
        sed -n '/^\$ raw/q;p' "$transcript" >forms
        transcript=$work/forms
        talk >made
        diff forms made
    fi

    for size in 0 1 99999 100000 100001 300000; do upload "$size"; done
    upload 100000 0 1 300000 0 99999 100000
    upload 20000000

    # A download that is broken off, and an upload: the service goes on.
    curl "$url/download/$last/part1" | head -c 1000 >/dev/null || true
    before=$(ls uploads)
    truncate -s 50000000 large
    curl -F 'description={"nbData": 1, "data1": 50000000}' -F a=@large --limit-rate 1m --max-time 1 \
        "$url/upload" >/dev/null && fail "an upload of 50 s within 1 s"

    if command -v lsof >/dev/null; then
        curl "$url/peer" >peer &
        asker=$!
        wait $asker
        [ "$(cat peer)" = "{\"pid\": $asker, \"uid\": $(id -u)}" ] || fail "$asker is not $(cat peer)"
    fi
    kill "$service"
    wait "$service" || fail "ended with $?"
    service=
    [ "$(ls uploads)" = "$before" ] || fail "half an upload is left"
done
