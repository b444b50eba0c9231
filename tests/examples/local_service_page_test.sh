#!/usr/bin/env bash
# Opens the page of local_service in Chromium, from an origin that is allowed and from another one,
# and compares what the page sees. Needs QORVS_BUILD_DIR and chromium.
set -euo pipefail

if ! command -v chromium >/dev/null; then
    echo "chromium is not installed"
    exit 77
fi
root=$(cd "$(dirname "$0")/../.." && pwd)
expected=$root/tests/vectors/system/local_service_page.txt
work=$(mktemp -d)
pids=()
stop() {
    [ ${#pids[@]} = 0 ] || { kill "${pids[@]}" && wait "${pids[@]}"; } 2>/dev/null || true
    rm -rf "$work"
}
trap stop EXIT
cd "$work"
mkdir uploads
export HOME=$work

# A server of pages, on a free port.
mkfifo pages
python3 -u -c 'if True:
    import functools, http.server, sys
    handler = functools.partial(http.server.SimpleHTTPRequestHandler, directory=sys.argv[1])
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), handler)
    print(server.server_port)
    server.serve_forever()' "$root/examples/local_service" >pages 2>pages.log &
pids+=($!)
read -r pages <pages

# What a page of one of our origins sees of a service that lets in the first.
see() { # origin, service
    timeout 90 chromium --headless --no-sandbox --disable-gpu --disable-dev-shm-usage --no-first-run \
        --disable-background-networking --no-proxy-server --ignore-certificate-errors \
        --user-data-dir="$work/profile" --virtual-time-budget=60000 --dump-dom \
        "$1/page.html#$2" 2>chromium.log | sed -n '/<pre/,/<\/pre>/{s/<[^>]*>//g;s/&lt;/</g;s/&gt;/>/g;p}' |
        sed -E 's/"pid": [1-9][0-9]*, "uid": [0-9]+/"pid": PID, "uid": UID/'
}

for option in --plain ''; do
    rm -f url && mkfifo url
    # shellcheck disable=SC2086 # none or one
    "$QORVS_BUILD_DIR/examples/local_service" $option --allow "http://127.0.0.1:$pages" uploads >url &
    pids+=($!)
    read -r url <url
    echo "# ${url%%:*}, a page of the origin that is allowed"
    see "http://127.0.0.1:$pages" "$url" | sed "s/:$pages/:PORT/g"
    echo "# ${url%%:*}, a page of another origin"
    see "http://localhost:$pages" "$url"
    echo "uploads: $(find uploads -mindepth 1 -maxdepth 1 | wc -l)"
done >made
if [ "${1:-}" = --print ]; then cat made; else diff "$expected" made; fi
