#!/bin/sh
# Every C++ file of the project is formatted as .clang-format says. Exits
# non-zero and lists the files that are not; `clang-format -i FILE` mends
# one. Usage: check_format.sh [REPO_ROOT]
root=${1:-$(dirname "$0")/..}
cd "$root" || exit 2
command -v clang-format >/dev/null || { echo "clang-format is not installed"; exit 1; }
bad=$(find Cmn Sys FF MMgr DAW tools tests bench fuzz -type f \( -name '*.h' -o -name '*.cpp' \) 2>/dev/null | sort |
      while read -r f; do clang-format --dry-run -Werror "$f" >/dev/null 2>&1 || echo "$f"; done)
if [ -n "$bad" ]; then
    echo "Not formatted as .clang-format says (clang-format -i mends them):"
    echo "$bad"
    exit 1
fi
echo "Every file is formatted."
exit 0
