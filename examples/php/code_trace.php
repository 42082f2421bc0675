<?php

declare(strict_types=1);

namespace Tarnwick\Example;

/**
 * Traces every statement in the application's files with `declare(ticks=1)`, with its time and its memory. The trace is
 * sent in chunks: its body has records of a fixed size, its additional data the code locations to which they refer.
 */
final class CodeTrace
{
    public const BY_THE_CLIENT = 0;
    public const BY_THE_APPLICATION = 1;

    private const CHUNK = 4096;
    private const STATEMENTS = 4096;
    // Nanoseconds since the trace began, bytes of memory in use, number of the code location, depth of calls.
    private const RECORD = 'JNnn';
    private const RECORD_SIZE = 16;

    private ?int $kind = null;
    private int $started = 0;
    private int $began = 0;
    private string $records = '';
    /** @var array<string, int> */
    private array $places = [];

    public function __construct(private readonly Reports $reports)
    {
    }

    public function start(int $kind): void
    {
        if ($this->kind !== null) {
            return;
        }
        $this->kind = $kind;
        $this->started = now();
        $this->began = hrtime(true);
        register_tick_function($this->tick(...));
    }

    public function is_running(): bool
    {
        return $this->kind !== null;
    }

    public function end(): void
    {
        if ($this->kind === null) {
            return;
        }
        $duration = hrtime(true) - $this->began;
        $places = '';
        foreach ($this->places as $place => $number) {
            $places .= "$number\t$place\n";
        }
        $this->reports->send('code_trace', [
            'kind' => $this->kind,
            'records' => intdiv(strlen($this->records), self::RECORD_SIZE),
            'places' => count($this->places),
            'record_size' => self::RECORD_SIZE,
            'started' => $this->started,
            'duration' => $duration,
            'body' => str_split($this->records, self::CHUNK),
            'added' => str_split($places, self::CHUNK),
        ]);
        $this->kind = null;
    }

    private function tick(): void
    {
        $now = hrtime(true);
        if ($this->kind === null || strlen($this->records) >= self::STATEMENTS * self::RECORD_SIZE) {
            return;
        }
        $trace = debug_backtrace(DEBUG_BACKTRACE_IGNORE_ARGS);
        $statement = $trace[0];
        $function = $trace[1] ?? ['function' => ''];
        $name = ($function['class'] ?? '') . ($function['type'] ?? '') . $function['function'];
        $place = "$name\t$statement[file]\t$statement[line]";
        $number = $this->places[$place] ??= count($this->places);
        $this->records .= pack(self::RECORD, $now - $this->began, memory_get_usage(), $number, count($trace) - 1);
    }
}
