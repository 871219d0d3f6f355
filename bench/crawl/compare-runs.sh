#!/usr/bin/env bash
# Interleaved modern-profile crawls of one generated nginx site, to compare two builds or two
# sets of flags where a few per cent matter: each round runs every variant once, in turn, and
# the medians of wall and CPU time are printed per variant.
#   bench/crawl/compare-runs.sh PAGES ROUNDS 'LABEL=CLI [FLAGS...]' 'LABEL=CLI [FLAGS...]' ...
# e.g. bench/crawl/compare-runs.sh 20000 7 'rec=build/release/bin/corvane-cli --delay 0' \
#        'norec=build/release/bin/corvane-cli --delay 0 --no-record'
set -euo pipefail
cd "$(dirname "$0")/../.."
pages=$1 rounds=$2; shift 2
source bench/crawl/generated-site.sh

for round in $(seq "$rounds"); do
  for variant in "$@"; do
    label=${variant%%=*}
    read -r -a command <<< "${variant#*=}"
    rm -rf "$work/home" "$work/leads.csv"
    /usr/bin/time -f "%e %U %S" -o "$work/time" "${command[0]}" --home "$work/home" harvest \
      --urls "$work/urls.txt" --probe "$base/" --profile modern --timeout 10 \
      --pages 100000000 --leads 100000000 --out "$work/leads.csv" "${command[@]:1}" \
      >/dev/null 2>"$work/err" || true
    requests=$(grep -o 'pages [0-9]*' "$work/err" | tail -1 | cut -d' ' -f2)
    read -r wall user sys < "$work/time"
    echo "$label $wall $(awk "BEGIN{print $user + $sys}") $requests" | tee -a "$work/runs"
  done
done

python3 - "$work/runs" <<'PY'
import statistics, sys
runs = {}
for line in open(sys.argv[1]):
    label, wall, cpu, requests = line.split()
    runs.setdefault(label, []).append((float(wall), float(cpu), requests))
first = None
for label, rows in runs.items():
    wall = statistics.median(r[0] for r in rows)
    cpu = statistics.median(r[1] for r in rows)
    first = first or wall
    print("%-10s median %6.2f s wall (%+.1f%% against the first), %6.2f s CPU, %s requests, %d runs"
          % (label, wall, 100 * (wall / first - 1), cpu, rows[0][2], len(rows)))
PY
