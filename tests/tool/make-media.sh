#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# make-media.sh FOLDER: makes the small real media files that the tests of the tool read. Needs ffmpeg.
set -e
folder=$1
rm -rf "$folder"
mkdir -p "$folder"
cd "$folder"
make() { ffmpeg -nostdin -v error -y "$@"; }


make -f lavfi -i testsrc=size=64x64 -frames:v 1 cover.jpg
make -f lavfi -i sine=440:duration=2 -i cover.jpg -map 0 -map 1 -c:v copy -disposition:v attached_pic -b:a 64k \
    -id3v2_version 3 -metadata title="Blue" -metadata artist="The Testers" -metadata album="Samples" \
    -metadata track=3/9 -metadata genre=Rock -metadata date=2012 song.mp3
make -f lavfi -i sine=550:duration=2 -i cover.jpg -map 0 -map 1 -c:v copy -disposition:v attached_pic \
    -metadata title="Grün" -metadata artist="日本の歌手" -metadata album="Samples" song.m4a
make -f lavfi -i sine=660:duration=2 -metadata title="Red" -metadata artist="The Testers" song.flac
make -f lavfi -i sine=770:duration=2 -metadata title="Opal" song.ogg
make -f lavfi -i sine=880:duration=1 song.wav
make -f lavfi -i testsrc=size=160x120:duration=1 -f lavfi -i sine=duration=1 -metadata title="Film" film.mp4
make -f lavfi -i testsrc=size=320x240 -frames:v 1 photo.jpg
make -f lavfi -i testsrc=size=320x240 -frames:v 1 picture.png
rm cover.jpg
touch complete
