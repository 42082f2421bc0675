<?php

declare(strict_types=1);

namespace Tarnwick\Example;

/** Reads the facts of the request and of its response from PHP. Bodies and headers are raw bytes. */
final class RequestFacts
{
    public const BODY_LIMIT = 1024;

    public static function start(): array
    {
        $uri = explode('?', $_SERVER['REQUEST_URI'] ?? '', 2);
        return [
            'timestamp' => now(),
            'method' => $_SERVER['REQUEST_METHOD'] ?? '',
            'path' => $uri[0],
            'query' => $uri[1] ?? null,
            'remote_address' => $_SERVER['REMOTE_ADDR'] ?? '',
            'headers' => array_map(null, array_keys(getallheaders()), array_values(getallheaders())),
            'body' => self::body(),
            'superglobals' => self::superglobals(),
        ];
    }

    /** @return array [name, [[key, node], ...]] for each superglobal */
    public static function superglobals(): array
    {
        // Named one by one: PHP fills $_SERVER and $_ENV only for scripts that name them.
        $values = [
            '_GET' => $_GET, '_POST' => $_POST, '_COOKIE' => $_COOKIE, '_FILES' => $_FILES,
            '_SERVER' => $_SERVER, '_ENV' => $_ENV, '_SESSION' => $_SESSION ?? [],
        ];
        $groups = [];
        foreach ($values as $name => $entries) {
            $groups[] = [$name, is_array($entries) ? Snapshot::of_input($entries)[2] : []];
        }
        return $groups;
    }

    /**
     * Returns the current superglobals in the order of the start, in which an application may have sorted them anew.
     * A changed entry has its value at the start as a third element: undefined if the entry is new, and then it follows
     * the others. A removed entry is null.
     */
    public static function changes_since(array $start): array
    {
        $groups = [];
        foreach (self::superglobals() as $i => [$name, $entries]) {
            $now = array_column($entries, 1, 0);
            $merged = [];
            foreach ($start[$i][1] as [$key, $initial]) {
                $node = $now[$key] ?? ['null'];
                $merged[] = $node === $initial ? [$key, $node] : [$key, $node, $initial];
                unset($now[$key]);
            }
            foreach ($now as $key => $node) {
                $merged[] = [$key, $node, ['undefined']];
            }
            $groups[] = [$name, $merged];
        }
        return $groups;
    }

    public static function response_headers(): array
    {
        return array_map(static fn (string $line) => preg_split('/: */', $line, 2) + [1 => ''], headers_list());
    }

    /** PHP does not pass on the body of a form with files: the bytes are empty here, the length is not. */
    private static function body(): ?array
    {
        $length = $_SERVER['CONTENT_LENGTH'] ?? $_SERVER['HTTP_CONTENT_LENGTH'] ?? '';
        if ($length === '') {
            return null;
        }
        return [
            'bytes' => (string) file_get_contents('php://input', length: self::BODY_LIMIT),
            'type' => $_SERVER['CONTENT_TYPE'] ?? '',
            'length' => (int) $length,
        ];
    }
}
