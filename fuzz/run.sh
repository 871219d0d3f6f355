#!/usr/bin/env bash
# Builds the DNS reply reader under libFuzzer and runs it for a while.
#   fuzz/run.sh [WORKDIR] [SECONDS]      (CXX picks the clang, default clang++)
# The seed replies in fuzz/corpus/mx_reply are read but never written; new finds go to
# WORKDIR/corpus, crashes to WORKDIR.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(dirname "$here")
work=${1:-$root/build/fuzz}
seconds=${2:-20}
cxx=${CXX:-clang++}
mkdir -p "$work/corpus"
"$cxx" -std=c++20 -g -O1 -fPIC -fsanitize=fuzzer,address,undefined \
    -I"$root/src" -I"$here" $(pkg-config --cflags Qt6Core) \
    "$here/mx_reply_fuzzer.cpp" "$root/src/verify/DnsMessage.cpp" "$root/src/common/Cp1252.cpp" \
    $(pkg-config --libs Qt6Core) -o "$work/mx_reply_fuzzer"
cd "$work"
exec ./mx_reply_fuzzer -max_total_time="$seconds" -max_len=1500 -timeout=5 -rss_limit_mb=1024 \
    -print_final_stats=1 "$work/corpus" "$here/corpus/mx_reply"
