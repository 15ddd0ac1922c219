# What the tests of the tool share; to be sourced. `kestrim` is the tool, the folder a new one that goes at the end.
# shellcheck shell=bash
set -uo pipefail

kestrim=$(realpath "$1")
"$kestrim" --version >/dev/null || exit 1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1
mkdir logs
failures=0

complain()
{
    printf 'FAILED: %s: status %s\n' "$1" "$2"
    sed 's/^/  out: /' logs/out
    sed 's/^/  err: /' logs/err
    failures=$((failures + 1))
}

# expect TITLE STATUS OUTPUT COMMAND...: exactly this output; nothing on standard error unless the status says so.
expect()
{
    local title=$1 status=$2 output=$3 got=0
    shift 3
    "$@" >logs/out 2>logs/err || got=$?
    [[ $got == "$status" && $(<logs/out) == "$output" ]] || { complain "$title" "$got"; return; }
    [[ $status != 0 || ! -s logs/err ]] || complain "$title (message)" "$got"
}

# expect_message TITLE STATUS PATTERN COMMAND...: no output, and a message that matches.
expect_message()
{
    local title=$1 status=$2 pattern=$3 got=0
    shift 3
    "$@" >logs/out 2>logs/err || got=$?
    [[ $got == "$status" && ! -s logs/out ]] && grep -Eq -- "$pattern" logs/err || complain "$title" "$got"
}

# finish: the end of a script.
finish()
{
    [[ $failures == 0 ]] || { printf '%s checks failed\n' "$failures"; exit 1; }
    echo "all checks passed"
}
