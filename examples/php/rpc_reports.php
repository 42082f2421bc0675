<?php

declare(strict_types=1);

namespace Tarnwick\Example;

use Google\Protobuf\Duration;
use Google\Protobuf\Timestamp;
use Tarnwick\Rpc\Codetrace\V1 as Codetrace;
use Tarnwick\Rpc\Glimmet\V1 as Glimmet;
use Tarnwick\Rpc\Monitor\V1 as Monitor;
use Tarnwick\Rpc\Php\V1 as Rpc;
use Tarnwick\Rpc\V1\VersionInfo;

/** Encodes facts as messages of the rpc dialect: everything about one event in one envelope. */
final class RpcReports
{
    public function __construct(private readonly FrameWriter $frames, private readonly int $request_id)
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
        if ($facts['number'] === 0) {
            $payload = ['exception' => new Rpc\Exception(self::error_fields($facts) + [
                'exception_name' => $facts['name'],
                'exception_text' => $facts['text'],
            ])];
        } else {
            $payload = ['error' => self::php_error($facts)];
        }
        $this->notify($facts['timestamp'], 'error', new Rpc\ErrorPayload($payload));
    }

    /** Sets the call and the stack if this dialect's message of the kind has fields for them. */
    public function event(array $facts): void
    {
        $calls = [];
        if ($facts['function'] !== null) {
            $calls['function'] = RpcValues::call($facts['function']);
        }
        if ($facts['frames'] !== null) {
            $calls['stack_trace'] = RpcValues::stack_trace($facts['frames']);
        }
        $event = match ($facts['kind']) {
            'function_error' => ['function_error' => new Monitor\FunctionError($calls)],
            'slow_function' => ['slow_function_exec' => new Monitor\SlowFunctionExec($calls + [
                'duration' => new Duration(time_fields($facts['duration'])),
            ])],
            'php_error' => ['php_error' => new Monitor\PhpError(['error' => self::php_error($facts['error'])])],
            'slow_request' => ['slow_request' => new Monitor\SlowRequest([
                'duration' => new Duration(time_fields($facts['duration'])),
            ])],
            'high_memory_usage' => ['high_memory_usage' => new Monitor\HighMemoryUsage(['usage' => $facts['usage']])],
            'custom' => ['custom' => new Monitor\Custom([
                'text_0' => $facts['text_0'],
                'text_1' => $facts['text_1'],
                'value' => RpcValues::value($facts['value']),
                'stack_trace' => $calls['stack_trace'],
                'level' => $facts['level'],
            ])],
        };
        $this->frames->append('rpc_monitor', new Monitor\NotifyRequest($event + $this->envelope($facts['timestamp']) + [
            'text' => $facts['text'],
            'flag' => $facts['flag'],
        ]));
    }

    public function code_trace(array $facts): void
    {
        $this->frames->append('rpc_codetrace', new Codetrace\NotifyRequest([
            'request_id' => new Rpc\RequestId(['id' => $this->request_id]),
            'header' => new Codetrace\HeaderPayload([
                'request' => new Codetrace\Request(['kind' => $facts['kind'] + 1]),
                'format_minor' => 0,
                'format_major' => 1,
                'word_8' => $facts['records'],
                'word_12' => $facts['places'],
                'word_16' => $facts['record_size'],
                'long_24' => $facts['started'],
                'long_32' => $facts['duration'],
            ]),
        ]));
        foreach (['rpc_data' => $facts['body'], 'rpc_add_data' => $facts['added']] as $member => $chunks) {
            foreach ($chunks as $i => $chunk) {
                $more = $i < count($chunks) - 1;
                $this->frames->append($member, $chunk, ['request_id' => $this->request_id, 'more' => $more]);
            }
        }
    }

    public function functions(array $facts): void
    {
        $functions = [];
        foreach ($facts['functions'] as $line) {
            $function = new Glimmet\PBFunction(['name' => $line['name'], 'stats' => new Glimmet\FunctionStats([
                'time_first' => new Duration(time_fields($line['time'])),
                'time_second' => new Duration(time_fields($line['own'])),
                'count' => $line['samples'],
            ])]);
            if ($line['file'] !== '') {
                $location = RpcValues::location($line['file'], $line['line']);
                $function->setLocation($location->setLineExtra($line['last_line']));
            }
            $functions[] = $function;
        }
        $this->profiled('functions', new Glimmet\Functions(['functions' => $functions]));
    }

    public function sql(array $facts): void
    {
        $connections = $transactions = $queries = [];
        foreach ($facts['connections'] as $id => $connection) {
            $connections[] = new Glimmet\SqlConnection(['id' => $id] + $connection);
        }
        foreach ($facts['transactions'] as $id => $transaction) {
            $transactions[] = new Glimmet\SqlTransaction(['id' => $id] + self::present([
                'parent_id' => $transaction['parent'],
                'extra_number' => $transaction['rows'],
                'time' => new Duration(time_fields($transaction['duration'])),
            ]));
        }
        foreach ($facts['queries'] as $query) {
            $queries[] = new Glimmet\SqlQuery(self::present([
                'text' => $query['text'],
                'error' => $query['error'] === null ? null : new Glimmet\SqlError(['message' => $query['error']]),
                'time' => new Duration(time_fields($query['duration'])),
                'stack_trace' => RpcValues::stack_trace($query['frames']),
                'kind' => $query['kind'],
                'connection_id' => $query['connection'],
                'source_kind' => $query['source'],
                'transaction_id' => $query['transaction'],
                'wide_number' => $query['rows'],
                'status' => $query['status'],
                'extra_number' => $query['parameters'],
            ]));
        }
        $this->profiled('sql_queries', new Glimmet\SqlQueries([
            'connections' => $connections,
            'transactions' => $transactions,
            'queries' => $queries,
        ]));
    }

    public function storage(array $facts): void
    {
        $entries = [];
        foreach ($facts['entries'] as $name => $values) {
            $entries[] = new Glimmet\StorageEntry(['name' => (string) $name, 'values' => $values]);
        }
        $this->profiled('storage', new Glimmet\Storage(['name' => $facts['name'], 'entries' => $entries]));
    }

    private function notify(int $timestamp, string $member, object $payload): void
    {
        $this->frames->append('rpc_php', new Rpc\NotifyRequest([$member => $payload] + $this->envelope($timestamp)));
    }

    private function profiled(string $member, object $payload): void
    {
        $this->frames->append('rpc_glimmet', new Glimmet\NotifyRequest([$member => $payload] + $this->envelope(now())));
    }

    private function envelope(int $timestamp): array
    {
        return [
            'request_id' => new Rpc\RequestId(['id' => $this->request_id]),
            'timestamp' => new Timestamp(time_fields($timestamp)),
        ];
    }

    /** Sets the fields that are not null. */
    private static function present(array $fields): array
    {
        return array_filter($fields, static fn (mixed $value): bool => $value !== null);
    }

    private static function php_error(array $facts): Rpc\Error
    {
        return new Rpc\Error(self::error_fields($facts) + [
            'type' => new Rpc\ErrorType(['name' => $facts['name'], 'number' => $facts['number']]),
            'category' => $facts['category'],
        ]);
    }

    private static function error_fields(array $facts): array
    {
        $fields = [
            'message' => $facts['message'],
            'location' => RpcValues::location($facts['file'], $facts['line']),
        ];
        if ($facts['frames'] !== null) {
            $fields['stack_trace'] = RpcValues::stack_trace($facts['frames']);
        }
        return $fields;
    }

    private static function body_fields(array $body): array
    {
        return ['text_0' => $body['bytes'], 'text_1' => $body['type'], 'number' => $body['length']];
    }

    private static function header_array(array $headers): Rpc\PelorinArray
    {
        return RpcValues::pairs(array_map(static fn (array $header) => [$header[0], ['string', $header[1]]], $headers));
    }

    private static function groups(array $groups): Rpc\PelorinArray
    {
        return RpcValues::pairs(array_map(
            static fn (array $group) => [$group[0], ['array', false, $group[1]]],
            $groups
        ));
    }
}
