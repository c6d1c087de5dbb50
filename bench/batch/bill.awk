# What a million photos cost, from the rounds of scaling.sh: lines "NAME SECONDS BYTES" of
# eight photos, of which the least seconds count; what a photo has ("read", megabytes), and
# what the disk writes and reads ("disk", megabytes a second).

# group NUMBER: with a comma before each three digits.
function group(number) {
    number = sprintf("%.0f", number)
    while (match(number, /[0-9][0-9][0-9][0-9]($|,)/))
        number = substr(number, 1, RSTART) "," substr(number, RSTART + 1)
    return number
}

function measured_table(    i, name) {
    print "| a photo | s of processor | MB read | MB written |\n|---|--:|--:|--:|"
    for (i = 1; i in order; ++i) {
        name = order[i]
        printf "| %s | %.4f | %.2f | %.2f |\n", title[name], cpu[name], read, out[name]
    }
    printf "\nEight photos in one run take %.2f s on the clock, and in each of two runs" \
        " at once %.2f s: %.2f / %.2f = %.3f times as long.\n\n", least["one"],
        least["two"], least["two"], least["one"], slower
}

function million_table(    i, name) {
    printf "| a million photos | core hours: 1,000,000 × s / 3,600 |" \
        " with all cores busy: × %.3f | TB read | TB written | TB moved |\n", slower
    print "|---|--:|--:|--:|--:|--:|"
    for (i = 1; i in order; ++i) {
        name = order[i]
        printf "| %s | %.1f | %.1f | %.2f | %.2f | %.1f |\n", title[name], hours(name) / slower,
            hours(name), read, out[name], read + out[name]
    }
}

# hours NAME: of a core among busy ones, for a million photos.
function hours(name) {
    return 1e6 * cpu[name] * slower / 3600
}

function nodes_table(    nodes, cores, rate) {
    printf "\n| nodes | cores | hours: %.1f / cores | at quality 85: %.1f / cores |" \
        " photos/s: cores / (%.4f × %.3f) | GB/s read: photos/s × %.2f MB |" \
        " GB/s written: × %.2f MB | named calls/s: × 8 |\n", hours("normal"), hours("small"),
        cpu["normal"], slower, read, out["normal"]
    print "|--:|--:|--:|--:|--:|--:|--:|--:|"
    for (nodes = 1; nodes <= 100; nodes *= 10) {
        cores = 32 * nodes
        rate = cores / cpu["normal"] / slower
        printf "| %d | %s | %.3g | %.3g | %s | %.3g | %.3g | %s |\n", nodes, group(cores),
            hours("normal") / cores, hours("small") / cores, group(rate),
            rate * read / 1e3, rate * out["normal"] / 1e3, group(rate * 8)
    }
}

function both(what, normal, small) {
    printf "| %s | %.3g | %.3g |\n", what, normal, small
}

# cores_for_disk NAME: each core takes the disk for its share of every second.
function cores_for_disk(name) {
    return cpu[name] * slower / (out[name] / speed[1] + read / speed[2])
}

function carriers_table() {
    print "\n| what carries the bytes | quality 100 | quality 85 |\n|---|--:|--:|"
    both("a network of 1.25 GB/s each way: photos/s, 1,250 / MB written",
        1250 / out["normal"], 1250 / out["small"])
    both(sprintf("cores that make as many: photos/s × s × %.3f", slower),
        1250 / out["normal"] * cpu["normal"] * slower, 1250 / out["small"] * cpu["small"] * slower)
    both(sprintf("cores for this disk: s × %.3f / (MB written / %.0f + MB read / %.0f)",
        slower, speed[1], speed[2]), cores_for_disk("normal"), cores_for_disk("small"))
    both("storage of 5 GB/s, reads and writes together: hours, TB moved × 1,000 / 5 / 3,600",
        (read + out["normal"]) / 5 / 3.6, (read + out["small"]) / 5 / 3.6)
}

!($1 in least) || $2 < least[$1] { least[$1] = $2; bytes[$1] = $3 }

END {
    split(disk, speed)
    split("normal small each", order)
    title["normal"] = "quality 100"
    title["small"] = "quality 85"
    title["each"] = "quality 100, a program a photo"
    for (i = 1; i in order; ++i) {
        cpu[order[i]] = least[order[i]] / 8
        out[order[i]] = bytes[order[i]] / 8e6
    }
    slower = least["two"] / least["one"]
    measured_table()
    million_table()
    nodes_table()
    carriers_table()
}
