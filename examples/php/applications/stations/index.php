<?php

/*
 * Readings of some weather stations, with pages that are slow, use much memory, fail silently, or do one thing that is
 * worth an event.
 */

declare(strict_types=1);

namespace Demo;

use Tarnwick\Example\Recorder;

require __DIR__ . '/ledger.php';

class Station
{
    private array $readings = ['rain' => 7.5, 'wind' => [3, 4.5, null]];

    public function __construct(public readonly string $name, protected ?self $neighbour = null)
    {
    }

    /** The station answers late. */
    public function ask(int $milliseconds): array
    {
        usleep($milliseconds * 1000);
        return $this->readings;
    }

    public function seal(string $secret): string
    {
        return hash_pbkdf2('sha512', $secret, $this->name, 200_000);
    }
}

function forecast(int $depth): float
{
    return $depth === 0 ? sin(hrtime(true)) : (forecast($depth - 1) + smooth(forecast($depth - 1))) / 2;
}

function smooth(float $value): float
{
    $sum = 0.0;
    for ($i = 1; $i < 20; ++$i) {
        $sum += $value ** $i / $i;
    }
    return $sum;
}

header('Content-Type: text/plain; charset=utf-8');
$north = new Station('north', new Station('süd'));
switch (explode('?', $_SERVER['REQUEST_URI'])[0]) {
    case '/ask':
        print_r($north->ask(milliseconds: 30));
        break;
    case '/seal':
        echo $north->seal("not to be seen \xff"), "\n";
        break;
    case '/forecast':
        $end = hrtime(true) + 1_100_000_000;
        while (hrtime(true) < $end) {
            forecast(8);
        }
        echo "rain\n";
        break;
    case '/archive':
        rename('/srv/demo/no such readings', '/srv/demo/archive');
        @unlink('/srv/demo/no such archive');
        echo "nothing to archive\n";
        break;
    case '/map':
        $map = str_repeat('~', 40 << 20);
        echo strlen($map), " fields\n";
        break;
    case '/alarm':
        Recorder::event('gauge', 'filling', 41.5, -1);
        Recorder::event('gauge', 'full', ['station' => 'north', 'mm' => [41, 42], 'since' => null], 0);
        Recorder::event('gauge', "over\0flow", $north, 1);
        Recorder::event('gauge', '', "\xffraw", 7);
        break;
    case '/visit':
        session_save_path('/srv/demo/sessions');
        session_start(['cookie_samesite' => 'Lax']);
        $_SESSION['visits'] = ($_SESSION['visits'] ?? 0) + 1;
        $_SESSION['station'] = $north;
        Recorder::event('visit', (string) $_SESSION['visits'], $_GET, 0);
        break;
    case '/ledger':
        keep_books('/srv/demo/stations.sqlite');
        break;
    case '/scratch':
        keep_scratch_notes();
        break;
    case '/sort-part':
        Recorder::trace();
    case '/sort':
        require __DIR__ . '/sort.php';
        $north->ask(milliseconds: 25);
        break;
    default:
        http_response_code(404);
}
