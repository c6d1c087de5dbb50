#!/usr/bin/env bash
# Measures what docs/scaling.md tells: a core's photos a second by their size, the calls
# that a photo takes, what planning takes, and where the time goes.
set -euo pipefail
root=$(dirname "$(dirname "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")")")
source "$root/scripts/setup.sh"

usage="usage: bench/batch/scaling.sh photos|formats|calls|latency|plan|where|disk PHOTO"
if (($# != 2)); then
    say "$usage" \
        "Prints a table of docs/scaling.md; PHOTO is a camera's JPEG file, of 24 megapixels" \
        "there. Works below TMPDIR (/var/tmp unless set), keeps its photos in build/scaling."
    exit 2
fi
part=$1 photo=$(readlink -f "$2")
# Built already, it is not built again: a compiler would be measured, too.
program=$root/build/release/batch/crayvell-batch
install_packages imagemagick strace time linux-perf
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

# timed COMMAND...: "SECONDS_OF_PROCESSOR SECONDS MEGABYTES" of the best of five.
timed() {
    local i
    for i in 1 2 3 4 5; do
        rm -rf sketches
        command time -f '%U %S %e %M' -o times "$@" >/dev/null
        awk '{ print $1 + $2, $3, $4 / 1024 }' times
    done | sort -n | head -n 1
}

bytes_in() {
    find "$1" -type f -printf '%s\n' | awk '{ s += $1 } END { print s }'
}

photos_by_size() {
    local line size geometry copies cpu wall memory
    echo '| megapixels | MB in | MB out | s of processor | photos/s | megapixels/s |' \
        'MB/s in | MB/s out | s on the clock |'
    for line in "${sizes[@]}"; do
        read -r size geometry copies <<<"$line"
        make_photo "$size" "$geometry"
        album "$size" "$copies" "album$size"
        read -r cpu wall memory < <(timed "$program" -q -j 1 --output-dir sketches "album$size")
        printf '%s\n' "$size $copies $cpu $wall $(bytes_in "album$size") $(bytes_in sketches)"
    done | awk '{ printf "| %s | %.2f | %.2f | %.4f | %.1f | %.0f | %.1f | %.1f | %.4f |\n",
        $1, $5 / $2 / 1e6, $6 / $2 / 1e6, $3 / $2, $2 / $3, $1 * $2 / $3, $5 / $3 / 1e6,
        $6 / $3 / 1e6, $4 / $2 }'
}

# The same photo of 24 megapixels by the sketch's format, its quality, and the jobs.
sketches_by_format() {
    local options cpu wall memory
    make_photo 24 6000x4000
    album 24 8 album24
    echo '| options | MB out | s of processor | s on the clock | peak MB |'
    for options in '-j 1' '-j 1 --quality 95' '-j 1 --quality 85' '-j 1 --format png' '-j 2'; do
        # shellcheck disable=SC2086 # options are words
        read -r cpu wall memory < <(
            timed "$program" -q $options --output-dir sketches album24)
        printf '%s\n' "$options;$(bytes_in sketches);$cpu;$wall;$memory"
    done | awk -F ';' '{ printf "| `%s` | %.2f | %.3f | %.3f | %.0f |\n",
        $1, $2 / 8e6, $3 / 8, $4 / 8, $5 }'
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
    echo "A photo of $(bytes_in calls20 | awk '{ print $1 / 20 }') bytes," \
        "a sketch of $(bytes_in sketches | awk '{ print $1 / 60 }')"
    echo '| call | times a photo | bytes |'
    join -a 2 -e 0 -o 0,1.2,2.2,1.3,2.3 few many | awk '($3 - $2) / 40 >= 0.05 {
        printf "| `%s` | %.1f | %s |\n", $1, ($3 - $2) / 40,
            $1 ~ /read|write/ ? ($5 - $4) / 40 : "" }' | sort -t '|' -k 3,3 -rn
}

# late_clock MICROSECONDS JOBS FOLDER: seconds on the clock, when each call that names a file
# waits as long.
late_clock() {
    local cpu wall memory calls=newfstatat,openat,linkat,access,mkdir
    read -r cpu wall memory < <(timed strace -f -qq -o /dev/null -e "trace=$calls" \
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
    echo '| milliseconds a call | photos at a time | ms on the clock, a photo |'
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
    local count cpu wall memory folder
    make_photo 0.3 640x480
    mkdir -p there
    ln -sfn ../sketched there/album
    echo '| names | sketches | s | s of processor | peak MB |'
    for count in 1000 100000 1000000; do
        make_names album "$count" "$photos/0.3.jpg"
        make_names sketched "$count" "$photos/0.3.jpg"
        find album -type f -print0 | LC_ALL=C sort -z >list
        for folder in none there; do
            read -r cpu wall memory < <(plan_times "$folder")
            LC_ALL=C printf '| %s | %s | %.3f | %.3f | %.0f |\n' "$count" "$folder" "$wall" \
                "$cpu" "$memory"
        done
        rm -rf album sketched list
    done
}

# Where the processor's time goes, by library; and within the JPEG library, by what it was
# called for (takes root: probes at its functions' beginnings and ends).
where_time_goes() {
    local jpeg probe
    make_photo 24 6000x4000
    album 24 8 album24
    perf record -q -e cpu-clock -F 499 -o samples \
        "$program" -q -j 1 --output-dir sketches album24 2>/dev/null
    perf report -q -i samples --sort dso --stdio 2>/dev/null | grep -v '^$'
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
        END { printf "decoding %.0f %%, encoding %.0f %% of the time\n",
            100 * spent["read"] / ($1 - first), 100 * spent["write"] / ($1 - first) }'
}

# The scratch folder's disk: a gigabyte written and read past the page cache.
disk_speed() {
    dd if=/dev/zero of=blob bs=4M count=256 oflag=direct 2>&1 | tail -n 1
    dd if=blob of=/dev/null bs=4M iflag=direct 2>&1 | tail -n 1
}

case $part in
photos) photos_by_size ;;
formats) sketches_by_format ;;
calls) calls_a_photo ;;
latency) named_calls_late ;;
plan) planning ;;
where) where_time_goes ;;
disk) disk_speed ;;
*)
    say "$usage"
    exit 2
    ;;
esac
