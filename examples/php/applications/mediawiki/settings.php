<?php

/*
 * The end of the wiki's LocalSettings.php: uploads, reports of the exceptions that the wiki catches itself,
 * an event for each page saved, and an extension with a fault.
 */

declare(strict_types=1);

use Tarnwick\Example\Recorder;

$wgEnableUploads = true;
$wgUploadDirectory = '/srv/demo/mediawiki/images';
$wgFileExtensions[] = 'txt';
$wgMainCacheType = CACHE_NONE;
$wgJobRunRate = 0;

// The wiki wraps each PHP error in an ErrorException for its log: those are reported as errors.
$wgHooks['LogException'][] = static function (Throwable $exception): void {
    if (class_exists(Recorder::class, false) && !$exception instanceof ErrorException) {
        Recorder::caught($exception);
    }
};

$wgHooks['PageSaveComplete'][] = static function ($page, $user, string $summary, int $flags, $revision): void {
    if (class_exists(Recorder::class, false)) {
        $edit = ['summary' => $summary, 'bytes' => $revision->getSize(), 'first' => (bool) ($flags & EDIT_NEW)];
        Recorder::event('page saved', $page->getTitle()->getPrefixedText(), $edit, 0);
    }
};

$wgHooks['BeforePageDisplay'][] = static function ($output, $skin): void {
    $forecast = static fn (array $stations, string $name, float $hours) => "$stations[$name] in $hours h";
    if ($output->getTitle()->getText() === 'Weather') {
        $output->addSubtitle($forecast(['north' => 'rain', 'south' => ['sun', 'wind']], 'south', 2.5));
        $output->addSubtitle($forecast(['north' => 'rain', 'south' => ['sun', 'wind']], 'west', 6.0));
    }
};
