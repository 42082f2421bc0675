<?php

declare(strict_types=1);

namespace Tarnwick\Example;

/** Appends frames to a file: a varint length and a Frame, in one write, so that several processes can share the file. */
final class CaptureFile extends FrameWriter
{
    public function __construct(private readonly string $path)
    {
    }

    protected function write(string $frame): void
    {
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
