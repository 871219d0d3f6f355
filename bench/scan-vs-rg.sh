#!/usr/bin/env bash
# corvane-cli scan against rg -o with the same pattern over the same folder tree: the median
# wall time of each over interleaved runs (page cache warm; the order alternates each round
# so neither always runs on a cache the other just warmed), the ratio, the load average, and
# whether the two lead sets agree.
#
#   bench/scan-vs-rg.sh [BUILD_DIR] [TREE] [SIZE_MB] [ROUNDS]
#   (defaults: build/release, /tmp/corvane-scan-tree-SIZE, 1024, 7; the tree is generated
#   by bench/scan/gen-tree.py when missing)
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/release}
size=${3:-1024}
tree=${2:-/tmp/corvane-scan-tree-$size}
rounds=${4:-7}
cli="$build/bin/corvane-cli"
pattern='[a-zA-Z0-9-_.]+@[a-zA-Z0-9-_.]+\.[a-zA-Z0-9]+'

[ -x "$cli" ] || { echo "no $cli; build the corvane-cli target first" >&2; exit 2; }
[ -d "$tree" ] || python3 bench/scan/gen-tree.py "$tree" "$size"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Both read every file as bytes: rg with -a (binary as text) and -uuu (no ignore files,
# hidden files too); corvane with every file type.
run_rg() { rg -o -a -uuu --no-filename --no-line-number "$pattern" "$tree" > "$work/rg.txt"; }
run_corvane() { "$cli" --home "$work/home" scan --types '.***' "$tree" > "$work/corvane.txt"; }
timed() { # prints the wall time of "$@" in nanoseconds
    local start end
    start=$(date +%s%N)
    "$@"
    end=$(date +%s%N)
    echo $((end - start))
}
median() { sort -n | awk '{ v[NR] = $1 } END { print (NR % 2) ? v[(NR + 1) / 2] : int((v[NR / 2] + v[NR / 2 + 1]) / 2) }'; }

find "$tree" -type f -exec cat {} + >/dev/null
load_before=$(cut -d' ' -f1-3 /proc/loadavg)
: > "$work/rg.ns"
: > "$work/corvane.ns"
for ((round = 0; round < rounds; round++)); do
    if ((round % 2 == 0)); then
        timed run_rg >> "$work/rg.ns"
        timed run_corvane >> "$work/corvane.ns"
    else
        timed run_corvane >> "$work/corvane.ns"
        timed run_rg >> "$work/rg.ns"
    fi
done
load_after=$(cut -d' ' -f1-3 /proc/loadavg)
rg_ns=$(median < "$work/rg.ns")
cv_ns=$(median < "$work/corvane.ns")

sort -u "$work/rg.txt" > "$work/rg.set"
sort "$work/corvane.txt" > "$work/corvane.set"
bytes=$(du -sb "$tree" | cut -f1)
seconds() { echo "$1 / 1000000000" | bc -l; }
printf 'tree              %s (%d MB, %d files)\n' "$tree" $((bytes / 1048576)) "$(find "$tree" -type f | wc -l)"
printf 'runs              %d interleaved, medians; load average %s before, %s after\n' \
    "$rounds" "$load_before" "$load_after"
printf 'rg -o             %8.3f s  (%d matches, %d distinct)\n' "$(seconds "$rg_ns")" \
    "$(wc -l < "$work/rg.txt")" "$(wc -l < "$work/rg.set")"
printf 'corvane scan      %8.3f s  (%d leads)\n' "$(seconds "$cv_ns")" "$(wc -l < "$work/corvane.txt")"
printf 'ratio corvane/rg  %8.2f   (1.00 or less: corvane at least as fast)\n' \
    "$(echo "$cv_ns / $rg_ns" | bc -l)"
if cmp -s "$work/rg.set" "$work/corvane.set"; then
    echo "lead sets identical"
else
    echo "lead sets DIFFER"
    diff "$work/rg.set" "$work/corvane.set" | head -5
    exit 1
fi
