#!/usr/bin/env bash
# Draws 64 MiB from the random generator through the tool and runs the FIPS 140-2 block tests (rngtest) and ent on them. Ends
# with an error when a figure is out of its limits. A sound generator fails by chance about once in a thousand runs.
# Needs a built tool: KESTRIM_TOOL, or build/bin/kestrim.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/setup.sh

kestrim_need rng-tools-debian ent

tool=${KESTRIM_TOOL:-build/bin/kestrim}
bytes=$((64 * 1024 * 1024))
if [[ ! -x $tool ]]; then
    printf 'No %s: build first (scripts/demo.sh), or set KESTRIM_TOOL\n' "$tool" >&2
    exit 1
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

failures=0
within() # WHAT VALUE LOWEST HIGHEST
{
    local verdict="pass"
    # Not a number, such as an empty value, must not pass.
    if ! awk -v value="$2" -v low="$3" -v high="$4" \
        'BEGIN { exit !(value ~ /^-?[0-9.]+$/ && value + 0 >= low && value + 0 <= high) }'; then
        verdict="FAIL"
        failures=$((failures + 1))
    fi
    printf '%s  %-42s %14s   in %s to %s\n' "$verdict" "$1" "$2" "$3" "$4"
}

# ent -t: line 1 holds the values of type byte or bit. Columns: size, entropy, chi-square, mean, pi, correlation.
column() { awk -F, -v column="$1" '$1 == 1 { print $column }' "$2"; }

"$tool" rand "$bytes" >"$work/stream"
within "size in bytes" "$(stat -c %s "$work/stream")" "$bytes" "$bytes"

# 26,843 whole blocks of 20,000 bits after the 32 bits that start the continuous run test. One in about 1,250 blocks of a
# perfect source fails: 21 of them, with a standard deviation of 4.6.
rngtest <"$work/stream" 2>"$work/rngtest" || true
count() { awk -F': ' -v what="$1" '$0 ~ what { print $NF }' "$work/rngtest"; }
passed=$(count 'FIPS 140-2 successes')
failed=$(count 'FIPS 140-2 failures')
within "rngtest: blocks" "$((${passed:-0} + ${failed:-0}))" 26843 26843
within "rngtest: failed blocks" "$failed" 4 45
within "rngtest: failed continuous run tests" "$(count 'FIPS 140-2.*Continuous run')" 0 2

ent -t "$work/stream" >"$work/bytes"
within "ent: entropy, bits in a byte" "$(column 3 "$work/bytes")" 7.99999 8
within "ent: chi-square, 255 degrees of freedom" "$(column 4 "$work/bytes")" 181 344
within "ent: mean byte" "$(column 5 "$work/bytes")" 127.46 127.54
within "ent: pi of Monte Carlo" "$(column 6 "$work/bytes")" 3.1396 3.1436
within "ent: serial correlation" "$(column 7 "$work/bytes")" -0.0005 0.0005

ent -b -t "$work/stream" >"$work/bits"
within "ent: chi-square of bits, 1 degree of freedom" "$(column 4 "$work/bits")" 0 15
within "ent: serial correlation of bits" "$(column 7 "$work/bits")" -0.0002 0.0002

[[ $failures == 0 ]] || { printf '%s figures are out of their limits\n' "$failures"; exit 1; }
echo "The stream looks random"
