<?php

declare(strict_types=1);

namespace Tarnwick\Example;

/** Reports blocks of data that are in no other report: named lists of bytes. */
final class Storage
{
    private const FOLDERS = 6;
    private const FILES = 4;
    private const VALUE = 256; // bytes

    private array $usage = [];

    public function __construct(private readonly Reports $reports)
    {
    }

    public function start(): void
    {
        $this->usage = self::usage();
    }

    public function report(): void
    {
        $this->block('resource usage', $this->usage_of_the_request());
        $this->block('included files', self::included_files());
        if (isset($_SESSION) && $_SESSION !== []) {
            $this->block('session', array_map(self::cut(...), $_SESSION));
        }
    }

    /** @param array<string, list<string>> $entries */
    private function block(string $name, array $entries): void
    {
        $this->reports->send('storage', ['name' => $name, 'entries' => $entries]);
    }

    /** @return list<string> as PHP stores it, with NUL bytes around the names of what is private */
    private static function cut(mixed $value): array
    {
        return [substr(serialize($value), 0, self::VALUE)];
    }

    /** Returns the resource usage of the process at the start and at the end of the request. */
    private function usage_of_the_request(): array
    {
        $entries = [];
        foreach (self::usage() as $name => $amount) {
            $entries[$name] = [(string) $this->usage[$name], (string) $amount];
        }
        return $entries;
    }

    /** Returns the usage with PHP's names; times in microseconds. */
    private static function usage(): array
    {
        $usage = [];
        foreach (getrusage() as $name => $amount) {
            [$name, $unit] = explode('.', $name) + [1 => ''];
            $usage[$name] = ($usage[$name] ?? 0) + $amount * ($unit === 'tv_sec' ? 1_000_000 : 1);
        }
        return $usage;
    }

    /** Returns the included files by folder: only the first ones of each, and none of the recorder's. */
    private static function included_files(): array
    {
        $entries = [];
        foreach (get_included_files() as $file) {
            if (Trace::is_our_file($file) || preg_match('~/(GPBMetadata|Google/Protobuf|Pelorin|Tarnwick)/~', $file)) {
                continue;
            }
            $entries[dirname($file)][] = basename($file);
        }
        return array_map(
            static fn (array $files) => array_slice($files, 0, self::FILES),
            array_slice($entries, 0, self::FOLDERS)
        );
    }
}
