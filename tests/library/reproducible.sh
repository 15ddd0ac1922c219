#!/usr/bin/env bash
# reproducible.sh LIBRARY CMAKE SOURCE-FOLDER BUILD-FOLDER WORK-FOLDER CMAKE-OPTION... - the library built once more, from a
# copy of its sources in another place, is the same file; neither place nor the date stands in it.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
library=$1 cmake=$2 source=$3 build=$4 work=$5
shift 5
fresh_folder "$work"

mapfile -t rooms < <(sed -nE 's,^ *([a-z0-9]+)/.*,\1,p' "$source/cmake/sources.cmake" | sort -u)
mkdir -p "$work/elsewhere/copy"
cp -R "$source/CMakeLists.txt" "$source/cmake" "$source/include" "${rooms[@]/#/$source/}" "$work/elsewhere/copy"

"$cmake" -S "$work/elsewhere/copy" -B "$work/build" -G Ninja "$@" \
    -DKESTRIM_BUILD_TOOL=OFF -DKESTRIM_BUILD_TESTS=OFF >"$work/log" || { cat "$work/log"; fail "configuration"; }
"$cmake" --build "$work/build" --target kestrim >"$work/log" || { cat "$work/log"; fail "build"; }

cmp "$library" "$work/build/lib/$kLibraryName" || fail "the two builds differ"
pass "two builds in different places give the same file"
empty "paths of this machine in it" \
    "$(strings -a "$library" | grep -F -e "$source" -e "$build" -e "$work" -e "$HOME/" || true)"
empty "dates in it" "$(strings -a "$library" | grep -F -e "$(date +%Y-%m-%d)" -e "$(date +'%b %e %Y')" || true)"
