#!/usr/bin/env bash
# Runs the command-line tool as a user does: output, messages, exit status. Usage: tool_test.sh PATH-OF-KESTRIM
# shellcheck disable=SC2001,SC2015,SC2016,SC2094
source "$(dirname "${BASH_SOURCE[0]}")/expect.sh" "$1"

printf abc >abc
printf '' >empty
head -c 1000 /dev/zero | tr '\0' x >"a name"
printf 1 >back\\slash
printf 2 >$'new\nline'
printf 3 >$'carriage\rreturn'

# HAS-160 of "abc" from TTAS.KO-12.0011/R2, MDC-2 from the published suite.
for name in sha1 sha224 sha256 sha384 sha512 md5; do
    expect "$name of abc" 0 "$("${name}sum" abc)" "$kestrim" dgst -a $name abc
done
expect "another spelling" 0 "$(sha256sum abc)" "$kestrim" dgst -a SHA-256 abc
expect "has160 of abc" 0 "975e810488cf2a3d49838478124afce4b1c78804  abc" "$kestrim" dgst -a has160 abc
expect "mdc2 of abc" 0 "3ff42120ee863f5d910cf2ee5064f82f  abc" "$kestrim" dgst -a Mdc-2 abc

# The same output as sha256sum, byte by byte, escaped names included.
files=(abc empty "a name" back\\slash $'new\nline' $'carriage\rreturn')
expect "several files" 0 "$(sha256sum "${files[@]}")" "$kestrim" dgst "${files[@]}"
expect "standard input" 0 "$(sha256sum <abc)" "$kestrim" dgst <abc
expect "standard input as -" 0 "$(sha256sum abc - empty <abc)" "$kestrim" dgst abc - empty <abc
expect "mode of an approved algorithm" 0 "$(sha512sum abc)" "$kestrim" dgst --proven -a sha512 abc

# Names that mean something to the argument parser are names all the same.
odd=("[abc]" "[a,b]" "{}" "++" version dgst $'\x01[x]')
for name in "${odd[@]}"; do printf '%s' "$name" >"$name"; done
expect "odd names" 0 "$(sha256sum "${odd[@]}")" "$kestrim" dgst "${odd[@]}"
expect "one odd name" 0 "$(sha256sum "{}")" "$kestrim" dgst "{}"
printf x >-dash
expect "name with a dash" 0 "$(sha256sum -- -dash)" "$kestrim" dgst -- -dash

# A sparse file of 40 MiB and a bit: many pieces, the last one short.
truncate -s $((40 * 1024 * 1024 + 7)) large
expect "large file" 0 "$(sha256sum large)" "$kestrim" dgst large
expect "large file through a pipe" 0 "$(sha256sum <large)" bash -c 'cat large | "$0" dgst' "$kestrim"

# --check
sha256sum "${files[@]}" >good.list
expect "check" 0 "$(sha256sum --check good.list)" "$kestrim" dgst --check good.list
expect "check from standard input" 0 "$(sha256sum --check good.list)" "$kestrim" dgst -c <good.list
sha256sum --binary abc | sed 's/$/\r/' >dos.list
expect "check of a binary-mode list with DOS lines" 0 "abc: OK" "$kestrim" dgst -c dos.list
md5sum abc >md5.list
expect "check with md5" 0 "abc: OK" "$kestrim" dgst -a md5 -c md5.list
{
    sha256sum abc empty
    sed 's/^b/c/; s/$/ missing/' <(sha256sum abc | sed 's/abc$//')
    echo "no checksum"
} | sed '2s/^e/f/' >bad.list
expect "check with faults" 1 $'abc: OK\nempty: FAILED\n missing: FAILED open or read' "$kestrim" dgst -c bad.list
for message in "1 line is improperly" "1 listed file could not" "1 computed digest did NOT" " missing: No such file"; do
    grep -Fq "$message" logs/err || complain "check says: $message" 1
done
sed -n 4p bad.list | cat - good.list >damaged.list
expect "check with an ill-formed line only" 1 "$(sha256sum --check good.list)" "$kestrim" dgst -c damaged.list
expect_message "check of no list" 1 "abc: no properly formatted" "$kestrim" dgst -c abc
expect_message "check of a missing list" 1 "nowhere: No such file" "$kestrim" dgst -c nowhere

# HMAC: RFC 4231 case 2, and the empty message, also behind another message.
key=0102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f202122232425262728292a2b2c2d2e2f303132333435363738393a3b3c3d3e3f40
printf '%b' "$(sed 's/../\\x&/g' <<<$key)" >key.bin
printf 'what do ya want for nothing?' >question
expect "mac" 0 "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843  question" \
    "$kestrim" mac -K 4a656665 question
expect "mac with mdc2" 0 "5360466178a4a086dc0afb3c9c4ef4e9  empty" "$kestrim" mac -a mdc2 -K 0102030405060708 empty
empty_mac=a8bcfb5fbebd6dffec2993621ec46e39b5afa98d5ad06eb65063a2e7e207ba1a
"$kestrim" mac -K "${key^^}" question >logs/question
expect "mac of nothing behind another" 0 "$empty_mac  empty"$'\n'"$(<logs/question)"$'\n'"$empty_mac  empty" \
    "$kestrim" mac -K $key empty question empty
expect_message "no key" 2 "either --key-file FILE or -K" "$kestrim" mac abc
expect_message "two keys" 2 "either --key-file FILE or -K" "$kestrim" mac -K 00 --key-file key.bin abc
expect_message "key that is not hexadecimal" 2 "hexadecimal digits" "$kestrim" mac -K 4a6566g5 abc
! grep -q 4a6566g5 logs/err || complain "a message shows the key" 2
expect_message "empty key" 2 "key is empty" "$kestrim" mac --key-file empty abc
expect_message "key and message from one input" 2 "both be standard input" "$kestrim" mac --key-file - <abc
expect_message "missing key file" 1 "nowhere: No such file" "$kestrim" mac --key-file nowhere abc

hex() { od -An -v -tx1 | tr -d ' \n'; }

# CBC-MAC and DES-MAC. The former is the last block of an encryption with a zero IV; the latter that of the message with
# one to eight zero bytes behind it, from the standard's DES.
zero16=00000000000000000000000000000000
key16=000102030405060708090a0b0c0d0e0f
head -c 100000 large | "$kestrim" enc -a aes-128-ctr -K $key16 --iv $zero16 -o blocks # 6250 blocks of 16 bytes
"$kestrim" enc -a aes-128-cbc --no-padding -K $key16 --iv $zero16 -i blocks -o blocks.cbc
expect "cbc-mac" 0 "$(tail -c 16 blocks.cbc | hex)  blocks" \
    "$kestrim" mac -a cbc-mac-aes-128 -K $key16 blocks
expect "cbc-mac, pieces of any size" 0 "$(cut -d' ' -f1 logs/out)  -" bash -c \
    '{ head -c 7; sleep 0.1; head -c 70000; sleep 0.1; cat; } <blocks | "$0" mac -a CBC-MAC-AES128 -K "$1"' "$kestrim" $key16
expect_message "cbc-mac of a rest" 1 "a name: not whole blocks of 16 bytes" "$kestrim" mac -a cbc-mac-seed -K $key16 "a name"
cat "a name" <(head -c 8 large) >padded # 1000 bytes and 8
"$kestrim" enc -a des-cbc --no-padding -K 0123456789abcdef --iv 0000000000000000 -i padded -o padded.cbc
expect "des-mac" 0 "$(tail -c 8 padded.cbc | hex)  a name" \
    "$kestrim" mac -a des-mac -K 0123456789abcdef "a name"
expect_message "des-mac of nothing" 1 "empty" "$kestrim" mac -a des-mac -K 0123456789abcdef empty
expect_message "cbc-mac key length" 2 "key of lea-192 has 24 bytes, not 16" "$kestrim" mac -a cbc-mac-lea-192 -K $key16 abc
expect_message "refused: cbc-mac" 3 "cbc-mac-aria-128 is not an approved" \
    "$kestrim" mac --proven -a cbc-mac-aria-128 -K $key16 blocks
expect_message "refused: des-mac" 3 "des-mac is not an approved" "$kestrim" mac --proven -a des-mac -K 0123456789abcdef abc

# enc: every cipher in every mode, there and back; the ciphertext is as long as the mode makes it, also on a
# message that is not whole segments.
mkdir enc
cd enc || exit 1
mkdir logs
head -c 100003 <(cat ../blocks ../blocks) >plain
key32=${key:0:64}
iv16=f0f1f2f3f4f5f6f7f8f9fafbfcfdfeff
head -c 1003 plain >message
while read -r block modes ciphers; do
    for one in $ciphers; do
        cipher=${one%:*} key_option=(-K "${key32:0:2*${one#*:}}") iv=${iv16:0:2*block}
        for mode in ${modes//,/ }; do
            a=$cipher-$mode options=("${key_option[@]}" --iv "$iv") input=plain length=100003
            case $mode in
            ecb) options=("${key_option[@]}") length=$((length / block * block + block)) ;;
            cbc) length=$((length / block * block + block)) ;;
            cfb[0-9]*) input=message length=1003 ;;
            esac
            expect "$a encrypts" 0 "" "$kestrim" enc -a "$a" "${options[@]}" -i $input -o cipher
            [[ $(stat -c %s cipher) == "$length" ]] || complain "$a: length" "$(stat -c %s cipher)"
            ! cmp -s -n 64 $input cipher || complain "$a: not encrypted" 0
            expect "$a decrypts" 0 "" "$kestrim" enc -d -a "$a" "${options[@]}" -i cipher -o back
            cmp $input back || complain "$a: round trip" $?
        done
    done
done <<'CIPHERS'
16 ecb,cbc,cfb,ofb,ctr,cfb1,cfb8,cfb16,cfb32,cfb64,cfb128 aes-128:16 aes-192:24 aes-256:32 aria-128:16 aria-192:24 aria-256:32
16 ecb,cbc,cfb,ofb,ctr,cfb1,cfb8,cfb16,cfb32,cfb64,cfb128 seed:16 seed-256:32 lea-128:16 lea-192:24 lea-256:32
8 ecb,cbc,cfb,ofb,ctr,cfb1,cfb8,cfb16,cfb32 des:8 des-ede:16 des-ede3:24 bf:16
8 ecb,cbc,cfb,ofb,ctr,cfb1,cfb8,cfb16,cfb32,cfb64 rc5:16
8 ecb,cbc,cfb,ofb,cfb1,cfb8,cfb16,cfb32 rc2-40:5 rc2-64:8 rc2-128:16
CIPHERS
"$kestrim" enc -a aria-256-cfb64 -K "$key32" --iv $iv16 -i plain -o cipher
expect "cfb64, pieces of any size" 0 "" bash -c \
    '{ head -c 3; sleep 0.1; head -c 70001; sleep 0.1; cat; } <plain | "$0" enc "$@" | cmp - cipher' \
    "$kestrim" -a aria-256-cfb64 -K "$key32" --iv $iv16
"$kestrim" enc -a lea-128-cfb8 -K $key16 --iv $iv16 -i plain -o same && "$kestrim" enc -d -a lea-128-cfb8 -K $key16 \
    --iv $iv16 -i same -o same && cmp plain same || complain "cfb8, the same file" $?

# RC4: RFC 6229, and keys of any length there and back.
expect "rc4: published keystream" 0 " b2 39 63 05 f0 3d c0 27 cc c3 52 4a 0a 11 18 a8" bash -c 'head -c 16 ../large | "$0" enc "$@" | od -An -tx1' \
    "$kestrim" -a RC4 -K 0102030405
for bytes in 1 16 256; do
    head -c $bytes plain >rc4.key
    "$kestrim" enc -a rc4 --key-file rc4.key -i plain -o cipher || complain "rc4 encrypts" $?
    ! cmp -s -n 64 plain cipher || complain "rc4: not encrypted" 0
    expect "rc4 decrypts" 0 "" bash -c '{ head -c 7; sleep 0.1; cat; } <cipher | "$0" enc -d "$@" | cmp - plain' \
        "$kestrim" -a rc4 --key-file rc4.key
done

# The same as another program's, where there is one that has the cipher.
others() { openssl enc -provider default -provider legacy "$@"; }
for a in aes-128-cfb1 aes-128-cfb8 aria-128-cfb1 aria-128-cfb8 rc4; do
    options=(-K "$key16" -iv "$iv16")
    [[ $a != rc4 ]] || options=(-K "$key16")
    others -$a "${options[@]}" -in plain -out theirs &>/dev/null || continue
    expect "$a: OpenSSL's" 0 "" bash -c '"$0" enc "$@" -i plain | cmp - theirs' "$kestrim" -a $a "${options[@]/-iv/--iv}"
done

cbc=(enc -a aria-128-cbc -K "$key16" --iv "$iv16")
"$kestrim" "${cbc[@]}" -i plain -o cipher
expect "approved modes" 0 "" bash -c 'for a in aria-256-ecb ARIA256-CFB aria-256-cfb128 aria-256-cfb8 aria-256-ofb; do
    "$0" enc --proven -a $a -K $1 $([[ $a == *ecb ]] || echo --iv $2) -i plain -o out || exit; done' \
    "$kestrim" "${key32}" $iv16
for a in aria-128-ctr seed-ctr seed-256-cbc aes-128-cbc aes-128-cfb8 lea-128-ecb rc4; do
    size=32
    [[ $a != seed-256* ]] || size=64
    options=(--iv "$iv16")
    [[ $a != *ecb && $a != rc4 ]] || options=()
    expect_message "refused: $a" 3 "$a is not an approved" \
        "$kestrim" enc --proven -a $a -K "${key32:0:size}" "${options[@]}" -i plain -o refused
done

# What is there stays when something fails, and nothing is left over.
rm -f out cipher.* back same segments theirs rc4.key
printf 'as it was' >kept
head -c -1 cipher >ragged
head -c 1000 plain >rest
before=$(ls -A)
refused() # TITLE STATUS PATTERN ARGUMENTS...: the output is "kept"
{
    local title=$1 status=$2 pattern=$3
    shift 3
    expect_message "$title" "$status" "$pattern" "$kestrim" "$@" -o kept
    [[ $(<kept) == "as it was" && $(ls -A) == "$before" ]] || complain "$title: files" "$status"
}
refused "wrong key" 1 "cipher: wrong padding" enc -d -a aria-128-cbc -K ${key16/0f/1f} --iv $iv16 -i cipher
refused "last byte missing" 1 "ragged: not whole blocks of 16 bytes" "${cbc[@]}" -d -i ragged
refused "no input" 1 "nowhere: No such file" "${cbc[@]}" -i nowhere
refused "a folder for input" 1 "Is a directory" "${cbc[@]}" -i .
refused "rest without padding" 1 "rest: not whole blocks" "${cbc[@]}" --no-padding -i rest
refused "key too short" 2 "key of aria-256-cbc has 32 bytes, not 16" enc -a aria-256-cbc -K $key16 --iv $iv16 -i plain
refused "iv too short" 2 "IV of seed-cbc has 16 bytes, not 8" enc -a seed-cbc -K $key16 --iv 0011223344556677 -i plain
refused "no iv" 2 "seed-ofb needs --iv" enc -a seed-ofb -K $key16 -i plain
refused "key of rc4 too long" 2 "key of rc4 has 1 to 256 bytes, not 1003" enc -a rc4 --key-file message -i plain
refused "iv for rc4" 2 "rc4 takes no IV" enc -a rc4 -K $key16 --iv $iv16 -i plain
refused "iv that is not hexadecimal" 2 "hexadecimal digits" enc -a seed-ofb -K $key16 --iv xyz0 -i plain
refused "huge key" 2 "too long for a key" enc -a seed-ecb --key-file ../large -i plain
refused "two ivs" 2 "either --iv or" enc -a seed-ofb -K $key16 --iv $iv16 --iv-file plain -i plain
refused "standard input twice" 2 "only one of key, IV" "${cbc[@]:0:3}" -K $key16 --iv-file - -i -
for a in aes aes-128 aes-128-xts des-cfb128 bf-cfb64 rc2-64-ctr rc4-cbc ""; do
    refused "unknown algorithm '$a'" 2 "unknown cipher and mode|required|requires" enc -a "$a" -K $key16 -i plain
done
expect_message "output is a folder" 1 "logs: Is a directory" "$kestrim" "${cbc[@]}" -i plain -o logs
expect_message "no folder for the output" 1 "nowhere/x: No such file" "$kestrim" "${cbc[@]}" -i plain -o nowhere/x
expect_message "full disk: enc" 1 "write error: No space left" bash -c '"$0" "$@" >/dev/full' "$kestrim" "${cbc[@]}" -i plain
expect_message "closed output: enc" 1 "write error: Bad file" bash -c '"$0" "$@" >&-' "$kestrim" "${cbc[@]}" -i plain
expect_message "limited file size" 1 "big: File too large" \
    bash -c 'ulimit -f 40; "$0" "$@"' "$kestrim" "${cbc[@]}" -i plain -o big
[[ $(ls -A) == "$before" ]] || complain "files left over" 1

# Empty messages: one block of padding, or nothing.
for a in ecb:16 cbc:16 cfb:0 cfb1:0 cfb16:0 ofb:0 ctr:0; do
    options=(enc -a "aes-128-${a%:*}" -K "$key16")
    [[ $a == ecb* ]] || options+=(--iv "$iv16")
    "$kestrim" "${options[@]}" -i ../empty -o out && [[ $(stat -c %s out) == "${a#*:}" ]] || complain "empty, $a" $?
    expect "empty, there and back: $a" 0 "" "$kestrim" -q "${options[@]}" -d -i out
done

# Pipes, files for key and IV, the same file as input and output, links, permissions.
printf '%b' "$(sed 's/../\\x&/g' <<<$key16)" >key
printf '%b' "$(sed 's/../\\x&/g' <<<$iv16)" >iv
expect "pipe" 0 "" bash -c '"$0" enc -a aria-128-cbc --key-file key --iv-file - -i plain -o - <iv | cmp - cipher' "$kestrim"
expect "pipe back" 0 "" bash -c 'cat cipher | "$0" "$@" -d | cmp - plain' "$kestrim" "${cbc[@]}"
expect "large pipe" 0 "$(sha256sum <../large)" bash -c \
    '"$0" "$@" -i ../large | "$0" "$@" -d | sha256sum' "$kestrim" "${cbc[@]}"
cp plain same
ln -s same link
(umask 027 && "$kestrim" "${cbc[@]}" -i same -o link) && cmp same cipher || complain "same file, through a link" $?
[[ -L link && $(stat -c %a same) == 640 ]] || complain "link and permissions" "$(stat -c %a same)"
expect "device" 0 "" "$kestrim" "${cbc[@]}" -i plain -o /dev/null
[[ -c /dev/null ]] || complain "device replaced" 1

# A signal removes the temporary file, which nobody else could read.
mkfifo slow
exec {message}<>slow
for signal in INT TERM HUP; do
    before=$(ls -A)
    # A background job of a script ignores SIGINT; env gives it back.
    env --default-signal=INT "$kestrim" "${cbc[@]}" -i slow -o kept {message}>&- &
    for ((tries = 0; tries < 100; tries++)); do
        compgen -G '.kestrim-*' >/dev/null && break
        sleep 0.1
    done
    [[ $(stat -c %a .kestrim-*) == 600 ]] || complain "temporary file" 1
    kill -$signal $!
    wait $! 2>/dev/null
    status=$?
    [[ $status == $((128 + $(kill -l $signal))) && $(ls -A) == "$before" && $(<kept) == "as it was" ]] ||
        complain "SIG$signal" $status
done
exec {message}>&-
cd .. || exit 1

# speed: a line for each, with four numbers above 0.
"$kestrim" speed sha256 ARIA-128-cbc rc4 >logs/out 2>logs/err && [[ $(wc -l <logs/out) == 4 ]] &&
    tail -n +2 logs/out | awk '{ if (NF != 5 || $2 * $3 * $4 * $5 <= 0) exit 1; names = names $1 }
        END { exit names != "sha256aria-128-cbcrc4" }' || complain "speed" $?
expect_message "speed of nothing known" 2 "unknown algorithm aes-128" "$kestrim" speed md5 aes-128
expect_message "refused: speed" 3 "not an approved" "$kestrim" --proven speed sha256

# rand: as many bytes as asked, never the same, in three forms.
while read -r size bytes; do
    "$kestrim" rand "$size" >logs/out 2>logs/err && [[ $(stat -c %s logs/out) == "$bytes" && ! -s logs/err ]] ||
        complain "rand $size" $?
done <<'SIZES'
0 0
1 1
262145 262145
2K 2048
3m 3145728
010 10
SIZES
"$kestrim" rand 1000 -o random.1 && "$kestrim" rand 1000 -o random.2 && [[ $(stat -c %s random.1) == 1000 ]] &&
    ! cmp -s -n 16 random.1 random.2 || complain "rand is not random" $?
for bytes in 1 31 32 33 50000; do
    full=$((bytes / 32)) rest=$((bytes % 32)) # bytes in a line of 64 digits
    "$kestrim" rand $bytes --hex >logs/out 2>logs/err && awk -v full=$full -v rest=$rest \
        '/[^0-9a-f]/ || length != (NR <= full ? 64 : 2 * rest) { exit 1 } END { if (NR != full + (rest > 0)) exit 1 }' \
        logs/out || complain "rand $bytes --hex" $?
done
for bytes in 1 2 3 48 49 50000; do
    "$kestrim" rand $bytes --base64 -o text && base64 -d text >decoded &&
        [[ $(stat -c %s decoded) == "$bytes" ]] && base64 -w 64 decoded | cmp text - ||
        complain "rand $bytes --base64" $?
done
expect_message "rand in two forms" 2 "one of --hex and --base64" "$kestrim" rand 5 --hex --base64
# A size that is taken for a huge one would fill the disk.
for nonsense in "" -5 "-- -5" +5 x K 5x 5KK 1.5K 0x10 16G0 17179869184G 99999999999999999999 "[5]" "5 6"; do
    # shellcheck disable=SC2086 # the words are meant to be split
    expect_message "rand '$nonsense'" 2 "." timeout 5 "$kestrim" rand $nonsense
done
# The library reads the random device through no descriptor of a standard stream, also when that is closed.
if strace -o trace true &>/dev/null; then
    for command in "rand 5 --hex" "prime -b 64"; do
        # shellcheck disable=SC2086
        strace -f -o trace "$kestrim" $command >logs/out 2>logs/err <&- && grep -q 'urandom.* = [3-9]' trace ||
            complain "$command, closed input" $?
    done
fi
expect_message "rand without a folder" 1 "nowhere/x: No such file" "$kestrim" rand 5 -o nowhere/x

# prime: exactly the length asked for, which the digits behind the first and the bits of that make.
prime_bits()
{
    local -A first=([1]=1 [2]=2 [3]=2 [4]=3 [5]=3 [6]=3 [7]=3)
    echo $((4 * ${#1} - 4 + ${first[${1:0:1}]:-4}))
}
for bits in 2 3 17 64 65 511 1024; do
    "$kestrim" prime -b $bits -n 3 >primes 2>logs/err && [[ $(wc -l <primes) == 3 ]] || complain "prime -b $bits" $?
    while read -r prime; do
        [[ $(prime_bits $prime) == "$bits" ]] || complain "prime -b $bits: $prime" "$(prime_bits $prime)"
        expect "its test" 0 prime "$kestrim" prime -t $prime
        command -v openssl >/dev/null || continue
        openssl prime -hex $prime | grep -q 'is prime' || complain "OpenSSL: $prime" 1
    done <primes
done
expect "a number and its decimal form" 0 "" bash -c '"$0" prime -b 31 --dec | { read -r prime &&
    (( prime >> 30 == 1 )) && "$0" prime -t $(printf %x $prime) | cmp - <(echo prime); }' "$kestrim"
# The least number that is a strong pseudoprime to the bases 2, 3, 5 and 7 is 3215031751; 2^127 - 1 is prime.
for value in 2 3 0x11 0000000000000000000011 7fffffffffffffffffffffffffffffff; do
    expect "prime -t $value" 0 prime "$kestrim" prime -t $value
done
for value in 0 1 4 f BFA17DC7 7fffffffffffffffffffffffffffffff0 80000000000000000000000000000001; do
    expect "prime -t $value" 1 "not prime" "$kestrim" prime -t $value
done
for nonsense in "" --dec "-n 3" "-b 1" "-b 0" "-b 64x" "-b 16385" "-b 64 -n 0" "-t 5 -b 5" "-t 5 -n 2" "-t 5 --dec" \
    "-t xyz" "-t 0x" "-t [5]" "-t -5"; do
    # shellcheck disable=SC2086
    expect_message "prime $nonsense" 2 "." "$kestrim" prime $nonsense
done
expect_message "prime -t ''" 2 "not a hexadecimal number" "$kestrim" prime -t ""

# calc: A and E are the SHA-256 digests of "a" and "e", P is 2^255 - 19; the results of the long ones come from another
# program's integers.
A=ca978112ca1bbdcafac231b39a23dc4da786eff8147c4e72b9807785afee48bb
E=3f79bb7b435b05321651daefd374cdc681dc06faa65e374e38337b88ca046dea
P=7fffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffed
AE=323b9ebdd8ffc73a6cf74027e459e44020dd36e7bd985e0dcd9f4996632adaeecb6c632f7d79711179ad979b25148f8c3cd0e4f17de00f12f6036d8ff5b219ee
while read -r result expression; do
    # shellcheck disable=SC2086
    expect "calc $expression" 0 "$result" "$kestrim" calc $expression
done <<EXPRESSIONS
100000000000000000000000000000000 add ffffffffffffffffffffffffffffffff 1
ffffffffffffffffffffffffffffffff sub 100000000000000000000000000000000 1
$AE mul $A $E
340282366920938463426481119284349108225 mul --dec FFFFFFFFFFFFFFFF ffffffffffffffff
$E div $AE $A
4045f35db37103bda6611d870a6c71111da70b57a27e051f7ba859e2ae0e9a72 mod $AE $P
4045f35db37103bda6611d870a6c71111da70b57a27e051f7ba859e2ae0e9a72 modmul $A $E $P
6 gcd c 12
7db5ba74a71bf81af2a1c284b55449023d21fc877d198266ee23e9e666f9166c inverse $A $P
7973bcb1411a8d293fdb22e1b97afbd4ebdff2651d78dc86da71f7e7abd3af0b modexp $A $E $P
EXPRESSIONS
while IFS=: read -r expression code; do
    # shellcheck disable=SC2086
    expect_message "calc $expression" 1 "$code" "$kestrim" calc $expression
done <<'EXPRESSIONS'
sub 1 2:sub failed: 0x040E002B ZRC_L_BIGINT .*ZRC_ERR_INVALID_INPUT
div 5 0:div failed: 0x04100028 ZRC_L_BIGINT .*ZRC_ERR_INTERNAL
inverse 3 9:inverse failed: 0x04070041 ZRC_L_BIGINT .*ZRC_ERR_MOD_INVERSE_BIGINT_FAIL
modexp 2 3 0:modexp failed: 0x0414003E
EXPRESSIONS
for nonsense in "" add "add 1" "add 1 2 3" "add 1 2 3 4" "modexp 1 2" "ADD 1 2" "pow 2 3" "add 1 -2" "add 1 zz" \
    "add 1 0x" "add [1,2] 3" "[add 1 2"; do
    # shellcheck disable=SC2086
    expect_message "calc $nonsense" 2 "." "$kestrim" calc $nonsense
done

# The key leaves the list of processes: while the tool waits for the message, the list shows asterisks.
mkfifo pipe
exec {message}<>pipe
"$kestrim" mac --key=$key pipe {message}>&- >/dev/null &
for ((tries = 0; tries < 100; tries++)); do
    tr '\0' ' ' <"/proc/$!/cmdline" >logs/out || break
    ! grep -q '\*\*\*\*' logs/out || break
    sleep 0.1
done
grep -q '\*\*\*\*' logs/out && ! grep -q $key logs/out || complain "key in the list of processes" 0
kill $!
exec {message}>&-

# Error codes.
expect "error code" 0 "0x0501002B
  library   ZRC_L_BLOCK_CIPHER (0x05)
  function  ZRC_F_INIT_BLOCKCIPHER (1)
  reason    ZRC_ERR_INVALID_INPUT (0x2B)" "$kestrim" error 0x0501002B
"$kestrim" error 0x0501002B 0x0A0400F0 0x81000000 >logs/hex 2>/dev/null
expect "decimal forms" 1 "$(<logs/hex)" "$kestrim" error 83951659 168034544 -2130706432
grep -q "0x81000000: not an error code" logs/err || complain "unknown among known codes" 1
for code in 0x1E010049 0x0AFF0049 0x0A010068 0x0A010149 0x0A000049; do
    expect_message "unknown code $code" 1 "$code: not an error code" "$kestrim" error "$code"
done
for text in 0x 0x1ffffffff 4294967296 -2147483649 0x-5 5x ""; do
    expect_message "no code: '$text'" 2 "is no error code" "$kestrim" error "$text"
done

expect "version" 0 "kestrim      5.2.0
library      5.2.0
proven mode  on
self-test    passed" "$kestrim" version

# What goes wrong, and that the other files are still processed.
for name in nowhere . /proc/self/mem; do
    expect "unreadable: $name" 1 "$(sha256sum abc)" "$kestrim" dgst "$name" abc
    grep -Eq "^kestrim: $name: (No such file or directory|Is a directory|Input/output error)$" logs/err ||
        complain "message for $name" 1
done
expect_message "unknown algorithm" 2 "unknown algorithm sha257; known are .*sha256.*mdc2" "$kestrim" dgst -a sha257 abc
for name in sha1 md5 HAS-160 mdc2; do
    expect_message "refused: dgst $name" 3 "$name is not an approved" "$kestrim" --proven dgst -a "$name" abc
    expect_message "refused: mac $name" 3 "$name is not an approved" "$kestrim" mac --proven -a "$name" -K 00 abc
done
expect_message "no command" 2 "subcommand is required" "$kestrim"
expect_message "unknown option" 2 "--bogus" "$kestrim" dgst --bogus abc
"$kestrim" --help >logs/out 2>logs/err && grep -q "dgst" logs/out || complain "help" $?
for command in "dgst abc" "dgst -c good.list" "mac -K 00 abc" "rand 5" "rand 5 --hex" \
    "prime -b 64" "prime -t 5" "calc add 1 2" "error 0" version --help; do
    # shellcheck disable=SC2086 # the words are meant to be split
    expect_message "full disk: $command" 1 "write error: No space left" bash -c '"$0" "$@" >/dev/full' "$kestrim" $command
    # shellcheck disable=SC2086
    expect_message "closed output: $command" 1 "write error: Bad file" bash -c '"$0" "$@" >&-' "$kestrim" $command
done

# Progress: on a terminal, after a second, erased at the end; never with --quiet.
if script -qec true /dev/null </dev/null &>/dev/null; then # a terminal can be made here
    slow='{ head -c 300000 large; sleep 1.2; head -c 300000 large; } | "$KESTRIM" dgst'
    KESTRIM=$kestrim SHELL=/bin/bash script -qec "$slow" /dev/null </dev/null >logs/out
    grep -q 'MB/s' logs/out && grep -q $'MB/s\r  *\r' logs/out || complain "progress" $?
    KESTRIM=$kestrim SHELL=/bin/bash script -qec "$slow --quiet" /dev/null </dev/null >logs/out
    ! grep -q 'MB/s' logs/out || complain "no progress with --quiet" $?
fi

finish
