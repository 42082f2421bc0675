<?php

declare(strict_types=1);

namespace Tarnwick\Example;

/** The way out: each fact goes to both dialects. A fault of ours never reaches the application. */
final class Reports
{
    /** @var list<RpcReports|ProtobufReports> */
    private readonly array $dialects;
    private bool $busy = false;

    public function __construct(CaptureFile $file)
    {
        $request_id = unpack('q', random_bytes(8))[1];
        $this->dialects = [new RpcReports($file, $request_id), new ProtobufReports($file, $request_id)];
    }

    /** Whether a report is being written: what PHP does now is our own doing. */
    public function busy(): bool
    {
        return $this->busy;
    }

    /** @param string $kind a method of both dialects */
    public function send(string $kind, array $facts): void
    {
        if ($this->busy) {
            return;
        }
        $this->busy = true;
        try {
            foreach ($this->dialects as $dialect) {
                $dialect->$kind($facts);
            }
        } catch (\Throwable $fault) {
            error_log("a report was lost: $fault");
        } finally {
            $this->busy = false;
        }
    }
}
