#!/usr/bin/env bash
# corvane-cli scan over a web archive: wall time and peak memory (/usr/bin/time -v), and,
# when the archive's pages were also written out, whether scanning the archive and scanning
# the pages give the same leads.
#
#   bench/scan-warc.sh [BUILD_DIR] [SIZE_MB] [WITH_PAGES]
#   (defaults: build/release, 2048, no; the archive /tmp/corvane-scan-SIZE.warc.gz and, with
#   WITH_PAGES=yes, its pages in /tmp/corvane-scan-SIZE-pages are made by
#   bench/scan/gen-warc.py when missing)
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/release}
size=${2:-2048}
with_pages=${3:-no}
cli="$build/bin/corvane-cli"
archive=/tmp/corvane-scan-$size.warc.gz
pages=/tmp/corvane-scan-$size-pages

[ -x "$cli" ] || { echo "no $cli; build the corvane-cli target first" >&2; exit 2; }
if [ ! -f "$archive" ] || { [ "$with_pages" = yes ] && [ ! -d "$pages" ]; }; then
    rm -rf "$archive" "$pages"
    if [ "$with_pages" = yes ]; then
        python3 bench/scan/gen-warc.py "$archive" "$size" "$pages"
    else
        python3 bench/scan/gen-warc.py "$archive" "$size"
    fi
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cat "$archive" > /dev/null
load_before=$(cut -d' ' -f1-3 /proc/loadavg)
/usr/bin/time -v "$cli" --home "$work/home" scan "$archive" > "$work/archive.txt" 2> "$work/time.txt"
load_after=$(cut -d' ' -f1-3 /proc/loadavg)
printf 'archive           %s (%d MB)\n' "$archive" $(($(stat -c %s "$archive") / 1048576))
printf 'load average      %s before, %s after\n' "$load_before" "$load_after"
printf 'wall time         %s\n' "$(grep 'Elapsed (wall clock)' "$work/time.txt" | sed 's/.*: //')"
printf 'peak memory       %d MB\n' $(($(grep 'Maximum resident' "$work/time.txt" | sed 's/.*: //') / 1024))
printf 'leads             %d\n' "$(wc -l < "$work/archive.txt")"
if [ -d "$pages" ]; then
    "$cli" --home "$work/home" scan --types '.***' "$pages" > "$work/pages.txt"
    if cmp -s <(sort "$work/archive.txt") <(sort "$work/pages.txt"); then
        echo "same leads as the pages themselves"
    else
        echo "leads DIFFER from the pages'"
        diff <(sort "$work/archive.txt") <(sort "$work/pages.txt") | head -5
        exit 1
    fi
fi
