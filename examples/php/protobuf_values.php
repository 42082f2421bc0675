<?php

declare(strict_types=1);

namespace Tarnwick\Example;

use Google\Protobuf\Timestamp;
use Pelorin\Protobuf\Monitor;
use Pelorin\Protobuf\PelorinPHP as Php;

/** Encodes PHP values and calls as messages of the protobuf dialect; arrays and objects become JSON text. */
final class ProtobufValues
{
    // The numbers of ZVal's field `type`.
    private const TYPES = ['null' => 1, 'bool' => 2, 'string' => 3, 'long' => 4, 'double' => 5, 'timestamp' => 7];
    private const JSON = 6;

    /** @param list<array> $frames */
    public static function frames(array $frames): array
    {
        return array_map(static fn (array $facts) =>
            new Php\StackTraceFrame(self::call_fields($facts) + ['frame_number' => $facts['number']]), $frames);
    }

    public static function call(array $facts): Monitor\FunctionData
    {
        return new Monitor\FunctionData(self::call_fields($facts));
    }

    private static function call_fields(array $facts): array
    {
        $arguments = [];
        foreach ($facts['arguments'] as [$key, $node]) {
            $member = is_int($key) ? 'long_key' : 'string_key';
            $arguments[] = new Php\PelorinArrayElement([$member => $key, 'value' => self::value($node)]);
        }
        return [
            'name' => $facts['name'],
            'file' => $facts['file'],
            'line' => $facts['line'],
            'arguments' => new Php\PelorinArray(['elements' => $arguments]),
        ];
    }

    public static function value(array $node): Php\ZVal
    {
        return new Php\ZVal(match ($node[0]) {
            'undefined' => [],
            'null' => ['type' => self::TYPES['null']],
            'bool', 'long', 'double', 'string' => ['type' => self::TYPES[$node[0]], $node[0] . '_value' => $node[1]],
            'timestamp' => [
                'type' => self::TYPES['timestamp'],
                'timestamp_value' => new Timestamp(['seconds' => $node[1], 'nanos' => $node[2]]),
            ],
            default => ['type' => self::JSON, 'json_value' => json_encode(
                self::plain($node),
                JSON_INVALID_UTF8_SUBSTITUTE | JSON_UNESCAPED_SLASHES | JSON_UNESCAPED_UNICODE
                    | JSON_PRESERVE_ZERO_FRACTION | JSON_THROW_ON_ERROR
            )],
        });
    }

    /** Converts a node to the value that json_encode() writes. */
    private static function plain(array $node): mixed
    {
        return match ($node[0]) {
            'null', 'undefined' => null,
            'double' => is_finite($node[1]) ? $node[1] : (string) $node[1],
            'bool', 'long', 'string' => $node[1],
            'timestamp' => ['seconds' => $node[1], 'nanos' => $node[2]],
            'array' => $node[1] ? array_map(static fn (array $pair) => self::plain($pair[1]), $node[2])
                : self::plain_map($node[2]),
            'object' => ['class_name' => $node[1], 'id' => $node[2], 'properties' => self::plain_map($node[3])],
            'resource' => ['type_name' => $node[1], 'id' => $node[2]],
            'cut' => ['cut' => $node[1]],
        };
    }

    private static function plain_map(array $pairs): array|object
    {
        $map = [];
        foreach ($pairs as [$key, $node]) {
            $map[$key] = self::plain($node);
        }
        // Only an array that would be written as a list becomes an object: objects lose keys that begin with NUL.
        return array_is_list($map) ? (object) $map : $map;
    }
}
