<?php

declare(strict_types=1);

namespace Tarnwick\Example;

/**
 * Every statement that ran in the application's files that say `declare(ticks=1)`, with its time and its memory. The
 * trace goes out in chunks: its body holds records of one size, what is added to it the places that those name.
 */
final class CodeTrace
{
    public const BY_THE_CLIENT = 0;
    public const BY_THE_APPLICATION = 1;

    private const CHUNK = 4096;
    private const STATEMENTS = 4096;
    // Nanoseconds since the trace began, bytes of memory in use, number of the place, calls that it is deep.
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
