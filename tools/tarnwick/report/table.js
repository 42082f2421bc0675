/**
 * Returns a table with rows that are added as the user scrolls.
 *
 * A column has a title, `cell(row)` with the content, and can have `isNumber`, `isHeader` (the name of the row) and
 * `sort`: a function that is called when the user clicks the title. `sorted` is "ascending" or "descending".
 *
 * The roles are those of the elements; browsers forget them where the style of narrow screens changes the layout.
 */
function table(caption, columns, rows) {
    const head = element("tr", {role: "row"},
        columns.map(
            (column) => element("th", {
                scope: "col",
                role: "columnheader",
                class: column.isNumber ? "number" : null,
                "aria-sort": column.sort ? column.sorted ?? "none" : null,
            },
                column.sort ? element("button", {type: "button", click: column.sort}, column.title) : column.title)));
    const [body, more = null] = list("tbody", {role: "rowgroup"}, rows,
        (row) => element("tr", {role: "row"},
            columns.map((column) => element(column.isHeader ? "th" : "td", {
                scope: column.isHeader ? "row" : null,
                role: column.isHeader ? "rowheader" : "cell",
                class: [column.isNumber ? "number" : "", column.className ?? ""].join(" ").trim() || null,
                "data-title": column.title,
            },
                            column.cell(row)))));
    if (more !== null) {
        new IntersectionObserver((entries) => {
            if (entries.some((entry) => entry.isIntersecting))
                more.click();
        }).observe(more);
    }
    return element("div", {class: "table", role: "region", "aria-label": caption, tabindex: "0"},
        element("table", {role: "table"}, element("caption", {}, caption), element("thead", {role: "rowgroup"}, head),
            body),
        more);
}
