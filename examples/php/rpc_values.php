<?php

declare(strict_types=1);

namespace Tarnwick\Example;

use Google\Protobuf\Timestamp;
use Tarnwick\Rpc\Php\V1 as Rpc;

/** Encodes PHP values and calls as messages of the rpc dialect: values nest. */
final class RpcValues
{
    public static function location(string $file, int $line): Rpc\SourceLocation
    {
        return new Rpc\SourceLocation(['file' => $file, 'line' => $line]);
    }

    /** @param list<array> $frames */
    public static function stack_trace(array $frames): Rpc\StackTrace
    {
        return new Rpc\StackTrace(['frames' => array_map(static fn (array $facts) => new Rpc\StackTraceFrame([
            'function' => self::call($facts),
            'frame_number' => $facts['number'],
        ]), $frames)]);
    }

    public static function call(array $facts): Rpc\PBFunction
    {
        $function = new Rpc\PBFunction(['name' => $facts['name'], 'arguments' => self::pairs($facts['arguments'])]);
        if ($facts['file'] !== '') {
            $function->setLocation(self::location($facts['file'], $facts['line']));
        }
        if ($facts['object'] !== null) {
            $function->setCallValue(self::value($facts['object']));
        }
        return $function;
    }

    public static function pairs(array $pairs): Rpc\PelorinArray
    {
        $elements = [];
        foreach ($pairs as [$key, $node]) {
            $member = is_int($key) ? 'long_key' : 'string_key';
            $elements[] = new Rpc\PelorinArrayElement([$member => $key, 'value' => self::value($node)]);
        }
        return new Rpc\PelorinArray(['elements' => $elements]);
    }

    public static function value(array $node): Rpc\ZVal
    {
        return new Rpc\ZVal(match ($node[0]) {
            'null' => ['null_value' => 0],
            'bool', 'long', 'double', 'string' => [$node[0] . '_value' => $node[1]],
            'timestamp' => ['timestamp_value' => new Timestamp(['seconds' => $node[1], 'nanos' => $node[2]])],
            'array' => ['array_value' => self::pairs($node[2])],
            'object' => ['object_value' => new Rpc\PelorinObject([
                'class_name' => $node[1],
                'properties' => self::pairs($node[3]),
                'value' => new Rpc\ZVal(['long_value' => $node[2]]),
            ])],
            'resource' => ['resource_value' => new Rpc\PelorinResource([
                'type_name' => $node[1],
                'value' => new Rpc\ZVal(['long_value' => $node[2]]),
            ])],
            'cut' => ['json_value' => json_encode(['cut' => $node[1]])],
            'undefined' => [],
        });
    }
}
