#!/bin/sh
# Runs every libFuzzer target of a fuzz build for a bounded time, each on a scratch copy of
# its seed corpus, JOBS targets at a time (default 2). Fails on any crash, sanitizer report,
# slow input or huge allocation. Any input may make a reader fill a 64 MiB picture, so an
# input counts as slow only past 10 s.
# Usage: run-fuzz.sh BUILD_DIR SECONDS [JOBS]
set -u
src=$(cd "$(dirname "$0")/.." && pwd)
# libvorbisfile keeps a few bytes of its own on some malformed streams.
LSAN_OPTIONS="suppressions=$src/fuzz/lsan.supp${LSAN_OPTIONS:+:$LSAN_OPTIONS}"
export LSAN_OPTIONS

# One target: run-fuzz.sh --one BUILD_DIR BIN SECONDS; its verdict goes to its work folder.
if [ "${1:-}" = --one ]; then
    build=$2 bin=$3 seconds=$4
    name=${bin##*/fuzz_}
    work="$build/fuzz-work/$name"
    mkdir -p "$work/corpus" "$work/artifacts"
    echo "fuzz: $name for ${seconds}s"
    if "$bin" -max_total_time="$seconds" -timeout=10 -malloc_limit_mb=256 -rss_limit_mb=1024 \
        -artifact_prefix="$work/artifacts/" -print_final_stats=0 \
        "$work/corpus" "$src/fuzz/corpus/$name" >"$work/log.txt" 2>&1; then
        echo passed > "$work/verdict"
    else
        echo failed > "$work/verdict"
        echo "fuzz: $name FAILED; the last lines of $work/log.txt:"
        tail -n 40 "$work/log.txt"
    fi
    exit 0
fi

build=$1 seconds=$2 jobs=${3:-2}
rm -f "$build"/fuzz-work/*/verdict
for bin in "$build"/fuzz/fuzz_*; do
    [ -x "$bin" ] && echo "$bin"
done | xargs -P "$jobs" -I{} sh "$0" --one "$build" {} "$seconds"
passed=$(cat "$build"/fuzz-work/*/verdict 2>/dev/null | grep -c passed)
failed=$(cat "$build"/fuzz-work/*/verdict 2>/dev/null | grep -c failed)
echo "fuzz: $passed passed, $failed failed"
[ "$failed" -eq 0 ] && [ "$passed" -gt 0 ]
