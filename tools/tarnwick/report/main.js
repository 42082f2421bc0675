// What the page shows is in the hash of its address, so that links and the history of the browser work.

const views = ["requests", "statements", "errors"];
const initialState = {
    view: "requests",
    request: null,
    conditions: [],
    error: null,
    sort: null
};

function stateOf(hash) {
    const parameters = new URLSearchParams(hash.replace(/^#/, ""));
    const sort = /^(\w+)(?::(asc|desc))?$/.exec(parameters.get("sort") ?? "");
    const error = parameters.get("error");
    return {
        view: views.includes(parameters.get("view")) ? parameters.get("view") : "requests",
        request: parameters.get("request"),
        conditions: parameters.getAll("where"),
        error: error !== null && /^\d+$/.test(error) && Number(error) < report.errors.length ? Number(error) : null,
        sort: sort ? {name: sort[1], isDescending: sort[2] === "desc"} : null,
    };
}

function hashOf(state) {
    const parameters = new URLSearchParams();
    if (state.view !== "requests")
        parameters.append("view", state.view);
    if (state.request !== null)
        parameters.append("request", state.request);
    for (const text of state.conditions)
        parameters.append("where", text);
    if (state.error !== null)
        parameters.append("error", state.error);
    if (state.sort !== null)
        parameters.append("sort", state.sort.name + (state.sort.isDescending ? ":desc" : ""));
    return `#${parameters}`;
}

function navigate(state) { location.hash = hashOf(state); }

let report = null;
let shownPlace = null; // view and request on the page

async function show() {
    const state = stateOf(location.hash);
    const view = state.request !== null
        ? requestView
        : {requests: listView, statements: statementsView, errors: errorsView}[state.view];
    const content = await view(report, state);
    if (hashOf(state) !== hashOf(stateOf(location.hash)))
        return; // the user went on in the meantime
    const focused = document.activeElement?.id;
    const main = document.getElementById("main");
    main.replaceChildren(...content.filter((part) => part !== null));
    for (const link of document.querySelectorAll("#views a")) {
        const isCurrent = state.request === null && link.dataset.view === state.view;
        link.setAttribute("aria-current", isCurrent ? "page" : "false");
    }
    const heading = main.querySelector("h1");
    document.title = heading.textContent;
    const place = `${state.view} ${state.request}`;
    if (shownPlace !== null && shownPlace !== place) {
        scrollTo(0, 0);
        heading.focus({preventScroll: true});
    } else if (focused === "condition") {
        document.getElementById(focused)?.focus();
    }
    shownPlace = place;
}

async function start() {
    report = await unpacked("index");
    report.values = new Values(report.value_starts);
    // Of several requests with one id, the first has its name.
    report.byId = new Map([...report.requests].reverse().map((request) => [String(request.request_id), request]));
    document.getElementById("source").textContent = escapedText(`Captures: ${report.files.map(plainText).join(", ")}`);
    document.getElementById("warning").textContent =
        report.has_masks ? "" : "Secrets are not masked: do not share this page.";
    window.addEventListener("hashchange", () => show().catch(showFault));
    await show();
    document.documentElement.dataset.ready = "true";
}

function showFault(error) {
    document.getElementById("main").textContent = `The data of the page cannot be shown: ${escapedText(error.message)}`;
    throw error;
}

start().catch(showFault);
