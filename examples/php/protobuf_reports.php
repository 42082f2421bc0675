<?php

declare(strict_types=1);

namespace Tarnwick\Example;

use Google\Protobuf\Duration;
use Google\Protobuf\Timestamp;
use Pelorin\Protobuf\CT;
use Pelorin\Protobuf\Glimmet;
use Pelorin\Protobuf\Monitor;
use Pelorin\Protobuf\PelorinPHP as Php;

/** Encodes facts as messages of the protobuf dialect: one message for each fact. */
final class ProtobufReports
{
    // The numbers of an event's field `type`.
    private const EVENTS = [
        'slow_function' => 0, 'function_error' => 1, 'slow_request' => 2, 'high_memory_usage' => 3, 'php_error' => 4,
        'custom' => 5,
    ];
    private const IN_SOURCE = 1; // the kind of a function that has a location
    private const ABSENT = -1;

    public function __construct(private readonly FrameWriter $frames, private readonly int $request_id)
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
        $this->superglobals($facts['superglobals']);
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
            $error->setStackTrace(new Php\StackTrace(['frames' => ProtobufValues::frames($facts['frames'])]));
        }
        $this->append('error', $error);
    }

    /** Reports an event, preceded by the superglobals if they changed since their last report. */
    public function event(array $facts): void
    {
        if ($facts['superglobals'] !== null) {
            $this->superglobals($facts['superglobals']);
        }
        $fields = match ($facts['kind']) {
            'slow_function', 'slow_request' => ['duration' => new Duration(time_fields($facts['duration']))],
            'high_memory_usage' => ['usage' => $facts['usage']],
            'php_error' => ['php_error' => new Monitor\PhpErrorData([
                'error_name' => $facts['error']['name'],
                'error_number' => $facts['error']['number'],
                'message' => $facts['error']['message'],
                'file' => $facts['error']['file'],
                'line' => $facts['error']['line'],
            ])],
            'custom' => ['custom' => new Monitor\CustomData([
                'text_0' => $facts['text_0'],
                'text_1' => $facts['text_1'],
                'value' => ProtobufValues::value($facts['value']),
                'level' => $facts['level'],
            ])],
            'function_error' => [],
        };
        if ($facts['function'] !== null) {
            $fields['function'] = ProtobufValues::call($facts['function']);
        }
        $this->append('monitor_event', new Monitor\Event($fields + [
            'type' => self::EVENTS[$facts['kind']],
            'text' => $facts['text'],
            'timestamp' => new Timestamp(time_fields($facts['timestamp'])),
            'flag' => $facts['flag'],
            'frames' => ProtobufValues::frames($facts['frames'] ?? []),
        ]));
    }

    /** Writes chunks, each preceded by the request's id and the chunk's number: a reader skips these. */
    public function code_trace(array $facts): void
    {
        $this->append('ct_header', new CT\Header([
            'kind' => $facts['kind'],
            'format_minor' => 0,
            'format_major' => 1,
            'word_8' => $facts['records'],
            'word_12' => $facts['places'],
            'word_16' => $facts['record_size'],
            'long_24' => $facts['started'],
            'long_32' => $facts['duration'],
        ]));
        foreach (['ct_data' => $facts['body'], 'ct_add_data' => $facts['added']] as $member => $chunks) {
            foreach ($chunks as $i => $chunk) {
                $prefix = pack('JN', $this->request_id, $i);
                $beside = ['request_id' => $this->request_id, 'skip' => strlen($prefix)];
                $this->frames->append($member, $prefix . $chunk, $beside);
            }
        }
    }

    public function functions(array $facts): void
    {
        $functions = [];
        foreach ($facts['functions'] as $line) {
            $functions[] = new Glimmet\PBFunction([
                'name' => $line['name'],
                'file' => $line['file'],
                'time_first' => new Duration(time_fields($line['time'])),
                'time_second' => new Duration(time_fields($line['own'])),
                'kind' => $line['file'] !== '' ? self::IN_SOURCE : 0,
                'count' => $line['samples'],
                'line' => $line['line'],
                'line_extra' => $line['last_line'],
            ]);
        }
        $this->append('functions', new Glimmet\Functions(['functions' => $functions]));
    }

    public function sql(array $facts): void
    {
        $connections = $transactions = $queries = [];
        foreach ($facts['connections'] as $id => $connection) {
            $connections[] = new Glimmet\SqlConnection(['id' => $id] + $connection);
        }
        foreach ($facts['transactions'] as $id => $transaction) {
            $message = new Glimmet\SqlTransaction([
                'id' => $id,
                'time' => new Duration(time_fields($transaction['duration'])),
                'extra_number' => $transaction['rows'] ?? self::ABSENT,
            ]);
            if ($transaction['parent'] !== null) {
                $message->setParentId($transaction['parent']);
            }
            $transactions[] = $message;
        }
        foreach ($facts['queries'] as $query) {
            $message = new Glimmet\SqlQuery([
                'text' => $query['text'],
                'time' => new Duration(time_fields($query['duration'])),
                'stack_trace' => new Php\StackTrace(['frames' => ProtobufValues::frames($query['frames'])]),
                'kind' => $query['kind'],
                'status' => $query['status'],
                'wide_number' => $query['rows'],
                'extra_number' => $query['parameters'] ?? self::ABSENT,
                'source_kind' => $query['source'],
            ]);
            if ($query['error'] !== null) {
                $message->setError(new Glimmet\SqlError(['message' => $query['error']]));
            }
            if ($query['connection'] !== null) {
                $message->setConnectionId($query['connection']);
            }
            if ($query['transaction'] !== null) {
                $message->setTransactionId($query['transaction']);
            }
            $queries[] = $message;
        }
        $this->append('sql_connections', new Glimmet\SqlConnections(['connections' => $connections]));
        $this->append('sql_transactions', new Glimmet\SqlTransactions(['transactions' => $transactions]));
        $this->append('sql_queries', new Glimmet\SqlQueries(['queries' => $queries]));
    }

    public function storage(array $facts): void
    {
        $entries = [];
        foreach ($facts['entries'] as $name => $values) {
            $entries[] = new Glimmet\StorageEntry(['name' => (string) $name, 'values' => $values]);
        }
        $this->append('storage', new Glimmet\Storage(['name' => $facts['name'], 'entries' => $entries]));
    }

    private function superglobals(array $superglobals): void
    {
        $groups = [];
        foreach ($superglobals as [$name, $entries]) {
            $groups[] = new Monitor\SuperglobalGroup(['name' => $name, 'entries' => array_map(
                static fn (array $entry) => new Monitor\SuperglobalEntry([
                    'key' => (string) $entry[0],
                    'value' => ProtobufValues::value($entry[1]),
                ]),
                $entries
            )]);
        }
        $this->append('monitor_superglobals', new Monitor\Superglobals(['groups' => $groups]));
    }

    private function append(string $member, object $message): void
    {
        $this->frames->append($member, $message, ['request_id' => $this->request_id]);
    }

    private static function lines(array $headers): array
    {
        return array_map(static fn (array $header) => "$header[0]: $header[1]", $headers);
    }

    /** Encodes entries. A third element is the value at the start of the request, if the entry changed. */
    private static function entry(array $entry): Glimmet\SuperglobalEntry
    {
        $fields = ['key' => (string) $entry[0], 'value' => ProtobufValues::value($entry[1])];
        if (isset($entry[2])) {
            $fields['initial_value'] = ProtobufValues::value($entry[2]);
        }
        return new Glimmet\SuperglobalEntry($fields);
    }
}
