// Runs statements in a DuckDB database, and prints the result of the last one as CSV:
// node duckdb.cjs DATABASE <STATEMENTS

const {DuckDBInstance} = require("@duckdb/node-api");
const {readFileSync} = require("node:fs");

function cell(value) {
    const text = value === null ? "" : String(value);
    return /[",\n]/.test(text) ? `"${text.replaceAll('"', '""')}"` : text;
}

async function main() {
    const instance = await DuckDBInstance.create(process.argv[2]);
    const connection = await instance.connect();
    const reader = await connection.runAndReadAll(readFileSync(0, "utf8"));
    for (const row of [reader.columnNames(), ...reader.getRows()])
        console.log(row.map(cell).join(","));
    connection.closeSync();
}

main().catch((error) => {
    console.error(error.message);
    process.exit(1);
});
