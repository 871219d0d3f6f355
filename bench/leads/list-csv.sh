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
rows=$("$build/bin/corvane-cli" --home "$home" leads list --format csv | wc -l)
ns=$(best list)
echo "leads list --format csv: $((rows - 1)) leads in $(awk "BEGIN { printf \"%.2f\", $ns / 1e9 }") s"
