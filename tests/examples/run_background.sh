#!/usr/bin/env bash
# Builds the example against the library as an application would, and runs it:
# run_background.sh SOURCE BUILD QXTNG FLAGS PICTURE...
set -euo pipefail
source=$1
build=$2
qxtng=$3
flags=$4
shift 4

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/cache"
cmake -S "$source" -B "$work/build" -DQXTNG_ROOT="$build" -DCMAKE_CXX_FLAGS="$flags" >"$work/log" 2>&1 &&
    cmake --build "$work/build" >>"$work/log" 2>&1 || { cat "$work/log"; exit 1; }

"$work/build/background" "$work/cache" "$@" | tee "$work/output"
grep -q ' pixels$' "$work/output"
grep -q ' bytes$' "$work/output"
"$qxtng" check "$work/cache"
