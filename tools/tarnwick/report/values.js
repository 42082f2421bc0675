/** Returns the JSON value of a block of the page. */
async function unpacked(id) {
    const text = document.getElementById(id).textContent;
    const bytes = Uint8Array.from(atob(text), (character) => character.charCodeAt(0));
    const stream = new Blob([bytes]).stream().pipeThrough(new DecompressionStream("deflate"));
    return JSON.parse(await new Response(stream).text());
}

/** The values that are stored once, in blocks that are unpacked when they are needed. `{"$": N}` refers to one. */
class Values {
    /** `starts`: the number of the first value of each block. */
    constructor(starts) {
        this.starts = starts;
        this.blocks = new Map();
    }

    async value(number) {
        for (;;) {
            const missing = new Set();
            const value = this.resolved({$: number}, missing);
            if (missing.size === 0)
                return value;
            for (const block of missing)
                this.blocks.set(block, await unpacked(`values-${block}`));
        }
    }

    /** Returns a value without references. Adds blocks that are not unpacked to `missing`. */
    resolved(value, missing) {
        if (value === null || typeof value !== "object")
            return value;
        if (Array.isArray(value))
            return value.map((item) => this.resolved(item, missing));
        if (Object.hasOwn(value, "$")) {
            const block = this.blockOf(value.$);
            if (this.blocks.has(block))
                return this.resolved(this.blocks.get(block)[value.$ - this.starts[block]], missing);
            missing.add(block);
            return null;
        }
        return Object.fromEntries(Object.entries(value).map(([name, item]) => [name, this.resolved(item, missing)]));
    }

    blockOf(number) {
        let first = 0;
        let end = this.starts.length;
        while (end - first > 1) {
            const middle = (first + end) >> 1;
            if (this.starts[middle] <= number)
                first = middle;
            else
                end = middle;
        }
        return first;
    }
}
