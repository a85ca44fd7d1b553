# Makes a table in Markdown of the medians that a benchmark prints. A line is compared with the copy or the library before it
# that it stands beside: of the same pixels, and of the same arguments. What has nothing to copy is compared with the
# hand-over to a thread that sleeps.
BEGIN {
    hand_over["processSample"] = "notifyThread"
    hand_over["sendPathSound"] = "wakeThread"
    print "| line | time | beside | times | allocs/frame |"
    print "|---|---|---|---|---|"
}
$1 ~ /_median$/ {
    name = $1
    sub(/_median$/, "", name)
    sub(/\/(real|manual)_time$/, "", name)
    sub(/\/iterations:[0-9]+/, "", name)
    if (counter("median_us") != "")
        $2 = 1000 * counter("median_us") # the mean has the few rounds in it that waited for a processor
    time[name] = $2
    yardstick = yardstick_of(name)
    allocations = counter("allocs/frame")
    printf "| `%s` | %s | %s | %s | %s |\n", name, readable($2), (yardstick == "" ? "" : "`" yardstick "`"),
           (yardstick == "" ? "" : sprintf("%.2f", $2 / time[yardstick])), allocations
}
# The line of a copy whose name ends as this one does.
function yardstick_of(name,    arguments, kind, candidate, found) {
    arguments = substr(name, index(name, "/"))
    kind = substr(name, 1, index(name, "/") - 1)
    if (kind ~ /^memcpy/)
        return ""
    if (kind in hand_over)
        return (hand_over[kind] arguments) in time ? hand_over[kind] arguments : ""
    for (candidate in time) {
        if (candidate !~ /^memcpy/ || substr(candidate, index(candidate, "/")) != arguments)
            continue
        sub(/^memcpy/, "", candidate)
        sub(/\/.*/, "", candidate)
        if (index(kind, candidate) > 0 || candidate == "Picture" || candidate == "Sound")
            found = "memcpy" candidate arguments
    }
    return found
}
function counter(key,    i) {
    for (i = 1; i <= NF; ++i)
        if (index($i, key "=") == 1)
            return spelt_out(substr($i, length(key) + 2))
    return ""
}
# A counter of more than a thousand is printed as so many k.
function spelt_out(number) {
    return number ~ /k$/ ? 1000 * number : number
}
function readable(ns) {
    return ns < 1e3 ? sprintf("%.0f ns", ns) : ns < 1e6 ? sprintf("%.1f µs", ns / 1e3) : sprintf("%.2f ms", ns / 1e6)
}
