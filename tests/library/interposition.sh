#!/usr/bin/env bash
# interposition.sh LIBRARY CC EXPORTS.TXT CLIENT WORK-FOLDER - a library loaded earlier that defines every exported name does
# not come between the library's own functions.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
library=$1 cc=$2 exports=$3 client=$4 work=$5
fresh_folder "$work"

# For every function, reached by a test or not: no relocation refers to a name that the library itself exports.
grep -v '^#' "$exports" >"$work/names"
empty "own names that the loader would look up" \
    "$(readelf -rW "$library" | awk '$1 ~ /^[0-9a-f]+$/ && $4 != 0 { sub("@.*", "", $5); print $5 }' | sort -u |
        grep -Fxf "$work/names" || true)"

# And seen at work.
{
    echo 'void abort(void);'
    sed 's/.*/void &(void); void &(void) { abort(); }/' "$work/names"
} >"$work/interposer.c"
"$cc" -shared -fPIC -o "$work/interposer.so" "$work/interposer.c"
found=$(LD_PRELOAD=$work/interposer.so "$client" "$library") || fail "the client did not survive: $found"
expect "SHA-256 of abc, hashed past the interposer" "$kSha256OfAbc" "$found"
