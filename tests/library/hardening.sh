#!/usr/bin/env bash
# hardening.sh LIBRARY FORTIFIED - what the loader is told about the file, and what the compiler put into it. FORTIFIED is 1
# where the compiler and its options make fortified calls out of print calls.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
library=$1 fortified=$2

segments=$(readelf -lW "$library")
has_segment() { grep -qE "^ +$1 " <<<"$segments"; }
has_segment GNU_RELRO || fail "no RELRO segment"
pass "relocations become read-only"
grep -q BIND_NOW <<<"$(dynamic "$library" FLAGS)" || fail "no BIND_NOW"
pass "all symbols are bound at load"
has_segment GNU_STACK || fail "no GNU_STACK segment"
empty "segments both writable and executable, the stack included" "$(grep -E ' (RWE|WE) ' <<<"$segments" || true)"
empty "relocations in code" "$(dynamic "$library" TEXTREL; dynamic "$library" FLAGS | grep TEXTREL || true)"

# The library is linked without the compiler's start files, so that whatever would run at load or unload shows here.
empty "code that runs at load or unload" \
    "$(readelf -dW "$library" | grep -E '\((PREINIT_ARRAY|INIT_ARRAY|INIT|FINI_ARRAY|FINI)\)' || true)"
relocations=$(readelf -rW "$library")
empty "functions chosen by the loader" "$(grep IRELATIV <<<"$relocations" || true)"

imports=$(nm -D --undefined-only "$library" | sed 's/^ *[Uw] //; s/@.*//')
grep -q '^__stack_chk_fail$' <<<"$imports" || fail "no stack protector"
pass "stack protector"
if [[ $fortified == 1 ]]; then
    grep -q '^__.*_chk$' <<<"$imports" || fail "no fortified call"
    empty "print calls that are not fortified" "$(grep -E '^v?(f|d)?printf$' <<<"$imports" || true)"
fi
