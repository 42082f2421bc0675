// Conditions on columns, as the option --where of the program takes them.

const timeUnits = {
    ns: 1n,
    us: 1000n,
    "µs": 1000n,
    ms: 1000000n,
    s: 1000000000n,
    min: 60000000000n,
    h: 3600000000000n
};
const sizeUnits = {
    "": 1n,
    B: 1n,
    kB: 10n ** 3n,
    MB: 10n ** 6n,
    GB: 10n ** 9n,
    TB: 10n ** 12n,
    KiB: 2n ** 10n,
    MiB: 2n ** 20n,
    GiB: 2n ** 30n,
    TiB: 2n ** 40n,
};

/** Reads a decimal number and its unit as a fraction. Returns null for other texts. */
function readQuantity(text, units) {
    const [, sign, whole, fraction = "", unit] = /^(-?)(\d*)(?:\.(\d*))? *(.*)$/s.exec(text);
    if (whole + fraction === "" || !Object.hasOwn(units, unit))
        return null;
    const digits = BigInt(whole + fraction) * units[unit];
    return {numerator: sign ? -digits : digits, denominator: 10n ** BigInt(fraction.length)};
}

function readSpan(text) { return text === "0" ? {numerator: 0n, denominator: 1n} : readQuantity(text, timeUnits); }

/** Reads a date in the form of ISO 8601, which can have a time and a zone. */
function readInstant(text) {
    const parts =
        /^(\d{4})-(\d\d)-(\d\d)(?:[T ](\d\d):(\d\d)(?::(\d\d)(?:[.,](\d+))?)?(?:Z|([+-])(\d\d):?(\d\d)?)?)?$/.exec(
            text);
    if (!parts)
        return null;
    const [year, month, day, hour, minute, second] = parts.slice(1, 7).map((part) => Number(part ?? 0));
    const milliseconds = Math.round(Number(`0.${parts[7] ?? 0}`) * 1000);
    const date = new Date(Date.UTC(year, month - 1, day, hour, minute, second));
    const isDate = date.getUTCMonth() === month - 1 && date.getUTCDate() === day;
    if (!isDate || hour > 23 || minute > 59 || second > 59)
        return null;
    const zone = (Number(parts[9] ?? 0) * 60 + Number(parts[10] ?? 0)) * (parts[8] === "-" ? -1 : 1);
    return {numerator: BigInt(date.getTime() + milliseconds - zone * 60000) * 1000000n, denominator: 1n};
}

const comparisons = {
    "=": (order) => order === 0,
    "==": (order) => order === 0,
    "!=": (order) => order !== 0,
    "<": (order) => order < 0,
    "<=": (order) => order <= 0,
    ">": (order) => order > 0,
    ">=": (order) => order >= 0,
};

const quantities = {
    number: [(text) => readQuantity(text, sizeUnits), "a number, optionally with a unit such as kB, MB or MiB"],
    span: [readSpan, "a length of time with a unit (ns, us, ms, s, min or h)"],
    instant: [readInstant, "a point in time, such as 2026-11-22T10:30:00Z"],
};

/** Splits a condition. Throws an Error for a text that is not a condition. */
function splitCondition(text) {
    const [, negation, field, operator, value] = /^(!?)([A-Za-z0-9_.]*)(!=|<=|>=|==|=|<|>|~|)(.*)$/s.exec(text);
    if (field === "" || (operator === "" && value !== "") || (negation && operator !== "")) {
        throw new Error(`'${text}' is not a condition: write FIELD, !FIELD or FIELD OP VALUE, where OP ` +
            "is one of =, !=, <, <=, >, >=, ~, without spaces");
    }
    return {field, operator: operator || (negation ? "absent" : "present"), value};
}

/** Returns a function that tests a value of the text's field, which is null if it is absent. */
function readComparison({field, operator, value}, type) {
    if (operator === "present" || operator === "absent") {
        const isWanted = operator === "present";
        return (actual) => (typeof actual === "boolean" ? actual : actual !== null) === isWanted;
    }
    const isEqual = operator === "=" || operator === "==";
    const orders = !isEqual && operator !== "!=";
    if (type === "other")
        throw new Error(`${field} has no single value: only ${field} (present) and !${field} (absent) are possible`);
    if (type === "boolean") {
        if ((value !== "true" && value !== "false") || orders)
            throw new Error(`${field} is true or false: write ${field}=true or ${field}=false`);
        return (actual) => actual !== null && (String(actual) === value) === isEqual;
    }
    if (type === "text") {
        if (operator === "~") {
            const pattern = readPattern(value);
            return (actual) => actual !== null && pattern.test(actual);
        }
        if (orders)
            throw new Error(`${field} is a text, which cannot be compared with ${operator}: use =, != or ~`);
        return (actual) => actual !== null && (actual === value) === isEqual;
    }
    const [read, what] = quantities[type];
    const wanted = read(value);
    if (wanted === null)
        throw new Error(`${field} is ${what}, not '${value}'`);
    if (operator === "~")
        throw new Error(`${field} is not a text: ~ is for texts`);
    return (actual) => {
        if (actual === null)
            return false;
        const difference = actual * wanted.denominator - wanted.numerator;
        return comparisons[operator](difference < 0n ? -1 : difference > 0n ? 1 : 0);
    };
}

function readPattern(text) {
    try {
        return new RegExp(text, "u");
    } catch (error) {
        throw new Error(`'${text}' is not a regular expression: ${error.message}`);
    }
}

/** Reads a condition on one of the columns. Returns a function that tests a row. Throws an Error with the fault. */
function readCondition(text, columns) {
    const parts = splitCondition(text);
    const column = columns.find(({name}) => name === parts.field);
    if (!column) {
        throw new Error(`no column is named '${parts.field}'; the columns are ` +
            `${columns.map(({name}) => name).join(", ")}. To search for a text, write uri~${parts.field}`);
    }
    const holds = readComparison(parts, column.type);
    return (row) => holds(columnValue(row, column));
}

/** Returns the value that conditions and the order use: null, a BigInt, a text or a boolean. */
function columnValue(row, {name, type}) {
    const value = row[name];
    if (value === null)
        return null;
    if (type === "number")
        return BigInt(value);
    if (type === "instant" || type === "span")
        return nanoseconds(value);
    if (Array.isArray(value))
        return value.join("+");
    return type === "text" ? plainText(value) : value;
}

/** Returns the rows in the order of a column. Absent values are last, and equal rows keep their order. */
function sortedRows(rows, column, isDescending) {
    const keyed = rows.map((row) => ({row, value: columnValue(row, column)}));
    keyed.sort((left, right) => {
        if (left.value === null || right.value === null)
            return (left.value === null) - (right.value === null);
        const order = left.value < right.value ? -1 : left.value > right.value ? 1 : 0;
        return isDescending ? -order : order;
    });
    return keyed.map(({row}) => row);
}
