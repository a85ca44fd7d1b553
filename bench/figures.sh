#!/usr/bin/env bash
# Runs the benchmarks and prints their figures as the tables that README.md shows, with what they were measured on.
set -euo pipefail

usage() {
    cat <<'TEXT'
Usage: bench/figures.sh [--repetitions N] [BUILD_FOLDER]

Runs every benchmark N times (5) and prints, for each line of each program, the median of its time, that time as a multiple
of the line it is compared with, and its allocations. BUILD_FOLDER is build/native by default. Takes some minutes; leave
the machine alone meanwhile.
TEXT
}
refuse() {
    printf 'figures.sh: %s\n' "$1" >&2
    usage >&2
    exit 64
}

root=$(cd "$(dirname "$0")/.." && pwd)
repetitions=5
while (($# > 0)); do
    case $1 in
        --repetitions)
            (($# > 1)) || refuse "$1 takes a value"
            repetitions=$2
            shift ;;
        --help | -h) usage && exit 0 ;;
        -*) refuse "unknown option $1" ;;
        *) break ;;
    esac
    shift
done
# Of one alone there is no median.
[[ $repetitions =~ ^([2-9]|[1-9][0-9])$ ]] || refuse "'$repetitions' is no number of repetitions from 2 to 99"
(($# <= 1)) || refuse "one build folder is wanted"
build=${1:-$root/build/native}
programs=(bench_frame_path bench_send_path bench_converters bench_audio)
for program in "${programs[@]}"; do
    [[ -x $build/bin/$program ]] || { printf 'figures.sh: %s has no %s; build it first\n' "$build" "$program" >&2; exit 1; }
done
export LD_LIBRARY_PATH=$build/ndi-local${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}

printf '%s, %s processors, %s; %s\n' "$(sed -n 's/^model name[^:]*: //p' /proc/cpuinfo | head -n 1)" "$(nproc)" \
    "$(date +%F)" "$(git -C "$root" describe --always --dirty 2>/dev/null || printf 'no commit')"
for program in "${programs[@]}"; do
    options=(--benchmark_repetitions="$repetitions" --benchmark_report_aggregates_only=true)
    printf '\n`%s %s`\n\n' "$program" "${options[*]}"
    "$build/bin/$program" "${options[@]}" 2>/dev/null | awk -f "$root/bench/figures.awk"
done
