# Shared by the scripts that run ndi-send, the host and ndi-recv beside each other. Sourced, not run, after `root`, the
# tree, has been set, and `build`, the build folder.
[[ -n ${root:-} && -n ${build:-} ]]
for program in tavrin-host ndi-send ndi-recv; do
    [[ -x $build/bin/$program ]] || { printf '%s: %s has no %s; build it first\n' "${0##*/}" "$build" "$program" >&2; exit 1; }
done
build=$(cd "$build" && pwd)
export LD_LIBRARY_PATH=$build/ndi-local${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}

scratch=$(mktemp -d)
running=()
# A program that is stopped ends when it goes on.
end_all() {
    local process
    for process in "${running[@]}"; do
        kill "$process" 2>/dev/null || true
        kill -CONT "$process" 2>/dev/null || true
    done
    for process in "${running[@]}"; do
        wait "$process" 2>/dev/null || true
    done
    running=()
}
trap 'end_all; rm -rf "$scratch"' EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

# start LOG PROGRAM ARGUMENT...: leaves the process id in $!.
start() {
    local log=$1 program=$2
    shift 2
    "$build/bin/$program" "$@" >"$scratch/$log" 2>&1 &
    running+=($!)
}

# member FILE KEY: a number of a summary with one member a line; 0 for null.
member() { awk -v key="\"$2\":" '$1 == key { print $2 + 0; exit }' "$1"; }
