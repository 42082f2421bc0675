<?php

declare(strict_types=1);
declare(ticks=1);

namespace Demo;

function insertion_sort(array $readings): array
{
    for ($i = 1; $i < count($readings); ++$i) {
        $reading = $readings[$i];
        $place = $i;
        while ($place > 0 && $readings[$place - 1] > $reading) {
            $readings[$place] = $readings[$place - 1];
            --$place;
        }
        $readings[$place] = $reading;
    }
    return $readings;
}

function sort_each(array $stations): array
{
    $sorted = [];
    foreach ($stations as $name => $readings) {
        $sorted[$name] = insertion_sort($readings);
    }
    return $sorted;
}

$sorted = sort_each([
    'north' => [9, 4, 7, 1, 8, 2, 6, 3, 5],
    'south' => [1013.2, 998.7, 1021.4, 1002.9, 1009.1, 987.3, 1015.5],
    'west' => array_reverse(range('a', 'o')),
]);
echo json_encode($sorted), "\n";
