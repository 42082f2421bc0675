function placeText(location) { return location ? `${plainText(location.file)}:${location.line}` : ""; }

function argumentsText(call) {
    return call.args
        .map(([, value]) => {
            const text = entriesIn(value) === null ? scalarText(value) : describeValue(value);
            const short = text.length > 40 ? `${text.slice(0, 40)}…` : text;
            return value.kind === "string" ? `"${short}"` : short;
        })
        .join(", ");
}

function callElement(call) {
    return [
        element("code", {}, `${plainText(call.name)}(${argumentsText(call)})`),
        call.location ? element("span", {class: "place"}, " called at ", pathElement(placeText(call.location))) : null,
    ].filter((part) => part !== null);
}

/** Returns a trace that is closed at first. Its title is the call in a file of the application. */
function traceElement(trace, callSite) {
    if (trace === null || trace.length === 0)
        return null;
    const site = trace[callSite ?? 0];
    return lazyDetails(
        [
            "called at ",
            pathElement(site.location ? placeText(site.location) : plainText(site.name)),
            `, stack trace of ${counted(trace.length, "call", "calls")}`,
        ],
        () => list("ol", {class: "trace"}, trace,
            (call, index) => element("li", {
                class: index === callSite ? "site" : null,
            },
                ...callElement(call),
                call.args.length > 0
                    ? lazyDetails(counted(call.args.length, "argument", "arguments"), () => entryList(call.args))
                    : null)));
}
