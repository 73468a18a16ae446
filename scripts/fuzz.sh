#!/usr/bin/env bash
# Builds the libFuzzer targets with clang (AddressSanitizer and UBSan on) and runs each for
# the given number of seconds, two at a time. Every target starts from its committed seeds
# in tests/fuzz/corpus and keeps what it learns in the build folder. Inputs that crash,
# leak, run out of memory or hang (20 s) land in <build>/findings/<target>/; the exit status
# is non-zero if any did. Keep each one as a regression in tests/fuzz/findings/<format>/.
# The CPU time of every run is added to <build>/fuzz-cpu.tsv; the summary prints the total.
#   scripts/fuzz.sh [seconds per target, default 600] [target…]
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-600}
shift || true
build=${FUZZ_BUILD_DIR:-build-fuzz}
jobs=${FUZZ_JOBS:-$(nproc)}

# Target → seed folder.
declare -A seeds=(
    [DocxReaderFuzzer]=docx
    [OdtReaderFuzzer]=odt
    [DocxXmlFuzzer]=docx-xml
    [OdtXmlFuzzer]=odt-xml
    [RtfReaderFuzzer]=rtf
    [OptionsJsonFuzzer]=options
    [UnzipFuzzer]=zip
    [UriListFuzzer]=uri-list
    [ReleaseFeedFuzzer]=release-feed
)
targets=("$@")
[[ ${#targets[@]} -gt 0 ]] || targets=("${!seeds[@]}")

cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DCMAKE_CXX_FLAGS_RELWITHDEBINFO="-O1 -g1 -DNDEBUG" \
    -DCMAKE_CXX_COMPILER=clang++ -DKELVANE_FUZZ=ON -DKELVANE_SANITIZE=ON -DKELVANE_WERROR=ON \
    >/dev/null
cmake --build "$build" -j "$jobs" --target "${targets[@]}"

run_target() {
    local target=$1
    local corpus="$build/corpus/$target" findings="$build/findings/$target"
    local rc=0 cpu
    mkdir -p "$corpus" "$findings"
    QT_QPA_PLATFORM=offscreen /usr/bin/time -f '%U %S' -o "$build/$target.cpu" \
        "$build/tests/fuzz/$target" \
        -max_total_time="$seconds" -timeout=20 -report_slow_units=30 -rss_limit_mb=2560 -max_len=262144 \
        -print_final_stats=1 -artifact_prefix="$findings/" \
        "$corpus" "tests/fuzz/corpus/${seeds[$target]}" >"$build/$target.log" 2>&1 || rc=$?
    cpu=$(awk '/^[0-9.]+ [0-9.]+$/ { printf "%.0f", $1 + $2 }' "$build/$target.cpu")
    printf '%s\t%s\t%s\n' "$(date -u +%FT%TZ)" "$target" "${cpu:-0}" >>"$build/fuzz-cpu.tsv"
    return "$rc"
}

status=0
running=0
for target in "${targets[@]}"; do
    run_target "$target" &
    running=$((running + 1))
    if [[ $running -ge $jobs ]]; then
        wait -n || status=1
        running=$((running - 1))
    fi
done
while [[ $running -gt 0 ]]; do
    wait -n || status=1
    running=$((running - 1))
done

for target in "${targets[@]}"; do
    runs=$(grep -o 'stat::number_of_executed_units: *[0-9]*' "$build/$target.log" | grep -o '[0-9]*$' || echo 0)
    # Slow units are only reported: a loaded machine makes any input slow.
    found=$(find "$build/findings/$target" -type f ! -name 'slow-unit-*' | wc -l)
    total=$(awk -v t="$target" '$2 == t { s += $3 } END { printf "%.0f", s / 60 }' "$build/fuzz-cpu.tsv")
    printf 'fuzz: %-20s %4ss  %9s runs  %s findings  (%s CPU-minutes in all)\n' \
        "$target" "$seconds" "$runs" "$found" "$total"
    [[ $found -eq 0 ]] || status=1
done
[[ $status -eq 0 ]] || echo "fuzz: findings above; see $build/<target>.log and $build/findings/" >&2
exit $status
