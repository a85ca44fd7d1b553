#!/usr/bin/env bash
# demos.sh SOURCE: what bench/demos.sh makes of the figures of a demo that gives such figures.
. "$(dirname "$0")/expect.sh"
trap 'rm -rf "$scratch"' EXIT
tree=$scratch/tree
mkdir -p "$tree/bench"
cp "$1/bench/demos.sh" "$tree/bench/"

# figures LOST ROUND_TRIP_LOST ROUND_TRIP_MS: of demos from now on, of which the second run fails.
figures() {
    rm -f "$scratch/arguments"
    cat >"$tree/demo" <<EOT
#!/bin/bash
echo "\$*" >>"$scratch/arguments"
[ "\$(wc -l <"$scratch/arguments")" != 2 ] || { echo 'demo: no picture' >&2 && exit 1; }
while [ "\$1" != --out ]; do shift; done
cat >"\$2/demo.json" <<'END'
{
    "gaps": 4,
    "lost": $1,
    "latencyMsMedian": 1.25,
    "roundTripGaps": 2,
    "roundTripLost": $2,
    "roundTripLatencyMsMedian": $3
}
END
EOT
    chmod +x "$tree/demo"
}

figures 3 1 7.50
run "$tree/bench/demos.sh" 1 --windows --seconds 3
expect "runs that succeed are a success" code_is 0
expect "the table has the figures of a run" says '^ *1  *3  *4  *1.25  *1  *2  *7.50$'
expect "the demo has its options" grep -q '^--windows --seconds 3 --out ' "$scratch/arguments"

figures 0 0 29.99
run "$tree/bench/demos.sh" 1
expect "no picture lost and a short way are a success" code_is 0
figures 0 0 29.99
run "$tree/bench/demos.sh" 3
expect "a run that fails is a failure" code_is 1
expect "the run that fails is told" says '^ *2  failed$'
expect "what it said is told" says '^demo: no picture$'
expect "the runs go on" says '^ *3  *0  *4 '
expect "a run without fault has no goal that is missed" [ "$(grep -c MISSED "$scratch/output")" = 0 ]

# misses WHAT OPTION...: one run with these options misses that goal alone.
misses() {
    run "$tree/bench/demos.sh" 1 "${@:2}"
    expect "a goal that is missed is a failure: $1" code_is 1
    expect "the goal that is missed is told: $1" says "  MISSED: $1;\$"
}
figures 1 0 7.50
misses '1 + 0 lost'
figures 0 2 7.50
misses '0 + 2 lost'
figures 0 0 30.00
misses '30.00 < 30'
figures 0 0 null
misses 'null < 30'
figures 1 1 60.00
misses '60.00 < 60' --seconds 3 --windows
figures 0 0 59.99
run "$tree/bench/demos.sh" 1 --windows
expect "a way on Windows may take longer" code_is 0

for arguments in '' 0 some; do
    # shellcheck disable=SC2086
    run "$tree/bench/demos.sh" $arguments
    expect "'$arguments' is wrong usage" code_is 64
done
exit $((failures > 0))
