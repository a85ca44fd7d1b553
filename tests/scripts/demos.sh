#!/usr/bin/env bash
# demos.sh SOURCE: what bench/demos.sh makes of the figures of a demo that gives such figures.
. "$(dirname "$0")/expect.sh"
trap 'rm -rf "$scratch"' EXIT
tree=$scratch/tree
mkdir -p "$tree/bench"
cp "$1/bench/demos.sh" "$tree/bench/"

# The second run fails.
cat >"$tree/demo" <<EOT
#!/bin/bash
echo "\$*" >>"$scratch/arguments"
[ "\$(wc -l <"$scratch/arguments")" != 2 ] || { echo 'demo: no picture' >&2 && exit 1; }
while [ "\$1" != --out ]; do shift; done
cat >"\$2/demo.json" <<'END'
{
    "gaps": 4,
    "lost": 3,
    "latencyMsMedian": 1.25,
    "roundTripGaps": 2,
    "roundTripLost": 1,
    "roundTripLatencyMsMedian": 7.50
}
END
EOT
chmod +x "$tree/demo"

run "$tree/bench/demos.sh" 1 --windows --seconds 3
expect "runs that succeed are a success" code_is 0
expect "the table has the figures of a run" says '^ *1  *3  *4  *1.25  *1  *2  *7.50$'
expect "the demo has its options" grep -q '^--windows --seconds 3 --out ' "$scratch/arguments"
rm "$scratch/arguments"

run "$tree/bench/demos.sh" 3
expect "a run that fails is a failure" code_is 1
expect "the run that fails is told" says '^ *2  failed$'
expect "what it said is told" says '^demo: no picture$'
expect "the runs go on" says '^ *3  *3  *4 '

for arguments in '' 0 some; do
    # shellcheck disable=SC2086
    run "$tree/bench/demos.sh" $arguments
    expect "'$arguments' is wrong usage" code_is 64
done
exit $((failures > 0))
