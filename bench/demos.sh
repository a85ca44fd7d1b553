#!/usr/bin/env bash
# Runs ./demo again and again and prints what each run lost on its roads and how late its pictures were.
set -euo pipefail

usage() {
    cat <<'TEXT'
Usage: bench/demos.sh N [OPTION of ./demo...]

Runs ./demo N times, with the options given (--windows, --seconds S), and prints for each run: pictures lost and places
where picture or sound is missing, received in the scene and received back, and the median latencies. Ends with 1 when
a run fails or misses a goal: no picture lost on any road, and a round trip below 30 ms; with --windows below 60 ms,
and pictures lost are only told, since those of the first second may be.
TEXT
}
if [[ ${1:-} == --help || ${1:-} == -h ]]; then
    usage
    exit 0
fi
if [[ ! ${1:-} =~ ^[1-9][0-9]{0,3}$ ]]; then
    usage >&2
    exit 64
fi
runs=$1
shift
windows=no
round_trip_goal=30
for option; do
    [[ $option != --windows ]] || { windows=yes && round_trip_goal=60; }
done

root=$(cd "$(dirname "$0")/.." && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# figure KEY: of the run that has just been.
figure() { awk -v key="\"$1\":" '$1 == key { sub(/,$/, ""); print $2; exit }' "$scratch/demo.json"; }
# below NUMBER LIMIT: no number is below none.
below() { [[ $1 =~ ^[0-9.]+$ ]] && awk "BEGIN { exit !($1 < $2) }"; }
# missed: says which goals the run that has just been did not reach.
missed() {
    local lost round_trip
    lost="$(figure lost) + $(figure roundTripLost)"
    round_trip=$(figure roundTripLatencyMsMedian)
    [[ $windows == yes || $lost == '0 + 0' ]] || printf ' %s lost;' "$lost"
    below "$round_trip" $round_trip_goal || printf ' %s < %s;' "$round_trip" $round_trip_goal
}

status=0
printf '%4s  %6s  %5s  %10s  %11s  %11s  %13s\n' run lost gaps 'latency ms' 'lost (back)' 'gaps (back)' 'round trip ms'
for ((run = 1; run <= runs; ++run)); do
    if ! "$root/demo" "$@" --out "$scratch" >"$scratch/log" 2>&1; then
        printf '%4d  failed\n' "$run"
        cat "$scratch/log" >&2
        status=1
        continue
    fi
    printf '%4d  %6s  %5s  %10s  %11s  %11s  %13s' "$run" "$(figure lost)" "$(figure gaps)" \
        "$(figure latencyMsMedian)" "$(figure roundTripLost)" "$(figure roundTripGaps)" \
        "$(figure roundTripLatencyMsMedian)"
    goals=$(missed)
    [[ -z $goals ]] || { printf '  MISSED:%s' "$goals" && status=1; }
    printf '\n'
done
exit $status
