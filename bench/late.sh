#!/usr/bin/env bash
# Says how late a host's streams arrive: undisturbed, after hold-ups, with slow sends, and with clocks that differ.
set -euo pipefail

usage() {
    cat <<'TEXT'
Usage: bench/late.sh [OPTION...] [BUILD_FOLDER]

Runs examples/send.qml, and examples/bridge.qml behind ndi-send with 1920x1080 at 60, on the local NDI runtime, and prints
what ndi-recv says of three seconds of each, and the host's memory: in the beginning, 1.5 seconds after the host was
stopped for a while, with sends of its pictures that take 30 ms, and with an ndi-send whose clock is fast or slow. Ends
with 1 when a goal is missed: a latency of 60 ms, after hold-ups too; with slow sends 120 ms, 30 pictures a second and a
memory that stays; with clocks that differ a latency that stays, to one picture's duration; picture and sound within
40 ms always.

  --hold-ups LIST     how long the host is stopped, seconds ("0.4 2 5"); "" for not at all
  --times N           how often each of them (3)
  --slow-seconds S    how long slow sends go on (20); 0 for not at all
  --clock-seconds S   how long clocks differ, by +300 and by -300 parts in a million beside each other (600); 0 likewise
  BUILD_FOLDER        build/native by default
TEXT
}
refuse() {
    printf 'late.sh: %s\n' "$1" >&2
    usage >&2
    exit 64
}

root=$(cd "$(dirname "$0")/.." && pwd)
hold_ups='0.4 2 5'
times=3
slow_seconds=20
clock_seconds=600
while (($# > 0)); do
    case $1 in
        --hold-ups | --times | --slow-seconds | --clock-seconds)
            (($# > 1)) || refuse "$1 takes a value"
            case $1 in
                --hold-ups) hold_ups=$2 ;;
                --times) times=$2 ;;
                --slow-seconds) slow_seconds=$2 ;;
                --clock-seconds) clock_seconds=$2 ;;
            esac
            shift ;;
        --help | -h) usage && exit 0 ;;
        -*) refuse "unknown option $1" ;;
        *) break ;;
    esac
    shift
done
(($# <= 1)) || refuse "one build folder at most"
for number in $times $slow_seconds $clock_seconds; do
    [[ $number =~ ^(0|[1-9][0-9]{0,4})$ ]] || refuse "'$number' is no whole number"
done
for number in $hold_ups; do
    [[ $number =~ ^[0-9]{1,2}(\.[0-9]+)?$ ]] || refuse "'$number' is no time in seconds"
done
build=${1:-$root/build/native}
. "$root/bench/programs.sh"

readonly watched_seconds=3
readonly arrival_seconds=20
# Of the pictures that a host and its runtime may take or leave for the moment, MiB.
readonly memory_noise=16

missed=0
# The figures of one stretch: pictures a second, median latency, by how much the picture is behind the sound ("none" when no
# flash met its beep), and the memory of the host, MiB.
fps=
latency=
offset=
memory=

# watch NAME HOST: what that sender sends for a few seconds.
watch() {
    local file=$scratch/watched.json
    "$build/bin/ndi-recv" "$1" --quiet --wait $arrival_seconds --seconds $watched_seconds --json "$file"
    fps=$(member "$file" fps)
    latency=$(member "$file" median)
    offset=$(awk '$1 == "\"avArrivalMs\":" { print $2 == "null," ? "none" : $2 + 0; exit }' "$file")
    memory=$(awk '$1 == "VmRSS:" { printf "%.1f", $2 / 1024 }' "/proc/$2/status")
}
# holds EXPRESSION: of numbers alone.
holds() { [[ $1 != *[a-z]* ]] && awk "BEGIN { exit !($1) }"; }
# report SCENE WHEN CONDITION...: a line of the table, with the conditions that do not hold.
report() {
    local condition failed=()
    for condition in "${@:3}" "$offset < 40" "$offset > -40"; do
        holds "$condition" || failed+=("$condition")
    done
    printf '%-7s  %-24s  %6.2f  %10.2f  %12s  %8.1f' "$1" "$2" "$fps" "$latency" "$offset" "$memory"
    ((${#failed[@]} == 0)) || { printf '  MISSED:' && printf ' %s;' "${failed[@]}"; missed=1; }
    printf '\n'
}

# start_scene SCENE NAME [OPTION...]: a host that sends NAME, for bridge with an ndi-send of those options before it; leaves
# the host's process id in $host. Sends of its pictures, and of nobody else's, take $host_send_ms.
host_send_ms=
start_scene() {
    local scene=$1 name=$2
    # Neither name contains the other: programs look for a part of a name, and the bridge passes over its own.
    local input=${name/Late/Input}
    local -a arguments=("$name")
    shift 2
    if [[ $scene == bridge ]]; then
        start "$name sender.log" ndi-send --quiet --name "$input" --size 1920x1080 --rate 60 "$@"
        arguments=("$input" "$name")
    fi
    NDI_LOCAL_SEND_MS=$host_send_ms start "$name host.log" \
        tavrin-host --quiet "$root/examples/$scene.qml" "${arguments[@]}"
    host=$!
}

# undisturbed_and_held_up SCENE
undisturbed_and_held_up() {
    local scene=$1 name="Late $$ $1" host seconds round
    start_scene "$scene" "$name"
    watch "$name" "$host"
    report "$scene" "in the beginning" "$latency < 60"
    for seconds in $hold_ups; do
        for ((round = 1; round <= times; ++round)); do
            kill -STOP "$host"
            sleep "$seconds"
            kill -CONT "$host"
            sleep 1.5
            watch "$name" "$host"
            report "$scene" "stopped for $seconds s" "$latency < 60"
        done
    done
    end_all
}

# slow_sends SCENE
slow_sends() {
    local scene=$1 name="Late $$ slow $1" host_send_ms=30 host before stretch
    start_scene "$scene" "$name"
    watch "$name" "$host"
    before=$memory
    for stretch in 1 2; do
        sleep "$(awk "BEGIN { print $slow_seconds / 2 }")"
        watch "$name" "$host"
        # A rate is exact to a picture in the time that was watched.
        report "$scene" "sends of 30 ms" "$latency < 120" "$fps > 30 - 1 / $watched_seconds" \
            "$memory < $before + $memory_noise"
    done
    end_all
}

# clocks_that_differ: both beside each other.
clocks_that_differ() {
    local ppm host
    local -A hosts first
    for ppm in 300 -300; do
        start_scene bridge "Late $$ clock $ppm" --clock-ppm $ppm
        hosts[$ppm]=$host
    done
    for ppm in 300 -300; do
        watch "Late $$ clock $ppm" "${hosts[$ppm]}"
        first[$ppm]=$latency
        report bridge "clock $ppm ppm, at first" "$latency < 60"
    done
    sleep "$clock_seconds"
    for ppm in 300 -300; do
        watch "Late $$ clock $ppm" "${hosts[$ppm]}"
        report bridge "clock $ppm ppm, at last" "$latency < ${first[$ppm]} + 1000 / 60" \
            "$latency > ${first[$ppm]} - 1000 / 60"
    done
    end_all
}

printf '1920x1080 at 60, %s processors\n' "$(nproc)"
printf '%-7s  %-24s  %6s  %10s  %12s  %8s\n' scene when fps 'latency ms' 'behind sound' 'host MiB'
for scene in send bridge; do
    undisturbed_and_held_up $scene
done
if ((slow_seconds > 0)); then
    for scene in send bridge; do
        slow_sends $scene
    done
fi
if ((clock_seconds > 0)); then
    clocks_that_differ
fi
exit $missed
