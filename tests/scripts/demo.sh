#!/usr/bin/env bash
# demo.sh SOURCE: ./demo on the tree as it is built in build/native, to its end and interrupted.
. "$(dirname "$0")/expect.sh"
set -m # each demo gets a process group of its own, as in a terminal
demo=
finish() {
    [ -z "$demo" ] || kill -KILL -- "-$demo" 2>/dev/null || true
    rm -rf "$scratch"
}
trap finish EXIT
root=$1
out=$scratch/out

run "$root/demo" --no-install --seconds 5 --out "$out"
expect "the demo ends well" code_is 0
expect "a line tells the frames that came in" says '^received [1-9][0-9]* video frames'
expect "a line tells the frames that came back" says '^sent on, and received again [1-9][0-9]* video frames'
for member in videoFrames audioFrames fps width height subtype sampleRate channels gaps lost latencyMsMedian avOffsetMs \
    tallySeenBySender metadataSeen sentVideoFrames sentAudioFrames sentLateFrames roundTripVideoFrames \
    roundTripAudioFrames roundTripFps roundTripGaps roundTripLost roundTripLatencyMsMedian roundTripAvOffsetMs; do
    expect "demo.json tells $member" grep -q "^    \"$member\": [^, ]" "$out/demo.json"
done
for member in '"width": 1920' '"height": 1080' '"subtype": "UYVY"' '"sampleRate": 48000' '"channels": 2' \
    '"roundTripWidth": 1920' '"roundTripHeight": 1080' '"roundTripSubtype": "UYVY"' '"roundTripMetadataSeen": true' \
    '"tallySeenBySender": true' '"metadataSeen": true' '"videoFrames": [1-9]' '"audioFrames": [1-9]'; do
    expect "demo.json has $member" grep -q "^    $member" "$out/demo.json"
done
expect "the snapshot is a PNG" [ "$(head -c 4 "$out/snapshot.png" | tail -c 3)" = PNG ]
size=$(od -An -tx1 -j16 -N8 "$out/snapshot.png" | tr -d ' ')
expect "the snapshot shows two pictures of 1920x1080 side by side" [ "$size" = 00000f0000000438 ]

# The sender's name holds the process id of the demo. The brackets keep grep from finding itself.
sender_runs() { [ -n "$(grep -l -z -x "[D]emo $demo" /proc/[0-9]*/cmdline 2>/dev/null)" ]; }
sender_is_gone() { ! sender_runs; }
group_is_gone() { ! kill -0 -- "-$demo" 2>/dev/null; }
"$root/demo" --no-install --seconds 60 --out "$out" >"$scratch/interrupted" 2>&1 </dev/null &
demo=$!
expect "the demo receives" within 60 grep -q ' fps' "$scratch/interrupted"
expect "the demo's sender can be told by its name" sender_runs
kill -INT -- "-$demo"
code=0
wait "$demo" || code=$?
expect "the interrupted demo tells so" code_is 130
expect "the interrupted demo leaves no sender behind" within 5 sender_is_gone
expect "the interrupted demo leaves nothing behind" within 5 group_is_gone
exit $((failures > 0))
