#!/usr/bin/env bash
# Makes the Debian package of a build, installs it, uses it as a file manager does, and removes it again:
# check_package.sh BUILD PICTURE. Needs root.
set -euo pipefail
build=$1
picture=$2

work=$(mktemp -d)
installed=0
finish() {
    [ "$installed" -eq 0 ] || dpkg --purge qxtng >/dev/null
    rm -rf "$work"
}
trap finish EXIT
if [ "$(dpkg-query -W -f='${db:Status-Status}' qxtng 2>/dev/null)" = installed ]; then
    echo "qxtng is installed here already; nothing is checked" >&2
    exit 1
fi

(cd "$build" && cpack -G DEB -B "$work" >"$work/log" 2>&1) || { cat "$work/log"; exit 1; }
package=$(echo "$work"/*.deb)
dpkg --info "$package" | grep -E '^ (Package|Version|Depends|Installed-Size)'
dpkg --contents "$package" | awk '{ print substr($6, 2) }' | grep -v '/$' >"$work/files"
installed=1
dpkg --install "$package" >/dev/null
! ldd /usr/bin/qxtng | grep 'not found'

# The contract of a thumbnailer: the size, the file to write, the file to read, and no more environment than
# a file manager's sandbox has.
exec_line=$(sed -n 's/^Exec=//p' /usr/share/thumbnailers/qxtng.thumbnailer)
for size in 128 512; do
    command=${exec_line/\%s/$size}
    command=${command/\%o/$work/thumbnail.png}
    command=${command/\%i/$picture}
    # shellcheck disable=SC2086  # words
    env -i PATH=/usr/bin:/bin $command
    file=$(head -c 8 "$work/thumbnail.png" | tail -c 7 | head -c 3)
    [ "$file" = PNG ] || { echo "no PNG of $size pixels" >&2; exit 1; }
done
man -w qxtng >/dev/null 2>&1 || [ -f /usr/share/man/man1/qxtng.1 ] || [ -f /usr/share/man/man1/qxtng.1.gz ]

dpkg --purge qxtng >/dev/null
installed=0
while read -r file; do
    [ ! -e "$file" ] || { echo "$file is left behind" >&2; exit 1; }
done <"$work/files"
echo "installed, used and removed: $(wc -l <"$work/files") files"
