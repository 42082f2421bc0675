<?php

declare(strict_types=1);

namespace Tarnwick\Example;

/**
 * Sends each frame as one ZeroMQ message to `tarnwick record`. Never waits: frames that find the queue full are dropped.
 *
 * A PHP process has one socket for all its requests, which connects in a thread of ZeroMQ, and again whenever the
 * connection ends.
 */
final class CaptureSocket extends FrameWriter
{
    private const QUEUE = 1000; // frames of a process that wait for the receiver
    private const LINGER = 1000; // milliseconds that the end of a process waits for frames on their way
    private const RECONNECT = 100; // milliseconds until the second try to connect; doubles up to the next figure
    private const RECONNECT_MAX = 5000;

    private readonly \ZMQSocket $socket;
    private bool $dropped = false;

    /**
     * @param string $keys the key file of this side, as `tarnwick keys` creates it; empty without encryption
     * @param string $server_key the file with the receiver's public key
     */
    public function __construct(string $endpoint, string $keys, string $server_key)
    {
        if (!class_exists(\ZMQSocket::class)) {
            throw new \RuntimeException('the extension zmq is not loaded');
        }
        // The process forgets neither the context nor the socket at the end of a request.
        $this->socket = new \ZMQSocket(
            new \ZMQContext(1, true),
            \ZMQ::SOCKET_PUSH,
            "tarnwick $endpoint",
            static fn (\ZMQSocket $socket) => self::connect($socket, $endpoint, $keys, $server_key)
        );
    }

    /** Drops the rest of a request with the first frame that is dropped: a request has no gaps, but may have no end. */
    protected function write(string $frame): void
    {
        $this->dropped = $this->dropped || $this->socket->send($frame, \ZMQ::MODE_DONTWAIT) === false;
    }

    private static function connect(\ZMQSocket $socket, string $endpoint, string $keys, string $server_key): void
    {
        $socket->setSockOpt(\ZMQ::SOCKOPT_SNDHWM, self::QUEUE);
        $socket->setSockOpt(\ZMQ::SOCKOPT_LINGER, self::LINGER);
        $socket->setSockOpt(\ZMQ::SOCKOPT_RECONNECT_IVL, self::RECONNECT);
        $socket->setSockOpt(\ZMQ::SOCKOPT_RECONNECT_IVL_MAX, self::RECONNECT_MAX);
        if ($keys !== '' || $server_key !== '') {
            [$public, $secret] = self::lines($keys, 2);
            $socket->setSockOpt(\ZMQ::SOCKOPT_CURVE_PUBLICKEY, $public);
            $socket->setSockOpt(\ZMQ::SOCKOPT_CURVE_SECRETKEY, $secret);
            $socket->setSockOpt(\ZMQ::SOCKOPT_CURVE_SERVERKEY, self::lines($server_key, 1)[0]);
        }
        try {
            $socket->connect($endpoint);
        } catch (\ZMQSocketException $fault) {
            throw new \RuntimeException("cannot connect to $endpoint: {$fault->getMessage()}", previous: $fault);
        }
    }

    /** @return list<string> the keys of a file, one a line */
    private static function lines(string $file, int $count): array
    {
        $lines = $file === '' ? false : @file($file, FILE_IGNORE_NEW_LINES);
        if ($lines === false || count($lines) !== $count || strlen($lines[0]) !== 40) {
            throw new \RuntimeException("cannot read CURVE keys in $count lines from '$file'");
        }
        return $lines;
    }
}
