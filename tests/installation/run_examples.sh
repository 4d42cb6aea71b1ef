#!/usr/bin/env bash
# Installs a build into a folder of its own, builds the examples against that as applications would, and runs
# them: run_examples.sh SOURCE BUILD FLAGS
set -euo pipefail
source=$1
build=$2
flags=$3

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/cache"
prefix=$work/prefix
quietly() { "$@" >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }; }
quietly cmake --install "$build" --prefix "$prefix"

# With CMake.
quietly cmake -S "$source/examples/background" -B "$work/build" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_FLAGS="$flags"
quietly cmake --build "$work/build"
samples=$source/samples
"$work/build/background" "$work/cache" "$samples/baseline.jpg" "$samples/progressive.jpg" "$samples/rgb.png" \
    "$samples/missing.jpg" "$samples/palette.bmp" "$samples/lossy.webp" "$samples/strips.tif" | tee "$work/output"
grep -q ' pixels$' "$work/output"
grep -q ' bytes$' "$work/output"

# With pkg-config. The loader knows nothing of the folder, as it does of /usr/lib.
libraries=$(dirname "$(find "$prefix" -name 'libqxzthbg2.so')")
export PKG_CONFIG_PATH=$libraries/pkgconfig LD_LIBRARY_PATH=$libraries
# shellcheck disable=SC2046,SC2086  # words
quietly c++ -std=c++17 -Wall -Wextra -Wpedantic $flags "$source/examples/thumbnail/thumbnail.cpp" \
    $(pkg-config --cflags --libs qxtng) -o "$work/thumbnail"
for run in first second; do
    "$work/thumbnail" "$work/cache" "$samples/baseline.jpg" "$work/$run.jpg"
done
cmp "$work/first.jpg" "$work/second.jpg"

"$prefix/bin/qxtng" check "$work/cache"
