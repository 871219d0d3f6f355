#!/usr/bin/env bash
# Runs one fuzzer over its seeds and past finds for a while.
#   fuzz/run.sh FUZZER WORKDIR [SECONDS] [MAX_LEN] [more libFuzzer options...]
# FUZZER is a built fuzz_<target> program (the build's corvane_fuzzers target makes them in
# <build>/fuzz-clang/bin). fuzz/corpus/<target> and fuzz/regressions/<target> are read, never
# written; new inputs go to WORKDIR/corpus, and an input that breaks a rule, hangs or runs out
# of memory is saved in WORKDIR.
#
# The limits make "never hangs, never exhausts memory" checkable: an input of at most MAX_LEN
# bytes (64 KiB at most) gets 10 seconds where a linear reader needs milliseconds, one
# allocation of at most 64 MB and 384 MB in all. A fuzzer idles at about 40 MB and holds its
# corpus in memory, which after a few minutes stays below 150 MB; ASan's quarantine of freed
# memory is kept small so that it does not count against the reader.
set -euo pipefail
fuzzer=$1
work=$2
seconds=${3:-10}
max_len=${4:-65536}
shift $(($# < 4 ? $# : 4))
here=$(cd "$(dirname "$0")" && pwd)
target=$(basename "$fuzzer")
target=${target#fuzz_}

mkdir -p "$work/corpus"
inputs=("$work/corpus" "$here/corpus/$target")
[ -d "$here/regressions/$target" ] && inputs+=("$here/regressions/$target")
options=(-max_total_time="$seconds" -max_len="$max_len" -timeout=10 -rss_limit_mb=384
    -malloc_limit_mb=64 -print_final_stats=1 -artifact_prefix="$work/")
[ -f "$here/dict/$target.dict" ] && options+=(-dict="$here/dict/$target.dict")
# Record files are rewritten through fsync'ed temporary files; on a memory file system the
# targets' temporary folders cost no disk round trips.
[ -z "${TMPDIR:-}" ] && [ -w /dev/shm ] && export TMPDIR=/dev/shm
# Appended, so they win over options a caller set for the other tests (leaks are wanted here:
# memory kept after each input is memory a long run runs out of).
# Qt's libraries are built without frame pointers, so the sanitizer's fast walk of a deeper
# allocation stack through them reads stray stack words; it keeps every stack it has not
# seen before for good, which grew a long run by up to 5 KB an input until it ran out of
# memory. Two frames name the allocation site and its caller; for a saved input's whole
# stacks, run the fuzzer on it with ASAN_OPTIONS=fast_unwind_on_malloc=0.
export ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}quarantine_size_mb=16:malloc_context_size=2:detect_leaks=1"
export UBSAN_OPTIONS="${UBSAN_OPTIONS:+$UBSAN_OPTIONS:}print_stacktrace=1:halt_on_error=1"
exec "$fuzzer" "${options[@]}" "$@" "${inputs[@]}"
