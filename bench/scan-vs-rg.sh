#!/usr/bin/env bash
# corvane-cli scan against rg -o with the same pattern over the same folder tree: both
# times (best of three, page cache warm), the ratio, and whether the two lead sets agree.
#
#   bench/scan-vs-rg.sh [BUILD_DIR] [TREE] [SIZE_MB]
#   (defaults: build/release, /tmp/corvane-scan-tree-SIZE, 1024; the tree is generated
#   by bench/scan/gen-tree.py when missing)
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/release}
size=${3:-1024}
tree=${2:-/tmp/corvane-scan-tree-$size}
cli="$build/bin/corvane-cli"
pattern='[a-zA-Z0-9-_.]+@[a-zA-Z0-9-_.]+\.[a-zA-Z0-9]+'

[ -x "$cli" ] || { echo "no $cli; build the corvane-cli target first" >&2; exit 2; }
[ -d "$tree" ] || python3 bench/scan/gen-tree.py "$tree" "$size"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Both read every file as bytes: rg with -a (binary as text) and -uuu (no ignore files,
# hidden files too); corvane with every file type.
find "$tree" -type f -exec cat {} + >/dev/null
source bench/lib.sh
rg_ns=$(best sh -c "rg -o -a -uuu --no-filename --no-line-number '$pattern' '$tree' > '$work/rg.txt'")
cv_ns=$(best sh -c "'$cli' --home '$work/home' scan --types '.***' '$tree' > '$work/corvane.txt'")

sort -u "$work/rg.txt" > "$work/rg.set"
sort "$work/corvane.txt" > "$work/corvane.set"
bytes=$(du -sb "$tree" | cut -f1)
printf 'tree              %s (%d MB, %d files)\n' "$tree" $((bytes / 1048576)) "$(find "$tree" -type f | wc -l)"
printf 'rg -o             %8.3f s  (%d matches, %d distinct)\n' "$(echo "$rg_ns / 1000000000" | bc -l)" \
    "$(wc -l < "$work/rg.txt")" "$(wc -l < "$work/rg.set")"
printf 'corvane scan      %8.3f s  (%d leads)\n' "$(echo "$cv_ns / 1000000000" | bc -l)" "$(wc -l < "$work/corvane.txt")"
printf 'ratio rg/corvane  %8.2f   (above 1: corvane faster)\n' "$(echo "$rg_ns / $cv_ns" | bc -l)"
if cmp -s "$work/rg.set" "$work/corvane.set"; then
    echo "lead sets identical"
else
    echo "lead sets DIFFER"
    diff "$work/rg.set" "$work/corvane.set" | head -5
    exit 1
fi
