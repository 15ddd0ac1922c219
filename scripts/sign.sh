#!/usr/bin/env bash
# sign.sh --key KEY [--openssl] LIBRARY - appends the signature to a library that was built with the public half of KEY,
# where KEY itself must not be on the machine that builds:
#
#   build machine      cmake -S . -B build -DKESTRIM_SIGNING_KEY=public.pem && cmake --build build
#   signing machine    scripts/sign.sh --key private.pem libKESTRIM_Crypto_for_C_v5.2.0_Linux_2.6.so
#   build machine      copy the file back to build/lib, then cmake --install build
#
# It takes kestrim_sign from $KESTRIM_SIGNER, build/bin or PATH. Without one, or with --openssl, openssl makes the signature
# and KEY may be encrypted. Both refuse a library of another key and leave a signed one as it is.
set -euo pipefail

readonly kSignatureBytes=256
readonly kPss=(-sha256 -sigopt rsa_padding_mode:pss -sigopt rsa_pss_saltlen:20 -sigopt rsa_mgf1_md:sha256)

die() { printf 'sign.sh: %s\n' "$*" >&2; exit 1; }
usage() { echo "usage: sign.sh --key KEY [--openssl] LIBRARY" >&2; exit 2; }

find_signer()
{
    local candidate
    for candidate in "${KESTRIM_SIGNER:-}" "$(dirname "${BASH_SOURCE[0]}")/../build/bin/kestrim_sign" \
        "$(command -v kestrim_sign || true)"; do
        [[ -z $candidate || ! -x $candidate ]] || { echo "$candidate"; return; }
    done
}

# verifies CONTENT SIGNATURE
verifies() { openssl dgst "${kPss[@]}" -verify "$work/public" -signature "$2" "$1" >/dev/null 2>&1; }

sign_with_openssl()
{
    local modulus
    command -v openssl >/dev/null || die "neither kestrim_sign nor openssl is here; build the target kestrim_sign"
    work=$(mktemp -d)
    signed=''
    trap 'rm -rf "$work" "$signed"' EXIT

    openssl pkey -in "$key" -pubout -out "$work/public"
    openssl rsa -pubin -in "$work/public" -noout -text 2>/dev/null | grep -q 'Exponent: 65537 ' || die "$key: the exponent is not 65537"
    modulus=$(openssl rsa -pubin -in "$work/public" -noout -modulus | sed 's/Modulus=//' | tr 'A-F' 'a-f')
    [[ ${#modulus} == $((2 * kSignatureBytes)) ]] || die "$key: not a key of 2048 bits"
    od -An -v -tx1 "$library" | tr -d ' \n' | grep -qF "$modulus" || die "$library was built for another key"

    head -c -$kSignatureBytes "$library" >"$work/content"
    tail -c $kSignatureBytes "$library" >"$work/signature"
    if verifies "$work/content" "$work/signature"; then
        echo "$library is already signed"
        return
    fi
    openssl dgst "${kPss[@]}" -sign "$key" -out "$work/signature" "$library"
    verifies "$library" "$work/signature" || die "the signature does not verify"
    signed=$(mktemp "$library.XXXXXX") # in the same folder, so that it takes the library's place in one step
    cp -p "$library" "$signed"
    cat "$work/signature" >>"$signed"
    mv "$signed" "$library"
}

key='' library='' signer=$(find_signer)
while [[ $# -gt 0 ]]; do
    case $1 in
        --key) [[ $# -gt 1 ]] || usage; key=$2; shift ;;
        --openssl) signer='' ;;
        -*) usage ;;
        *) [[ -z $library ]] || usage; library=$1 ;;
    esac
    shift
done
[[ -n $key && -n $library ]] || usage
[[ -r $key ]] || die "$key cannot be read"
[[ -f $library ]] || die "$library is not there"
library=$(readlink -f -- "$library") # a link stays one

if [[ -n $signer ]]; then
    "$signer" sign "$key" "$library"
else
    sign_with_openssl
fi
