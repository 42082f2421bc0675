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
    result.append(...children.flat().filter((child) => child !== null).map((child) =>
        child instanceof Node ? child : document.createTextNode(escapedText(String(child)))));
    return result;
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
    }, `… show all ${text.length.toLocaleString("en")} characters`));
    return result;
}

/** Returns the name of a file, which can break after each folder. */
function pathElement(text) {
    return element("code", {}, text.split(/(?<=\/)/).flatMap((part) => [element("wbr"), part]));
}

/** Returns a bar for a part of a whole. */
function bar(part, className = "") {
    const fill = element("span", {class: `fill ${className}`});
    fill.style.width = `${Math.max(0, Math.min(1, part || 0)) * 100}%`;
    return element("span", {class: "bar", "aria-hidden": "true"}, fill);
}

/** Returns a section with a heading, which a link of the page can reach. */
function section(title, help, ...content) {
    return element("section", {"aria-label": title},
        element("h2", {tabindex: "-1"}, title), help ? element("p", {class: "help"}, help) : null, ...content);
}
