#!/usr/bin/env bash
# Installs what is missing, builds everything and runs all tests: ./test.sh [release|asan|tsan [CTEST_OPTION...]].
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
preset=${1:-release}

"$here/scripts/install-packages.sh" build test
"$here/scripts/build.sh" "$preset" -DQXTNG_BUILD_TESTS=ON
cd "$here" && ctest --preset "$preset" -j "$(nproc)" "${@:2}"
