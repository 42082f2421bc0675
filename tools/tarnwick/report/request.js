// One request.

function requestHeading(request, details) {
    const start = recordsOf(details, "php.RInit")[0];
    const title = request.start === null ? "A request without a start"
                                         : `${plainText(request.method) || "-"} ${plainText(request.uri) || "-"}`;
    const facts = [
        ["status", request.status === null ? "no report of the end" : String(request.status), isFailed(request)],
        ["duration", request.duration === null ? "-" : spanText(request.duration)],
        ["memory", request.memory === null ? "-" : sizeText(request.memory)],
        ["started (UTC)", request.start === null ? "no report of the start" : instantText(request.start)],
        [
            "statements",
            request.statements === 0
                ? "0"
                : `${request.statements} in ${spanOfNanoseconds(statementTime(details))}${partOf(details, request)}`
        ],
        ["PHP", start ? `${start.version_major}.${start.version_minor}.${start.version_patch}` : "-"],
        ["number", `@${request.number}`],
        ["id", String(request.request_id)],
        ["dialects", request.dialects.join(" and ")],
    ];
    return [
        element("h1", {tabindex: "-1"}, title),
        element("dl", {class: "facts"},
            facts.map(([name, value, isBad]) => element(
                          "div", {}, element("dt", {}, name), element("dd", {class: isBad ? "bad" : null}, value)))),
    ];
}

function statementTime(details) {
    return details.statements.reduce((sum, {total}) => sum + Number(nanoseconds(total)), 0);
}

function partOf(details, request) {
    const duration = request.duration === null ? 0 : Number(nanoseconds(request.duration));
    if (duration <= 0)
        return "";
    const percent = statementTime(details) / duration * 100;
    return ` (${percent < 1 ? "less than 1" : percent.toFixed(0)} % of the duration)`;
}

/** Returns the links to all requests of the list and to the neighbours of the request. */
function requestLinks(report, state, request) {
    const requests = chosenRequests(report, state);
    const position = requests.indexOf(request);
    const neighbour = (offset, text) => {
        const other = position < 0 ? undefined : requests[position + offset];
        return other ? requestLink(report, other, state, text) : element("span", {class: "help"}, text);
    };
    return element("nav", {"aria-label": "Requests", class: "neighbours"},
        element("a", {href: hashOf({...state, request: null})}, "← All requests"), neighbour(-1, "Previous"),
        neighbour(1, "Next"));
}

function contents(sections) {
    return element("nav", {"aria-label": "Sections", class: "contents"},
        sections.map((part) => element("button", {
            type: "button",
            click: () => {
                part.scrollIntoView();
                part.querySelector("h2").focus({preventScroll: true});
            },
        },
                         part.getAttribute("aria-label"))));
}

function findRequest(report, name) {
    return name.startsWith("@") ? report.requests.find(({number}) => `@${number}` === name) : report.byId.get(name);
}

async function requestView(report, state) {
    const request = findRequest(report, state.request);
    if (!request) {
        return [
            element("h1", {tabindex: "-1"}, "No such request"),
            element("p", {}, `The page has no request ${state.request}. `,
                element("a", {href: hashOf(initialState)}, "← All requests")),
        ];
    }
    const details = await report.values.value(request.details);
    const sections = [
        orderSection(request, details),
        statementsSection(details),
        functionsSection(details),
        changesSection(details),
        superglobalsSection(details),
        headersSection(details, "php.RequestHeaders", "Request headers"),
        bodySection(details, "php.PostData", "Request body"),
        headersSection(details, "php.ResponseHeaders", "Response headers"),
        bodySection(details, "php.ResponseBody", "Response body"),
        storageSection(details),
        recordsSection(details),
    ].filter((part) => part !== null);
    return [requestLinks(report, state, request), ...requestHeading(request, details), contents(sections), ...sections];
}
