<?php

declare(strict_types=1);

namespace Tarnwick\Example;

/**
 * Measures where a request spends its time, by samples of the current calls that the excimer extension takes. Samples
 * measure times, not how often a function was called.
 */
final class Profiler
{
    private const PERIOD = 0.001; // seconds
    private const FUNCTIONS = 8;

    private ?\ExcimerProfiler $excimer = null;
    private ?\ExcimerLog $log = null;

    public function __construct(private readonly Reports $reports)
    {
    }

    public function start(): void
    {
        if (class_exists(\ExcimerProfiler::class)) {
            $this->excimer = new \ExcimerProfiler();
            $this->excimer->setEventType(EXCIMER_REAL);
            $this->excimer->setPeriod(self::PERIOD);
            $this->excimer->start();
        }
    }

    /** Runs after the application's shutdown functions that are known, and before PHP empties the profiler. */
    public function stop_at_the_end(): void
    {
        register_shutdown_function(fn () => register_shutdown_function(function (): void {
            $this->excimer?->stop();
            $this->log = $this->excimer?->getLog();
        }));
    }

    public function report(): void
    {
        $functions = [];
        foreach ($this->log ?? [] as $sample) {
            $this->count($functions, $sample);
        }
        uasort($functions, static fn (array $a, array $b): int => [$b['own'], $b['time']] <=> [$a['own'], $a['time']]);
        if ($functions !== []) {
            $this->reports->send('functions', [
                'functions' => array_values(array_slice($functions, 0, self::FUNCTIONS)),
            ]);
        }
    }

    private function count(array &$functions, \ExcimerLogEntry $sample): void
    {
        $calls = array_filter($sample->getTrace(), static fn (array $frame): bool =>
            !str_starts_with($frame['function'] ?? '', '{closure:' . Calls::class . '::'));
        foreach ($calls as $frame) {
            if (Trace::is_our_file($frame['file'] ?? '')) {
                return; // the recorder's own time
            }
        }
        // A sample can cover several periods: the timer does not wait for PHP.
        $time = (int) ($sample->getEventCount() * self::PERIOD * 1e9);
        $seen = [];
        foreach ($calls as $frame) {
            $name = match (true) {
                !isset($frame['function']) => $frame['file'],
                isset($frame['class']) => "$frame[class]::$frame[function]",
                default => $frame['function'],
            };
            if (!isset($functions[$name])) {
                $functions[$name] = ['name' => $name, 'samples' => 0, 'time' => 0, 'own' => 0] + self::place($frame);
            }
            // The time of a recursive function counts once.
            if (!isset($seen[$name])) {
                $functions[$name]['samples']++;
                $functions[$name]['time'] += $time;
            }
            if ($seen === []) {
                $functions[$name]['own'] += $time;
            }
            $seen[$name] = true;
        }
    }

    /** Returns the first and last line of a function. The code of a file itself is the whole file. */
    private static function place(array $frame): array
    {
        $place = ['file' => $frame['file'] ?? '', 'line' => $frame['closure_line'] ?? 0, 'last_line' => 0];
        if (!isset($frame['function']) || isset($frame['closure_line'])) {
            return $place;
        }
        try {
            $function = isset($frame['class']) ? new \ReflectionMethod($frame['class'], $frame['function'])
                : new \ReflectionFunction($frame['function']);
        } catch (\ReflectionException) {
            return $place;
        }
        return [
            'file' => (string) $function->getFileName(),
            'line' => (int) $function->getStartLine(),
            'last_line' => (int) $function->getEndLine(),
        ];
    }
}
