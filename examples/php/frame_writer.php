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

/** Writes each report as a Frame, with the time at which it was made. */
abstract class FrameWriter
{
    /**
     * Envelopes of the rpc dialect contain the request id. For other messages and for chunks, the frame has the id.
     */
    public function append(string $member, Message|string $report, array $beside = []): void
    {
        $this->write((new Frame($beside + [
            'received' => new Timestamp(time_fields(now())),
            $member => is_string($report) ? $report : $report->serializeToString(),
        ]))->serializeToString());
    }

    abstract protected function write(string $frame): void;
}
