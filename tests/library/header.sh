#!/usr/bin/env bash
# header.sh CC CXX INCLUDE-FOLDER WORK-FOLDER - the public header and each family header alone compile in every language
# that callers use, without a warning.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
cc=$1 cxx=$2 include=$3 work=$4
fresh_folder "$work"

warnings=(-pedantic -Wall -Wextra -Wconversion -Wshadow -Wundef -Werror)
for header in "$include"/kestrim_crypto.h "$include"/kestrim/*.h; do
    name=${header#"$include/"}
    printf '#include "%s"\n#include "%s"\nextern int not_empty;\n' "$name" "$name" >"$work/header.c"
    for standard in c99 c17; do
        "$cc" -std=$standard "${warnings[@]}" -Wstrict-prototypes -fsyntax-only -I "$include" "$work/header.c" ||
            fail "$name as $standard"
    done
    for standard in c++11 c++17 c++20; do
        "$cxx" -x c++ -std=$standard "${warnings[@]}" -Wold-style-cast -fsyntax-only -I "$include" "$work/header.c" ||
            fail "$name as $standard"
    done
    pass "$name"
done
