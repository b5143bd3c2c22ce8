#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# bench/sync_bench.sh [PRESET] [COUNT]: how many files a second "kelvane sync" brings to a device, and how fast a run is
# that has nothing to do. Makes COUNT (1000) songs as mp3, m4a and flac with tags and covers: a few are encoded, the
# others are those with other tags. Needs ffmpeg. The folder is $TMPDIR or /tmp; which disk that is decides the figures.
set -eu
preset=${1:-release}
count=${2:-1000}
tool=$(cd "$(dirname "$0")/.." && pwd)/build/$preset/bin/kelvane
work=$(mktemp -d "${TMPDIR:-/tmp}/kelvane-bench-XXXXXX")
trap 'rm -rf "$work"' EXIT
mkdir "$work/songs" "$work/originals" "$work/device"

encode() { ffmpeg -nostdin -v error -y "$@"; }
encode -f lavfi -i testsrc=size=600x600 -frames:v 1 "$work/cover.jpg"
for length in 5 15 30; do
    for kind in mp3 m4a flac; do
        encode -f lavfi -i "sine=frequency=440:duration=$length" -f lavfi -i "anoisesrc=amplitude=0.01:duration=$length" \
            -i "$work/cover.jpg" -filter_complex "[0][1]amix[a]" -map "[a]" -map 2 -c:v copy \
            -disposition:v attached_pic "$work/originals/$length.$kind"
    done
done
i=0
while [ "$i" -lt "$count" ]; do
    set -- "$work"/originals/*
    shift $((i % $#))
    kind=${1##*.}
    echo "file $1 title 'Song $i' artist 'Artist $((i % 50))' $work/songs/$i.$kind"
    i=$((i + 1))
done | xargs -P "$(nproc)" -L 1 sh -c 'ffmpeg -nostdin -v error -y -i "$1" -map 0 -c copy -disposition:v attached_pic \
    -metadata title="$3" -metadata artist="$5" -metadata album=Bench -metadata track="1/9" "$6"'

echo "$("$tool" --version), preset $preset, $(nproc) processors, $count songs, $(du -sm "$work/songs" | cut -f1) MB"
run() {
    rate=$("$tool" sync --json "$@" "$work/songs" "$work/device" | tail -n 1 | sed 's/.*"seconds":\([0-9.]*\).*/\1/')
    awk -v name="$label" -v seconds="$rate" -v count="$count" \
        'BEGIN { printf "%-28s %8.2f s %10.0f items/s\n", name, seconds, count / seconds }'
}
label="first run, 2 jobs"; run
for label in "second run" "third run"; do run; done
label="second run, --verify"; run --verify
rm -rf "$work/device"; mkdir "$work/device"
label="first run, 8 jobs"; run --jobs 8
