// The list of requests.

const shortColumns =
    ["number", "start", "method", "uri", "status", "duration", "memory", "errors", "events", "statements"];

/** Returns the cell of a value, as the tables of the program print it. */
function cellText(row, {name, type}) {
    const value = row[name];
    if (value === null)
        return "-";
    if (type === "instant")
        return instantText(value);
    if (type === "span")
        return spanText(value);
    if (name === "memory")
        return sizeText(value);
    return Array.isArray(value) ? value.join("+") : plainText(value);
}

/** The columns of a table with rows of the program. `cells` replaces cells by the names of their columns. */
function dataColumns(all, names, state, cells) {
    return names.map((name) => all.find((column) => column.name === name)).map((column) => ({
        title: column.title,
        isNumber: column.type === "number" || column.type === "span",
        className: `column-${column.name}`,
        sorted: state.sort?.name !== column.name ? "none"
            : state.sort.isDescending            ? "descending"
                                                 : "ascending",
        sort: () => navigate({
            ...state,
            sort: {
                name: column.name,
                // The first click shows the largest values.
                isDescending: state.sort?.name === column.name ? !state.sort.isDescending : column.type !== "text",
            }
        }),
        cell: cells[column.name] ?? ((row) => cellText(row, column)),
    }));
}

function orderedRows(rows, all, sort) {
    const column = all.find(({name}) => name === sort?.name);
    return column ? sortedRows(rows, column, sort.isDescending) : rows;
}

/** Returns the requests that fulfil the conditions, in the order of the state. Wrong conditions are left out. */
function chosenRequests(report, state) {
    const tests = state.conditions.map((text) => {
        try {
            return readCondition(text, report.request_columns);
        } catch {
            return () => true;
        }
    });
    if (state.error !== null)
        tests.push((request) => request.error_names.some(([name]) => name === state.error));
    const rows = report.requests.filter((request) => tests.every((holds) => holds(request)));
    return orderedRows(rows, report.request_columns, state.sort);
}

/** Returns the name of a request in links: its id, or its number if several requests have the id. */
function requestName(report, request) {
    const {number} = report.byId.get(String(request.request_id));
    return number === request.number ? String(request.request_id) : `@${request.number}`;
}

function requestLink(report, request, state, ...content) {
    return element(
        "a", {href: hashOf({...state, view: "requests", request: requestName(report, request)})}, ...content);
}

function listView(report, state) {
    const requests = chosenRequests(report, state);
    const add = (conditions) => navigate({...state, conditions: [...new Set([...state.conditions, ...conditions])]});
    const cells = {
        uri: (request) => requestLink(report, request, state, cellText(request, {name: "uri", type: "text"})),
        number: (request) => `@${request.number}`,
        status: (request) => element(
            "span", {class: isFailed(request) ? "bad" : null}, request.status === null ? "-" : String(request.status)),
        errors: (request) => element("span", {class: request.errors > 0 ? "bad" : null}, String(request.errors)),
    };
    const columns = dataColumns(report.request_columns, shortColumns, state, cells);
    columns.find(({className}) => className === "column-uri").isHeader = true;
    return [
        element("h1", {tabindex: "-1"}, "Requests"),
        summaryLine(report, requests),
        element("div", {class: "charts"}, timeChart(requests, add), durationChart(requests, add)),
        filterForm(report, state),
        requests.length > 0
            ? table(requests.length === report.requests.length
                      ? counted(requests.length, "request", "requests")
                      : `${requests.length} of ${counted(report.requests.length, "request", "requests")}`,
                  columns, requests)
            : element("p", {class: "empty"},
                  report.requests.length > 0 ? "No request fulfils the conditions."
                                             : "The captures contain no requests."),
    ];
}

/** Returns the figures of the chosen requests, with what to look at next. */
function summaryLine(report, requests) {
    const timed = requests.filter(({duration}) => duration !== null);
    const slowest = sortedRows(timed, {name: "duration", type: "span"}, true)[0];
    const failed = requests.filter(isFailed).length;
    const withErrors = requests.filter(({errors}) => errors > 0).length;
    const figure = (value, label, state) => element("li", {},
        element(state ? "a" : "span", {href: state ? hashOf({...initialState, ...state}) : null},
            element("strong", {}, value), " ", label));
    return element("ul", {class: "figures"},
        figure(requests.length.toLocaleString("en"), requests.length === 1 ? "request" : "requests"),
        figure(String(failed), "failed (status 500 or more)", failed > 0 && {conditions: ["status>=500"]}),
        figure(String(withErrors), "with PHP errors", withErrors > 0 && {view: "errors"}),
        slowest ? figure(spanText(slowest.duration), "slowest request", {request: requestName(report, slowest)})
                : null);
}

function filterForm(report, state) {
    const fault = element("p", {class: "fault", role: "alert", id: "fault"});
    const input = element("input", {
        id: "condition",
        list: "examples",
        autocomplete: "off",
        spellcheck: "false",
        placeholder: "for example, status>=500",
        "aria-describedby": "fault",
    });
    const examples = [
        "status>=500", "errors>0", "duration>500ms", "memory>64MB", "statements>20", "method=POST", "uri~admin",
        "!complete"
    ];
    const submit = (event) => {
        event.preventDefault();
        try {
            readCondition(input.value, report.request_columns);
            navigate({...state, conditions: [...new Set([...state.conditions, input.value])]});
        } catch (error) {
            fault.textContent = escapedText(error.message);
        }
    };
    const chip = (text, without) => element("li", {},
        element("button", {
            type: "button",
            "aria-label": `Remove ${text}`,
            click: () => navigate(without),
        },
            text, element("span", {"aria-hidden": "true"}, " ×")));
    return element("section", {class: "filter", "aria-label": "Filter"},
        element("form", {submit},
            element("label", {for: "condition"}, "Show only requests with"), input,
            element("datalist", {id: "examples"}, examples.map((value) => element("option", {value}))),
            element("button", {type: "submit"}, "Add condition")),
        fault,
        state.conditions.length > 0 || state.error !== null ? element("ul", {class: "chips", "aria-label": "Conditions"},
            state.conditions.map((text) =>
                chip(text, {...state, conditions: state.conditions.filter((other) => other !== text)})),
            state.error === null ? null : chip(`error: ${report.errors[state.error]}`, {...state, error: null})) : null,
        element("details", {class: "help"}, element("summary", {}, "How to write conditions"),
            element("p", {}, "A condition is a column, an operator and a value without spaces between them, such as ",
                element("code", {}, "duration>200ms"), ". Requests must fulfil all conditions."),
            element("dl", {}, [
                ["= != < <= > >=", "compare numbers, sizes (64MB), lengths of time (200ms, 1.5s) and points in time"],
                ["~", "searches a text for a regular expression: uri~^/api"],
                ["!complete", "a column alone: its value is present, or with ! absent; complete is true or false"],
            ].flatMap(([term, text]) => [element("dt", {}, element("code", {}, term)), element("dd", {}, text)])),
            element("p", {}, "Columns: ", element("code", {}, report.request_columns.map(({name}) => name).join(" ")))));
}
