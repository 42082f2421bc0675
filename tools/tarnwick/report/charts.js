/**
 * Returns a chart of columns. A bar has a label, a count, how many of these failed, and the conditions that choose them,
 * which `choose` receives when the user clicks the bar.
 */
function columnChart(title, bars, labels, choose) {
    const highest = largest(bars.map(({count}) => count));
    return element("figure", {class: "chart"},
        element("figcaption", {}, title,
            bars.some(({failed}) => failed > 0) ? element("span", {class: "legend"}, "failed (status 500 or more)")
                                                : null),
        element("ol", {class: "columns"}, bars.map(({label, count, failed, conditions}) => {
            const total = element("span", {class: "column"});
            total.style.height = `${count === 0 ? 0 : Math.max(2, count / highest * 100)}%`;
            const part = element("span", {class: "failed"});
            part.style.height = `${count === 0 ? 0 : failed / count * 100}%`;
            total.append(part);
            const text = `${label}: ${counted(count, "request", "requests")}${failed ? `, ${failed} failed` : ""}`;
            return element("li", {},
                count === 0 ? null
                            : element("button", {
                                  type: "button",
                                  title: text,
                                  "aria-label": text,
                                  click: () => choose(conditions),
                              },
                                  total));
        })),
        element("p", {class: "axis", "aria-hidden": "true"}, labels.map((label) => element("span", {}, label))));
}

function isFailed(request) { return request.status !== null && request.status >= 500; }

/** Returns bars between limits; `value(row)` is in a bar from a limit to before the next. */
function barsBetween(limits, rows, value, describe) {
    const bars = limits.slice(1).map((end, i) => ({count: 0, failed: 0, ...describe(limits[i], end)}));
    for (const row of rows) {
        const actual = value(row);
        let i = 0;
        while (i + 1 < bars.length && actual >= limits[i + 1])
            ++i;
        ++bars[i].count;
        bars[i].failed += isFailed(row) ? 1 : 0;
    }
    return bars;
}

/** Returns the histogram of durations. Limits are 0, and 1, 2 and 5 times powers of ten. */
function durationChart(requests, choose) {
    const timed = requests.filter(({duration}) => duration !== null && isNormal(duration));
    if (timed.length === 0)
        return null;
    const durations = timed.map(({duration}) => nanoseconds(duration));
    const least = durations.reduce((left, right) => left < right ? left : right);
    const most = durations.reduce((left, right) => left > right ? left : right);
    const steps = [0n];
    for (let power = 1000n; power <= most * 10n || power === 1000n; power *= 10n)
        steps.push(power, 2n * power, 5n * power);
    const limits =
        steps.slice(steps.findLastIndex((step) => step <= least), steps.findIndex((step) => step > most) + 1);
    const bars = barsBetween(limits, timed, ({duration}) => nanoseconds(duration), (begin, end) => ({
        label: `${spanOfNanoseconds(Number(begin))} to ${spanOfNanoseconds(Number(end))}`,
        conditions: [`duration>=${begin}ns`, `duration<${end}ns`],
    }));
    // A label is below the limit: the middle of an odd number of bars is none.
    const marks =
        bars.length % 2 === 0 ? [limits[0], limits[bars.length / 2], limits.at(-1)] : [limits[0], limits.at(-1)];
    return columnChart(
        "Durations (logarithmic scale)", bars, marks.map((limit) => spanOfNanoseconds(Number(limit))), choose);
}

/** Returns the chart of requests over time. */
function timeChart(requests, choose) {
    const started = requests.filter(({start}) => start !== null && isDate(start) && start.seconds > 0);
    if (started.length < 2)
        return null;
    const time = ({start}) => Number(nanoseconds(start) / 1000000n);
    const times = started.map(time);
    const first = times.reduce((left, right) => Math.min(left, right));
    const last = times.reduce((left, right) => Math.max(left, right));
    const count = 40;
    const width = Math.max(1, Math.ceil((last - first + 1) / count));
    const limits = Array.from({length: count + 1}, (_, i) => first + i * width);
    const text = (milliseconds) => new Date(milliseconds).toISOString().slice(0, 19).replace("T", " ");
    const bars = barsBetween(limits, started, time, (begin, end) => ({
        label: text(begin),
        conditions: [`start>=${new Date(begin).toISOString()}`, `start<${new Date(end).toISOString()}`],
    }));
    return columnChart("Requests over time (UTC)", bars, [text(first), text(last)], choose);
}
