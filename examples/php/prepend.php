<?php

/*
 * Reports every request of a PHP application as frames of a capture, each fact in both dialects.
 * Used as `auto_prepend_file`; README.md describes each report.
 *
 * Settings are in PHP's configuration or on its command line, where the application does not see them:
 *   tarnwick.capture=FILE        the capture file, appended to
 *   tarnwick.endpoint=ADDRESS    instead of a file: where `tarnwick record` receives frames, with the extension zmq
 *   tarnwick.curve_keys=FILE     the key file of this side, which `tarnwick keys` creates
 *   tarnwick.server_key=FILE     the public key of the receiver
 *   tarnwick.classes=FOLDER      the message classes that protoc made
 */

declare(strict_types=1);

namespace Tarnwick\Example;

// An application may start a second request inside the first; only the outer one is reported.
if (defined('TARNWICK_EXAMPLE_RECORDER')) {
    return;
}
define('TARNWICK_EXAMPLE_RECORDER', true);

require __DIR__ . '/frame_writer.php';
require __DIR__ . '/capture_file.php';
require __DIR__ . '/capture_socket.php';
require __DIR__ . '/snapshot.php';
require __DIR__ . '/rpc_values.php';
require __DIR__ . '/rpc_reports.php';
require __DIR__ . '/protobuf_values.php';
require __DIR__ . '/protobuf_reports.php';
require __DIR__ . '/reports.php';
require __DIR__ . '/trace.php';
require __DIR__ . '/calls.php';
require __DIR__ . '/request_facts.php';
require __DIR__ . '/handlers.php';
require __DIR__ . '/code_trace.php';
require __DIR__ . '/monitor.php';
require __DIR__ . '/profiler.php';
require __DIR__ . '/sql.php';
require __DIR__ . '/storage.php';
require __DIR__ . '/recorder.php';

spl_autoload_register(static function (string $class): void {
    foreach ([get_cfg_var('tarnwick.classes'), '/usr/share/php'] as $folder) {
        $file = $folder . '/' . strtr($class, '\\', '/') . '.php';
        if (preg_match('/^(Tarnwick|Pelorin|GPBMetadata|Google\\\\Protobuf)\\\\/', $class) && is_file($file)) {
            require $file;
            return;
        }
    }
});

try {
    $setting = static fn (string $name): string => (string) get_cfg_var("tarnwick.$name");
    Recorder::begin($setting('endpoint') === '' ? new CaptureFile($setting('capture'))
        : new CaptureSocket($setting('endpoint'), $setting('curve_keys'), $setting('server_key')));
} catch (\Throwable $fault) {
    error_log('this request is not reported: ' . $fault->getMessage());
} finally {
    unset($setting, $fault);
}
