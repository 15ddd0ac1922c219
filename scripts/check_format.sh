#!/usr/bin/env bash
# Compares every C and C++ file of the repository with what the formatter makes of it. With --fix it rewrites them.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/setup.sh

kestrim_need clang-format-14 git

mode=(--dry-run -Werror)
[[ ${1:-} != --fix ]] || mode=(-i)
git ls-files -z -- '*.c' '*.h' '*.cpp' '*.hpp' | xargs -0 clang-format-14 --style=file "${mode[@]}"
echo "Formatting: every file is as the formatter makes it"
