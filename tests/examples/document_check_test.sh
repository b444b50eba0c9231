#!/usr/bin/env bash
# Gives the commands of a transcript to document_check and compares what is printed and logged. With
# --print, prints the new transcript instead. Needs QORVS_BUILD_DIR.
set -euo pipefail

vectors=$(cd "$(dirname "$0")/../vectors/icao" && pwd)
transcript=$vectors/document_check.txt
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
"$vectors/make_documents.sh" >make.log 2>&1 || { cat make.log; exit 1; }
mkdir log bin
printf '#!/bin/sh\n' >bin/lsb_release # which a machine may lack; the header of the log asks it
chmod +x bin/lsb_release
export PATH=$work/bin:$PATH
export QORVS_CONFFILE=$work/qorvs.conf
printf 'SecuritySuite {\n    EnableTrace = 1\n    Trace = %s\n}\n' "$work/log" >"$QORVS_CONFFILE"

run() {
    local status=0
    # shellcheck disable=SC2086 # the words of a line
    "$QORVS_BUILD_DIR/examples/document_check" $1 2>&1 || status=$?
    echo "exit $status"
    find log -type f -exec sed -nE \
        '/^[^ ]+ [0-9A-F]{8}\.\. /{s//log /;s/ failed: .*/ failed/;s/, line [0-9]+$//;p}' {} \; -delete
}

while IFS= read -r line; do
    case $line in
    '$ document_check '*) echo "$line" && run "${line#* * }" ;;
    '#'* | '') echo "$line" ;;
    esac
done <"$transcript" >made
if [ "${1:-}" = --print ]; then cat made; else diff "$transcript" made; fi
