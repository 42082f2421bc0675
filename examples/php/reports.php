<?php

declare(strict_types=1);

namespace Tarnwick\Example;

/** Passes each fact to both dialects. A fault of the recorder never reaches the application. */
final class Reports
{
    /** @var list<RpcReports|ProtobufReports> */
    private readonly array $dialects;
    private bool $busy = false;

    public function __construct(FrameWriter $frames)
    {
        $request_id = unpack('q', random_bytes(8))[1];
        $this->dialects = [new RpcReports($frames, $request_id), new ProtobufReports($frames, $request_id)];
    }

    /** Whether a report is being written: calls are then made by the recorder itself. */
    public function busy(): bool
    {
        return $this->busy;
    }

    /** @param string $kind the name of a method that both dialects have */
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
