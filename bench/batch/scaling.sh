#!/usr/bin/env bash
# Measures what docs/scaling.md tells: a core's photos a second by their size, the calls
# that a photo takes, what planning takes, and where the time goes.
set -euo pipefail
root=$(dirname "$(dirname "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")")")
source "$root/scripts/setup.sh"

usage="usage: bench/batch/scaling.sh photos|formats|calls|plan|where|disk PHOTO"
if (($# != 2)); then
    say "$usage" \
        "Prints a table of docs/scaling.md; PHOTO is a camera's JPEG file, of 24 megapixels there." \
        "Works below TMPDIR (/var/tmp unless set) and keeps its photos in build/scaling."
    exit 2
fi
part=$1 photo=$(readlink -f "$2")
# Built already, it is not built again: a compiler would be measured, too.
program=$root/build/release/batch/crayvell-batch
[[ -x $program ]] || {
    install_packages "${run_packages[@]}" imagemagick strace time
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
    printf '| %s ' megapixels "MB in" "MB out" "CPU s a photo" "photos/s" "megapixels/s" "MB/s in" "MB/s out"
    printf '|\n'
    for line in "${sizes[@]}"; do
        read -r size geometry copies <<<"$line"
        make_photo "$size" "$geometry"
        album "$size" "$copies" "album$size"
        read -r cpu wall memory < <(timed "$program" -q -j 1 --output-dir sketches "album$size")
        awk -v size="$size" -v n="$copies" -v cpu="$cpu" -v wall="$wall" -v in_="$(bytes_in "album$size")" \
            -v out="$(bytes_in sketches)" 'BEGIN {
                printf "| %s | %.2f | %.2f | %.4f | %.1f | %.0f | %.1f | %.1f | wall %.4f\n", size,
                    in_ / n / 1e6, out / n / 1e6, cpu / n, n / cpu, size * n / cpu, in_ / cpu / 1e6,
                    out / cpu / 1e6, wall / n }'
    done
}

# The same photo of 24 megapixels by the sketch's format, its quality, and the jobs.
sketches_by_format() {
    local options cpu wall memory
    make_photo 24 6000x4000
    album 24 8 album24
    for options in '-j 1' '-j 1 --quality 95' '-j 1 --quality 85' '-j 1 --format png' '-j 2'; do
        # shellcheck disable=SC2086 # options are words
        read -r cpu wall memory < <(timed "$program" -q $options --output-dir sketches album24)
        awk -v options="$options" -v cpu="$cpu" -v wall="$wall" -v memory="$memory" \
            -v out="$(bytes_in sketches)" 'BEGIN {
                printf "| `%s` | %.2f | %.3f | %.3f | %.0f |\n", options, out / 8e6, cpu / 8, wall / 8, memory }'
    done
}

# The calls of N photos, by name.
calls_of() {
    album 2 "$1" "calls$1"
    rm -rf sketches
    strace -f -qq -c -U calls,name -o "counts$1" "$program" -q -j 1 --output-dir sketches "calls$1"
    awk '$1 ~ /^[0-9]+$/ && $2 != "total" { print $2, $1 }' "counts$1" | sort
}

# What forty photos more take, a photo.
calls_a_photo() {
    make_photo 2 1600x1200
    calls_of 20 >few
    calls_of 60 >many
    join -a 2 -e 0 -o 0,1.2,2.2 few many |
        awk '{ each = ($3 - $2) / 40; if (each >= 0.05) printf "| `%s` | %.1f |\n", $1, each }' |
        sort -t '|' -k 3,3 -rn
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
            else { link(sprintf("%s/0000/photo%07d.jpg", $top, $i % 100), $name) or die "$name: $!" }
        }' "$@"
}

planning() {
    local count options cpu wall memory what
    make_photo 0.3 640x480
    printf '| names | outputs | seconds | of processor | peak MB |\n'
    for count in 1000 100000 1000000; do
        make_names album "$count" "$photos/0.3.jpg"
        find album -type f -print0 | LC_ALL=C sort -z >list
        for what in missing there; do
            [[ $what == missing ]] || make_names sketched "$count" "$photos/0.3.jpg"
            for i in 1 2 3; do
                command time -f '%U %S %e %M' -o times "$program" -n -q --skip-existing --files-from list \
                    --null --keep-folders --output-dir "$([[ $what == missing ]] && echo none || echo there)" 
                awk '{ print $1 + $2, $3, $4 / 1024 }' times
            done | sort -n | head -n 1 | {
                read -r cpu wall memory
                printf '| %s | %s | %.3f | %.3f | %.0f |\n' "$count" "$what" "$wall" "$cpu" "$memory"
            }
            [[ $what == missing ]] && { mkdir there && ln -s ../sketched there/album; }
        done
        rm -rf album sketched there list
    done
}

# Where the processor's time goes, by library and function.
where_time_goes() {
    make_photo 24 6000x4000
    album 24 8 album24
    perf record -q -e cpu-clock -F 499 -o perf.data "$program" -q -j 1 --output-dir sketches album24 2>/dev/null
    perf report -q -i perf.data --sort dso --stdio 2>/dev/null | grep -v '^$' | head -n 8
    echo
    perf report -q -i perf.data --sort dso,symbol --stdio 2>/dev/null | grep -v '^$' | head -n 25
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
plan) planning ;;
where) where_time_goes ;;
disk) disk_speed ;;
*)
    say "$usage"
    exit 2
    ;;
esac
