#!/usr/bin/env bash
# Fills a lead database with N leads (default 1,000,000) and times `corvane-cli leads list
# --format csv` writing all of them to /dev/null, best of three.
#   bench/leads/list-csv.sh [BUILD_DIR] [N]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=${1:-$here/../../build/release}
n=${2:-1000000}
source "$here/../lib.sh"
home=$(mktemp -d)
trap 'rm -rf "$home"' EXIT
"$build/bin/bench_leads" fill "$home" "$n"
list() { "$build/bin/corvane-cli" --home "$home" leads list --format csv >/dev/null; }
seconds() { awk "BEGIN { printf \"%.2f\", $1 / 1e9 }"; }
# The first read folds the leads the run appended into the lead tables; later ones only list.
start=$(date +%s%N)
rows=$("$build/bin/corvane-cli" --home "$home" leads list --format csv | wc -l)
first=$(($(date +%s%N) - start))
ns=$(best list)
echo "leads list --format csv: $((rows - 1)) leads in $(seconds "$ns") s" \
     "(the first listing, which folds them in, $(seconds "$first") s)"
