#!/usr/bin/env bash
# Builds qxtng and writes a contact sheet of a folder: ./run.sh [FOLDER] (default: samples/).
# The next time, the thumbnails come from the user's cache.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
folder=${1:-$here/samples}
[ -d "$folder" ] || { echo "run.sh: $folder is not a folder" >&2; exit 2; }

"$here/scripts/install-packages.sh" build
"$here/scripts/build.sh" release
page=$PWD/contact-sheet.html
# 1 says that some picture could not be read; the page shows which.
"$here/build/bin/qxtng" sheet "$folder" -r -o "$page" || [ $? -eq 1 ]
echo "Contact sheet: $page"
