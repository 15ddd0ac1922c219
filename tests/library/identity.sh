#!/usr/bin/env bash
# identity.sh LIBRARY - the file's name, the name it goes by, and what it needs.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
library=$1

expect "file name" "$kLibraryName" "$(basename "$library")"
expect "folder" lib "$(basename "$(dirname "$library")")"
expect "SONAME" "Library soname: [$kLibraryName]" "$(dynamic "$library" SONAME)"
expect "NEEDED" "Shared library: [libc.so.6]" "$(dynamic "$library" NEEDED)"
empty "search path" "$(dynamic "$library" 'R.*PATH')"
