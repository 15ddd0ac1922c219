#!/usr/bin/env bash
# signature.sh LIBRARY CLIENT SIGNER KEY CC WORK-FOLDER - the library finds its own file through LD_LIBRARY_PATH and accepts
# it only as it was signed. CLIENT loads LIBRARY by its path, so that the variable can be anything.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
library=$1 client=$2 signer=$3 key=$4 cc=$5 work=$6
fresh_folder "$work"

readonly kVerified=0x00000000 kNotFound=0x1A010050 kWrong=0x1A010019
readonly kSignatureBytes=256
folder=$(dirname "$library")
size=$(stat -c %s "$library")
readonly copy=$work/copy/$kLibraryName

# code LD_LIBRARY_PATH [LIBRARY]
code() { LD_LIBRARY_PATH=$1 "$client" "${2:-$library}"; }
new_copy() { rm -rf "$work/copy"; mkdir "$work/copy"; cp "$library" "$copy"; }

# flip OFFSET: a fresh copy with one bit changed there.
flip()
{
    local byte
    new_copy
    byte=$(od -An -v -tu1 -j "$1" -N 1 "$copy")
    printf '%b' "\\x$(printf %02x $((byte ^ 1)))" | dd of="$copy" bs=1 seek="$1" conv=notrunc status=none
}

# refused WHAT EXPECTED: the file in the copy's folder.
refused() { expect "$1" "$2" "$(code "$work/copy")"; }

expect "the file as it was built" $kVerified "$(code "$folder")"
expect "the file, when the folder is the last of several" $kVerified "$(code ":/nowhere::$work:$folder")"
new_copy
expect "a copy of the file" $kVerified "$(code "$work/copy")"
"$signer" verify "$key" "$library" >/dev/null || fail "kestrim_sign verify"
"$signer" sign "$key" "$copy" >/dev/null || fail "signing a signed file"
cmp "$library" "$copy" || fail "a signed file was signed once more"
pass "a signed file is not signed again"

# A changed byte. What the loader acts on can make it fail or worse, so those sections are read, but not loaded.
read -r -d '' loaders <<<'.dynamic .dynsym .dynstr .gnu.hash .hash .gnu.version .gnu.version_d .gnu.version_r .rela.dyn
    .rela.plt .relr.dyn .init_array .fini_array .data.rel.ro .got .got.plt' || true
read_only=0 loaded=0
while read -r name type offset length; do
    [[ $type != NOBITS && $length != 0 ]] || continue
    for at in $offset $((offset + length / 2)) $((offset + length - 1)); do
        flip "$at"
        if "$signer" verify "$key" "$copy" >/dev/null; then fail "kestrim_sign verify: byte $at, in $name"; fi
        read_only=$((read_only + 1))
        [[ " $(tr -s '\n ' ' ' <<<"$loaders") " != *" $name "* ]] || continue
        found=$(code "$work/copy") || fail "byte $at, in $name: the client died"
        [[ $found == "$kWrong" ]] || fail "byte $at, in $name: $found"
        loaded=$((loaded + 1))
    done
done < <(readelf -SW "$library" | sed -nE 's/^ *\[ *[0-9]+\] (\.[^ ]+) +([A-Z_0-9]+) +[0-9a-f]+ ([0-9a-f]+) ([0-9a-f]+) .*/\1 \2 0x\3 0x\4/p' |
    while read -r name type offset length; do echo "$name $type $((offset)) $((length))"; done)
[[ $loaded -gt 20 && $read_only -gt $loaded ]] || fail "readelf named too few sections: $loaded of $read_only bytes"
pass "a changed byte in $loaded places of loaded files: $kWrong each; in $read_only places for kestrim_sign"
for at in $((size - kSignatureBytes - 1)) $((size - kSignatureBytes)) $((size - kSignatureBytes / 2)) $((size - 1)); do
    flip "$at"
    refused "a changed byte, $((size - at)) from the end" $kWrong
done
flip 0
refused "a file that does not load" $kNotFound

# A file of another length.
new_copy; truncate -s -1 "$copy"
refused "without the last byte" $kWrong
new_copy; truncate -s -$kSignatureBytes "$copy"
refused "without the signature" $kWrong
new_copy; printf '\0' >>"$copy"
refused "with a byte behind the signature" $kWrong
new_copy; tail -c $kSignatureBytes "$library" >>"$copy"
refused "with the signature twice" $kWrong
new_copy; truncate -s 60 "$copy"
refused "cut in the middle of its first header" $kNotFound
new_copy; truncate -s $((size / 2)) "$copy" # the loader maps what is not there, and may die of it
found=$(code "$work/copy" 2>/dev/null) || found="the loader ended the process"
[[ $found != "$kVerified" ]] || fail "half of the file verifies"
pass "cut in its middle: $found"
new_copy; truncate -s 0 "$copy"
refused "an empty file" $kNotFound

# Nothing to find.
expect "LD_LIBRARY_PATH is not set" $kNotFound "$(unset LD_LIBRARY_PATH; "$client" "$library")"
expect "LD_LIBRARY_PATH is empty" $kNotFound "$(code "")"
expect "LD_LIBRARY_PATH has empty entries only, here in the file's folder" $kNotFound "$(cd "$folder" && code "::")"
expect "a folder without the file" $kNotFound "$(code "$work")"
long=$(printf '/%.0s' {1..3000})
expect "a path of 3000 characters" $kNotFound "$(code "$long$folder")"
expect "the same with the file's folder behind it" $kVerified "$(code "$long$folder:$folder")"

# Files of the library's name that are not the library are passed over; the first that is decides.
mkdir "$work/decoy" "$work/text" "$work/folder" "$work/folder/$kLibraryName"
echo 'int nothing;' >"$work/decoy.c"
"$cc" -shared -fPIC ${CFLAGS:-} -o "$work/decoy/$kLibraryName" "$work/decoy.c"
echo 'no library' >"$work/text/$kLibraryName"
for decoy in decoy text folder; do
    expect "only a decoy ($decoy)" $kNotFound "$(code "$work/$decoy")"
    expect "a decoy ($decoy) before the file" $kVerified "$(code "$work/$decoy:$folder")"
done
flip $((size - 1))
expect "a changed copy before the file" $kWrong "$(code "$work/copy:$folder")"
expect "a changed copy behind the file" $kVerified "$(code "$folder:$work/copy")"

# A library for another key: this one with that key's modulus in the place of its own.
modulus() { "$signer" public "$1" "$work/public.cpp"; sed -n '/{$/,/}/s/0x\(..\),/\1/gp' "$work/public.cpp" | tr -d ' \n' | tr 'A-F' 'a-f'; }
"$signer" genkey "$work/other.pem"
expect "permissions of a new key" 600 "$(stat -c %a "$work/other.pem")"
new_copy; truncate -s -$kSignatureBytes "$copy"
expect "kestrim_sign with a key that the file does not hold" "was built for another key" \
    "$("$signer" sign "$work/other.pem" "$copy" 2>&1 | sed 's/.* was built/was built/' || true)"
at=$(od -An -v -tx1 "$copy" | tr -d ' \n' | grep -obF "$(modulus "$key")" | cut -d: -f1)
printf '%b' "$(modulus "$work/other.pem" | sed 's/../\\x&/g')" | dd of="$copy" bs=1 seek=$((at / 2)) conv=notrunc status=none
"$signer" sign "$work/other.pem" "$copy"
refused "a library signed with another key" $kWrong
expect "that library, of itself" $kVerified "$(code "$work/copy" "$copy")"
expect "that library, of the right file" $kWrong "$(code "$folder" "$copy")"

# Another program takes the signature for what it is said to be.
if command -v openssl >/dev/null; then
    "$signer" export "$key" "$work/public.pem"
    head -c -$kSignatureBytes "$library" >"$work/content"
    tail -c $kSignatureBytes "$library" >"$work/signature"
    expect "openssl dgst" "Verified OK" "$(openssl dgst -sha256 -sigopt rsa_padding_mode:pss -sigopt rsa_pss_saltlen:20 \
        -verify "$work/public.pem" -signature "$work/signature" "$work/content" 2>&1)"
fi
