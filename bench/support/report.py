#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""report.py ROWS FOLDER: what the programs of bench/ measured, for machines and for people.

ROWS has one JSON object a line. FOLDER gets results.json, results.md (a table for each area) and one plot for each area,
AREA.svg. Prints how many targets were met. A row that was measured twice counts as it was measured last.
"""
import json
import math
import pathlib
import sys
from xml.sax.saxutils import escape

AREAS = {
    'start': 'Start of the command', 'tasks': 'Tasks', 'list': 'Lists', 'record': 'Records', 'base64': 'Base64',
    'probe': 'Artwork probe', 'tags': 'Tags', 'index': 'Index', 'info': 'kelvane info', 'heic': 'HEIC to JPEG',
    'sqlite': 'SQLite', 'copy': 'Copies', 'sync': 'kelvane sync', 'utilities': 'Utilities',
}


def read_rows(path):
    rows = {}
    for line in pathlib.Path(path).read_text().splitlines():
        row = json.loads(line)
        rows[row['area'], row['work'], row['peer']] = row
    order = list(AREAS)
    return sorted(rows.values(), key=lambda row: order.index(row['area']) if row['area'] in order else len(order))


def is_met(row):
    return row['ratio'] <= row['target']


def number(value):
    return f'{value:.3g}' if value < 1000 else f'{value:,.0f}'


def table(rows):
    lines = ['| Work | Beside | Ours | Theirs | Unit | Ratio | Target |', '|---|---|---:|---:|---|---:|---|']
    for row in rows:
        target = '' if row['target'] <= 0 else f"≤ {row['target']:g}{'' if is_met(row) else ', **missed**'}"
        lines.append(f"| {row['work']} | {row['peer']} | {number(row['ours_median'])} | {number(row['peer_median'])} "
                     f"| {row['unit']} | {row['ratio']:.3g} | {target} |")
    return '\n'.join(lines) + '\n'


def plot(title, rows):
    """Ratios as bars on a logarithmic scale: left of the line at 1 we are faster, the short mark is the target."""
    low, high = 0.001, 10
    label_width, bar_width, row_height, top = 430, 420, 22, 52
    width, height = label_width + bar_width + 70, top + row_height * len(rows) + 34

    def x(ratio):
        share = (math.log10(min(max(ratio, low), high)) - math.log10(low)) / (math.log10(high) - math.log10(low))
        return label_width + share * bar_width

    parts = [
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" role="img" '
        f'aria-label="{escape(title)}: time of Kelvane / time of the peer">',
        '<style>text{font:12px system-ui,sans-serif;fill:#222}.t{font-weight:600;font-size:15px}.n{fill:#666}'
        '.g{stroke:#ccc}.one{stroke:#222}.met{fill:#2a7f62}.missed{fill:#b5482f}.none{fill:#7a8794}'
        '.target{stroke:#222;stroke-width:2}@media(prefers-color-scheme:dark){text{fill:#ddd}.n{fill:#999}'
        '.g{stroke:#444}.one,.target{stroke:#ddd}}</style>',
        f'<text class="t" x="8" y="20">{escape(title)}</text>',
        f'<text class="n" x="8" y="38">ratio of medians, ours / theirs; shorter is better, 1 is equal</text>',
    ]
    for tick in (0.001, 0.01, 0.1, 1, 10):
        kind = 'one' if tick == 1 else 'g'
        parts.append(f'<line class="{kind}" x1="{x(tick):.1f}" x2="{x(tick):.1f}" y1="{top - 6}" y2="{height - 28}"/>')
        parts.append(f'<text class="n" x="{x(tick):.1f}" y="{height - 10}" text-anchor="middle">{tick:g}</text>')
    for i, row in enumerate(rows):
        y = top + i * row_height
        kind = 'none' if row['target'] <= 0 else 'met' if is_met(row) else 'missed'
        parts.append(f'<text x="{label_width - 8}" y="{y + 12}" text-anchor="end">'
                     f"{escape(row['work'])} / {escape(row['peer'])}</text>")
        parts.append(f'<rect class="{kind}" x="{label_width}" y="{y}" height="15" width="{x(row["ratio"]) - label_width:.1f}"/>')
        parts.append(f'<text x="{x(row["ratio"]) + 5:.1f}" y="{y + 12}">{row["ratio"]:.3g}</text>')
        if row['target'] > 0:
            at = x(row['target'])
            parts.append(f'<line class="target" x1="{at:.1f}" x2="{at:.1f}" y1="{y - 3}" y2="{y + 18}"/>')
    return '\n'.join(parts + ['</svg>', ''])


def main():
    source, folder = sys.argv[1], pathlib.Path(sys.argv[2])
    rows = read_rows(source)
    (folder / 'results.json').write_text(json.dumps(rows, indent=1) + '\n')
    text = []
    for area in dict.fromkeys(row['area'] for row in rows):
        of_area = [row for row in rows if row['area'] == area]
        title = AREAS.get(area, area)
        (folder / f'{area}.svg').write_text(plot(title, of_area))
        text.append(f'### {title}\n\n![{title}](pictures/performance/{area}.svg)\n\n{table(of_area)}')
    (folder / 'results.md').write_text('\n'.join(text))
    aimed = [row for row in rows if row['target'] > 0]
    missed = [row for row in aimed if not is_met(row)]
    print(f'{len(aimed) - len(missed)} of {len(aimed)} targets met')
    for row in missed:
        print(f"missed: {row['area']}, {row['work']} beside {row['peer']}: {row['ratio']:.3g}, target {row['target']:g}")


main()
