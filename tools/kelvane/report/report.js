'use strict';
(() => {
    const table = document.getElementById('list');
    if (!table)
        return;
    const body = table.tBodies[0];
    const rows = Array.from(body.rows);
    const headings = Array.from(table.tHead.rows[0].cells);
    const collator = new Intl.Collator(undefined, { numeric: true, sensitivity: 'base' });

    // Numbers are sorted by their value, which stands beside what is read; what is empty comes last either way.
    const keyOf = (row, column) => {
        const cell = row.cells[column];
        return 'value' in cell.dataset ? Number(cell.dataset.value) : cell.textContent.trim();
    };
    const compare = (a, b) => typeof a === 'number' ? a - b : collator.compare(a, b);

    const sortBy = (column) => {
        const heading = headings[column];
        const isDescending = heading.getAttribute('aria-sort') === 'ascending';
        for (const each of headings)
            if (each.hasAttribute('aria-sort'))
                each.setAttribute('aria-sort', 'none');
        heading.setAttribute('aria-sort', isDescending ? 'descending' : 'ascending');
        const keyed = rows.map((row) => [keyOf(row, column), row]);
        keyed.sort(([a], [b]) => {
            if (a === '' || b === '')
                return (a === '') - (b === '');
            return isDescending ? compare(b, a) : compare(a, b);
        });
        body.append(...keyed.map(([, row]) => row));
    };

    headings.forEach((heading, column) => {
        if (!heading.hasAttribute('data-sort'))
            return;
        const button = document.createElement('button');
        button.type = 'button';
        button.textContent = heading.textContent;
        button.addEventListener('click', () => sortBy(column));
        heading.replaceChildren(button);
        heading.setAttribute('aria-sort', 'none');
    });

    const filter = document.getElementById('filter');
    const kind = document.getElementById('kind');
    const count = document.getElementById('count');
    const texts = rows.map((row) => row.textContent.toLowerCase());
    const show = () => {
        const words = filter.value.toLowerCase().split(/\s+/).filter((word) => word);
        let shown = 0;
        rows.forEach((row, i) => {
            const isShown = (!kind.value || row.dataset.kind === kind.value)
                && words.every((word) => texts[i].includes(word));
            row.hidden = !isShown;
            shown += isShown ? 1 : 0;
        });
        count.textContent = shown === rows.length ? `${shown} shown` : `${shown} of ${rows.length} shown`;
    };
    filter.addEventListener('input', show);
    kind.addEventListener('change', show);
    document.getElementById('tools').hidden = false;
    show();
})();
