#!/usr/bin/env bash
# exports.sh LIBRARY CC INCLUDE-FOLDER EXPORTS.TXT WORK-FOLDER - the library exports what the public header declares, no
# more and no less, under the right versions; exports.txt is that list, sorted.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
library=$1 cc=$2 include=$3 exports=$4 work=$5
fresh_folder "$work"

# The functions that the project's own headers declare: their lines of the preprocessed header without braces' contents and
# attributes, cut at semicolons; what has parentheses then and is no type is a function, named before the first of them.
"$cc" -E -I "$include" "$include/kestrim_crypto.h" |
    awk -v include="\"$include/" '/^# [0-9]/ { own = index($3, include) == 1; next } own' |
    tr '\n' ' ' |
    sed -E ':again; s/\{[^{}]*\}//g; t again; s/__attribute__ *\(\(visibility\("default"\)\)\)/@/g; s/;/\n/g' >"$work/declarations"
grep -E '\(' "$work/declarations" | grep -vE '^ *typedef' >"$work/functions"
empty "declarations without ZRC_API" "$(grep -v '^ *@' "$work/functions" || true)"
sed -E 's/\(.*//; s/.*[^A-Za-z0-9_]([A-Za-z0-9_]+) *$/\1/' "$work/functions" | sort >"$work/declared"
empty "functions declared twice" "$(uniq -d "$work/declared")"

grep -v '^#' "$exports" >"$work/listed"
sort -c "$work/listed" || fail "exports.txt is not sorted"
same_lines "exports.txt names the declared functions" "$work/declared" "$work/listed"

sed -E 's/^zrc_.*/T &@@KESTRIM_CRYPTO_5.2_INTERNAL/; t; s/.*/T &@@KESTRIM_CRYPTO_5.2/' "$work/declared" |
    sort - <(printf 'A KESTRIM_CRYPTO_5.2\nA KESTRIM_CRYPTO_5.2_INTERNAL\n') >"$work/expected"
nm -D --defined-only --with-symbol-versions "$library" | sed 's/^[0-9a-f]* //' |
    sed 's/^\(A [^@]*\)@@.*/\1/' | sort >"$work/exported"
same_lines "the library exports them, and the two version names" "$work/expected" "$work/exported"
