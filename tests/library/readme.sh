#!/usr/bin/env bash
# readme.sh SOURCE-FOLDER - the program that the README shows is the example that is built and run.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
source=$1

diff -u "$source/examples/sha256.c" <(awk '/^```c$/ { shown = 1; next } /^```/ { shown = 0 } shown' "$source/README.md") ||
    fail "the README shows another program"
pass "the README shows examples/sha256.c"
