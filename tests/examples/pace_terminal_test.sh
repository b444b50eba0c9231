#!/usr/bin/env bash
# Runs PACE between the library's terminal and the example's chip: every variant on every domain,
# with the right password and with a wrong one. Needs QORVS_BUILD_DIR.
set -euo pipefail

program=$QORVS_BUILD_DIR/examples/pace_terminal
fail() { echo "FAILED: $*" >&2; exit 1; }

# A run whose exit status has to be the first argument.
expect_run() {
    local wanted=$1 status=0
    shift
    output=$("$program" "$@" 2>&1) || status=$?
    [ "$status" = "$wanted" ] || fail "$* gave $status: $output"
}
expect_last() { [ "$(tail -n 1 <<<"$output")" = "$1" ] || fail "not \"$1\": $output"; }

for domain in {0..18}; do
    case $domain in
        [0-2]) families='dh-gm dh-im' ;;
        [3-7]) families='' ;;
        10) families='ecdh-gm ecdh-cam' ;;
        *) families='ecdh-gm ecdh-im ecdh-cam' ;;
    esac
    for family in $families; do
        for cipher in 3des aes-128 aes-192 aes-256; do
            [ $family-$cipher != ecdh-cam-3des ] || continue
            run=(--domain=$domain --variant=$family-$cipher)
            expect_run 0 "${run[@]}"
            expect_last 'Both sides agree'
            [ "$(awk '$1 == "Chip\x27s" && NF == 2 { print last == $2 } { last = $NF }' \
                <<<"$output" | sort | uniq -c | tr -s ' ')" = ' 2 1' ] || fail "keys: $output"
        done
        expect_run 1 "${run[@]}" --password=123456 --chip-password=123457
        expect_last 'The sides do not agree'
    done
done

# The prime of domain 10 is one that integrated mapping is not made for.
expect_run 1 --domain=10 --variant=ecdh-im-aes-128
for domain in 3 7 19 -1; do
    expect_run 1 --domain=$domain --variant=dh-gm-aes-128
    expect_last 'the chip cannot use these domain parameters for DH'
done
for wrong in --domain= --domain=1x --variant=ecdh-gm --nonsense=1 nonsense; do
    expect_run 1 "$wrong"
    expect_last 'Usage: pace_terminal [--password=TEXT] [--chip-password=TEXT] [--domain=ID] [--variant=NAME]'
done
