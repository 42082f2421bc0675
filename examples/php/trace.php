<?php

declare(strict_types=1);

namespace Tarnwick\Example;

/** PHP's traces without the recorder's own frames, and the facts of their frames. */
final class Trace
{
    private const ARGUMENTS = 16;

    /**
     * Returns the calls of the application. A watched call is in PHP's trace twice: PHP's function, called from the
     * recorder's file, and the replacement, called from the application's.
     */
    public static function without_ours(array $trace): array
    {
        $calls = [];
        $watched = null;
        foreach ($trace as $call) {
            if (str_starts_with($call['function'], '{closure:' . Calls::class . '::')) {
                $place = array_intersect_key($call, ['file' => 0, 'line' => 0]);
                $calls[] = $place + array_diff_key($watched ?? $call, ['file' => 0, 'line' => 0]);
                $watched = null;
            } elseif (str_starts_with($call['class'] ?? '', __NAMESPACE__ . '\\')) {
                continue;
            } elseif (self::is_our_file($call['file'] ?? '')) {
                $watched = $call;
            } else {
                $calls[] = $call;
            }
        }
        return $calls;
    }

    /** Sets the location and the trace of a PHP function's exception to those without the recorder. */
    public static function take_ours_out_of(\Throwable $fault): void
    {
        $base = $fault instanceof \Exception ? \Exception::class : \Error::class;
        $calls = self::without_ours($fault->getTrace());
        if (self::is_our_file($fault->getFile()) && isset($calls[0]['file'])) {
            (new \ReflectionProperty($base, 'file'))->setValue($fault, $calls[0]['file']);
            (new \ReflectionProperty($base, 'line'))->setValue($fault, $calls[0]['line']);
        }
        (new \ReflectionProperty($base, 'trace'))->setValue($fault, $calls);
    }

    public static function is_our_file(string $file): bool
    {
        return str_starts_with($file, __DIR__ . '/') && !str_contains(substr($file, strlen(__DIR__) + 1), '/');
    }

    /** @return list<array> the frames, innermost first */
    public static function frames(array $trace, int $limit): array
    {
        $frames = [];
        foreach (array_slice(self::without_ours($trace), 0, $limit) as $number => $call) {
            $arguments = [];
            foreach (array_slice($call['args'] ?? [], 0, self::ARGUMENTS, true) as $key => $argument) {
                $arguments[] = [$key, Snapshot::of_argument($argument)];
            }
            $frames[] = [
                'number' => $number,
                'name' => ($call['class'] ?? '') . ($call['type'] ?? '') . $call['function'],
                'file' => $call['file'] ?? '',
                'line' => $call['line'] ?? 0,
                'arguments' => $arguments,
                'object' => isset($call['object']) ? Snapshot::of_receiver($call['object']) : null,
            ];
        }
        return $frames;
    }
}
