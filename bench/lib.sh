# Shared by the comparison scripts: `best CMD...` runs a command three times and prints the
# fastest wall time in nanoseconds.
best() {
    local best_ns=0
    for _ in 1 2 3; do
        local start end
        start=$(date +%s%N)
        "$@"
        end=$(date +%s%N)
        local ns=$((end - start))
        if [ "$best_ns" -eq 0 ] || [ "$ns" -lt "$best_ns" ]; then best_ns=$ns; fi
    done
    echo "$best_ns"
}
