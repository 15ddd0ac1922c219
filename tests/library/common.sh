# shellcheck shell=bash disable=SC2034
# Sourced by the checks in this folder: they print one line for each fact and stop at the first that does not hold.
set -euo pipefail
export LC_ALL=C

readonly kLibraryName=libKESTRIM_Crypto_for_C_v5.2.0_Linux_2.6.so
readonly kSha256OfAbc=ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad

pass() { printf 'ok      %s\n' "$*"; }
fail() { printf 'FAILED  %s\n' "$*" >&2; exit 1; }

# expect WHAT EXPECTED FOUND
expect()
{
    [[ $3 == "$2" ]] || fail "$1: expected '$2', found '$3'"
    pass "$1: $3"
}

# empty WHAT FOUND: nothing may have been found.
empty()
{
    [[ -z $2 ]] || fail "$1: $2"
    pass "$1: none"
}

# same_lines WHAT EXPECTED-FILE FOUND-FILE
same_lines()
{
    diff --unified=0 --label expected "$2" --label found "$3" >&2 || fail "$1"
    pass "$1: $(wc -l <"$2")"
}

# fresh_folder PATH: an empty folder, removed again at the end of the check.
fresh_folder()
{
    rm -rf "$1"
    mkdir -p "$1"
    # shellcheck disable=SC2064 # the path of now
    trap "rm -rf '$1'" EXIT
}

# The dynamic section's entries of one tag, such as NEEDED.
dynamic() { readelf -dW "$1" | sed -n "s/^ *0x[0-9a-f]* (\($2\)) *//p"; }
