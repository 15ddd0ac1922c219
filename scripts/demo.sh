#!/usr/bin/env bash
# Builds the library and the tool into build/ and shows the tool on real files, comparing its answers with those of other
# programs; at the end the power-up in proven mode and a file that is encrypted, authenticated and signed in it. Ends with
# an error when one of them is wrong.
# shellcheck disable=SC2001
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/setup.sh

title() { printf '\n== %s\n' "$*"; }

failures=0
agree() # WHAT EXPECTED ACTUAL
{
    if [[ $2 == "$3" ]]; then
        printf '   agrees  %s\n' "$1"
    else
        printf '   WRONG   %s\n           %s\n           %s\n' "$1" "$2" "$3"
        failures=$((failures + 1))
    fi
}

# Shows a command and runs it.
show()
{
    printf '$ %s\n' "$*"
    "$@"
}

# The same for a command that is to end with a certain status.
show_status() # STATUS COMMAND...
{
    local expected=$1 status=0
    shift
    show "$@" || status=$?
    agree "exit status $expected" "$expected" "$status"
}

# HMAC written out with a program that computes digests: H(key ^ 5C.. | H(key ^ 36.. | message)), RFC 2104. The key is not
# longer than a block.
pad() # KEY-HEX BLOCK-BYTES PAD-BYTE
{
    local i digits
    for ((i = 0; i < $2; i++)); do
        digits=${1:2*i:2}
        printf '\\x%02x' $((16#${digits:-0} ^ $3))
    done
}
hmac_by_hand() # KEY-HEX BLOCK-BYTES FILE COMMAND...
{
    local key=$1 block=$2 file=$3 inner
    shift 3
    inner=$({ printf '%b' "$(pad "$key" "$block" 0x36)"; cat "$file"; } | "$@" | cut -d' ' -f1)
    printf '%b' "$(pad "$key" "$block" 0x5c)$(sed 's/../\\x&/g' <<<"$inner")" | "$@" | cut -d' ' -f1
}

# RSASSA-PSS as openssl names it, with the salt of the library's own signature and with that of the tool.
readonly pss=(-sha256 -sigopt rsa_padding_mode:pss)
readonly pss20=("${pss[@]}" -sigopt rsa_pss_saltlen:20) pss32=("${pss[@]}" -sigopt rsa_pss_saltlen:32)

# Changes one bit of a file.
flip() # FILE OFFSET
{
    local byte
    byte=$(od -An -v -tu1 -j "$2" -N 1 "$1")
    printf '%b' "\\x$(printf %02x $((byte ^ 1)))" | dd of="$1" bs=1 seek="$2" conv=notrunc status=none
}

title "Build"
kestrim_need g++ cmake ninja-build libcli11-dev
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build

build=$PWD/build
export PATH=$PWD/build/bin:$PATH
export LD_LIBRARY_PATH=$PWD/build/lib${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
library=$(echo "$PWD"/build/lib/libKESTRIM_Crypto_for_C_*.so)
cp "$library" "$work/library.so"
seq -f 'line %.0f of a generated text' 50000 >"$work/text"
printf abc >"$work/abc"
cd "$work"

title "Version"
show kestrim version

title "Digests of the library just built and of a text of $(stat -c %s text) bytes"
algorithms=(sha1 sha224 sha256 sha384 sha512 md5 has160 mdc2)
for algorithm in "${algorithms[@]}"; do
    show kestrim dgst -a "$algorithm" library.so text
    if command -v "${algorithm}sum" >/dev/null; then
        agree "${algorithm}sum" "$("${algorithm}sum" library.so text)" "$(kestrim dgst -a "$algorithm" library.so text)"
    fi
done
echo "No program here computes HAS-160 and MDC-2; their published digests of \"abc\":"
agree "has160 (TTAS.KO-12.0011/R2)" "975e810488cf2a3d49838478124afce4b1c78804  abc" "$(kestrim dgst -a has160 abc)"
agree "mdc2" "3ff42120ee863f5d910cf2ee5064f82f  abc" "$(kestrim dgst -a mdc2 abc)"

title "HMAC, compared with the two hashes of its definition"
head -c 8 /dev/urandom >key
key=$(od -An -v -tx1 key | tr -d ' \n')
for algorithm in "${algorithms[@]}"; do
    block=64
    [[ $algorithm != sha384 && $algorithm != sha512 ]] || block=128
    [[ $algorithm != mdc2 ]] || block=8
    digest=("${algorithm}sum")
    command -v "${digest[0]}" >/dev/null || digest=(kestrim dgst -a "$algorithm")
    show kestrim mac -a "$algorithm" --key-file key library.so text
    for file in library.so text; do
        agree "${digest[*]}, $file" "$(hmac_by_hand "$key" $block $file "${digest[@]}")  $file" \
            "$(kestrim mac -a "$algorithm" --key-file key $file)"
    done
done

title "Checking a list"
sha256sum library.so text >list
show_status 0 kestrim dgst --check list
echo "one more line" >>text
rm library.so
show_status 1 kestrim dgst --check list

title "Encrypting and decrypting the library"
cp "$library" library.so
show kestrim rand 32 -o key32
head -c 16 key32 >key16
show kestrim rand 16 -o iv
hex() { od -An -v -tx1 "$1" | tr -d ' \n'; }
for cipher in aria-256 seed lea-256 aes-256; do
    key=key32
    [[ $cipher != seed ]] || key=key16
    for mode in cbc ctr; do
        show kestrim enc -a $cipher-$mode --key-file $key --iv-file iv -i library.so -o library.enc
        show kestrim enc -d -a $cipher-$mode --key-file $key --iv-file iv -i library.enc -o library.back
        agree "cmp library.so library.back" 0 "$(cmp library.so library.back >&2 && echo 0)"
        # Another program may leave out some of these ciphers.
        if openssl enc -$cipher-$mode -K "$(hex $key)" -iv "$(hex iv)" -in library.so -out library.other 2>/dev/null; then
            agree "openssl enc -$cipher-$mode" "$(sha256sum <library.other)" "$(sha256sum <library.enc)"
        fi
    done
done

title "A damaged file is refused and leaves nothing behind"
show kestrim enc -a aria-256-cbc --key-file key32 --iv-file iv -i library.so -o library.enc
head -c -1 library.enc >damaged.enc
show_status 1 kestrim enc -d -a aria-256-cbc --key-file key32 --iv-file iv -i damaged.enc -o damaged
agree "no output, no temporary file" "" "$(find . -name damaged -o -name '.kestrim*')"

title "CBC-MAC and DES-MAC"
head -c 4096 library.so >blocks
show kestrim mac -a cbc-mac-aria-256 --key-file key32 blocks
head -c 8 key32 >key8
show kestrim mac -a des-mac --key-file key8 text

title "Random primes and big numbers"
for bits in 256 1024; do
    show kestrim prime -b $bits | tee prime
    prime=$(tail -n 1 prime)
    agree "bits of the prime" $bits "$((4 * ${#prime}))" # its first digit is 8 or more
    show kestrim prime -t "$prime"
    base=$(kestrim rand 16 --hex)
    agree "Fermat: a^(p-1) mod p" 1 "$(kestrim calc modexp "$base" "$(kestrim calc sub "$prime" 1)" "$prime")"
    if command -v openssl >/dev/null; then
        agree "openssl prime" 1 "$(openssl prime -hex "$prime" | grep -c 'is prime')"
    fi
done

title "Speed"
show kestrim speed sha256 aria-256-cbc seed-cbc lea-256-ctr aes-256-ctr

title "Proven mode refuses what is not approved"
show_status 3 kestrim --proven dgst -a sha1 text
show_status 3 kestrim --proven enc -a aes-256-cbc --key-file key32 --iv-file iv -i text -o text.enc

title "Error codes"
show kestrim error 0x0501002B 0x0A0400F0
show_status 1 kestrim error 0x7F010001

title "Power-up in proven mode: every check with its time"
show kestrim selftest

title "The library answers for its own file: LD_LIBRARY_PATH leads to it, and its last bytes are a signature"
# LD_PRELOAD gives the file to the loader, so that the variable says nothing but where the library looks.
refused() # CODE ENV-ARGUMENT...
{
    local said command=(env "${@:2}" LD_PRELOAD="$library" kestrim --proven dgst text)
    said=$("${command[@]}" 2>&1) || true
    printf '$ %s\n%s\n' "${command[*]}" "$said"
    agree "code $1, with its text" "$1 ZRC_L_SELF_TEST" "$(grep -oE '0x1A[0-9A-F]+ ZRC_L_SELF_TEST' <<<"$said")"
}
refused 0x1A010050 -u LD_LIBRARY_PATH
mkdir changed
cp "$library" changed
flip changed/"$(basename "$library")" 500000
refused 0x1A010019 LD_LIBRARY_PATH=changed
agree "kestrim_sign verify" 0 "$(show kestrim_sign verify "$build"/signing_key.pem "$library" >&2 && echo 0)"
if command -v openssl >/dev/null; then
    kestrim_sign export "$build"/signing_key.pem library.pub
    head -c -256 "$library" >library.content
    tail -c 256 "$library" >library.signature
    agree "openssl dgst -verify" "Verified OK" "$(openssl dgst "${pss20[@]}" -verify library.pub -signature library.signature library.content)"
fi

title "A file is encrypted, authenticated and signed in proven mode"
show kestrim --proven enc -a aria-256-cbc --key-file key32 --iv-file iv -i text -o text.enc
show kestrim --proven enc -d -a aria-256-cbc --key-file key32 --iv-file iv -i text.enc -o text.back
agree "cmp text text.back" 0 "$(cmp text text.back >&2 && echo 0)"
show kestrim --proven rand 64 -o mac-key
show kestrim --proven mac -a sha256 --key-file mac-key text.enc
agree "hmac by hand" "$(hmac_by_hand "$(hex mac-key)" 64 text.enc sha256sum)  text.enc" \
    "$(kestrim --proven mac -a sha256 --key-file mac-key text.enc)"
show kestrim --proven genrsa -b 2048 -o rsa.pem --public rsa.pub
show kestrim --proven genkcdsa -o kcdsa.pem --public kcdsa.pub
cp text.enc changed.enc
flip changed.enc 1000
for kind in rsa kcdsa; do
    show kestrim --proven sign -k $kind.pem -o text.$kind text.enc
    show_status 0 kestrim --proven verify -k $kind.pub -s text.$kind text.enc
    show_status 1 kestrim --proven verify -k $kind.pub -s text.$kind changed.enc
done
if command -v openssl >/dev/null; then
    agree "openssl verifies the RSA signature" "Verified OK" \
        "$(openssl dgst "${pss32[@]}" -verify rsa.pub -signature text.rsa text.enc)"
    openssl genrsa -out other.pem 2048 2>/dev/null
    openssl rsa -in other.pem -pubout -out other.pub 2>/dev/null
    openssl dgst "${pss32[@]}" -sign other.pem -out text.other text.enc
    show_status 0 kestrim --proven verify -k other.pub -s text.other text.enc
    show kestrim --proven sign -k other.pem -o text.ours text.enc
    agree "openssl verifies a signature with its own key" "Verified OK" \
        "$(openssl dgst "${pss32[@]}" -verify other.pub -signature text.ours text.enc)"
fi

title "Result"
[[ $failures == 0 ]] || { printf '%s comparisons failed\n' "$failures"; exit 1; }
echo "everything agrees"
