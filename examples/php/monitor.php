<?php

declare(strict_types=1);

namespace Tarnwick\Example;

/** Decides which facts are events: slow functions and requests, high memory, errors. */
final class Monitor
{
    private const SLOW_FUNCTION = 20_000_000; // nanoseconds
    private const SLOW_REQUEST = 500_000_000; // nanoseconds
    private const HIGH_MEMORY = 16 << 20; // bytes
    private const LEAST_ERROR_CATEGORY = 2; // warnings; fatal errors are 1
    private const FRAMES = 4;
    private const WATCHED = [
        '' => [
            'copy', 'curl_exec', 'file_get_contents', 'fopen', 'hash_pbkdf2', 'mkdir', 'mysqli_query', 'openssl_pbkdf2',
            'password_hash', 'password_verify', 'rename', 'shell_exec', 'sleep', 'stream_socket_client', 'unlink',
            'usleep',
        ],
        'mysqli' => ['query'],
        'PDO' => ['exec', 'query'],
        'PDOStatement' => ['execute'],
        'SQLite3' => ['exec', 'query'],
        'SQLite3Stmt' => ['execute'],
    ];

    /** The superglobals when the protobuf dialect last reported them. */
    private array $superglobals;

    public function __construct(
        private readonly Reports $reports,
        private readonly CodeTrace $code_trace,
        array $superglobals,
    ) {
        $this->superglobals = $superglobals;
    }

    public function install(Calls $calls): void
    {
        foreach (self::WATCHED as $class => $functions) {
            foreach ($functions as $function) {
                $calls->watch($class, $function, $this->called(...));
            }
        }
    }

    public function error(array $error): void
    {
        if ($error['category'] <= self::LEAST_ERROR_CATEGORY) {
            $frames = $error['frames'] === null ? null : array_slice($error['frames'], 0, self::FRAMES);
            $this->event('php_error', $error['name'], $error['timestamp'], [
                'function' => $frames[0] ?? null,
                'frames' => $frames,
                'error' => ['frames' => $frames] + $error,
            ]);
        }
    }

    public function custom(string $text_0, string $text_1, mixed $value, int $level): void
    {
        $trace = debug_backtrace(DEBUG_BACKTRACE_PROVIDE_OBJECT);
        // The application called the recorder, which called this function. The event itself has the arguments.
        $place = array_intersect_key($trace[1], ['file' => 0, 'line' => 0]);
        $this->event('custom', "level $level", now(), [
            'frames' => Trace::frames(
                [['function' => Recorder::class . '::event'] + $place, ...array_slice($trace, 2)],
                self::FRAMES
            ),
            'text_0' => $text_0,
            'text_1' => $text_1,
            'value' => Snapshot::of_argument($value),
            'level' => $level,
        ]);
    }

    public function end(int $duration, int $memory): void
    {
        if ($duration > self::SLOW_REQUEST) {
            $limit = self::SLOW_REQUEST / 1e6;
            $this->event('slow_request', "more than $limit ms", now(), ['duration' => $duration]);
        }
        if ($memory > self::HIGH_MEMORY) {
            $limit = self::HIGH_MEMORY;
            $this->event('high_memory_usage', "more than $limit bytes", now(), ['usage' => $memory]);
        }
    }

    private function called(Call $call): void
    {
        $slow = $call->duration > self::SLOW_FUNCTION;
        if (!$slow && !$call->failed()) {
            return;
        }
        $frames = Trace::frames($call->trace(with_arguments: true), self::FRAMES);
        $facts = ['function' => $frames[0] ?? null, 'frames' => $frames];
        if ($call->failed()) {
            $this->event('function_error', $call->fault === null ? 'returned false' : 'threw', now(), $facts);
        }
        if ($slow) {
            $limit = self::SLOW_FUNCTION / 1e6;
            $this->event('slow_function', "more than $limit ms", now(), $facts + ['duration' => $call->duration]);
        }
    }

    private function event(string $kind, string $text, int $timestamp, array $facts): void
    {
        $superglobals = RequestFacts::superglobals();
        $changed = $superglobals !== $this->superglobals;
        $this->superglobals = $superglobals;
        $this->reports->send('event', $facts + [
            'kind' => $kind,
            'text' => $text,
            'timestamp' => $timestamp,
            'flag' => $this->code_trace->is_running(),
            'superglobals' => $changed ? $superglobals : null,
            'function' => null,
            'frames' => null,
        ]);
    }
}
