<?php

declare(strict_types=1);

namespace Tarnwick\Example;

/**
 * A PHP value at one moment, truncated to limits, as a plain tree that both dialects encode. A node is a list whose
 * first element is its kind:
 *
 *   [null]  [bool, b]  [long, n]  [double, d]  [string, bytes]  [timestamp, seconds, nanoseconds]
 *   [array, is list, [[key, node], ...]]  [object, class, id, [[key, node], ...]]  [resource, type, id]
 *   [cut, count]   an array below the deepest level
 */
final class Snapshot
{
    private function __construct(
        private readonly int $levels,
        private readonly int $elements,
        private readonly int $bytes,
    ) {
    }

    /** Limits of superglobals: any depth that PHP accepts in a query. */
    public static function of_input(mixed $value): array
    {
        return (new self(levels: 80, elements: 100, bytes: 4096))->node($value, 0);
    }

    /** Limits of arguments of calls: enough to recognise them. */
    public static function of_argument(mixed $value): array
    {
        return (new self(levels: 3, elements: 6, bytes: 128))->node($value, 0);
    }

    /** Limits of the object of a call: its class, and its own scalar properties. */
    public static function of_receiver(object $object): array
    {
        return (new self(levels: 1, elements: 4, bytes: 64))->node($object, 0);
    }

    private function node(mixed $value, int $level): array
    {
        return match (true) {
            $value === null => ['null'],
            is_bool($value) => ['bool', $value],
            is_int($value) => ['long', $value],
            is_float($value) => ['double', $value],
            is_string($value) => ['string', substr($value, 0, $this->bytes)],
            is_array($value) && $level >= $this->levels => ['cut', count($value)],
            is_array($value) => ['array', array_is_list($value), $this->pairs($value, $level)],
            $value instanceof \DateTimeInterface =>
                ['timestamp', $value->getTimestamp(), (int) $value->format('u') * 1000],
            is_object($value) => ['object', $value::class, spl_object_id($value), $this->properties($value, $level)],
            default => ['resource', get_resource_type($value), get_resource_id($value)],
        };
    }

    private function pairs(array $values, int $level): array
    {
        $pairs = [];
        foreach (array_slice($values, 0, $this->elements, true) as $key => $value) {
            $pairs[] = [$key, $this->node($value, $level + 1)];
        }
        return $pairs;
    }

    private function properties(object $object, int $level): array
    {
        if ($level >= $this->levels || $object instanceof \Closure || $object instanceof \SensitiveParameterValue) {
            return [];
        }
        $properties = [];
        foreach (array_slice(get_mangled_object_vars($object), 0, $this->elements, true) as $name => $value) {
            // PHP writes "\0class\0name" for a private property and "\0*\0name" for a protected one.
            $name = (string) $name;
            $plain = str_starts_with($name, "\0") ? substr($name, strpos($name, "\0", 1) + 1) : $name;
            $properties[] = [$plain, $this->node($value, $level + 1)];
        }
        return $properties;
    }
}
