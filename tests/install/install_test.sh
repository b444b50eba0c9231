#!/usr/bin/env bash
# Installs a build into a fresh folder, moves the tree, builds a C and a C++ program against it
# through pkg-config and through the CMake package, and looks for each program's lines in its log.
#
# Usage: install_test.sh <build folder>
set -euo pipefail
build=$1
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/first" >/dev/null
mv "$work/first" "$work/tree"
pc=$(find "$work/tree" -name qorvscommon.pc)
libdir=$(dirname "$(dirname "$pc")")
export PKG_CONFIG_PATH=${pc%/*}

mkdir "$work/pkg-config" "$work/log"
flags=$(pkg-config --cflags --libs qorvscommon)
strict="-Wall -Wextra -Wpedantic -Werror"
# shellcheck disable=SC2086
{
    cc -std=c11 $strict "$here/c_program.c" -o "$work/pkg-config/c_program" $flags
    c++ -std=c++17 $strict "$here/cpp_program.cpp" -o "$work/pkg-config/cpp_program" $flags
}
cmake -G Ninja -S "$here" -B "$work/package" -DCMAKE_PREFIX_PATH="$work/tree" >/dev/null
cmake --build "$work/package" >/dev/null

printf 'SecuritySuite {\n\tEnableTrace = 1\n\tTrace = %s\n}\n' "$work/log" >"$work/qorvs.conf"
export QORVS_CONFFILE=$work/qorvs.conf HOME=$work LD_LIBRARY_PATH=$libdir
for way in pkg-config package; do
    for program in c_program cpp_program; do
        rm -f "$work"/log/*
        "$work/$way/$program"
        for line in Entering Leaving; do
            if ! grep -q "$line $program\.$" "$work"/log/*.log; then
                echo "$way: $program left no \"$line\" line" >&2
                exit 1
            fi
        done
        echo "$way: $program runs and is in the log"
    done
done
