#!/usr/bin/env bash
# Crawl speed of a harvest against wget --recursive on the same static site served by nginx
# on 127.0.0.1: pages per second and peak memory of each, and their ratio. Then one minute
# of the classic profile, to show its pacing (pages per minute).
#   bench/crawl/compare-wget.sh [BUILD_DIR] [PAGES]      defaults: build/release 20000
# The modern profile runs unpaced (--delay 0): the benchmark measures the crawl, not the
# politeness. CORVANE_PACE overrides those flags (empty for a build that has no --delay).
# HARVEST_FLAGS adds flags to the measured harvest (HARVEST_FLAGS=--no-record shows what
# recording the run in the lead database costs); SKIP_CLASSIC=1 leaves out the classic minute.
set -euo pipefail
cd "$(dirname "$0")/../.."
build=${1:-build/release}
pages=${2:-20000}
cli=$build/bin/corvane-cli
read -r -a pace <<< "${CORVANE_PACE---delay 0}"
[ -x "$cli" ] || { echo "no $cli: run scripts/build first" >&2; exit 1; }
source bench/crawl/generated-site.sh

measure() { # label, command...: prints seconds and peak RSS (KiB) of the command
    local label=$1; shift
    /usr/bin/time -f "%e %M" -o "$work/$label.time" "$@" >"$work/$label.out" 2>"$work/$label.err" || true
    cat "$work/$label.time"
}

read -r c_secs c_kib < <(measure corvane "$cli" --home "$work/home" harvest --urls "$work/urls.txt" \
    --probe "$base/" --profile modern "${pace[@]}" --timeout 10 --pages 100000000 --leads 100000000 --out "$work/leads.csv" \
    ${HARVEST_FLAGS:-})
c_pages=$(grep -o 'pages [0-9]*' "$work/corvane.err" | tail -1 | cut -d' ' -f2)
c_leads=$(($(wc -l < "$work/leads.csv") - 1))

read -r w_secs w_kib < <(measure wget wget --recursive --level=inf --no-parent -q -e robots=on \
    -P "$work/wget" "$base/index.htm")
w_pages=$(find "$work/wget" -name '*.htm' | wc -l)

python3 - "$c_pages" "$c_secs" "$c_kib" "$c_leads" "$w_pages" "$w_secs" "$w_kib" <<'PY'
import sys
cp, cs, ck, cl, wp, ws, wk = sys.argv[1:]
cp, wp = int(cp), int(wp)
cs, ws = max(float(cs), 0.001), max(float(ws), 0.001)
print("corvane (modern): %6d page requests in %7.2f s = %8.0f pages/s, peak %6.1f MiB, %d leads"
      % (cp, cs, cp / cs, int(ck) / 1024, int(cl)))
print("wget --recursive: %6d pages         in %7.2f s = %8.0f pages/s, peak %6.1f MiB"
      % (wp, ws, wp / ws, int(wk) / 1024))
print("ratio corvane/wget (pages/s): %.2f" % ((cp / cs) / (wp / ws)))
PY

[ "${SKIP_CLASSIC:-0}" = 1 ] && exit 0
# Classic pacing: one step every page time-out + 1.5 s (20 s -> 21.5 s), up to 44 pages a step.
"$cli" --home "$work/classic" harvest --urls "$work/urls.txt" --probe "$base/" --profile classic --timeout 20 \
    --minutes 1 --out "$work/classic.csv" >/dev/null 2>"$work/classic.err" || true
cl_pages=$(grep -o 'pages [0-9]*' "$work/classic.err" | tail -1 | cut -d' ' -f2)
echo "corvane (classic, 20 s time-out): $cl_pages page requests in the first minute (expected at most 1 + 5 + 44 x 2 per 64.5 s of steps)"
