<?php

declare(strict_types=1);

namespace Tarnwick\Example;

/**
 * Receives every uncaught exception, and every PHP error except those that the application's own handler settles. When
 * an application replaces a handler, the recorder's calls it if the uopz extension is loaded; otherwise it is lost.
 */
final class Handlers
{
    /** @var list<array{?callable, int}> the application's error handlers, and the levels of each */
    private array $error_handlers = [[null, E_ALL]];
    /** @var list<?callable> */
    private array $exception_handlers = [null];

    public function __construct(private readonly Recorder $recorder)
    {
    }

    public function install(): void
    {
        set_error_handler($this->on_error(...));
        set_exception_handler($this->on_exception(...));
        if (!function_exists('uopz_set_return')) {
            return;
        }
        $errors = &$this->error_handlers;
        $exceptions = &$this->exception_handlers;
        $replacements = [
            'set_error_handler' => static function (?callable $handler, int $levels = E_ALL) use (&$errors) {
                $errors[] = [$handler, $levels];
                return $errors[count($errors) - 2][0];
            },
            'restore_error_handler' => static function () use (&$errors): bool {
                if (count($errors) > 1) {
                    array_pop($errors);
                }
                return true;
            },
            'set_exception_handler' => static function (?callable $handler) use (&$exceptions) {
                $exceptions[] = $handler;
                return $exceptions[count($exceptions) - 2];
            },
            'restore_exception_handler' => static function () use (&$exceptions): bool {
                if (count($exceptions) > 1) {
                    array_pop($exceptions);
                }
                return true;
            },
        ];
        foreach ($replacements as $function => $replacement) {
            uopz_set_return($function, $replacement, true);
        }
    }

    private function on_error(int $number, string $message, string $file, int $line): bool
    {
        if ($file === Calls::FILE) {
            ['file' => $file, 'line' => $line] = self::place_of_the_call() ?? ['file' => $file, 'line' => $line];
        } elseif (Trace::is_our_file($file)) {
            error_log("a fault of the recorder: $message in $file on line $line");
            return true;
        }
        [$handler, $levels] = end($this->error_handlers);
        if ($handler !== null && $levels & $number && $handler($number, $message, $file, $line) !== false) {
            return true;
        }
        // The operator @ lowers error_reporting(): the application expects the error.
        if (error_reporting() & $number) {
            $this->recorder->error($number, $message, $file, $line, debug_backtrace(DEBUG_BACKTRACE_PROVIDE_OBJECT));
        }
        return false;
    }

    /** Returns where the application called the watched function that raised the error. */
    private static function place_of_the_call(): ?array
    {
        foreach (Trace::without_ours(debug_backtrace(DEBUG_BACKTRACE_IGNORE_ARGS)) as $call) {
            if (isset($call['file'])) {
                return $call;
            }
        }
        return null;
    }

    private function on_exception(\Throwable $exception): void
    {
        $this->recorder->exception($exception, 'Uncaught');
        $handler = end($this->exception_handlers);
        if ($handler === null) {
            // PHP's default: a fatal error, and status 500.
            throw $exception;
        }
        $handler($exception);
    }
}
