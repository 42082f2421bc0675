<?php

declare(strict_types=1);

namespace Tarnwick\Example;

/** The life of one request: a start, errors on the way, an end. A fault of its own never reaches the application. */
final class Recorder
{
    private const FRAMES = 40;
    private const FATAL = E_ERROR | E_PARSE | E_CORE_ERROR | E_COMPILE_ERROR;
    private const NAMES = [
        E_ERROR => 'E_ERROR', E_WARNING => 'E_WARNING', E_PARSE => 'E_PARSE', E_NOTICE => 'E_NOTICE',
        E_CORE_ERROR => 'E_CORE_ERROR', E_CORE_WARNING => 'E_CORE_WARNING', E_COMPILE_ERROR => 'E_COMPILE_ERROR',
        E_COMPILE_WARNING => 'E_COMPILE_WARNING', E_USER_ERROR => 'E_USER_ERROR', E_USER_WARNING => 'E_USER_WARNING',
        E_USER_NOTICE => 'E_USER_NOTICE', E_RECOVERABLE_ERROR => 'E_RECOVERABLE_ERROR',
        E_DEPRECATED => 'E_DEPRECATED', E_USER_DEPRECATED => 'E_USER_DEPRECATED',
    ];

    private static ?self $current = null;

    /** @var list<RpcReports|ProtobufReports> */
    private readonly array $dialects;
    private array $start = [];
    private int $started = 0;
    private string $body = '';
    private int $body_length = 0;
    private bool $ended = false;
    private bool $busy = false;
    private ?array $last_fatal = null;

    public static function begin(CaptureFile $file): void
    {
        self::$current = new self($file);
        self::$current->report('start', self::$current->start = RequestFacts::start());
        (new Handlers(self::$current))->install();
        register_shutdown_function(self::$current->fatal_error(...));
        // Everything of the request comes before the last call of the outermost output buffer, also what shutdown
        // functions and destructors do. The application can empty this buffer but not remove it.
        ob_start(self::$current->output(...), 0, PHP_OUTPUT_HANDLER_CLEANABLE | PHP_OUTPUT_HANDLER_FLUSHABLE);
        self::$current->started = hrtime(true);
    }

    /** For applications that catch their exceptions in a handler of their own; README.md shows one. */
    public static function caught(\Throwable $exception): void
    {
        self::$current?->exception($exception, 'Caught');
    }

    private function __construct(CaptureFile $file)
    {
        $request_id = unpack('q', random_bytes(8))[1];
        $this->dialects = [new RpcReports($file, $request_id), new ProtobufReports($file, $request_id)];
    }

    public function error(int $number, string $message, string $file, int $line, ?array $trace): void
    {
        $this->report('error', [
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
            'frames' => $trace === null ? null : self::frames($trace),
        ]);
    }

    public function exception(\Throwable $exception, string $how): void
    {
        $text = $how;
        for ($cause = $exception->getPrevious(); $cause !== null; $cause = $cause->getPrevious()) {
            $text .= ', caused by ' . $cause::class . ': ' . $cause->getMessage();
        }
        $this->report('error', [
            'timestamp' => now(),
            'number' => 0,
            'category' => 0,
            'name' => $exception::class,
            'text' => $text,
            'message' => $exception->getMessage(),
            'file' => $exception->getFile(),
            'line' => $exception->getLine(),
            'frames' => self::frames($exception->getTrace()),
        ]);
    }

    /** A fatal error calls no handler. It has no trace, and an uncaught exception has been reported already. */
    private function fatal_error(): void
    {
        $error = error_get_last();
        if ($error === null || !($error['type'] & self::FATAL) || $error === $this->last_fatal) {
            return;
        }
        $this->last_fatal = $error;
        // The request may have ended for lack of memory, and its reports need some.
        ini_set('memory_limit', '-1');
        if (!str_starts_with($error['message'], 'Uncaught ')) {
            $this->error($error['type'], $error['message'], $error['file'], $error['line'], null);
        }
    }

    private function output(string $output, int $phase): string
    {
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

        $headers = RequestFacts::response_headers();
        $types = array_filter($headers, static fn (array $header) => strtolower($header[0]) === 'content-type');
        $this->report('end', [
            'timestamp' => now(),
            'duration' => $duration,
            'status' => http_response_code() ?: 200,
            'memory' => $memory,
            'headers' => $headers,
            'body' => ['bytes' => $this->body, 'type' => end($types)[1] ?? '', 'length' => $this->body_length],
            'superglobals' => RequestFacts::changes_since($this->start['superglobals']),
        ]);
    }

    private function report(string $event, array $facts): void
    {
        if ($this->busy) {
            return;
        }
        $this->busy = true;
        try {
            foreach ($this->dialects as $dialect) {
                $dialect->$event($facts);
            }
        } catch (\Throwable $fault) {
            error_log("a report was lost: $fault");
        } finally {
            $this->busy = false;
        }
    }

    /** The frames of a PHP trace, innermost first, without ours. */
    private static function frames(array $trace): array
    {
        $frames = [];
        foreach ($trace as $call) {
            $class = $call['class'] ?? '';
            if (str_starts_with($class, __NAMESPACE__ . '\\') || str_starts_with($call['file'] ?? '', __DIR__ . '/')) {
                continue;
            }
            $arguments = [];
            foreach (array_slice($call['args'] ?? [], 0, 16, true) as $key => $argument) {
                $arguments[] = [$key, Snapshot::of_argument($argument)];
            }
            $frames[] = [
                'number' => count($frames),
                'name' => $class . ($call['type'] ?? '') . $call['function'],
                'file' => $call['file'] ?? '',
                'line' => $call['line'] ?? 0,
                'arguments' => $arguments,
                'object' => isset($call['object']) ? Snapshot::of_receiver($call['object']) : null,
            ];
        }
        return array_slice($frames, 0, self::FRAMES);
    }
}
