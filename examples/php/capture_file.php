<?php

declare(strict_types=1);

namespace Tarnwick\Example;

use Google\Protobuf\Internal\Message;
use Google\Protobuf\Timestamp;
use Tarnwick\Capture\V1\Frame;

/** Splits nanoseconds since 1970, or of a duration, into the two fields of a protobuf time. */
function time_fields(int $nanoseconds): array
{
    return ['seconds' => intdiv($nanoseconds, 1_000_000_000), 'nanos' => $nanoseconds % 1_000_000_000];
}

/** Returns the nanoseconds since 1970. */
function now(): int
{
    [$fraction, $seconds] = explode(' ', microtime());
    return (int) $seconds * 1_000_000_000 + (int) substr($fraction, 2, 6) * 1000;
}

/** Appends frames: a varint length and a Frame, in one write, so that several processes can share the file. */
final class CaptureFile
{
    public function __construct(private readonly string $path)
    {
    }

    /**
     * Envelopes of the rpc dialect contain the request id. For other messages and for chunks, the frame has the id.
     */
    public function append(string $member, Message|string $report, array $beside = []): void
    {
        $frame = (new Frame($beside + [
            'received' => new Timestamp(time_fields(now())),
            $member => is_string($report) ? $report : $report->serializeToString(),
        ]))->serializeToString();
        $delimited = self::varint(strlen($frame)) . $frame;

        $file = fopen($this->path, 'ab');
        flock($file, LOCK_EX);
        $written = fwrite($file, $delimited);
        fclose($file);
        if ($written !== strlen($delimited)) {
            throw new \RuntimeException("cannot append to $this->path");
        }
    }

    private static function varint(int $number): string
    {
        $bytes = '';
        while ($number > 0x7f) {
            $bytes .= chr($number & 0x7f | 0x80);
            $number >>= 7;
        }
        return $bytes . chr($number);
    }
}
