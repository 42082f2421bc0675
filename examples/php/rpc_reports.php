<?php

declare(strict_types=1);

namespace Tarnwick\Example;

use Google\Protobuf\Duration;
use Google\Protobuf\Timestamp;
use Tarnwick\Rpc\Php\V1 as Rpc;
use Tarnwick\Rpc\V1\VersionInfo;

/** Facts as messages of the rpc dialect: everything about one event in one envelope, values nested. */
final class RpcReports
{
    public function __construct(private readonly CaptureFile $file, private readonly int $request_id)
    {
    }

    public function start(array $facts): void
    {
        $request = new Rpc\Request([
            'text_0' => $facts['method'],
            'text_1' => $facts['path'],
            'bytes_1' => $facts['remote_address'],
            'headers' => self::header_array($facts['headers']),
        ]);
        if ($facts['query'] !== null) {
            $request->setBytes0($facts['query']);
        }
        if ($facts['body'] !== null) {
            $request->setPostData(new Rpc\PostData(self::body_fields($facts['body'])));
        }
        $version = new VersionInfo([
            'text' => PHP_VERSION,
            'major' => PHP_MAJOR_VERSION,
            'minor' => PHP_MINOR_VERSION,
            'patch' => PHP_RELEASE_VERSION,
            'number' => PHP_VERSION_ID,
        ]);
        $this->notify($facts['timestamp'], 'rinit', new Rpc\RInitPayload([
            'info' => new Rpc\Info(['text' => PHP_SAPI, 'number' => getmypid(), 'version' => $version]),
            'request' => $request,
            'superglobals' => self::groups($facts['superglobals']),
        ]));
    }

    public function end(array $facts): void
    {
        $changed = [];
        foreach ($facts['superglobals'] as [$name, $entries]) {
            $entries = array_filter($entries, static fn (array $entry): bool => count($entry) === 3);
            $changed[] = [$name, array_values($entries)];
        }
        $this->notify($facts['timestamp'], 'rshutdown', new Rpc\RShutdownPayload([
            'duration' => new Duration(time_fields($facts['duration'])),
            'response' => new Rpc\Response([
                'status' => $facts['status'],
                'headers' => self::header_array($facts['headers']),
                'body' => new Rpc\ResponseBody(self::body_fields($facts['body'])),
            ]),
            'memory' => new Rpc\Memory([
                'value_0' => $facts['memory'][0],
                'value_1' => $facts['memory'][1],
                'value_2' => $facts['memory'][2],
            ]),
            'superglobals' => self::groups($changed),
        ]));
    }

    public function error(array $facts): void
    {
        $fields = ['message' => $facts['message'], 'location' => self::location($facts['file'], $facts['line'])];
        if ($facts['frames'] !== null) {
            $fields['stack_trace'] = new Rpc\StackTrace(['frames' => array_map(self::frame(...), $facts['frames'])]);
        }
        if ($facts['number'] === 0) {
            $payload = ['exception' => new Rpc\Exception($fields + [
                'exception_name' => $facts['name'],
                'exception_text' => $facts['text'],
            ])];
        } else {
            $payload = ['error' => new Rpc\Error($fields + [
                'type' => new Rpc\ErrorType(['name' => $facts['name'], 'number' => $facts['number']]),
                'category' => $facts['category'],
            ])];
        }
        $this->notify($facts['timestamp'], 'error', new Rpc\ErrorPayload($payload));
    }

    private function notify(int $timestamp, string $member, object $payload): void
    {
        $this->file->append('rpc_php', new Rpc\NotifyRequest([
            'request_id' => new Rpc\RequestId(['id' => $this->request_id]),
            'timestamp' => new Timestamp(time_fields($timestamp)),
            $member => $payload,
        ]));
    }

    private static function body_fields(array $body): array
    {
        return ['text_0' => $body['bytes'], 'text_1' => $body['type'], 'number' => $body['length']];
    }

    private static function header_array(array $headers): Rpc\PelorinArray
    {
        return self::pairs(array_map(static fn (array $header) => [$header[0], ['string', $header[1]]], $headers));
    }

    private static function groups(array $groups): Rpc\PelorinArray
    {
        return self::pairs(array_map(static fn (array $group) => [$group[0], ['array', false, $group[1]]], $groups));
    }

    private static function location(string $file, int $line): Rpc\SourceLocation
    {
        return new Rpc\SourceLocation(['file' => $file, 'line' => $line]);
    }

    private static function frame(array $facts): Rpc\StackTraceFrame
    {
        $function = new Rpc\PBFunction(['name' => $facts['name'], 'arguments' => self::pairs($facts['arguments'])]);
        if ($facts['file'] !== '') {
            $function->setLocation(self::location($facts['file'], $facts['line']));
        }
        if ($facts['object'] !== null) {
            $function->setCallValue(self::value($facts['object']));
        }
        return new Rpc\StackTraceFrame(['function' => $function, 'frame_number' => $facts['number']]);
    }

    private static function pairs(array $pairs): Rpc\PelorinArray
    {
        $elements = [];
        foreach ($pairs as [$key, $node]) {
            $member = is_int($key) ? 'long_key' : 'string_key';
            $elements[] = new Rpc\PelorinArrayElement([$member => $key, 'value' => self::value($node)]);
        }
        return new Rpc\PelorinArray(['elements' => $elements]);
    }

    private static function value(array $node): Rpc\ZVal
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
