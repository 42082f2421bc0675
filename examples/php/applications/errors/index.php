<?php

/*
 * Pages that each fail in one way. Calls have arguments of every kind, so that the traces contain them.
 */

declare(strict_types=1);

namespace Demo;

enum Suit: string
{
    case Hearts = 'h';
}

class Station
{
    public array $readings = ['north' => [1013.25, NAN, -INF], 'south' => [], 7 => ['nested' => ['deeper' => [1]]]];
    protected ?self $neighbour = null;
    private string $label = "bytes \xff\xfe and \0 inside";

    public function measure(mixed ...$arguments): mixed
    {
        return (fn (array $table, string $key) => $table[$key])($this->readings, 'west');
    }

    public static function locate(self $station, \DateTimeInterface $when): never
    {
        try {
            (new self())->parse('{"unfinished": ', depth: 3);
        } catch (\JsonException $cause) {
            throw new \RuntimeException('no place for the station', 17, $cause);
        }
    }

    public function parse(string $text, int $depth): mixed
    {
        return json_decode($text, flags: JSON_THROW_ON_ERROR, depth: $depth);
    }
}

class BrokenSessions extends \SessionHandler
{
    public function write(string $id, string $data): bool
    {
        trigger_error('the session store is full', E_USER_WARNING);
        return true;
    }
}

function arguments(): array
{
    return [
        null, true, PHP_INT_MIN, 0.1, 'text', [1, [2, [3, [4, [5]]]]], new Station(), Suit::Hearts,
        fopen('php://memory', 'r'), new \DateTimeImmutable('1969-12-31 23:59:58.25 UTC'), fn (int $x) => $x,
    ];
}

header('Content-Type: text/plain; charset=utf-8');
switch (explode('?', $_SERVER['REQUEST_URI'])[0]) {
    case '/warning':
        (new Station())->measure(...arguments(), named: "\xc3\x28");
        break;
    case '/notices':
        trigger_error('an old way of asking', E_USER_DEPRECATED);
        trigger_error("a notice with a NUL \0 in it", E_USER_NOTICE);
        $silent = @file_get_contents('/srv/demo/no such file');
        echo "three errors, one of them silent\n";
        break;
    case '/exception':
        Station::locate(new Station(), new \DateTimeImmutable('@1700000000.5'));
    case '/type-error':
        strlen(['not', 'a', 'string']);
        break;
    case '/fatal':
        $blocks = [];
        while (true) {
            $blocks[] = str_repeat('x', 1 << 20);
        }
    case '/echo':
        http_response_code(201);
        echo file_get_contents('php://input');
        break;
    case '/session':
        session_save_path('/srv/demo/sessions');
        if (isset($_GET['broken'])) {
            session_set_save_handler(new BrokenSessions(), false);
        }
        session_start(['cookie_samesite' => 'Lax']);
        $_SESSION['visits'] = ($_SESSION['visits'] ?? 0) + 1;
        $_SESSION['basket'][] = ['item' => $_GET['item'] ?? null, 'price' => 1.5];
        unset($_GET['item']);
        $_COOKIE['seen'] = '1';
        echo "visit {$_SESSION['visits']}\n";
        break;
    case '/picture':
        header('Content-Type: image/x-portable-graymap');
        echo "P5 128 64 255\n";
        for ($i = 0; $i < 128 * 64; ++$i) {
            echo chr($i * 37 & 0xff);
        }
        break;
    case '/nothing':
        http_response_code(204);
        break;
    case '/kill':
        posix_kill(getmypid(), SIGKILL);
    default:
        http_response_code(404);
        echo "not here\n";
}
