#pragma once

#include <array>
#include <string_view>

namespace tarnwick::program {

/// Changes when a table or the meaning of a column changes.
inline constexpr int tables_version = 1;

/// Creates the tables, with the meaning of each column as a comment. SQLite keeps the comments.
inline constexpr auto const *create_tables = R"sql(CREATE TABLE requests (
    request INTEGER PRIMARY KEY, -- key in this database
    request_id TEXT NOT NULL,    -- id in the reports, decimal digits
    number INTEGER NOT NULL,     -- position among the requests of the captures that were read together, from 1
    dialects TEXT NOT NULL,      -- rpc, protobuf, or rpc+protobuf
    start INTEGER,               -- when it started, nanoseconds since 1970 (UTC)
    start_utc TEXT AS (strftime('%Y-%m-%d %H:%M:%S', start / 1000000000, 'unixepoch')), -- the same as a date
    method TEXT,                 -- such as GET
    uri TEXT,
    route TEXT,                  -- uri without values: path with {id}, names of parameters
    status INTEGER,              -- of the response
    duration INTEGER,            -- nanoseconds
    memory INTEGER,              -- largest of the three figures in the report of the end, in bytes
    errors INTEGER NOT NULL,     -- rows in errors
    events INTEGER NOT NULL,     -- rows in events
    statements INTEGER NOT NULL, -- rows in statements
    complete INTEGER NOT NULL,   -- 1 if start and end are known, otherwise 0
    php_version TEXT,            -- such as 8.4.24
    reports INTEGER NOT NULL     -- number of reports about the request
);
CREATE TABLE headers (
    request INTEGER NOT NULL REFERENCES requests,
    direction TEXT NOT NULL,     -- request or response
    position INTEGER NOT NULL,   -- from 1
    name TEXT,
    value TEXT,                  -- NULL for a line without ": "
    PRIMARY KEY (request, direction, position)
) WITHOUT ROWID;
CREATE TABLE superglobals (
    request INTEGER NOT NULL REFERENCES requests,
    state TEXT NOT NULL,         -- init: at the start; change: what changed until the end; all: not known which
    position INTEGER NOT NULL,   -- from 1
    name TEXT,                   -- such as _SESSION
    key,                         -- in the superglobal; NULL if that is not an array
    kind TEXT NOT NULL,          -- type in PHP, such as string or array
    value,                       -- number or text; JSON for arrays and objects
    PRIMARY KEY (request, state, position)
) WITHOUT ROWID;
CREATE TABLE bodies (
    request INTEGER NOT NULL REFERENCES requests,
    direction TEXT NOT NULL,     -- request or response
    position INTEGER NOT NULL,   -- from 1
    text_0 TEXT,
    number INTEGER NOT NULL,
    text_1 TEXT,
    PRIMARY KEY (request, direction, position)
) WITHOUT ROWID;
CREATE TABLE errors (
    request INTEGER NOT NULL REFERENCES requests,
    position INTEGER NOT NULL,   -- from 1, in the order of reports
    timestamp INTEGER NOT NULL,  -- nanoseconds since 1970 (UTC)
    kind TEXT,                   -- error or exception
    category INTEGER,            -- of an error
    number INTEGER,              -- of an error
    name TEXT,                   -- of an error, or the class of an exception
    message TEXT,
    exception_text TEXT,
    file TEXT,                   -- place in the source
    line INTEGER,
    PRIMARY KEY (request, position)
) WITHOUT ROWID;
CREATE TABLE events (
    request INTEGER NOT NULL REFERENCES requests,
    position INTEGER NOT NULL,   -- from 1, in the order of reports
    timestamp INTEGER NOT NULL,  -- nanoseconds since 1970 (UTC)
    kind TEXT NOT NULL,          -- such as slow function, PHP error, custom event
    event_text TEXT,
    event_flag INTEGER NOT NULL, -- 0 or 1
    function TEXT,               -- the function that the event is about
    duration INTEGER,            -- of a slow function or request, nanoseconds
    usage INTEGER,               -- memory, of high memory usage
    error_number INTEGER,        -- of a PHP error
    error_name TEXT,             -- of a PHP error
    message TEXT,                -- of a PHP error
    file TEXT,                   -- of a PHP error
    line INTEGER,                -- of a PHP error
    text_0 TEXT,                 -- of a custom event
    text_1 TEXT,                 -- of a custom event
    value,                       -- of a custom event; JSON for arrays and objects
    level INTEGER,               -- of a custom event
    PRIMARY KEY (request, position)
) WITHOUT ROWID;
CREATE TABLE functions (
    request INTEGER NOT NULL REFERENCES requests,
    position INTEGER NOT NULL,   -- from 1
    name TEXT,
    file TEXT,
    line INTEGER,
    count INTEGER NOT NULL,      -- number of calls or samples, as the sender counts
    time_first INTEGER NOT NULL, -- first of its two times, nanoseconds
    time_second INTEGER NOT NULL, -- second of its two times, nanoseconds
    PRIMARY KEY (request, position)
) WITHOUT ROWID;
CREATE TABLE connections (
    request INTEGER NOT NULL REFERENCES requests,
    connection INTEGER NOT NULL, -- id in the request
    kind INTEGER NOT NULL,
    name TEXT,
    PRIMARY KEY (request, connection)
) WITHOUT ROWID;
CREATE TABLE transactions (
    request INTEGER NOT NULL REFERENCES requests,
    "transaction" INTEGER NOT NULL, -- id in the request
    parent INTEGER,              -- the transaction around it
    extra_number INTEGER,
    time INTEGER NOT NULL,       -- nanoseconds
    PRIMARY KEY (request, "transaction")
) WITHOUT ROWID;
CREATE TABLE statements (
    request INTEGER NOT NULL REFERENCES requests,
    position INTEGER NOT NULL,   -- from 1, in the order of reports
    statement TEXT NOT NULL,     -- without literals and comments
    word TEXT,                   -- its first word in upper case, such as SELECT
    text TEXT,                   -- as it was sent
    time INTEGER NOT NULL,       -- nanoseconds
    error TEXT,                  -- message of a statement that failed
    call_site TEXT,              -- file and line of the call in the application
    kind INTEGER NOT NULL,
    source_kind INTEGER NOT NULL,
    status INTEGER NOT NULL,
    wide_number INTEGER NOT NULL,
    extra_number INTEGER,
    connection INTEGER,          -- in connections
    "transaction" INTEGER,       -- in transactions
    PRIMARY KEY (request, position)
) WITHOUT ROWID;
CREATE TABLE frames (
    request INTEGER NOT NULL REFERENCES requests,
    owner TEXT NOT NULL,         -- error, event or statement: what has the stack trace
    owner_position INTEGER NOT NULL, -- position in errors, events or statements
    position INTEGER NOT NULL,   -- from 1, the innermost call first
    function TEXT,
    file TEXT,                   -- of the call
    line INTEGER,
    args TEXT,                   -- JSON of the arguments; NULL without arguments
    PRIMARY KEY (request, owner, owner_position, position)
) WITHOUT ROWID;
CREATE TABLE storage (
    request INTEGER NOT NULL REFERENCES requests,
    position INTEGER NOT NULL,   -- from 1, a row for each value
    name TEXT,                   -- of the storage
    entry TEXT,                  -- name of the entry; NULL if there is none
    value TEXT,                  -- NULL if there is none
    PRIMARY KEY (request, position)
) WITHOUT ROWID;
)sql";

/// Tables whose rows are parts of requests.
inline constexpr std::array<std::string_view, 11> part_tables{
    "headers",     "superglobals", "bodies",     "errors", "events", "functions",
    "connections", "transactions", "statements", "frames", "storage"};

/// Creates the indexes of a database that is kept, and the table that describes how it was written.
inline constexpr auto const *create_indexes = R"sql(CREATE INDEX requests_by_id ON requests (request_id, start);
CREATE INDEX requests_by_start ON requests (start);
CREATE INDEX requests_by_route ON requests (route, start);
CREATE INDEX errors_by_place ON errors (file, line);
CREATE INDEX statements_by_statement ON statements (statement);
CREATE INDEX functions_by_name ON functions (name);
CREATE TABLE export (
    version INTEGER NOT NULL,    -- of the tables
    mask TEXT NOT NULL           -- none, or what is masked
);
)sql";

} // namespace tarnwick::program
