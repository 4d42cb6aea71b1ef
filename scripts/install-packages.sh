#!/usr/bin/env bash
# Installs the packages of packages.txt for the purposes named as arguments.
# Those that are there already are left alone, so a second run touches nothing.
set -euo pipefail
cd "$(dirname "$0")/.."

wanted=$(for purpose in "$@"; do awk -v purpose="$purpose" '$1 == purpose { print $2 }' packages.txt; done)
missing=$(for package in $wanted; do
    dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed || echo "$package"
done)
[ -z "$missing" ] && exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || { echo "These packages are missing: $missing" >&2; exit 1; }
    as_root=(sudo)
fi
echo "Installing:" $missing
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -q
# shellcheck disable=SC2086  # one word a package
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends $missing
