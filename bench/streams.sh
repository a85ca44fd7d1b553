#!/usr/bin/env bash
# Says how many streams this machine carries in and out without a gap, and what each of them takes of a processor.
set -euo pipefail

usage() {
    cat <<'TEXT'
Usage: bench/streams.sh [--size WxH] [--rate R] [--seconds S] [BUILD_FOLDER [N...]]

For each number of streams N (1 2 3 ... 16): that many ndi-send, one tavrin-host with bench/streams.qml that receives
each and sends it on, and that many ndi-recv, on the local NDI runtime, for S seconds (10) from when all have arrived.
Stops at the first number at which frames are lost or come too slowly, tells so, and says whether the host's cost grew
no faster than the number of streams. Ends with 1 when it did, and when not even the first number was carried.

  --size WxH   size of the pictures; without it there are two tables, for 1920x1080 and for 640x360
  --rate R     pictures a second, a whole number (60)
  BUILD_FOLDER build/native by default
TEXT
}
refuse() {
    printf 'streams.sh: %s\n' "$1" >&2
    usage >&2
    exit 64
}

root=$(cd "$(dirname "$0")/.." && pwd)
sizes=(1920x1080 640x360)
rate=60
seconds=10
while (($# > 0)); do
    case $1 in
        --size | --rate | --seconds)
            (($# > 1)) || refuse "$1 takes a value"
            case $1 in
                --size) sizes=("$2") ;;
                --rate) rate=$2 ;;
                --seconds) seconds=$2 ;;
            esac
            shift ;;
        --help | -h) usage && exit 0 ;;
        -*) refuse "unknown option $1" ;;
        *) break ;;
    esac
    shift
done
for number in "$rate" "$seconds" "${@:2}"; do
    [[ $number =~ ^[1-9][0-9]{0,3}$ ]] || refuse "'$number' is no whole number above 0"
done
[[ ${sizes[0]} =~ ^[1-9][0-9]*x[1-9][0-9]*$ ]] || refuse "'${sizes[0]}' is no size"
build=${1:-$root/build/native}
counts=("${@:2}")
((${#counts[@]} > 0)) || mapfile -t counts < <(seq 16)
. "$root/bench/programs.sh"

# How long all streams may take to arrive, and what the programs may run at most.
readonly arrival_seconds=20
readonly limit_seconds=$((arrival_seconds * 2 + seconds + 10))

# User and system time of a process so far, in clock ticks. What stands before ") " is its name.
process_ticks() { sed 's/.*) //' "/proc/$1/stat" | awk '{ print $12 + $13 }'; }
# Time that all processors were busy, and all of their time, in clock ticks.
machine_ticks() { awk '$1 == "cpu" { for (i = 2; i <= 9; ++i) all += $i; print all - $5 - $6, all }' /proc/stat; }
microseconds() { local now=$EPOCHREALTIME; printf '%s' "${now/[.,]/}"; }

all_arrived() {
    local index
    for ((index = 1; index <= $1; ++index)); do
        grep -qs '^video:' "$scratch/receiver-$index.log" || return 1
    done
}
wait_for_arrival() {
    local deadline=$((SECONDS + arrival_seconds))
    until all_arrived "$1"; do
        ((SECONDS < deadline)) || return 1
        sleep 0.1
    done
}

# Lost frames, gaps of picture and sound, least frame rate and greatest median latencies, of all the time and of its last
# seconds, of so many receivers.
received() {
    local index file
    for ((index = 1; index <= $1; ++index)); do
        file=$scratch/receiver-$index.json
        printf '%s %s %s %s %s %s\n' "$(member "$file" lostFrames)" "$(member "$file" gaps)" "$(member "$file" audioGaps)" \
            "$(member "$file" fps)" "$(member "$file" median)" "$(member "$file" recent)"
    done | awk '{ lost += $1; gaps += $2 + $3; if (NR == 1 || $4 < fps) fps = $4
                  if ($5 > latency) latency = $5; if ($6 > last) last = $6 }
                END { print lost, gaps, fps, latency, last }'
}

# start_streams SIZE COUNT: leaves the process ids in $host and ${receivers[@]}.
start_streams() {
    local size=$1 count=$2 name="Streams $$" index
    for ((index = 1; index <= count; ++index)); do
        start "sender-$index.log" ndi-send --quiet --name "$name $index" --size "$size" --rate "$rate" \
            --duration $limit_seconds
    done
    start host.log tavrin-host --quiet --duration $limit_seconds "$root/bench/streams.qml" "$name" "$count"
    host=$!
    receivers=()
    for ((index = 1; index <= count; ++index)); do
        start "receiver-$index.log" ndi-recv "$name $index out" --wait $arrival_seconds --duration $limit_seconds \
            --json "$scratch/receiver-$index.json"
        receivers+=($!)
    done
}

# measure SIZE COUNT: prints a line of the table; fails when the machine does not carry that many.
measure() {
    local count=$2 host receivers
    start_streams "$@"
    if ! wait_for_arrival "$count"; then
        printf '%7d  not all streams arrive within %d seconds\n' "$count" $arrival_seconds
        cat "$scratch/host.log" >&2
        end_all
        return 1
    fi
    local began ended host_began host_ended machine_began machine_ended
    began=$(microseconds)
    host_began=$(process_ticks "$host")
    machine_began=$(machine_ticks)
    sleep "$seconds"
    ended=$(microseconds)
    if ! host_ended=$(process_ticks "$host"); then
        printf '%7d  the host has ended by itself\n' "$count"
        cat "$scratch/host.log" >&2
        end_all
        return 1
    fi
    machine_ended=$(machine_ticks)
    # Before their senders end, which would look like a loss of pace.
    kill -INT "${receivers[@]}"
    wait "${receivers[@]}" || true
    end_all
    print_line "$count" $((ended - began)) $((host_ended - host_began)) "$machine_began $machine_ended" "$(received "$count")"
}

# print_line COUNT MICROSECONDS HOST_TICKS "BUSY ALL BUSY ALL" "LOST GAPS FPS LATENCY LAST": notes what was carried.
print_line() {
    awk -v count="$1" -v time="$2" -v ticks="$3" -v hertz="$(getconf CLK_TCK)" -v machine="$4" -v figures="$5" \
        -v rate="$rate" -v carried="$scratch/carried" '
        BEGIN {
            share = 100 * ticks / hertz / (time / 1e6)
            split(machine, busy)
            split(figures, figure)
            all = busy[4] - busy[2]
            printf "%7d  %8.1f  %12.1f  %9.1f  %6d  %5d  %8.2f  %10.2f  %7.2f\n", count, share, share / count,
                   (all ? 100 * (busy[3] - busy[1]) / all : 0), figure[1], figure[2], figure[3], figure[4], figure[5]
            if (figure[2] > 0 || figure[3] < 0.98 * rate)
                exit 1
            print count, share / count >>carried
        }'
}

# table SIZE: a line for each number of streams up to the first that is not carried, and what they come to.
table() {
    local size=$1 count
    : >"$scratch/carried"
    printf '%s at %s, %s seconds, %s processors\n' "$size" "$rate" "$seconds" "$(nproc)"
    printf '%7s  %8s  %12s  %9s  %6s  %5s  %8s  %10s  %7s\n' streams 'host %' 'per stream %' 'machine %' lost \
        gaps 'least fps' 'latency ms' 'last ms'
    for count in "${counts[@]}"; do
        measure "$size" "$count" || { printf 'not carried: %s\n' "$count" && break; }
    done
    awk -f "$root/bench/linearity.awk" "$scratch/carried"
}

status=0
for size in "${sizes[@]}"; do
    table "$size" || status=1
done
exit $status
