#!/usr/bin/env bash
# late.sh SOURCE: what bench/late.sh makes of the figures of its programs, with programs that give such figures.
. "$(dirname "$0")/expect.sh"
trap 'rm -rf "$scratch"' EXIT
late=$1/bench/late.sh
bin=$scratch/build/bin
mkdir -p "$bin" "$scratch/build/ndi-local"

# Programs that note how long their sends of pictures are to take.
tee "$bin/ndi-send" >"$bin/tavrin-host" <<END
#!/bin/bash
echo "\${0##*/} \${NDI_LOCAL_SEND_MS:-0}" >>"$scratch/sends"
[[ \$2 != */bridge.qml || \$3 != *"\$4"* ]] || touch "$scratch/own"
exec sleep 60
END
again=: # what a receiver does first when it looks at a sender once more
# figures FPS LATENCY OFFSET [LATER]: of all senders; the latency is LATER when a sender is looked at once more.
figures() {
    rm -rf "$scratch/seen"
    mkdir "$scratch/seen"
    cat >"$bin/ndi-recv" <<END
#!/bin/bash
latency=$2
if [ -e "$scratch/seen/\$1" ]; then latency=${4:-$2} && $again; fi
touch "$scratch/seen/\$1"
while [ "\$1" != --json ]; do shift; done
printf '{\\n    "avArrivalMs": %s,\\n    "fps": %s,\\n' '$3' '$1' >"\$2"
printf '    "latencyMs": {\\n        "median": %s\\n    }\\n}\\n' "\$latency" >>"\$2"
END
    chmod +x "$bin"/*
}
look() { run "$late" --times 1 "$@" "$scratch/build"; }

figures 60.25 5.5 -1.5
look --hold-ups 0.1 --slow-seconds 1 --clock-seconds 1
expect "goals that are reached are a success" code_is 0
for line in '^send     in the beginning  *60.25        5.50          -1.5 ' '^send     stopped for 0.1 s ' \
    '^bridge   stopped for 0.1 s ' '^send     sends of 30 ms ' '^bridge   sends of 30 ms ' \
    '^bridge   clock 300 ppm, at first ' '^bridge   clock -300 ppm, at last '; do
    expect "the table has a line like '$line'" says "$line"
done
expect "no goal is missed" [ "$(grep -c MISSED "$scratch/output")" = 0 ]
expect "hosts send slowly, and no sender before them" \
    [ "$(sort "$scratch/sends" | uniq -c | xargs)" = '4 ndi-send 0 4 tavrin-host 0 2 tavrin-host 30' ]
expect "no bridge is to take what has its own name" [ ! -e "$scratch/own" ]

figures 60 5.5 1 60
look --hold-ups 0.1 --slow-seconds 0 --clock-seconds 0
expect "a latency that stays after a hold-up is a failure" code_is 1
expect "a latency that stays is told" says 'stopped for 0.1 s .* MISSED: 60 < 60;$'
expect "the latency before it is none that is missed" says 'in the beginning *60.00 [^M]*$'

figures 29.5 110 1
look --hold-ups '' --slow-seconds 1 --clock-seconds 0
expect "too low a rate is a failure" code_is 1
expect "too low a rate is told" says 'sends of 30 ms .* MISSED: 29.5 > 30'

figures 60 5 1 22
look --hold-ups '' --slow-seconds 0 --clock-seconds 1
expect "a latency that grows with the clock is a failure" code_is 1
expect "a latency that grows with the clock is told" says 'clock 300 ppm, at last .* MISSED: 22 < 5 '

for offset in 41 -41 null; do
    figures 60 5 $offset
    look --hold-ups '' --slow-seconds 0 --clock-seconds 0
    expect "an offset of $offset is a failure" code_is 1
done
expect "a sound without a picture is told" says 'MISSED: none < 40'

again="touch $scratch/grow && until [ -e $scratch/grown ]; do sleep 0.1; done"
figures 60 5 1
cat >"$bin/tavrin-host" <<EOT
#!/bin/bash
for ((tick = 0; tick < 600; ++tick)); do
    sleep 0.1
    [ ! -e "$scratch/grow" ] || { printf -v fill '%*s' 40000000 '' && touch "$scratch/grown"; }
done
EOT
look --hold-ups '' --slow-seconds 1 --clock-seconds 0
expect "memory that grows is a failure" code_is 1
expect "memory that grows is told" says 'sends of 30 ms .* MISSED: [0-9.]* < [0-9.]* + 16'

for arguments in --times '--times some' '--hold-ups soon' '--slow-seconds -1' --nonsense "$scratch/build more"; do
    # shellcheck disable=SC2086
    run "$late" $arguments
    expect "'$arguments' is wrong usage" code_is 64
done
exit $((failures > 0))
