#!/usr/bin/env bash
# Runs all benchmarks, each beside its floor in the same run: ./bench.sh [PICTURE...]. Without pictures they make
# their own. What they print comes first, then a table of every figure that has a bar to reach. All figures go to
# build/bench/results.json, and a picture of the ratios to results.svg.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)

"$here/scripts/install-packages.sh" build test
"$here/scripts/build.sh" release -DQXTNG_BUILD_TESTS=ON
bench=$here/build/bench
QXTNG_BENCH_RESULTS=$(mktemp)
export QXTNG_BENCH_RESULTS
trap 'rm -f "$QXTNG_BENCH_RESULTS"' EXIT

step() {
    printf '\n=== %s ===\n' "$1"
    shift
    "$@"
}

jpegs=()
for picture in "$@"; do
    [ "$(head -c 2 -- "$picture" | od -An -tx1 | tr -d ' ')" = ffd8 ] && jpegs+=("$picture")
done

step "First request" "$bench/bench_foreground" "${jpegs[@]}"
step "Cached request" "$bench/bench_hit"
step "Decoders" "$bench/bench_decode" "$@"
step "Quality" "$bench/quality" "$@"
step "Memory" "$bench/memory"
step "Background" "$bench/bench_background" "${jpegs[@]}"
step "Large caches" "$bench/bench_cache"
step "Lists and locks" "$bench/bench_store"
step "Encoders" "$bench/bench_encode"
step "Resampler" "$bench/bench_resample"

awk -F '\t' '
    function quoted(text) { gsub(/["\\]/, "\\\\&", text); return "\"" text "\"" }
    function number(text) { return text == "" ? "null" : text }
    BEGIN { print "[" }
    {
        printf "%s{\"program\":%s,\"work\":%s,\"value\":%s,\"unit\":%s,", (NR > 1 ? ",\n" : ""), quoted($1), quoted($2), $3, quoted($4)
        printf "\"floorName\":%s,\"floor\":%s,\"ratio\":%s,\"bar\":%s,\"holds\":%s}", quoted($5), number($6), number($7), number($8), ($9 == "" ? "null" : ($9 == "yes" ? "true" : "false"))
    }
    END { print "\n]" }' "$QXTNG_BENCH_RESULTS" >"$bench/results.json"
awk -f "$here/bench/chart.awk" "$QXTNG_BENCH_RESULTS" >"$bench/results.svg"

printf '\n=== What has a bar ===\n'
awk -F '\t' '
    $8 != "" {
        measured = $7 != "" ? $7 " x " $5 : $3 " " $4
        printf "%-60s %-42s bar %-6s %s\n", $2, measured, $8, $9 == "yes" ? "holds" : "MISSED"
    }' "$QXTNG_BENCH_RESULTS"
printf '\nAll figures: %s; a picture of the ratios: results.svg beside it\n' "$bench/results.json"
