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
for compiler in "cc -std=c11 $here/c_program.c" "c++ -std=c++17 $here/cpp_program.cpp"; do
    source=${compiler##*/}
    # shellcheck disable=SC2046,SC2086
    $compiler -Wall -Wextra -Wpedantic -Werror -o "$work/pkg-config/${source%.*}" \
        $(pkg-config --cflags --libs qorvscommon)
done
cmake -G Ninja -S "$here" -B "$work/package" -DCMAKE_PREFIX_PATH="$work/tree" >/dev/null
cmake --build "$work/package" >/dev/null

printf 'SecuritySuite {\n\tEnableTrace = 1\n\tTrace = %s\n}\n' "$work/log" >"$work/qorvs.conf"
export QORVS_CONFFILE=$work/qorvs.conf HOME=$work LD_LIBRARY_PATH=$libdir
for program in {pkg-config,package}/{c_program,cpp_program}; do
    "$work/$program"
    for line in Entering Leaving; do
        grep -q "$line ${program#*/}\.$" "$work"/log/*.log ||
            { echo "$program left no \"$line\" line" >&2; exit 1; }
    done
    rm "$work"/log/*
done
