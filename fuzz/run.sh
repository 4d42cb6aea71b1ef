#!/usr/bin/env bash
# Builds the fuzz targets with clang and runs each of them: fuzz/run.sh [SECONDS [TARGET...]] (default: 30 seconds,
# all targets). Any finding fails the run; the input that caused it is kept beside the build.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-30}
shift || true
build=${QXTNG_FUZZ_BUILD:-build-fuzz}
targets=("$@")
[ ${#targets[@]} -gt 0 ] || targets=(datetime index list bmp gif jpeg jpegreduced png pngrows tiff webp)

cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=clang++-14 \
    -DQXTNG_BUILD_FUZZERS=ON -DQXTNG_SANITIZE=fuzzer-no-link,address,undefined >/dev/null
cmake --build "$build" --target fuzzers
python3 fuzz/make_corpus.py "$build/seeds"
"$build/fuzz/make_jpeg_seeds" "$build/seeds/jpegreduced"

export ASAN_OPTIONS=allocator_may_return_null=1:detect_leaks=1
export seconds build
mkdir -p "$build/findings"

run_target() {
    local target=$1 log="$build/fuzz_$1.log"
    mkdir -p "$build/corpus/$target"
    if "$build/fuzz/fuzz_$target" "$build/corpus/$target" "$build/seeds/$target" \
        -max_total_time="$seconds" -rss_limit_mb=2048 -timeout=20 -max_len=65536 -print_final_stats=1 \
        -artifact_prefix="$build/findings/$target-" >"$log" 2>&1; then
        echo "fuzz_$target: $(awk '/number_of_executed_units/ { print $2 }' "$log") inputs in $seconds s, no finding"
    else
        tail -n 60 "$log"
        echo "fuzz_$target: a finding" >&2
        return 1
    fi
}
export -f run_target

# One target a core; any that fails fails the run.
printf '%s\n' "${targets[@]}" | xargs -P "$(nproc)" -I{} bash -c 'run_target {}'
