#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# heic_bench.sh KELVANE [ROUNDS]: HEIC to JPEG, 12 megapixels, against heif-convert, vips and ImageMagick.
#
#   one tile   as encoders on computers write it: one HEVC picture of 4032 x 3024
#   tiled      as phones write it: a grid of 8 x 6 tiles of 512 x 512
#
# Each round runs every program once, one after the other, as a process of its own with the file in the page cache: start
# and end of the process count for all of them. Printed are the median and the fastest of each in milliseconds, and the
# median of ours over the best median of the others. Needs ffmpeg, heif-enc, heif-convert, vips, and ImageMagick; those
# that are not there are left out.

set -euo pipefail
kelvane=$(realpath "$1")
rounds=${2:-9}
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

# Structure of all sizes, soft edges and the noise of a sensor: about as many bytes as a camera's photo has.
ffmpeg -nostdin -v error -f lavfi -i mandelbrot=size=4096x3072:rate=1:start_scale=0.02:maxiter=500 -frames:v 1 \
    -vf gblur=sigma=1.2,noise=alls=4:allf=t big.png
ffmpeg -nostdin -v error -i big.png -vf crop=4032:3024:0:0 photo.png
heif-enc -q 55 -o one.heic photo.png >/dev/null 2>&1
for row in 0 1 2 3 4 5; do
    for column in 0 1 2 3 4 5 6 7; do
        ffmpeg -nostdin -v error -i big.png -vf "crop=512:512:$((column * 512)):$((row * 512))" "$row$column.png"
        heif-enc -q 55 -o "$row$column.heic" "$row$column.png" >/dev/null 2>&1
    done
done
python3 "$here/support/make-grid.py" 6 8 4032 3024 tiled.heic [0-5][0-7].heic

magick=$(command -v magick || ls /usr/bin/convert-im6* /usr/bin/convert 2>/dev/null | head -1 || true)
names=(kelvane)
commands=("'$kelvane' heic2jpg --force -o out IN")
if command -v heif-convert >/dev/null; then names+=(heif-convert); commands+=("heif-convert --quiet -q 80 IN out/h.jpg"); fi
if command -v vips >/dev/null; then names+=(vips); commands+=("vips copy IN 'out/v.jpg[Q=80]'"); fi
if [[ -n $magick ]]; then names+=(ImageMagick); commands+=("'$magick' IN -quality 80 out/m.jpg"); fi
mkdir out

milliseconds() {
    local start=$EPOCHREALTIME
    eval "$1" >/dev/null 2>&1 || { echo "failed: $1" >&2; exit 1; }
    local end=$EPOCHREALTIME
    echo $(((${end/./} - ${start/./}) / 100))
}

printf '%s, %s cores, %s rounds\n' "$(uname -m)" "$(nproc)" "$rounds"
for file in one tiled; do
    rm -f times.*
    for ((round = 0; round < rounds; ++round)); do
        for i in "${!names[@]}"; do
            milliseconds "${commands[i]//IN/$file.heic}" >>"times.$i"
        done
    done
    printf '%s (%s bytes)\n' "$file" "$(stat -c %s $file.heic)"
    best=
    for i in "${!names[@]}"; do
        median=$(sort -n "times.$i" | sed -n "$((rounds / 2 + 1))p")
        fastest=$(sort -n "times.$i" | head -1)
        printf '  %-14s median %6.1f   fastest %6.1f\n' "${names[i]}" "${median}e-1" "${fastest}e-1"
        if ((i == 0)); then ours=$median; elif [[ -z $best || $median -lt $best ]]; then best=$median; fi
    done
    [[ -z $best ]] || printf '  ratio          %.2f\n' "$(awk "BEGIN { print $ours / $best }")"
done
