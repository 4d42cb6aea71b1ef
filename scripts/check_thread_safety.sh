#!/usr/bin/env bash
# Has clang's thread safety analysis read every source file of src/: what a lock guards is used under it.
set -euo pipefail
cd "$(dirname "$0")/.."

flags=(-std=c++20 -Isrc -fsyntax-only -Wthread-safety -Werror)
# What the build system tells the sources.
flags+=(-DQXCUTIL_DATADIR_FROM_LIBDIR='"../share"')
read -ra libraries <<<"$(pkg-config --cflags libhwy libwebp libjpeg libpng libtiff-4)"
find src -name '*.cpp' -print0 |
    xargs -0 -n 8 -P "$(nproc)" clang++-14 "${flags[@]}" "${libraries[@]}"
echo "Thread safety: no findings"
