<?php

declare(strict_types=1);

namespace Tarnwick\Example;

use Google\Protobuf\Duration;
use Google\Protobuf\Timestamp;
use Pelorin\Protobuf\Glimmet;
use Pelorin\Protobuf\Monitor;
use Pelorin\Protobuf\PelorinPHP as Php;

/** Facts as messages of the protobuf dialect: one message a fact, values flat, structured ones as JSON text. */
final class ProtobufReports
{
    // The numbers of ZVal's field `type`.
    private const TYPES = ['null' => 1, 'bool' => 2, 'string' => 3, 'long' => 4, 'double' => 5, 'timestamp' => 7];
    private const JSON = 6;

    public function __construct(private readonly CaptureFile $file, private readonly int $request_id)
    {
    }

    public function start(array $facts): void
    {
        $this->append('rinit', new Php\RInitData([
            'text_0' => $facts['method'],
            'text_1' => $facts['path'],
            'info_text' => PHP_SAPI,
            'info_number' => getmypid(),
            'bytes_0' => (string) $facts['query'],
            'version' => new Php\PhpVersion([
                'major' => PHP_MAJOR_VERSION,
                'minor' => PHP_MINOR_VERSION,
                'patch' => PHP_RELEASE_VERSION,
            ]),
            'timestamp' => new Timestamp(time_fields($facts['timestamp'])),
        ]));
        $this->append('request_headers', new Glimmet\RequestHeaders(['lines' => self::lines($facts['headers'])]));
        $groups = [];
        foreach ($facts['superglobals'] as [$name, $entries]) {
            $groups[] = new Monitor\SuperglobalGroup(['name' => $name, 'entries' => array_map(
                static fn (array $entry) =>
                    new Monitor\SuperglobalEntry(['key' => (string) $entry[0], 'value' => self::value($entry[1])]),
                $entries
            )]);
        }
        $this->append('monitor_superglobals', new Monitor\Superglobals(['groups' => $groups]));
        if ($facts['body'] !== null) {
            $this->append('raw_post_data', new Glimmet\RawPostData([
                'text_0' => $facts['body']['bytes'],
                'text_1' => $facts['body']['type'],
                'number' => $facts['body']['length'],
            ]));
        }
    }

    public function end(array $facts): void
    {
        $this->append('rshutdown', new Php\RShutdownData([
            'duration' => new Duration(time_fields($facts['duration'])),
            'memory_0' => $facts['memory'][0],
            'memory_1' => $facts['memory'][1],
            'memory_2' => $facts['memory'][2],
            'response_status' => $facts['status'],
        ]));
        $this->append('response_headers', new Glimmet\ResponseHeaders(['lines' => self::lines($facts['headers'])]));
        $groups = [];
        foreach ($facts['superglobals'] as [$name, $entries]) {
            $groups[] = new Glimmet\SuperglobalGroup([
                'name' => $name,
                'entries' => array_map(self::entry(...), $entries),
            ]);
        }
        $this->append('superglobals', new Glimmet\Superglobals(['groups' => $groups]));
        $this->append('response_body', new Glimmet\ResponseBody([
            'text_0' => $facts['body']['bytes'],
            'text_1' => $facts['body']['type'],
        ]));
    }

    public function error(array $facts): void
    {
        $error = new Glimmet\Error([
            'name' => $facts['name'],
            'file' => $facts['file'],
            'line' => $facts['line'],
            'exception_text' => $facts['text'],
            'message' => $facts['message'],
            'timestamp' => new Timestamp(time_fields($facts['timestamp'])),
            'category' => $facts['category'],
            'number' => $facts['number'],
        ]);
        if ($facts['frames'] !== null) {
            $error->setStackTrace(new Php\StackTrace(['frames' => array_map(self::frame(...), $facts['frames'])]));
        }
        $this->append('error', $error);
    }

    private function append(string $member, object $message): void
    {
        $this->file->append($member, $message, $this->request_id);
    }

    private static function lines(array $headers): array
    {
        return array_map(static fn (array $header) => "$header[0]: $header[1]", $headers);
    }

    /** A third element is the value at the start of the request: the entry changed. */
    private static function entry(array $entry): Glimmet\SuperglobalEntry
    {
        $fields = ['key' => (string) $entry[0], 'value' => self::value($entry[1])];
        if (isset($entry[2])) {
            $fields['initial_value'] = self::value($entry[2]);
        }
        return new Glimmet\SuperglobalEntry($fields);
    }

    private static function frame(array $facts): Php\StackTraceFrame
    {
        $arguments = [];
        foreach ($facts['arguments'] as [$key, $node]) {
            $member = is_int($key) ? 'long_key' : 'string_key';
            $arguments[] = new Php\PelorinArrayElement([$member => $key, 'value' => self::value($node)]);
        }
        return new Php\StackTraceFrame([
            'name' => $facts['name'],
            'file' => $facts['file'],
            'line' => $facts['line'],
            'arguments' => new Php\PelorinArray(['elements' => $arguments]),
            'frame_number' => $facts['number'],
        ]);
    }

    private static function value(array $node): Php\ZVal
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

    /** What json_encode() is to write for a node. */
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
        // Only what would be written as a list becomes an object: those lose the keys that begin with NUL.
        return array_is_list($map) ? (object) $map : $map;
    }
}
