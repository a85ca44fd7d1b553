#!/usr/bin/env bash
# streams.sh SOURCE: what bench/streams.sh makes of the figures of its programs, with programs that give such figures.
. "$(dirname "$0")/expect.sh"
trap 'rm -rf "$scratch"' EXIT
streams=$1/bench/streams.sh
bin=$scratch/build/bin
mkdir -p "$bin" "$scratch/build/ndi-local"

printf '#!/bin/bash\nexec sleep 60\n' | tee "$bin/ndi-send" >"$bin/tavrin-host"
# receivers LIMIT: more streams than that come with a gap. What a shell starts in the background ignores interrupts.
receivers() {
    cat >"$bin/ndi-recv" <<EOF
#!/usr/bin/env -S --default-signal=INT bash
stream=\${1% out}
gaps=\$((\${stream##* } > $1))
while [ "\$1" != --json ]; do shift; done
finish() {
    printf '{\\n    "audioGaps": 0,\\n    "fps": 59.9,\\n    "gaps": %d,\\n    "lostFrames": %d,\\n' \$gaps \$((3 * gaps)) >"\$2"
    printf '    "latencyMs": {\\n        "median": 1.5,\\n        "recent": 1.25\\n    }\\n}\\n' >>"\$2"
    exit 0
}
trap 'finish "\$@"' INT
echo 'video: UYVY'
for ((tick = 0; tick < 600; ++tick)); do sleep 0.1; done
EOF
    chmod +x "$bin"/*
}

receivers 2
run "$streams" --size 64x64 --seconds 1 "$scratch/build" 1 2 3 4
expect "numbers of streams that are carried are a success" code_is 0
for line in '^ *1 .* 0      0     59.90        1.50     1.25$' '^ *2 .* 0      0 ' '^ *3 .* 3      1 ' '^not carried: 3$'; do
    expect "the table has a line like '$line'" says "$line"
done
expect "it ends with the first number that is not carried" [ "$(grep -c '^ *4 ' "$scratch/output")" = 0 ]

receivers 0
run "$streams" --size 64x64 --seconds 1 "$scratch/build" 1 2
expect "a first number that is not carried is a failure" code_is 1
expect "a first number that is not carried is told" says '^no number of streams was carried$'

printf '#!/bin/bash\nexit 1\n' >"$bin/tavrin-host"
receivers 2
run "$streams" --size 64x64 --seconds 1 "$scratch/build" 1
expect "a host that ends by itself is a failure" code_is 1
expect "a host that ends by itself is told" says 'the host has ended by itself'

# judge LINES: of a number of streams and a cost each.
linearity=$1/bench/linearity.awk
judge() {
    printf '%b' "$1" >"$scratch/lines"
    run awk -f "$linearity" "$scratch/lines"
}
judge '1 8\n2 7.5\n4 10\n'
expect "a quarter more is linear" code_is 0
expect "the ratio is told" says '^per stream 8.0 % at 1, 10.0 % at 4: 1.25 times as much, linear'
judge '1 8\n2 7.5\n4 10.1\n'
expect "more than a quarter more is not linear" code_is 1
expect "what is not linear is told" says 'NOT linear'
judge '3 8\n'
expect "one number of streams is a success" code_is 0
expect "one number of streams is compared with none" says 'nothing to compare with'

for arguments in --seconds '--seconds 0' '--rate soon' '--size small' --nonsense "$scratch/build 0"; do
    # shellcheck disable=SC2086
    run "$streams" $arguments
    expect "'$arguments' is wrong usage" code_is 64
done
exit $((failures > 0))
