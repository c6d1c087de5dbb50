#!/usr/bin/env bash
# Measures what docs/scaling.md tells and prints its tables: a core's photos a second by
# their size, the calls that a photo takes, what planning takes, where the time goes, and
# the bill of a million photos.
set -euo pipefail
root=$(dirname "$(dirname "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")")")
source "$root/scripts/setup.sh"

tables=(photos formats plan "done" where disk calls latency bill)
usage="usage: bench/batch/scaling.sh all|$(IFS='|' && echo "${tables[*]}") PHOTO"
if (($# != 2)) || [[ " all ${tables[*]} " != *" $1 "* ]]; then
    say "$usage" \
        "Prints a table of docs/scaling.md, or all; PHOTO is a camera's JPEG file, of 24" \
        "megapixels there. Works below TMPDIR (/var/tmp unless set), keeps its photos in" \
        "build/scaling."
    exit 2
fi
part=$1 photo=$(readlink -f "$2")
# Built already, it is not built again: a compiler would be measured, too.
program=$root/build/release/batch/crayvell-batch
install_packages imagemagick strace time linux-perf python3
[[ -x $program ]] || {
    install_packages "${run_packages[@]}"
    configure release
    build release crayvell-batch
}
photos=$root/build/scaling
mkdir -p "$photos"
scratch=$(mktemp -d -p "${TMPDIR:-/var/tmp}")
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"

# head_row COLUMN...: a table's first two lines; numbers stand to the right, words, in
# columns that end with a colon, to the left.
head_row() {
    local column row='|' line='|'
    for column in "$@"; do
        column=${column:+ $column}
        row+="${column%:} |"
        [[ -z $column || $column == *: ]] && line+='---|' || line+='--:|'
    done
    printf '%s\n%s\n' "$row" "$line"
}

# SIZE GEOMETRY COPIES: photos of one size, as many as take a second or more.
sizes=("0.3 640x480 120" "2 1600x1200 40" "8 3264x2448 12" "12 4000x3000 8" "24 6000x4000 4"
    "108 12000x9000 1")

# make_photo SIZE GEOMETRY: from the camera's one; the largest is that one side by side.
make_photo() {
    local file=$photos/$1.jpg
    [[ ! -e $file ]] || return 0
    case $1 in
    24) cp "$photo" "$file" ;;
    108) convert -size "$2" "tile:$photo" -quality 92 "$file" ;;
    *) convert "$photo" -resize "$2^" -gravity center -extent "$2" "$file" ;;
    esac
}

# album SIZE COPIES FOLDER: one file under many names, which the system reads once.
album() {
    mkdir -p "$3"
    local i
    for ((i = 0; i < $2; ++i)); do
        ln "$photos/$1.jpg" "$3/$i.jpg" 2>/dev/null || cp "$photos/$1.jpg" "$3/$i.jpg"
    done
}

# once COMMAND...: "SECONDS_OF_PROCESSOR SECONDS MEGABYTES" of one run without sketches.
once() {
    rm -rf sketches
    command time -f '%U %S %e %M' -o times "$@" >/dev/null
    awk '{ print $1 + $2, $3, $4 / 1024 }' times
}

# timed ROUNDS COMMAND...: the same of the best of so many runs.
timed() {
    local round
    for ((round = 0; round < $1; ++round)); do
        once "${@:2}"
    done | sort -n | head -n 1
}

bytes_in() {
    find "$1" -type f -printf '%s\n' | awk '{ s += $1 } END { print s }'
}

photos_by_size() {
    local line size geometry copies cpu rest
    head_row megapixels 'MB in' 'MB out' 's of processor' photos/s megapixels/s 'MB/s in' \
        'MB/s out'
    for line in "${sizes[@]}"; do
        read -r size geometry copies <<<"$line"
        make_photo "$size" "$geometry"
        album "$size" "$copies" "album$size"
        read -r cpu rest < <(timed 5 "$program" -q -j 1 --output-dir sketches "album$size")
        printf '%s\n' "$size $copies $cpu $(bytes_in "album$size") $(bytes_in sketches)"
    done | awk '{ printf "| %s | %.2f | %.2f | %.4f | %.1f | %.0f | %.1f | %.1f |\n",
        $1, $4 / $2 / 1e6, $5 / $2 / 1e6, $3 / $2, $2 / $3, $1 * $2 / $3, $4 / $3 / 1e6,
        $5 / $3 / 1e6 }'
}

# The photo of 24 megapixels under eight names.
album_of_24() {
    make_photo 24 6000x4000
    album 24 8 album24
}

# The same photo of 24 megapixels by the sketch's format, its quality, and the jobs.
sketches_by_format() {
    local options cpu wall memory
    album_of_24
    head_row options: 'MB out' 's of processor' 'peak MB'
    for options in '-j 1' '-j 1 --quality 95' '-j 1 --quality 85' '-j 1 --format png' '-j 2'; do
        # shellcheck disable=SC2086 # options are words
        read -r cpu wall memory < <(
            timed 5 "$program" -q $options --output-dir sketches album24)
        printf '%s\n' "$options;$(bytes_in sketches);$cpu;$memory"
    done | awk -F ';' '{ printf "| `%s` | %.2f | %.3f | %.0f |\n", $1, $2 / 8e6, $3 / 8, $4 }'
}

# What N photos take: each call's name, how often it was made, and, of those that move
# bytes, how many.
calls_of() {
    album 2 "$1" "calls$1"
    rm -rf sketches
    strace -f -qq -o calls "$program" -q -j 1 --output-dir sketches "calls$1"
    sed -nE -e 's/^[0-9]+ +([a-z0-9_]+)\(.* = ([0-9]+)$/\1 \2/p' \
        -e 's/^[0-9]+ +([a-z0-9_]+)\(.* = -.*/\1 0/p' calls |
        awk '{ ++calls[$1]; bytes[$1] += $2 }
            END { for (name in calls) print name, calls[name], bytes[name] }' | sort
}

# What forty photos more take, a photo.
calls_a_photo() {
    make_photo 2 1600x1200
    calls_of 20 >few
    calls_of 60 >many
    head_row call: 'times a photo' bytes
    join -a 2 -e 0 -o 0,1.2,2.2,1.3,2.3 few many |
        awk -v photo="$(bytes_in calls20)" -v sketch="$(bytes_in sketches)" '
            ($3 - $2) / 40 >= 0.5 {
                moved = ($5 - $4) / 40
                if ($1 ~ /read/) moved = " " moved ", of a file of " photo / 20
                else if ($1 ~ /write/) moved = " " moved ", of a sketch of " sketch / 60
                else moved = ""
                printf "| `%s` | %.0f |%s |\n", $1, ($3 - $2) / 40, moved
            }' | sort -s -t '|' -k 3,3 -rn | sed -E ':next; s/\B[0-9]{3}\>/,&/; t next'
}

# late_clock MICROSECONDS JOBS FOLDER: seconds on the clock, when each call that names a file
# waits as long.
late_clock() {
    local cpu wall memory calls=newfstatat,openat,linkat,access,mkdir
    read -r cpu wall memory < <(timed 3 strace -f -qq -o /dev/null -e "trace=$calls" \
        -e "inject=$calls:delay_enter=$1" "$program" -q -j "$2" --output-dir sketches "$3")
    echo "$wall"
}

# What forty photos more take, a photo, on a file system that answers late. The tracer's own
# time is in all rows.
named_calls_late() {
    local delay jobs
    make_photo 0.3 640x480
    album 0.3 20 few
    album 0.3 60 many
    head_row 'milliseconds a call' 'photos at a time' 'ms on the clock, a photo'
    for jobs in 1 8; do
        for delay in 0 5000; do
            echo "$delay $jobs $(late_clock "$delay" "$jobs" few)" \
                "$(late_clock "$delay" "$jobs" many)"
        done
    done | awk '{ printf "| %d | %d | %.0f |\n", $1 / 1000, $2, ($4 - $3) * 1000 / 40 }'
}

# make_names FOLDER COUNT: in folders of a thousand, links to a hundred small files.
make_names() {
    perl -e '
        my ($top, $count, $photo) = @ARGV;
        mkdir $top;
        for my $i (0 .. $count - 1) {
            my $folder = sprintf("%s/%04d", $top, $i / 1000);
            mkdir $folder if $i % 1000 == 0;
            my $name = sprintf("%s/photo%07d.jpg", $folder, $i);
            if ($i < 100) { system("cp", $photo, $name) == 0 or die }
            else { link(sprintf("%s/0000/photo%07d.jpg", $top, $i % 100), $name) or die }
        }' "$@"
}

# plan_times FOLDER: of the best of three plans with sketches in that folder.
plan_times() {
    local i
    for i in 1 2 3; do
        command time -f '%U %S %e %M' -o times "$program" -n -q --skip-existing \
            --files-from list --null --keep-folders --output-dir "$1"
        awk '{ print $1 + $2, $3, $4 / 1024 }' times
    done | sort -n | head -n 1
}

planning() {
    local names count cpu wall memory folder
    make_photo 0.3 640x480
    mkdir -p all
    ln -sfn ../sketched all/album
    head_row names sketches: 's on the clock' 's of processor' 'peak MB'
    for names in 1,000 100,000 1,000,000; do
        count=${names//,/}
        make_names album "$count" "$photos/0.3.jpg"
        make_names sketched "$count" "$photos/0.3.jpg"
        find album -type f -print0 | LC_ALL=C sort -z >list
        for folder in none all; do
            read -r cpu wall memory < <(plan_times "$folder")
            LC_ALL=C printf '| %s | %s | %.2f | %.2f | %.0f |\n' "$names" "$folder" "$wall" \
                "$cpu" "$memory"
        done
        rm -rf album sketched list
    done
}

# Where the processor's time goes, by library; and within the JPEG library, by what it was
# called for (takes root: probes at its functions' beginnings and ends).
where_time_goes() {
    local jpeg probe
    album_of_24
    perf record -q -e cpu-clock -F 499 -o samples \
        "$program" -q -j 1 --output-dir sketches album24 2>/dev/null
    head_row '' "of the processor's time"
    perf report -q -i samples --sort dso --stdio 2>/dev/null | awk '
        /libjpeg/ { jpeg += $1; next }
        /crayvell/ { program += $1; next }
        /kernel/ { kernel += $1; next }
        { rest += $1 }
        END {
            printf "| the JPEG library | %.0f %% |\n", jpeg
            printf "| the program: edges and levels | %.0f %% |\n", program
            printf "| the system | %.0f %% |\n| everything else | %.0f %% |\n", kernel, rest
        }'
    jpeg=$(ldd "$program" | awk '/libjpeg/ { print $3 }')
    trap 'perf probe -q -d "crayvell:*"; rm -rf "$scratch"' EXIT
    for probe in read=jpeg_read_scanlines read_end=jpeg_read_scanlines%return \
        write=jpeg_write_raw_data write_end=jpeg_write_raw_data%return; do
        perf probe -q -x "$jpeg" "crayvell:$probe"
    done
    rm -rf sketches
    perf record -q -e 'crayvell:*' -o probes \
        "$program" -q -j 1 --output-dir sketches album24 2>/dev/null
    perf script -i probes -F time,event | sed 's/: *crayvell:/ /; s/:.*//' | awk '
        NR == 1 { first = $1 }
        $2 == "read" || $2 == "write" { since = $1 }
        /_end/ { sub(/_end.*/, "", $2); spent[$2] += $1 - since }
        END {
            printf "| of the whole time: in the library, decoding | %.0f %% |\n",
                100 * spent["read"] / ($1 - first)
            printf "| of the whole time: in the library, encoding | %.0f %% |\n",
                100 * spent["write"] / ($1 - first)
        }'
    perf probe -q -d 'crayvell:*'
    trap 'rm -rf "$scratch"' EXIT
}

# transferred COMMAND...: megabytes a second of a gigabyte past the page cache, the best of
# three.
transferred() {
    local round begin
    for round in 1 2 3; do
        begin=$EPOCHREALTIME
        "$@" bs=4M count=256 2>/dev/null
        awk "BEGIN { print 256 * 4 * 1.048576 / ($EPOCHREALTIME - $begin) }"
    done | sort -n | tail -n 1
}

# The scratch folder's disk.
disk_speed() {
    local written read
    written=$(transferred dd if=/dev/zero of=blob oflag=direct)
    read=$(transferred dd if=blob of=/dev/null iflag=direct)
    rm blob
    echo "$written" "$read" >disk
    head_row '' MB/s
    printf '| written | %.0f |\n| read | %.0f |\n' "$written" "$read"
}

# clock COMMAND...: seconds that pass.
clock() {
    local begin=$EPOCHREALTIME
    "$@"
    awk "BEGIN { print $EPOCHREALTIME - $begin }"
}

# runs_at_once COUNT: each on a processor, where there are as many.
runs_at_once() {
    local run
    for ((run = 0; run < $1; ++run)); do
        "$program" -q -j 1 --output-dir "run$run" album24 &
    done
    wait
    rm -rf run[0-9]*
}

program_a_photo() {
    local file
    mkdir sketches
    for file in album24/*; do
        "$program" -q -j 1 -o - - <"$file" >"sketches/${file##*/}"
    done
}

# What the bill is made of, in rounds: "CPU MB" of a photo in one run, at quality 85, and with
# a program for each; and the clock of one run, and of two at once.
bill_rounds() {
    local round cpu rest
    export program # for the shell that is timed
    export -f program_a_photo
    for round in 1 2 3 4 5; do
        read -r cpu rest < <(once "$program" -q -j 1 --output-dir sketches album24)
        echo "normal $cpu $(bytes_in sketches)"
        read -r cpu rest < <(once "$program" -q -j 1 --quality 85 --output-dir sketches album24)
        echo "small $cpu $(bytes_in sketches)"
        read -r cpu rest < <(once bash -c program_a_photo)
        echo "each $cpu $(bytes_in sketches)"
        echo "one $(clock runs_at_once 1)"
        echo "two $(clock runs_at_once 2)"
    done
}

# What a million photos of 24 megapixels cost; each figure from the rounds of this run.
bill() {
    album_of_24
    [[ -e disk ]] || disk_speed >/dev/null
    bill_rounds >rounds
    awk -v read="$(bytes_in album24 | awk '{ print $1 / 8e6 }')" -v disk="$(<disk)" \
        -f "$root/bench/batch/bill.awk" rounds
}

table() {
    case $1 in
    photos) photos_by_size ;;
    formats) sketches_by_format ;;
    plan) planning ;;
    done) "$root/bench/batch/skipexisting.py" "$program" ;;
    where) where_time_goes ;;
    disk) disk_speed ;;
    calls) calls_a_photo ;;
    latency) named_calls_late ;;
    bill) bill ;;
    esac
}

[[ $part == all ]] || tables=("$part")
for name in "${tables[@]}"; do
    printf '\n%s (%(%F %T)T):\n\n' "$name" -1
    table "$name"
    rm -rf album* sketches few many calls[0-9]*
done
