const longestText = 2000; // characters that are visible at first

/**
 * Returns an element. Functions among the attributes handle events, other attributes that are false are left out.
 * Texts among the children are never markup.
 */
function element(name, attributes = {}, ...children) {
    const result = document.createElement(name);
    for (const [attribute, value] of Object.entries(attributes)) {
        if (typeof value === "function")
            result.addEventListener(attribute, value);
        else if (value !== false && value !== null)
            result.setAttribute(attribute, value === true ? "" : value);
    }
    // One call could not take the elements of a large list as its arguments.
    for (const child of children.flat()) {
        if (child !== null)
            result.append(child instanceof Node ? child : escapedText(String(child)));
    }
    return result;
}

const itemsAtOnce = 200;

/**
 * Returns an element with one child for each item, and a button if there are many items: it adds the next ones, because a
 * page with all elements of a large list is slow. `make(item, index)` returns the child, or null.
 */
function list(name, attributes, items, make) {
    const result = element(name, attributes);
    const more = element("button", {type: "button", class: "more", click: add});
    let count = 0;
    function add() {
        const end = Math.min(items.length, count + itemsAtOnce);
        for (; count < end; ++count)
            result.append(make(items[count], count) ?? "");
        if (count === items.length)
            more.remove();
        else
            more.textContent = `Show ${Math.min(itemsAtOnce, items.length - count)} more of ${items.length - count}`;
    }
    add();
    return count === items.length ? [result] : [result, more];
}

/** Returns an element that is filled when it is opened for the first time. */
function lazyDetails(summary, fill, isOpen = false) {
    const details = element("details", {}, element("summary", {}, ...[summary].flat()));
    const fillOnce = () => {
        if (!details.isFilled)
            details.append(...[fill()].flat());
        details.isFilled = true;
    };
    details.addEventListener("toggle", fillOnce);
    details.fill = fillOnce;
    if (isOpen) {
        fillOnce();
        details.open = true;
    }
    return details;
}

/** Returns an element with a text. Of a long text the start is visible, and a button shows the rest. */
function longText(name, attributes, text) {
    if (text.length <= longestText)
        return element(name, attributes, text);
    const result = element(name, attributes, text.slice(0, longestText));
    result.append(element("button", {
        type: "button",
        class: "more",
        click: () => result.replaceChildren(escapedText(text)),
    },
        `… show all ${text.length.toLocaleString("en")} characters`));
    return result;
}

/** Returns the name of a file, which can break after each folder. */
function pathElement(text) {
    return element("code", {}, text.split(/(?<=\/)/).flatMap((part) => [element("wbr"), part]));
}

/** Returns the largest number, or 1: the whole of bars. */
function largest(numbers) { return numbers.reduce((most, number) => Math.max(most, number), 1); }

/** Returns a bar for a part of a whole. */
function bar(part, className = "") {
    const fill = element("span", {class: `fill ${className}`});
    fill.style.width = `${Math.max(0, Math.min(1, part || 0)) * 100}%`;
    return element("span", {class: "bar", "aria-hidden": "true"}, fill);
}

/** Returns a section with a heading, which a link of the page can reach. */
function section(title, help, ...content) {
    return element("section", {"aria-label": title}, element("h2", {tabindex: "-1"}, title),
        help ? element("p", {class: "help"}, help) : null, ...content);
}
