#!/usr/bin/env bash
# Checks that the libraries in a folder export what their headers offer, and nothing else:
# check_exports.sh FOLDER
set -euo pipefail
folder=$1
sources=$(dirname "$0")/../../src
failed=0

exports_of() {
    nm -D --defined-only --format=posix "$folder/lib$1.so" | cut -d' ' -f1 | sed 's/@.*//' | c++filt | sort -u
}

# The functions that a header declares with a macro: offers HEADER MACRO.
offers() {
    grep -E "^$2 " "$sources/$1" | sed -E 's/.* (\w+)\(.*/\1/' | sort -u
}

# Compares the exports of a library with a list of so many names on standard input.
expect_exactly() {
    local names
    names=$(sort -u)
    [ "$(wc -l <<<"$names")" -eq "$2" ] || { echo "The header of $1 does not offer $2 functions"; failed=1; }
    diff --label "offered by $1" --label "exported by $1" -u <(echo "$names") <(exports_of "$1") || failed=1
}

expect_exactly qxzthbg2 27 < <(offers api/QxTng.h QXTNG_API)
expect_exactly QxzIml03 10 < <(offers iml/Entries.h QXIML_API)
texts='char16_t const*, char16_t const*, char16_t const*, unsigned int'
expect_exactly QxzCUtil03 7 <<END
QxzCUtil::CLogger::IsLevelOn(unsigned int)
QxzCUtil::CLogger::LogMessage(unsigned int, $texts)
QxzCUtil::CLogger::SetSink(void (*)(void*, unsigned int, $texts), void*, unsigned int)
QxzCUtil::GetAssetType(char16_t const*)
QxzCUtil::LocateFile(char16_t const*, char16_t const*, char16_t**)
QxzCUtil::QXDealloc(void*)
QxzCUtil::RetrievePath(char16_t const*, char16_t**, unsigned int)
END

# Of the platform library: its two namespaces, and what a C caller releases blocks with.
own='^((typeinfo|typeinfo name|vtable) for Gdiplus::|Gdiplus::|Platform::)'
c_functions=$(printf '%s\n' GetProcessHeap HeapFree VirtualFree)
diff --label "offered by qxplatform" --label "exported by qxplatform" -u \
    <(echo "$c_functions") <(exports_of qxplatform | grep -Ev "$own") || failed=1
exit $failed
