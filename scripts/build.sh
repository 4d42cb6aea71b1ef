#!/usr/bin/env bash
# Configures and builds one preset: release, asan or tsan. Further arguments go to the configure step.
set -euo pipefail
cd "$(dirname "$0")/.."

preset=$1
shift
log=$(mktemp)
trap 'rm -f "$log"' EXIT
cmake --preset "$preset" "$@" >"$log" 2>&1 || { cat "$log" >&2; exit 1; }
cmake --build --preset "$preset"
