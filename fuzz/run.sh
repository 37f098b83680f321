#!/usr/bin/env bash
# Runs the built fuzz targets one after another and prints a line for each; fails if one of them finds something.
#   fuzz/run.sh [SECONDS_EACH] [TARGET...]      60 seconds and all targets by default; a target is named without fuzz_
# VORLANDI_FUZZ_BUILD is the build directory, build/sanitizers by default. The corpus and the findings stay below it, in
# fuzz-corpus and fuzz-findings. A finding is run again with: BUILD/bin/fuzz_TARGET FILE
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=$(cd "${VORLANDI_FUZZ_BUILD:-$root/build/sanitizers}" && pwd)
examples=$root/examples/data

seconds=60
if [[ "${1:-}" =~ ^[0-9]+$ ]]; then
    seconds=$1
    shift
fi
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
    for program in "$build"/bin/fuzz_*; do
        targets+=("${program##*/fuzz_}")
    done
fi

# The first lines of each example are enough, and the last ones end its data.
cut_example() {
    { head -n 24 "$1"; tail -n 3 "$1"; } >"$2/${1##*/}"
}

# One seed per line.
split_lines() {
    local number=0 line
    while IFS= read -r line; do
        number=$((number + 1))
        printf '%b' "$line" >"$2/line_$number"
    done <"$1"
}

seeds_of() {
    case "$1" in
        reader_*)
            local format=${1#reader_}
            for example in "$examples"/81001_"${format%_practical}"[._]*; do
                if [ -e "$example" ]; then cut_example "$example" "$2"; fi
            done
            if [ -e "$root/fuzz/seeds/$1.txt" ]; then cp "$root/fuzz/seeds/$1.txt" "$2"; fi
            ;;
        scanner*)
            for example in "$examples"/81001_*.{txt,e}; do cut_example "$example" "$2"; done
            split_lines "$root/fuzz/seeds/scanner.txt" "$2"
            ;;
        dce_binary) head -c 2000 "$examples/81001.dce" >"$2/81001.dce" ;;
        *) split_lines "$root/fuzz/seeds/$1.txt" "$2" ;;
    esac
}

dictionary_of() {
    case "$1" in
        reader_* | scanner*) echo "$root/fuzz/dictionaries/ephemeris.dict" ;;
        dates) echo "$root/fuzz/dictionaries/dates.dict" ;;
        numbers) echo "$root/fuzz/dictionaries/numbers.dict" ;;
    esac
}

longest_of() {
    case "$1" in
        dates | numbers) echo 80 ;;
        *) echo 4096 ;;
    esac
}

status=0
for target in "${targets[@]}"; do
    corpus=$build/fuzz-corpus/$target
    seeds=$build/fuzz-seeds/$target
    findings=$build/fuzz-findings/$target
    mkdir -p "$corpus" "$seeds" "$findings"
    seeds_of "$target" "$seeds"
    options=(-max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -malloc_limit_mb=8 -print_final_stats=1
        -max_len="$(longest_of "$target")" -artifact_prefix="$findings/")
    dictionary=$(dictionary_of "$target")
    [ -n "$dictionary" ] && options+=(-dict="$dictionary")
    log=$build/fuzz-findings/$target.log
    result="no finding"
    if ! UBSAN_OPTIONS=print_stacktrace=1 "$build/bin/fuzz_$target" "${options[@]}" "$corpus" "$seeds" \
        >"$log" 2>&1; then
        result=$(grep -m 1 -E 'Property does not hold|runtime error|ERROR: |error: ' "$log" || echo "see $log")
        result="FINDING: $result"
        status=1
    fi
    executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    printf '%-18s %10s executions  %s\n' "$target" "${executions:-0}" "$result"
done
exit $status
