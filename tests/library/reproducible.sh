#!/usr/bin/env bash
# reproducible.sh LIBRARY SIGNER KEY CMAKE SOURCE-FOLDER BUILD-FOLDER WORK-FOLDER CMAKE-OPTION... - the library built once
# more with the same key, from a copy of its sources in another place, is the same file, signature included; neither place
# nor the date stands in it. Then that build goes on: with changed sources, another key, and a public key only. The rooms
# of engines are not compiled a second time.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
library=$1 signer=$2 key=$3 cmake=$4 source=$5 build=$6 work=$7
shift 7
fresh_folder "$work"
copy=$work/elsewhere/copy
built=$work/build/lib/$kLibraryName

# configure CMAKE-OPTION...
configure() { "$cmake" -S "$copy" -B "$work/build" -G Ninja "$@" >"$work/log" || { cat "$work/log"; fail "configuration"; }; }
build() { "$cmake" --build "$work/build" --target kestrim >"$work/log" || { cat "$work/log"; fail "build"; }; }
same() { cmp "$library" "$built" || fail "$1: the file differs"; pass "$1: the same file"; }

mapfile -t rooms < <(sed -nE 's,^ *([a-z0-9]+)/.*,\1,p' "$source/cmake/sources.cmake" | sort -u)
mkdir -p "$copy"
cp -R "$source/CMakeLists.txt" "$source/cmake" "$source/include" "${rooms[@]/#/$source/}" "$copy"
configure "$@" -DKESTRIM_BUILD_TOOL=OFF -DKESTRIM_BUILD_TESTS=OFF -DKESTRIM_SIGNER="$signer" -DKESTRIM_SIGNING_KEY="$key" \
    -DCMAKE_CXX_COMPILER_LAUNCHER="$(dirname "${BASH_SOURCE[0]}")/reuse_objects.sh;$build"
build
same "a build in another place"
empty "paths of this machine in it" \
    "$(strings -a "$library" | grep -F -e "$source" -e "$build" -e "$work" -e "$HOME/" || true)"
empty "dates in it" "$(strings -a "$library" | grep -F -e "$(date +%Y-%m-%d)" -e "$(date +'%b %e %Y')" || true)"

before=$(stat -c %y "$built")
build
expect "the date of the file after a build with nothing to do" "$before" "$(stat -c %y "$built")"
touch "$copy/selftest/self_test.cpp"
build
[[ $(stat -c %y "$built") != "$before" ]] || fail "a newer source did not lead to a new file"
same "a newer source of the same content"
sed -i 's/"5\.2\.0"/"5.2.1"/' "$copy/core/version.cpp"
build
if cmp -s "$library" "$built"; then fail "a changed source gave the same file"; fi
"$signer" verify "$key" "$built" >/dev/null || fail "the file of a changed source does not verify"
pass "the file of a changed source is signed anew"
cp "$source/core/version.cpp" "$copy/core"

"$signer" genkey "$work/other.pem"
configure -DKESTRIM_SIGNING_KEY="$work/other.pem"
build
"$signer" verify "$work/other.pem" "$built" >/dev/null || fail "another key: the file does not verify"
if "$signer" verify "$key" "$built" >/dev/null; then fail "another key: the file verifies with the old one"; fi
pass "another key: the file is signed with it"

# sign WHAT OPTION... - the unsigned file, signed on its own.
sign()
{
    cp "$work/unsigned" "$built"
    KESTRIM_SIGNER=$signer "$source/scripts/sign.sh" --key "$key" "${@:2}" "$built" >/dev/null || fail "$1"
    "$signer" verify "$key" "$built" >/dev/null || fail "$1: the file does not verify"
    cp "$built" "$work/signed"
    KESTRIM_SIGNER=$signer "$source/scripts/sign.sh" --key "$key" "${@:2}" "$built" >/dev/null || fail "$1, again"
    cmp "$work/signed" "$built" || fail "$1: signed twice"
    if KESTRIM_SIGNER=$signer "$source/scripts/sign.sh" --key "$work/other.pem" "${@:2}" "$built" 2>/dev/null; then
        fail "$1: signed with another key"
    fi
    pass "$1: signed once, and by no other key"
}
"$signer" export "$key" "$work/public.pem"
configure -DKESTRIM_SIGNING_KEY="$work/public.pem"
build
grep -q 'NOT SIGNED' "$work/log" || fail "a build with a public key does not say that the file is unsigned"
cmp "$built" <(head -c -256 "$library") || fail "a build with a public key: the file is not the unsigned one"
pass "a build with a public key leaves the file unsigned and says so"
cp "$built" "$work/unsigned"
sign "scripts/sign.sh"
same "scripts/sign.sh"
if command -v openssl >/dev/null; then
    sign "scripts/sign.sh --openssl" --openssl
fi
