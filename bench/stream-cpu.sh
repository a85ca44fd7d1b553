#!/usr/bin/env bash
# Says what share of one processor a running stream takes: in ndi-send, which makes it, and in the host that receives it.
set -euo pipefail

usage() {
    cat <<'TEXT'
Usage: bench/stream-cpu.sh BUILD_FOLDER [SIZE [RATE [SECONDS]]]

Publishes the test pattern (1920x1080 at 60 for 10 seconds) through the local NDI runtime, receives it with
examples/receive.qml, and prints for both processes user and system time as a share of one processor. The time that
they take to start and to find each other counts as well, so longer runs say more.
TEXT
}

if [[ ${1:-} == --help || ${1:-} == -h ]]; then
    usage
    exit 0
fi
if (($# < 1 || $# > 4)); then
    usage >&2
    exit 64
fi

root=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "$1" && pwd)
size=${2:-1920x1080}
rate=${3:-60}
seconds=${4:-10}
name="stream-cpu $$"
export LD_LIBRARY_PATH=$build/ndi-local${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}

scratch=$(mktemp -d)
sender=
cleanup() {
    if [[ -n $sender ]]; then
        kill "$sender" 2>/dev/null || true
        wait "$sender" 2>/dev/null || true
    fi
    rm -rf "$scratch"
}
trap cleanup EXIT

# Runs a command and leaves its real, user and system seconds in a file.
measure() {
    local file=$1
    shift
    local TIMEFORMAT='%R %U %S'
    { time "$@" >"$file.out" 2>&1; } 2>"$file" || {
        cat "$file.out" >&2
        return 1
    }
}

share() {
    awk -v who="$1" '{ printf "%-12s %6.1f %% of one processor (%.1f s user, %.1f s system in %.1f s)\n",
                       who, 100 * ($2 + $3) / $1, $2, $3, $1 }' "$2"
}

measure "$scratch/send" "$build/bin/ndi-send" --name "$name" --size "$size" --rate "$rate" --duration "$seconds" &
sender=$!
measure "$scratch/host" "$build/bin/tavrin-host" --duration "$seconds" --json "$scratch/figures.json" \
    "$root/examples/receive.qml" "$name"
wait "$sender"
sender=

echo "$size at $rate, $seconds seconds"
share ndi-send "$scratch/send"
share tavrin-host "$scratch/host"
grep -E '"(lost|latency95Ms)"' "$scratch/figures.json" | sed 's/^ */  /'
