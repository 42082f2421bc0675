// The sections of a request. Each is null if the request has no records for it.

function recordsOf(details, name) { return details.records.filter(({record}) => record === name); }

/** Returns the time since the start of the request, or null if one of them has no time. */
function sinceStart(request, time) {
    if (!request.start || !isNormal(request.start) || !isNormal(time))
        return null;
    const passed = Number(nanoseconds(time) - nanoseconds(request.start));
    return passed >= 0 && passed < 86400e9 ? passed : null;
}

function errorStep(record) {
    const [kind, detail] = Object.entries(record.details ?? {})[0] ?? ["Error", {}];
    return {
        kind: kind === "Exception" ? "exception" : "error",
        isBad: true,
        time: record.timestamp,
        name: plainText(detail?.name ?? detail?.exception_name),
        text: plainText(record.message),
        place: placeText(record.location),
        trace: record.stack_trace,
        callSite: record.call_sites[0],
    };
}

const eventKinds = {
    FunctionError: "function error",
    SlowFunctionExec: "slow function",
    SlowRequest: "slow request",
    HighMemoryUsage: "high memory usage",
    PhpError: "PHP error",
    CustomEvent: "custom event",
};

function eventStep(record) {
    const [kind, detail] = Object.entries(record.details ?? {})[0] ?? ["", {}];
    const texts = [detail.message ?? detail.text_0, detail.text_1, record.event_text];
    return {
        kind: `event: ${eventKinds[kind] ?? (kind || record.kind)}`,
        time: record.timestamp,
        duration: detail.duration ?? null,
        name: plainText(detail.error_name ?? record.function?.name),
        text: [
            ...new Set(texts.map(plainText).filter((text) => text !== "" && text !== plainText(detail.error_name)))
        ].join(" · "),
        place: placeText(detail.location ?? record.function?.location),
        trace: record.stack_trace,
        callSite: record.call_sites[0],
    };
}

function statementSteps(record) {
    return record.queries.map((query, index) => ({
        kind: "statement",
        isBad: query.error !== null,
        duration: query.time,
        sql: plainText(query.text),
        text: query.error ? `failed: ${plainText(query.error.message)}` : "",
        trace: query.stack_trace,
        callSite: record.call_sites[index],
    }));
}

/** Returns what happened in the order of the reports. PHP processes send an event for most errors. */
function stepsOf(details) {
    const steps = details.records.flatMap((record) => {
        if (record.record === "php.ErrorData")
            return [errorStep(record)];
        if (record.record === "monitor.Event")
            return [eventStep(record)];
        return record.record === "glimmet.SqlQueries" ? statementSteps(record) : [];
    });
    steps.forEach((step, index) => {
        const before = steps[index - 1];
        step.isRepeated = index > 0 && before.kind === "error" && step.kind === "event: PHP error" &&
            !step.trace?.length && before.name === step.name && before.text === step.text &&
            before.place === step.place;
    });
    return steps;
}

function stepContent(step) {
    if (step.isRepeated)
        return [element("span", {class: "help"}, "repeats the error above")];
    return [
        step.name ? element("strong", {}, step.name, " ") : null,
        step.sql ? longText("code", {class: "sql"}, step.sql) : null,
        step.text ? longText("span", {}, ` ${step.text}`) : null,
        step.place ? element("p", {class: "place"}, "at ", pathElement(step.place)) : null,
        traceElement(step.trace, step.callSite),
    ].filter((part) => part !== null);
}

/** Returns the bar of a step: how long it took, or when it happened. */
function stepBar(step, passed, total, slowestStatement) {
    if (step.duration)
        return bar(Number(nanoseconds(step.duration)) / (step.sql === undefined ? total : slowestStatement));
    if (passed === null || total === 0)
        return null;
    const mark = bar(1, "mark");
    mark.firstChild.style.width = "";
    mark.firstChild.style.marginInlineStart = `${Math.min(99, passed / total * 100)}%`;
    return mark;
}

function orderSection(request, details) {
    const steps = stepsOf(details);
    if (steps.length === 0)
        return null;
    const total = request.duration && isNormal(request.duration) ? Number(nanoseconds(request.duration)) : 0;
    const slowestStatement =
        largest(steps.filter(({sql}) => sql !== undefined).map(({duration}) => Number(nanoseconds(duration))));
    const row = (step) => {
        const passed = step.time ? sinceStart(request, step.time) : null;
        return element("li", {class: step.isBad ? "step bad-step" : "step"},
            element("span", {class: "when"}, passed === null ? "" : `+${spanOfNanoseconds(passed)}`),
            element("span", {class: "kind"}, step.kind),
            element("span", {class: "took"}, step.duration ? spanText(step.duration) : ""),
            stepBar(step, passed, total, slowestStatement) ?? element("span"),
            element("div", {class: "what"}, ...stepContent(step)));
    };
    return section(`Errors, events and statements (${steps.length})`,
        "In the order in which they were reported. A short line marks the time of an error or event in the request; reports " +
            "have no such time for statements. The bar of an event is its part of the request's duration. The bar of a " +
            "statement compares it with the slowest statement of the request.",
        list("ol", {class: "steps"}, steps, row));
}

function statementsSection(details) {
    const rows =
        [...details.statements].sort((left, right) => Number(nanoseconds(right.total) - nanoseconds(left.total)));
    if (rows.length === 0)
        return null;
    const cells = statementCells(longestTotal(rows));
    const columns = [
        {title: "total", isNumber: true, cell: cells.total},
        {title: "count", isNumber: true, cell: (row) => String(row.count)},
        {title: "slowest", isNumber: true, cell: (row) => spanText(row.slowest)},
        {title: "N+1", isNumber: true, cell: cells.n_plus_one},
        {title: "called at", className: "column-call_site", cell: cells.call_site},
        {title: "statement", isHeader: true, cell: cells.statement},
    ];
    return section(`SQL statements, grouped (${rows.length})`, nPlusOneHelp,
        table("SQL statements of the request, without their literals", columns, rows));
}

function functionsSection(details) {
    const rows = recordsOf(details, "glimmet.Functions").flatMap(({functions}) => functions);
    if (rows.length === 0)
        return null;
    const time = (row, name) => Number(nanoseconds(row[name]));
    rows.sort((left, right) => time(right, "time_first") - time(left, "time_first"));
    const most = largest(rows.map((row) => time(row, "time_first")));
    const columns = [
        {
            title: "time_first",
            isNumber: true,
            cell: (row) => [bar(time(row, "time_first") / most), spanText(row.time_first)]
        },
        {title: "time_second", isNumber: true, cell: (row) => spanText(row.time_second)},
        {title: "count", isNumber: true, cell: (row) => String(row.count)},
        {
            title: "function",
            isHeader: true,
            cell: (row) => element("code", {}, plainText(row.name) || plainText(row.location?.file))
        },
        {title: "defined at", cell: (row) => pathElement(placeText(row.location))},
    ];
    return section(`Functions (${rows.length})`,
        "The two times that the profiler measured, the longest first. The bars compare the first time.",
        table("Functions of the request", columns, rows));
}

function superglobalsOf(details, view) {
    return recordsOf(details, "php.Superglobals").find((record) => record.view === view)?.values ?? null;
}

function changesSection(details) {
    if (details.changes.length === 0)
        return null;
    const start = superglobalsOf(details, "init");
    const change = superglobalsOf(details, "change");
    const valueAt = (values, group, item) => item === null ? values[group] : values[group][1].value[item];
    return section(`Changed superglobals (${details.changes.length})`, null,
        list("ul", {class: "tree"}, details.changes, ([group, item, oldGroup, oldItem]) => {
            const [key, value] = valueAt(change, group, item);
            const name = scalarText(change[group][0]);
            return element("li", {},
                element("span", {class: "key"}, item === null ? name : `${name}[${scalarText(key)}]`), " ",
                element("span", {class: "change"}, oldGroup === null ? "new" : "changed"), " ", valueTree(value),
                oldGroup === null
                    ? null
                    : element("div", {class: "old"}, "was ", valueTree(valueAt(start, oldGroup, oldItem)[1])));
        }));
}

function superglobalsSection(details) {
    const values = superglobalsOf(details, "init") ?? superglobalsOf(details, "all");
    if (values === null)
        return null;
    const changes = new Set(details.changes.map(([, , group, item]) => `${group} ${item}`));
    const isStart = superglobalsOf(details, "init") !== null;
    return section(isStart ? "Superglobals at the start" : "Superglobals", null, values.map(([key, value], group) => {
        const entries = entriesIn(value);
        const mark = (item) =>
            changes.has(`${group} ${item}`) ? element("span", {class: "change"}, "changed later ") : null;
        if (entries === null || entries.length === 0)
            return element("p", {}, element("span", {class: "key"}, scalarText(key)), " ", valueTree(value));
        return lazyDetails(`${scalarText(key)} (${entries.length})`, () => entryList(entries, mark));
    }));
}

function headersSection(details, record, title) {
    const headers = recordsOf(details, record).flatMap(({headers: list}) => list);
    if (headers.length === 0)
        return null;
    return section(`${title} (${headers.length})`, null,
        element("dl", {class: "headers"},
            headers.flatMap(([name, value]) => [element("dt", {}, scalarText(name)),
                                element("dd", {}, value.kind === "undefined" ? "" : valueTree(value)),
    ])));
}

function bodySection(details, record, title) {
    const texts = recordsOf(details, record)
                      .flatMap((body) => ["text_0", "text_1"].map((name) => ({name, text: plainText(body[name])})))
                      .filter(({text}) => text !== "");
    if (texts.length === 0)
        return null;
    return section(title, null,
        texts.flatMap(({name,
            text}) => [element("p", {class: "help"}, `${name}, ${counted(text.length, "character", "characters")}`),
                          longText("pre", {tabindex: "0"}, text),
    ]));
}

function storageSection(details) {
    const storages = recordsOf(details, "glimmet.Storage");
    if (storages.length === 0)
        return null;
    return section(`Storage (${storages.length})`, null,
        storages.map(({name, entries}) => lazyDetails(`${plainText(name)} (${entries.length})`,
                         () => element("dl", {class: "headers"},
                             entries.flatMap((entry) => [element("dt", {}, plainText(entry.name)),
                                                 element("dd", {}, entry.values.map(plainText).join(", ")),
    ])))));
}

function recordsSection(details) {
    return section(`All records (${details.records.length})`,
        "Each field of each record, as the JSON lines of the program have them.",
        list("div", {}, details.records, (record) => {
            const {call_sites: _, ...fields} = record;
            return lazyDetails(`${record.record}, ${record.dialect}${record.view ? `, ${record.view}` : ""}`,
                () => longText("pre", {tabindex: "0"}, JSON.stringify(fields, null, 2)));
        }));
}
