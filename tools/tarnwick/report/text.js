"use strict";

// Values as text for people, as the tables of the program print them.

const controls =
    /[\u0000-\u0008\u000b-\u001f\u007f-\u009f\u00ad\u061c\u180e\u200b-\u200f\u2028-\u202e\u2060-\u2069\ufeff\ufff9-\ufffb]/g;

/** Returns the text with characters that are invisible or change the direction of text as escapes. */
function escapedText(text) {
    return text.replace(controls, (character) => `\\u{${character.charCodeAt(0).toString(16)}}`);
}

/** Returns the nanoseconds of a time, as a BigInt. */
function nanoseconds(time) { return BigInt(time.seconds) * 1000000000n + BigInt(time.nanos); }

function isNormal(time) { return time.nanos >= 0 && time.nanos < 1e9 && time.seconds >= 0; }

/** Returns whether a point in time is a date from 1970 to 9999. */
function isDate(time) { return isNormal(time) && time.seconds <= 253402300799; }

function storedTime(time) { return `${time.seconds} s, ${time.nanos} ns`; }

/** Returns a value of at least 0 with three significant digits, in the largest unit in which it is at least 1. */
function scaledText(value, units) {
    let unit = 0;
    for (; value >= 999.5 && unit + 1 < units.length; ++unit)
        value /= 1000;
    const digits = unit === 0 || value >= 99.95 ? 0 : value < 9.995 ? 2 : 1;
    return `${value.toFixed(digits)} ${units[unit]}`;
}

function spanOfNanoseconds(value) {
    return value >= 1e12 ? `${Math.floor(value / 1e9)} s` : scaledText(value, ["ns", "µs", "ms", "s"]);
}

function spanText(time) { return isNormal(time) ? spanOfNanoseconds(Number(nanoseconds(time))) : storedTime(time); }

function sizeText(bytes) { return bytes < 0 ? `${bytes} B` : scaledText(Number(bytes), ["B", "kB", "MB", "GB", "TB"]); }

/** Returns a point in time in UTC, with milliseconds. */
function instantText(time) {
    if (BigInt(time.seconds) === 0n && time.nanos === 0)
        return "-";
    if (!isDate(time))
        return storedTime(time);
    const date = new Date(Number(time.seconds) * 1000 + Math.floor(time.nanos / 1e6));
    return date.toISOString().replace("T", " ").replace("Z", "");
}

/** Returns a text of a record: bytes that are not UTF-8 are an object with base64. */
function plainText(value) {
    if (value === null || value === undefined)
        return "";
    return typeof value === "object" ? `(base64) ${value.base64}` : String(value);
}

function counted(count, one, many) { return `${count.toLocaleString("en")} ${count === 1 ? one : many}`; }
