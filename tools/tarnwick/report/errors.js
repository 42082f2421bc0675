// The errors of all requests, by name, message and file.

function errorRows(report) {
    const rows = report.errors.map((name, number) => ({name, number, count: 0, requests: 0, first: null, last: null}));
    for (const request of report.requests) {
        for (const [number, count] of request.error_names) {
            const row = rows[number];
            row.count += count;
            ++row.requests;
            row.first ??= request;
            row.last = request;
        }
    }
    return rows.filter(({count}) => count > 0).sort((left, right) => right.count - left.count);
}

function errorsView(report, state) {
    const rows = errorRows(report);
    const most = largest(rows.map(({count}) => count));
    const startOf = (request) =>
        requestLink(report, request, state, request.start ? instantText(request.start) : `@${request.number}`);
    const columns = [
        {title: "count", isNumber: true, cell: (row) => [bar(row.count / most, "bad"), String(row.count)]},
        {
            title: "requests",
            isNumber: true,
            cell: (row) => element("a", {
                href: hashOf({...initialState, error: row.number}),
            },
                String(row.requests))
        },
        {title: "error", isHeader: true, cell: (row) => longText("span", {}, plainText(row.name))},
        {title: "first request", cell: (row) => startOf(row.first)},
        {title: "last request", cell: (row) => startOf(row.last)},
    ];
    return [
        element("h1", {tabindex: "-1"}, "PHP errors"),
        element("p", {class: "help"},
            "Errors and exceptions of all requests, the most frequent first. The number of requests links to the list."),
        rows.length > 0 ? table(counted(rows.length, "different error", "different errors"), columns, rows)
                        : element("p", {class: "empty"}, "The requests reported no errors."),
    ];
}
