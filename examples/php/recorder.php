<?php

declare(strict_types=1);

namespace Tarnwick\Example;

/** Reports one request: its start, errors, its end. A fault of the recorder never reaches the application. */
final class Recorder
{
    private const FRAMES = 24;
    private const FATAL = E_ERROR | E_PARSE | E_CORE_ERROR | E_COMPILE_ERROR;
    private const NAMES = [
        E_ERROR => 'E_ERROR', E_WARNING => 'E_WARNING', E_PARSE => 'E_PARSE', E_NOTICE => 'E_NOTICE',
        E_CORE_ERROR => 'E_CORE_ERROR', E_CORE_WARNING => 'E_CORE_WARNING', E_COMPILE_ERROR => 'E_COMPILE_ERROR',
        E_COMPILE_WARNING => 'E_COMPILE_WARNING', E_USER_ERROR => 'E_USER_ERROR', E_USER_WARNING => 'E_USER_WARNING',
        E_USER_NOTICE => 'E_USER_NOTICE', E_RECOVERABLE_ERROR => 'E_RECOVERABLE_ERROR',
        E_DEPRECATED => 'E_DEPRECATED', E_USER_DEPRECATED => 'E_USER_DEPRECATED',
    ];

    private static ?self $current = null;

    private readonly Reports $reports;
    private readonly CodeTrace $code_trace;
    private readonly Monitor $monitor;
    private readonly Profiler $profiler;
    private readonly Sql $sql;
    private readonly Storage $storage;
    /** @var array the facts of the start report */
    private readonly array $start;
    private int $started = 0;
    private string $body = '';
    private int $body_length = 0;
    private bool $shutting_down = false;
    private bool $discarded = false;
    private bool $ended = false;
    private ?array $last_fatal = null;

    public static function begin(FrameWriter $frames): void
    {
        self::$current = new self($frames);
        self::$current->start();
    }

    /** Reports an exception that the application catches in a handler of its own; README.md shows one. */
    public static function caught(\Throwable $exception): void
    {
        self::$current?->exception($exception, 'Caught');
    }

    /** Reports an event that the application defines; its level is -1, 0 or 1. */
    public static function event(string $text_0, string $text_1, mixed $value, int $level): void
    {
        self::$current?->monitor->custom($text_0, $text_1, $value, $level);
    }

    /** Starts a code trace until the end of the request, in files with `declare(ticks=1)`. */
    public static function trace(): void
    {
        self::$current?->code_trace->start(CodeTrace::BY_THE_APPLICATION);
    }

    private function __construct(FrameWriter $frames)
    {
        $this->reports = new Reports($frames);
        $this->start = RequestFacts::start();
        $this->code_trace = new CodeTrace($this->reports);
        $this->monitor = new Monitor($this->reports, $this->code_trace, $this->start['superglobals']);
        $this->profiler = new Profiler($this->reports);
        $this->sql = new Sql($this->reports);
        $this->storage = new Storage($this->reports);
    }

    private function start(): void
    {
        $this->reports->send('start', $this->start);
        (new Handlers($this))->install();
        $calls = new Calls($this->reports);
        $this->monitor->install($calls);
        $this->sql->install($calls);
        register_shutdown_function($this->shut_down(...));
        $this->profiler->stop_at_the_end();
        $this->start_output();
        if (isset($_SERVER['HTTP_X_CODE_TRACE'])) {
            $this->code_trace->start(CodeTrace::BY_THE_CLIENT);
        }
        $this->storage->start();
        $this->profiler->start();
        $this->started = hrtime(true);
    }

    public function error(int $number, string $message, string $file, int $line, ?array $trace): void
    {
        $facts = [
            'timestamp' => now(),
            'number' => $number,
            'category' => match (true) {
                (bool) ($number & (self::FATAL | E_USER_ERROR | E_RECOVERABLE_ERROR)) => 1,
                (bool) ($number & (E_WARNING | E_CORE_WARNING | E_COMPILE_WARNING | E_USER_WARNING)) => 2,
                default => 3,
            },
            'name' => self::NAMES[$number] ?? '',
            'text' => '',
            'message' => $message,
            'file' => $file,
            'line' => $line,
            'frames' => $trace === null ? null : Trace::frames($trace, self::FRAMES),
        ];
        $this->reports->send('error', $facts);
        $this->monitor->error($facts);
    }

    public function exception(\Throwable $exception, string $how): void
    {
        $text = $how;
        for ($cause = $exception->getPrevious(); $cause !== null; $cause = $cause->getPrevious()) {
            $text .= ', caused by ' . $cause::class . ': ' . $cause->getMessage();
        }
        $this->reports->send('error', [
            'timestamp' => now(),
            'number' => 0,
            'category' => 0,
            'name' => $exception::class,
            'text' => $text,
            'message' => $exception->getMessage(),
            'file' => $exception->getFile(),
            'line' => $exception->getLine(),
            'frames' => Trace::frames($exception->getTrace(), self::FRAMES),
        ]);
    }

    /** Reports a fatal error, which calls no handler and has no trace. Uncaught exceptions were reported before. */
    private function fatal_error(): void
    {
        $error = error_get_last();
        if ($error === null || !($error['type'] & self::FATAL) || $error === $this->last_fatal) {
            return;
        }
        $this->last_fatal = $error;
        // The request may have ended because memory ran out, and its reports need some.
        ini_set('memory_limit', '-1');
        if (!str_starts_with($error['message'], 'Uncaught ')) {
            $this->error($error['type'], $error['message'], $error['file'], $error['line'], null);
        }
    }

    /**
     * The last call of the outermost output buffer comes after everything else in the request, including shutdown
     * functions and destructors. The application can empty this buffer but not remove it.
     */
    private function start_output(): void
    {
        ob_start($this->output(...), 0, PHP_OUTPUT_HANDLER_CLEANABLE | PHP_OUTPUT_HANDLER_FLUSHABLE);
    }

    private function shut_down(): void
    {
        $this->shutting_down = true;
        $this->fatal_error();
        if ($this->discarded) {
            $this->start_output();
        }
    }

    private function output(string $output, int $phase): string
    {
        // When memory runs out, PHP removes all buffers before it sets the status and calls shutdown functions.
        if ($phase & PHP_OUTPUT_HANDLER_FINAL && !$this->shutting_down) {
            $this->discarded = true;
            return $output;
        }
        if (!($phase & PHP_OUTPUT_HANDLER_CLEAN)) {
            $this->body .= substr($output, 0, max(0, RequestFacts::BODY_LIMIT - strlen($this->body)));
            $this->body_length += strlen($output);
        }
        if ($phase & PHP_OUTPUT_HANDLER_FINAL && !$this->ended) {
            $this->ended = true;
            $this->end();
        }
        return $output;
    }

    private function end(): void
    {
        $duration = hrtime(true) - $this->started;
        $memory = [memory_get_usage(), memory_get_peak_usage(), memory_get_usage(true)];
        $this->fatal_error();
        $this->monitor->end($duration, $memory[1]);
        $this->code_trace->end();
        $this->profiler->report();
        $this->sql->report();
        $this->storage->report();

        $headers = RequestFacts::response_headers();
        $types = array_filter($headers, static fn (array $header) => strtolower($header[0]) === 'content-type');
        $this->reports->send('end', [
            'timestamp' => now(),
            'duration' => $duration,
            'status' => http_response_code() ?: 200,
            'memory' => $memory,
            'headers' => $headers,
            'body' => ['bytes' => $this->body, 'type' => end($types)[1] ?? '', 'length' => $this->body_length],
            'superglobals' => RequestFacts::changes_since($this->start['superglobals']),
        ]);
    }
}
