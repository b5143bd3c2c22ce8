#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""make-grid.py ROWS COLUMNS WIDTH HEIGHT OUT STREAM TILE.heic...: puts HEIC files of heif-enc together as tiles of one
picture, and their HEVC pictures one after the other into STREAM, a file for those who decode and do nothing else."""
import struct
import sys


def boxes(data):
    at = 0
    while at + 8 <= len(data):
        size, kind = struct.unpack('>I4s', data[at:at + 8])
        yield kind, data[at + 8:at + size]
        at += size


def box(kind, body):
    return struct.pack('>I4s', len(body) + 8, kind) + body


def tile(path):
    """Properties of the first item, and its bytes."""
    data = open(path, 'rb').read()
    meta = dict(boxes(dict(boxes(data))[b'meta'][4:]))
    properties = [box(k, b) for k, b in boxes(dict(boxes(meta[b'iprp']))[b'ipco']) if k in (b'hvcC', b'ispe')]
    place = meta[b'iloc']
    version, sizes = place[0], struct.unpack('>H', place[4:6])[0]
    offset, length, base = sizes >> 12, sizes >> 8 & 15, sizes >> 4 & 15
    at = 8 + 2 + (2 if version else 0) + 2
    start = int.from_bytes(place[at:at + base], 'big')
    at += base + 2
    start += int.from_bytes(place[at:at + offset], 'big')
    at += offset
    return properties, data[start:start + int.from_bytes(place[at:at + length], 'big')]


def units(data):
    """NAL units, each behind its size."""
    at = 0
    while at < len(data):
        size = int.from_bytes(data[at:at + 4], 'big')
        yield data[at + 4:at + 4 + size]
        at += 4 + size


def parameter_sets(hvcc):
    at = 23
    for _ in range(hvcc[22]):
        count = int.from_bytes(hvcc[at + 1:at + 3], 'big')
        at += 3
        for _ in range(count):
            size = int.from_bytes(hvcc[at:at + 2], 'big')
            yield hvcc[at + 2:at + 2 + size]
            at += 2 + size


rows, columns, width, height = map(int, sys.argv[1:5])
tiles = [tile(path) for path in sys.argv[7:]]
assert len(tiles) == rows * columns
grid = struct.pack('>BBBBII', 0, 1, rows - 1, columns - 1, width, height)
shared = tiles[0][0]
contents = [grid] + [content for _, content in tiles]
count = len(contents)
infos = b''.join(box(b'infe', struct.pack('>IHH4sB', 2 << 24 | (i > 0), i + 1, 0, b'grid' if i == 0 else b'hvc1', 0))
                 for i in range(count))
properties = box(b'ipco', box(b'ispe', struct.pack('>III', 0, width, height)) + b''.join(shared))
links = b''.join(struct.pack('>HB', i + 1, 1) + b'\1' if i == 0 else
                 struct.pack('>HB', i + 1, len(shared)) + bytes(range(2, 2 + len(shared))) for i in range(count))
references = box(b'dimg', struct.pack('>HH', 1, count - 1) + b''.join(struct.pack('>H', i + 2) for i in range(count - 1)))


def meta(start):
    places = struct.pack('>IHH', 0, 0x4400, count)
    for i, content in enumerate(contents):
        places += struct.pack('>HHHII', i + 1, 0, 1, start, len(content))
        start += len(content)
    return box(b'meta', b'\0\0\0\0' + box(b'hdlr', bytes(8) + b'pict' + bytes(13))
               + box(b'pitm', struct.pack('>IH', 0, 1)) + box(b'iinf', struct.pack('>IH', 0, count) + infos)
               + box(b'iloc', places) + box(b'iref', bytes(4) + references)
               + box(b'iprp', properties + box(b'ipma', struct.pack('>II', 0, count) + links)))


head = box(b'ftyp', b'heic' + bytes(4) + b'mif1heic')
with open(sys.argv[5], 'wb') as out:
    out.write(head + meta(len(head) + len(meta(0)) + 8) + box(b'mdat', b''.join(contents)))

with open(sys.argv[6], 'wb') as out:
    for own, content in tiles:
        hvcc = next(body for kind, body in boxes(b''.join(own)) if kind == b'hvcC')
        out.write(b''.join(b'\0\0\0\1' + unit for unit in [*parameter_sets(hvcc), *units(content)]))
