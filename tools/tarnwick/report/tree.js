// PHP values as trees. A value has a kind; an array is a list of pairs of a key and a value.

const mostOpenElements = 8;

function entriesIn(value) {
    if (value.kind === "array")
        return value.value;
    return value.kind === "object" || value.kind === "resource" ? value.value.properties ?? [] : null;
}

/** Returns a key, or a value without parts, as text. */
function scalarText({kind, value}) {
    if (kind === "string" || kind === "json")
        return plainText(value);
    if (kind === "timestamp")
        return instantText(value);
    return value === undefined || value === null ? kind : String(value);
}

function describeValue(value) {
    const entries = entriesIn(value);
    if (value.kind === "array")
        return `array (${entries.length})`;
    const content = value.value;
    return value.kind === "object" ? `object ${plainText(content.class_name)} (${entries.length})`
                                   : `resource ${plainText(content.type_name)} ${scalarText(content.value)}`;
}

/** Returns the element of a value. Arrays with many elements are closed at first. */
function valueTree(value, isOpen = true) {
    if (value === null)
        return element("span", {class: "value none"}, "none");
    const entries = entriesIn(value);
    if (entries === null)
        return longText("span", {class: `value ${value.kind}`}, scalarText(value));
    if (entries.length === 0)
        return element("span", {class: "value none"}, describeValue(value));
    return lazyDetails(describeValue(value), () => entryList(entries), isOpen && entries.length <= mostOpenElements);
}

/** Returns a list of entries; `mark(index)` returns what precedes the value, for entries that changed. */
function entryList(entries, mark = () => null) {
    return list("ul", {class: "tree"}, entries,
        ([key, value], index) => value.kind === "undefined" && mark(index) === null
            ? null
            : element("li", {}, element("span", {class: "key"}, scalarText(key)), " ", mark(index),
                  valueTree(value, false)));
}
