<?php

declare(strict_types=1);

namespace Tarnwick\Example;

/** The statements that an application runs through PDO, SQLite3 and mysqli, on which connection, in which transaction. */
final class Sql
{
    public const ROWS_UNKNOWN = -1;

    private const TEXT = 160; // bytes
    private const FRAMES = 3;
    // The first statements of each request, and later ones that fail, change rows, or begin or end a transaction.
    private const STATEMENTS = 10;

    private const SQLITE = 0;
    private const OTHER_DATABASE = 6;

    private const THROUGH_PDO = 1;
    private const THROUGH_PDO_STATEMENT = 2;
    private const THROUGH_SQLITE3 = 3;
    private const THROUGH_SQLITE3_STATEMENT = 4;
    private const THROUGH_MYSQLI = 5;

    private const KINDS = [
        'SELECT' => 0, 'INSERT' => 1, 'UPDATE' => 2, 'DELETE' => 3, 'REPLACE' => 4, 'BEGIN' => 5, 'COMMIT' => 6,
        'END' => 6, 'ROLLBACK' => 7, 'SAVEPOINT' => 8, 'RELEASE' => 9, 'CREATE' => 10, 'ALTER' => 10, 'DROP' => 10,
        'PRAGMA' => 11, 'EXPLAIN' => 12,
    ];
    private const OTHER_KIND = 13;
    private const BEGIN_OR_END = ['BEGIN', 'COMMIT', 'END', 'ROLLBACK', 'SAVEPOINT', 'RELEASE'];
    private const CHANGE_ROWS = ['INSERT', 'UPDATE', 'DELETE', 'REPLACE'];

    private const DONE = 0;
    private const FAILED = 1;

    private array $connections = [];
    private array $transactions = [];
    private array $queries = [];
    /** @var \WeakMap<object, int> the number of each connection */
    private \WeakMap $numbers;
    /** @var \WeakMap<object, \WeakReference> the connection of each statement */
    private \WeakMap $prepared_by;
    /** @var array<int, list<array{int, string}>> by connection: the open transactions, outermost first, and names */
    private array $open = [];

    public function __construct(private readonly Reports $reports)
    {
        $this->numbers = new \WeakMap();
        $this->prepared_by = new \WeakMap();
    }

    public function install(Calls $calls): void
    {
        $connect = fn (Call $call) => $this->number($call->object);
        foreach (['PDO' => self::THROUGH_PDO, 'SQLite3' => self::THROUGH_SQLITE3] as $class => $source) {
            foreach ($class === 'PDO' ? ['exec', 'query'] : ['exec', 'query', 'querySingle'] as $function) {
                $calls->watch($class, $function, fn (Call $call) =>
                    $this->statement($call, $call->object, $call->first_argument(), $source, null), $connect);
            }
            $calls->watch($class, 'prepare', $this->prepared(...), $connect);
        }
        $calls->watch('PDOStatement', 'execute', fn (Call $call) =>
            $this->executed($call, $call->object->queryString, self::THROUGH_PDO_STATEMENT));
        $calls->watch('SQLite3Stmt', 'execute', fn (Call $call) =>
            $this->executed($call, $call->object->getSQL(), self::THROUGH_SQLITE3_STATEMENT));
        $calls->watch('mysqli', 'query', fn (Call $call) =>
            $this->statement($call, $call->object, $call->first_argument(), self::THROUGH_MYSQLI, null), $connect);
        $calls->watch('', 'mysqli_query', function (Call $call): void {
            [$connection, $text] = array_values($call->arguments);
            $this->statement($call, $connection, (string) $text, self::THROUGH_MYSQLI, null);
        }, fn (Call $call) => $this->number(array_values($call->arguments)[0]));
        // PHP has no statement text for these.
        $calls->watch('PDO', 'beginTransaction', fn (Call $call) => $this->transact($call, 'BEGIN', ''), $connect);
        $calls->watch('PDO', 'commit', fn (Call $call) => $this->transact($call, 'COMMIT', ''), $connect);
        $calls->watch('PDO', 'rollBack', fn (Call $call) => $this->transact($call, 'ROLLBACK', ''), $connect);
    }

    public function report(): void
    {
        if ($this->connections === []) {
            return;
        }
        $now = hrtime(true);
        foreach ($this->open as $connection => $open) {
            $this->close($connection, 0, $now, committed: false);
        }
        $this->reports->send('sql', [
            'connections' => $this->connections,
            'transactions' => $this->transactions,
            'queries' => $this->queries,
        ]);
    }

    private function prepared(Call $call): void
    {
        if (is_object($call->result)) {
            $this->prepared_by[$call->result] = \WeakReference::create($call->object);
        } else {
            $source = $call->object instanceof \PDO ? self::THROUGH_PDO_STATEMENT : self::THROUGH_SQLITE3_STATEMENT;
            $this->statement($call, $call->object, $call->first_argument(), $source, null);
        }
    }

    private function executed(Call $call, string $text, int $source): void
    {
        $parameters = $call->object instanceof \SQLite3Stmt ? $call->object->paramCount()
            : count($call->arguments[0] ?? []);
        $connection = ($this->prepared_by[$call->object] ?? null)?->get();
        $this->statement($call, $connection, $text, $source, $parameters);
    }

    private function statement(Call $call, ?object $connection, string $text, int $source, ?int $parameters): void
    {
        // The first word of a statement follows its comments.
        preg_match('~^(?:\s|--[^\n]*\n|/\*.*?\*/|;)*+(\w*)~s', $text, $match);
        $word = strtoupper($match[1] ?? '');
        $rows = self::ROWS_UNKNOWN;
        if (in_array($word, self::CHANGE_ROWS, true) && !$call->failed()) {
            $rows = match (true) {
                is_int($call->result) => $call->result,
                $connection instanceof \SQLite3 => $connection->changes(),
                $connection instanceof \mysqli => (int) $connection->affected_rows,
                $call->result instanceof \PDOStatement => $call->result->rowCount(),
                $call->object instanceof \PDOStatement => $call->object->rowCount(),
                default => self::ROWS_UNKNOWN,
            };
        }
        $transaction = $connection === null ? null : $this->transaction_of($call, $connection, $word, $text, $rows);
        $always = $call->failed() || in_array($word, [...self::BEGIN_OR_END, ...self::CHANGE_ROWS], true);
        if (!$always && count($this->queries) >= self::STATEMENTS) {
            return;
        }
        $this->queries[] = [
            'text' => substr($text, 0, self::TEXT),
            'kind' => self::KINDS[$word] ?? self::OTHER_KIND,
            'source' => $source,
            'status' => $call->failed() ? self::FAILED : self::DONE,
            'error' => $call->failed() ? self::message($call, $connection) : null,
            'duration' => $call->duration,
            'rows' => $rows,
            'parameters' => $parameters,
            'connection' => $connection === null ? null : $this->number($connection),
            'transaction' => $transaction,
            'frames' => Trace::frames($call->trace(with_arguments: false), self::FRAMES),
        ];
    }

    /** Returns the transaction that a statement runs in, begins or ends. */
    private function transaction_of(Call $call, object $connection, string $word, string $text, int $rows): ?int
    {
        $connection = $this->number($connection);
        $before = end($this->open[$connection])[0] ?? null;
        if ($call->failed()) {
            return $before;
        }
        if ($before !== null && $rows > 0) {
            $this->transactions[$before]['rows'] += $rows;
        }
        $this->transact($call, $word, $text, $connection);
        return $before === null || in_array($word, ['BEGIN', 'SAVEPOINT'], true)
            ? end($this->open[$connection])[0] ?? null : $before;
    }

    private function transact(Call $call, string $word, string $text, ?int $connection = null): void
    {
        if ($call->failed()) {
            return;
        }
        $connection ??= $this->number($call->object);
        $text = preg_replace('~/\*.*?\*/|--[^\n]*~s', ' ', $text);
        preg_match('~\b(?:SAVEPOINT|RELEASE|TO)\s+(?:SAVEPOINT\s+)?["\'`\[]?(\w+)~i', $text, $match);
        $savepoint = strtolower($match[1] ?? '');
        $now = $call->began + $call->duration;
        if ($word === 'BEGIN' || $word === 'SAVEPOINT') {
            $this->open[$connection][] = [count($this->transactions), $savepoint];
            $this->transactions[] = [
                'parent' => $this->open[$connection][count($this->open[$connection]) - 2][0] ?? null,
                'rows' => 0,
                'began' => $call->began,
            ];
        } elseif ($word === 'RELEASE') {
            $this->close($connection, $this->level($connection, $savepoint), $now, committed: true);
        } elseif ($word === 'ROLLBACK' && $savepoint !== '') {
            // The savepoint remains, without changes.
            $level = $this->level($connection, $savepoint);
            $this->close($connection, $level + 1, $now, committed: false);
            if (isset($this->open[$connection][$level])) {
                $this->transactions[$this->open[$connection][$level][0]]['rows'] = 0;
            }
        } elseif ($word === 'COMMIT' || $word === 'END' || $word === 'ROLLBACK') {
            $this->close($connection, 0, $now, committed: $word !== 'ROLLBACK');
        }
    }

    /** Returns the most recent savepoint of a name: names need not be unique. */
    private function level(int $connection, string $savepoint): int
    {
        return (int) array_search($savepoint, array_reverse(array_column($this->open[$connection], 1), true), true);
    }

    private function close(int $connection, int $level, int $now, bool $committed): void
    {
        foreach (array_reverse(array_splice($this->open[$connection], $level)) as [$id]) {
            $transaction = &$this->transactions[$id];
            $transaction['duration'] = $now - $transaction['began'];
            if (!$committed) {
                $transaction['rows'] = null;
            } elseif ($transaction['parent'] !== null) {
                $this->transactions[$transaction['parent']]['rows'] += $transaction['rows'];
            }
        }
    }

    private function number(object $connection): int
    {
        if (!isset($this->numbers[$connection])) {
            $number = $this->numbers[$connection] = count($this->connections);
            $this->open[$number] = [];
            $this->connections[] = self::describe($connection);
        }
        return $this->numbers[$connection];
    }

    /** Returns kind and name of a connection. Called before the application's statement, whose error then remains. */
    private static function describe(object $connection): array
    {
        if ($connection instanceof \mysqli) {
            return ['kind' => self::OTHER_DATABASE, 'name' => 'mysql'];
        }
        if ($connection instanceof \PDO && $connection->getAttribute(\PDO::ATTR_DRIVER_NAME) !== 'sqlite') {
            $name = $connection->getAttribute(\PDO::ATTR_DRIVER_NAME);
            return ['kind' => self::OTHER_DATABASE, 'name' => $name];
        }
        // PHP's own method, even if the application overrides it.
        $class = $connection instanceof \PDO ? \PDO::class : \SQLite3::class;
        $rows = (new \ReflectionMethod($class, 'query'))->invoke($connection, 'PRAGMA database_list');
        $row = match (true) {
            $rows instanceof \PDOStatement => $rows->fetch(\PDO::FETCH_ASSOC),
            $rows instanceof \SQLite3Result => $rows->fetchArray(SQLITE3_ASSOC),
            default => [],
        };
        return ['kind' => self::SQLITE, 'name' => $row['file'] ?? ''];
    }

    private static function message(Call $call, ?object $connection): string
    {
        return match (true) {
            $call->fault !== null => $call->fault->getMessage(),
            $call->object instanceof \PDO, $call->object instanceof \PDOStatement =>
                (string) $call->object->errorInfo()[2],
            $connection instanceof \SQLite3 => $connection->lastErrorMsg(),
            $connection instanceof \mysqli => $connection->error,
            default => '',
        };
    }
}
