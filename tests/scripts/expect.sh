# Shared by the tests of the scripts; sourced, not run.
set -euo pipefail

scratch=$(mktemp -d)
failures=0

# expect WHAT COMMAND...: notes a failure, with what was expected, when the command fails.
expect() {
    local what=$1
    shift
    "$@" || { printf 'FAILED: %s\n' "$what" && failures=$((failures + 1)); }
}
# run COMMAND...: leaves its exit code in $code and all that it printed in $scratch/output.
run() {
    code=0
    "$@" >"$scratch/output" 2>&1 </dev/null || code=$?
}
code_is() { [ "$code" = "$1" ] || { printf 'exit code %s, not %s\n' "$code" "$1" && cat "$scratch/output" && false; }; }
says() { grep -q -e "$1" "$scratch/output" || { cat "$scratch/output" && false; }; }
# within SECONDS COMMAND...: tries until the command succeeds; fails when the time is over.
within() {
    local deadline=$((SECONDS + $1))
    shift
    until "$@"; do
        [ $SECONDS -lt $deadline ] || return 1
        sleep 0.1
    done
}
