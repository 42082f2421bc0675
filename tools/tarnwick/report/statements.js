// The statements of all requests.

function statementCells(most) {
    return {
        statement: (row) => longText("code", {class: "sql"}, plainText(row.statement)),
        n_plus_one: (row) => row.n_plus_one
            ? element(
                  "strong", {class: "bad", title: "One place sent it this often in one request"}, `${row.per_request}×`)
            : "-",
        call_site: (row) => row.call_site === null ? "-" : pathElement(plainText(row.call_site)),
        total: (row) => [bar(Number(nanoseconds(row.total)) / most), spanText(row.total)],
    };
}

function longestTotal(statements) { return largest(statements.map(({total}) => Number(nanoseconds(total)))); }

const nPlusOneHelp = "N+1: one place in the code sent this statement 10 times or more in one request, probably in a " +
    "loop over the rows of another query. One query with a join or a list is usually faster.";

function statementsView(report, state) {
    const cells = statementCells(longestTotal(report.statements));
    cells.slowest = (row) => {
        const request = report.byId.get(String(row.slowest_request));
        return request ? requestLink(report, request, state, spanText(row.slowest)) : spanText(row.slowest);
    };
    const names = ["total", "count", "requests", "slowest", "n_plus_one", "errors", "call_site", "statement"];
    const columns = dataColumns(report.statement_columns, names, state, cells);
    columns.at(-1).isHeader = true;
    const rows = orderedRows(report.statements, report.statement_columns, state.sort);
    return [
        element("h1", {tabindex: "-1"}, "SQL statements"),
        element("p", {class: "help"},
            "Statements of all requests without their literals, the longest in total first. " +
                "The bars compare the totals. The slowest time links to its request. ",
            nPlusOneHelp),
        rows.length > 0 ? table(counted(rows.length, "different statement", "different statements"), columns, rows)
                        : element("p", {class: "empty"}, "The requests sent no SQL statements."),
    ];
}
