# Judges whether a cost grows no faster than the number of streams. Reads lines of a number of streams and of what each
# stream costs at that number, in per cent of a processor, and compares the last with the first. Fails when it grows faster,
# and without any line.
BEGIN { limit = 1.25 }
NR == 1 { fewest = $1; first = $2 }
{ most = $1; last = $2 }
END {
    if (NR == 0) {
        print "no number of streams was carried"
        exit 1
    }
    if (NR == 1 || first <= 0) {
        printf "per stream %.1f %% at %d: nothing to compare with\n", last, most
        exit 0
    }
    ratio = last / first
    printf "per stream %.1f %% at %d, %.1f %% at %d: %.2f times as much, %s (up to %.2f is)\n", first, fewest, last, most,
           ratio, (ratio <= limit ? "linear" : "NOT linear"), limit
    exit ratio > limit
}
