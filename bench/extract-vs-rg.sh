#!/usr/bin/env bash
# corvane-cli extract against rg -o with the same pattern on the same file: both times,
# the ratio, and whether the outputs are identical.
#
#   bench/extract-vs-rg.sh [BUILD_DIR] [CORPUS]
#   (defaults: build/release, /tmp/corvane-corpus-200.html, generated when missing)
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/release}
corpus=${2:-/tmp/corvane-corpus-200.html}
cli="$build/bin/corvane-cli"
pattern='[a-zA-Z0-9-_.]+@[a-zA-Z0-9-_.]+\.[a-zA-Z0-9]+'

[ -x "$cli" ] || { echo "no $cli; build the corvane-cli target first" >&2; exit 2; }
[ -f "$corpus" ] || python3 bench/gen-html-corpus.py "$corpus" 200
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Warm the page cache so both read from memory, then take the best of three runs each.
cat "$corpus" >/dev/null
source bench/lib.sh
rg_ns=$(best sh -c "rg -o '$pattern' '$corpus' > '$work/rg.txt'")
cv_ns=$(best sh -c "'$cli' --home '$work/home' extract '$corpus' > '$work/corvane.txt'")

bytes=$(stat -c %s "$corpus")
printf 'corpus            %s (%d MB)\n' "$corpus" $((bytes / 1048576))
printf 'rg -o             %8.3f s  (%d lines)\n' "$(echo "$rg_ns / 1000000000" | bc -l)" "$(wc -l < "$work/rg.txt")"
printf 'corvane extract   %8.3f s  (%d lines)\n' "$(echo "$cv_ns / 1000000000" | bc -l)" "$(wc -l < "$work/corvane.txt")"
printf 'ratio rg/corvane  %8.2f\n' "$(echo "$rg_ns / $cv_ns" | bc -l)"
if cmp -s "$work/rg.txt" "$work/corvane.txt"; then
    echo "outputs identical"
else
    echo "outputs DIFFER"
    diff "$work/rg.txt" "$work/corvane.txt" | head -5
    exit 1
fi
