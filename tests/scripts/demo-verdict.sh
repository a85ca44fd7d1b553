#!/usr/bin/env bash
# demo-verdict.sh SOURCE: what ./demo makes of the figures of its two programs, with programs that give such figures.
. "$(dirname "$0")/expect.sh"
trap 'rm -rf "$scratch"' EXIT
tree=$scratch/tree
bin=$tree/build/native/bin
mkdir -p "$bin" "$tree/tools" "$tree/examples"
cp "$1/demo" "$tree/"
cp "$1/examples/metadata.xml" "$tree/examples/"
cp "$1/tools/common.sh" "$tree/tools/"
printf '%s() { :; }\n' need need_windows build >>"$tree/tools/common.sh"

# A sender that is seen on the programme, and ends when it is told to.
cat >"$bin/ndi-send" <<'EOF'
#!/bin/bash
trap 'exit 0' TERM
while [ "$1" != --json ]; do shift; done
cat >"$2" <<'END'
{
    "audioFrames": 610,
    "lateFrames": 1,
    "tally": {
        "program": {
            "seenOn": true
        }
    },
    "videoFrames": 611
}
END
while :; do sleep 0.1; done
EOF
# receiver VIDEO AUDIO: a receiver of so many frames of each.
receiver() {
    cat >"$bin/ndi-recv" <<EOF
#!/bin/bash
while [ "\$1" != --json ]; do shift; done
cat >"\$2" <<'END'
{
    "audioFrames": $2,
    "audioGaps": 4,
    "avOffsetMs": -0.0833,
    "fps": 59.951,
    "gaps": 5,
    "height": 1080,
    "latencyMs": {
        "max": 10.5,
        "median": 7.549,
        "p95": 8.25
    },
    "lostFrames": 6,
    "subtype": "UYVY",
    "videoFrames": $1,
    "videoMetadata": $1,
    "width": 1920
}
END
EOF
    chmod +x "$bin"/*
}
# host VIDEO AUDIO: a host that has received so many samples of each.
host() {
    cat >"$bin/tavrin-host" <<EOF
#!/bin/bash
while [ "\$1" != --json ]; do shift; done
until [ -s "\${2%/*}/sender.json" ]; do sleep 0.1; done # runs from now on, and ends well when it is told to
cat >"\$2" <<'END'
{
    "monitors": [
        {
            "audio": {
                "channels": 2,
                "gaps": 1,
                "sampleRate": 48000,
                "samples": $2
            },
            "avOffsetMs": 0.25,
            "video": {
                "gaps": 2,
                "height": 1080,
                "latencyMedianMs": 1.25,
                "lost": 3,
                "rate": 59.944,
                "samples": $1,
                "subtype": "UYVY",
                "width": 1920,
                "withMetadata": $1
            }
        }
    ]
}
END
echo 'qml: Metadata: "there"' >&2
EOF
    chmod +x "$bin"/*
}

host 598 300
receiver 590 589
run "$tree/demo" --seconds 1 --out "$scratch/out"
expect "picture and sound at both ends are a success" code_is 0
expect "a line tells what arrived" says "^received 598 video frames (59.94 fps, 1920x1080 UYVY), 300 audio frames\
 (48000 Hz, 2 ch), 3 gaps, latency 1.25 ms median; picture: $scratch/out/snapshot.png\$"
expect "the last line tells what came back" says "^sent on, and received again 590 video frames (59.95 fps), 589 audio frames,\
 9 gaps, latency 7.55 ms median since the first sender\$"
for member in '"videoFrames": 598' '"sentVideoFrames": 611' '"sentAudioFrames": 610' '"sentLateFrames": 1' \
    '"roundTripVideoFrames": 590' '"roundTripAudioFrames": 589' '"roundTripFps": 59.95' '"roundTripSubtype": "UYVY"' \
    '"roundTripGaps": 9' '"roundTripLost": 6' '"roundTripLatencyMsMedian": 7.55' '"roundTripAvOffsetMs": -0.0833' \
    '"roundTripMetadataSeen": true'; do
    expect "demo.json has $member" grep -q "^    $member,\?$" "$scratch/out/demo.json"
done
sed -i '/"latencyMs"/,/}/c\    "latencyMs": null,' "$bin/ndi-recv"
run "$tree/demo" --seconds 1 --out "$scratch/out"
expect "a latency that nobody measured is none" grep -q '^    "roundTripLatencyMsMedian": null,$' "$scratch/out/demo.json"

# fails WHAT MESSAGE: the demo, with the programs as they are, fails and says so.
fails() {
    run "$tree/demo" --seconds 1 --out "$scratch/out"
    expect "$1 fails" code_is 1
    expect "$1 says so" says "$2"
}
receiver 590 0
fails "a demo whose sound does not come back" 'no picture or no sound came back'
receiver 0 589
fails "a demo whose picture does not come back" 'no picture or no sound came back'
receiver 590 589
host 598 0
fails "a demo without sound" 'no picture or no sound arrived'
host 0 300
fails "a demo without a picture" 'no picture or no sound arrived'

# Of the Windows build each program goes through Wine, and the sender has an end of its own: nobody sends it a signal.
host 598 300
windows=$tree/build/windows/bin
mkdir -p "$windows"
for program in ndi-send ndi-recv tavrin-host; do
    cp "$bin/$program" "$windows/$program.exe"
done
sed -i "s/^while :; do sleep 0.1; done/for tick in 1 2 3 4 5; do sleep 0.1; done/; /^trap/d" "$windows/ndi-send.exe"
cat >"$tree/tools/wine" <<EOF
#!/bin/bash
echo "\$@" >>"$scratch/started"
exec "\$@"
EOF
chmod +x "$tree/tools/wine"
printf 'with_wine() { "$@"; }\n' >>"$tree/tools/common.sh"
run "$tree/demo" --windows --seconds 2 --out "$scratch/windows"
expect "the demo of the Windows build ends well" code_is 0
expect "the demo of the Windows build has its figures" grep -q '^    "sentVideoFrames": 611,' "$scratch/windows/demo.json"
for program in ndi-send ndi-recv tavrin-host; do
    expect "$program of the Windows build runs under Wine" grep -q "^$windows/$program.exe " "$scratch/started"
done
expect "the sender of the Windows build ends after the scene" grep -q 'ndi-send.exe .* --duration 17' "$scratch/started"

printf '#!/bin/sh\nexit 1\n' >"$bin/tavrin-host"
fails "a demo whose host fails" 'the host failed'
exit $((failures > 0))
