#!/usr/bin/env bash
# figures.sh SOURCE: what bench/figures.sh makes of what its programs print.
. "$(dirname "$0")/expect.sh"
trap 'rm -rf "$scratch"' EXIT
figures=$1/bench/figures.sh
bin=$scratch/build/bin
mkdir -p "$bin"
for program in bench_frame_path bench_converters bench_audio; do
    printf '#!/bin/sh\n' >"$bin/$program"
done
cat >"$bin/bench_send_path" <<'EOF'
#!/bin/sh
echo "$@" >&2
cat <<'END'
-----------------------------------------------------------------------
Benchmark                               Time             CPU   Iterations UserCounters...
notifyThread/fps:60/iterations:180/manual_time_median 4000 ns 4000 ns      5 median_us=2.5
wakeThread/fps:60/iterations:180/manual_time_median   9000 ns 9000 ns      5 median_us=8
memcpyUyvy/w:4/h:2/real_time_mean       9000 ns         9000 ns            5 bytes_per_second=1G/s
memcpyUyvy/w:4/h:2/real_time_median     8000 ns         8000 ns            5 bytes_per_second=1G/s
memcpyUyvy/w:4/h:2/fps:60/iterations:180/manual_time_median 30000 ns 1 ns  5 bytes_per_second=1G/s median_us=20
sendPathUyvy/w:4/h:2/fps:60/iterations:180/manual_time_median 90000 ns 1 ns 5 allocs/frame=0 median_us=25
memcpyBgra/w:4/h:2/real_time_median     16000 ns        16000 ns            5 bytes_per_second=1G/s
sendPathUyvy/w:4/h:2/real_time_median   10000 ns        10000 ns            5 allocs/frame=3 bytes_per_second=1G/s
sendPathUyvy/w:8/h:2/fps:60/manual_time_median 9000000 ns 10000 ns         5 allocs/frame=0 median_us=1.25k
sendPathUyvy/w:8/h:2/real_time_median   2500000 ns      10000 ns            5 allocs/frame=0 bytes_per_second=1G/s
sendPathSound_median                    640 ns          640 ns              5 allocs/frame=0
sendPathSound/fps:60/manual_time_median 99999 ns        640 ns              5 allocs/frame=0 median_us=16
processSample/fps:60/manual_time_median 9999 ns         9999 ns             5 median_us=3.75
processSample/fps:7/manual_time_median  9999 ns         9999 ns             5 median_us=1.25
END
EOF
chmod +x "$bin"/*

run "$figures" --repetitions 3 "$scratch/build"
expect "the figures of all programs are a success" code_is 0
expect "the command stands above its figures" \
    says '^`bench_send_path --benchmark_repetitions=3 --benchmark_report_aggregates_only=true`$'
for line in '| `memcpyUyvy/w:4/h:2` | 8.0 µs |  |  |  |' \
    '| `sendPathUyvy/w:4/h:2` | 10.0 µs | `memcpyUyvy/w:4/h:2` | 1.25 | 3 |' \
    '| `sendPathUyvy/w:8/h:2` | 2.50 ms |  |  | 0 |' '| `sendPathSound` | 640 ns |  |  | 0 |' \
    '| `notifyThread/fps:60` | 2.5 µs |  |  |  |' \
    '| `memcpyUyvy/w:4/h:2/fps:60` | 20.0 µs |  |  |  |' \
    '| `sendPathUyvy/w:4/h:2/fps:60` | 25.0 µs | `memcpyUyvy/w:4/h:2/fps:60` | 1.25 | 0 |' \
    '| `sendPathUyvy/w:8/h:2/fps:60` | 1.25 ms |  |  | 0 |' \
    '| `sendPathSound/fps:60` | 16.0 µs | `wakeThread/fps:60` | 2.00 | 0 |' \
    '| `processSample/fps:60` | 3.8 µs | `notifyThread/fps:60` | 1.50 |  |' \
    '| `processSample/fps:7` | 1.2 µs |  |  |  |'; do
    expect "there is the line $line" grep -qxF "$line" "$scratch/output"
done
expect "means are left out" [ "$(grep -c '^| `memcpyUyvy/w:4/h:2`' "$scratch/output")" = 1 ]

for arguments in --repetitions '--repetitions 1' '--repetitions many' --nonsense 'a b'; do
    # shellcheck disable=SC2086
    run "$figures" $arguments
    expect "'$arguments' is wrong usage" code_is 64
done
run "$figures" "$scratch"
expect "a folder without the programs is a failure" code_is 1
expect "what is missing is named" says 'has no bench_frame_path'
exit $((failures > 0))
