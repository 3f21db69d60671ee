#!/bin/sh
# Runs every libFuzzer target of a fuzz build for a bounded time, each on a scratch copy of
# its seed corpus. Fails on the first crash, sanitizer report, slow input or huge allocation.
# Any input may make a reader fill a 64 MiB picture, so an input counts as slow only past 10 s.
# Usage: run-fuzz.sh BUILD_DIR SECONDS
set -u
build=$1 seconds=$2
src=$(cd "$(dirname "$0")/.." && pwd)
passed=0 failed=0
LSAN_OPTIONS="suppressions=$src/fuzz/lsan.supp${LSAN_OPTIONS:+:$LSAN_OPTIONS}"
export LSAN_OPTIONS
for bin in "$build"/fuzz/fuzz_*; do
    [ -x "$bin" ] || continue
    name=${bin##*/fuzz_}
    work="$build/fuzz-work/$name"
    mkdir -p "$work/corpus" "$work/artifacts"
    echo "fuzz: $name for ${seconds}s"
    if "$bin" -max_total_time="$seconds" -timeout=10 -malloc_limit_mb=256 -rss_limit_mb=1024 \
        -artifact_prefix="$work/artifacts/" -print_final_stats=0 \
        "$work/corpus" "$src/fuzz/corpus/$name" >"$work/log.txt" 2>&1; then
        passed=$((passed + 1))
    else
        failed=$((failed + 1))
        echo "fuzz: $name FAILED; the last lines of $work/log.txt:"
        tail -n 40 "$work/log.txt"
    fi
done
echo "fuzz: $passed passed, $failed failed"
[ "$failed" -eq 0 ] && [ "$passed" -gt 0 ]
