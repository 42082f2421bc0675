<?php

/* A plugin with faults, by short codes: [forecast of="west"], [readings] and [totals]. */

declare(strict_types=1);

use Tarnwick\Example\Recorder;

// A place without a forecast is a warning and then a TypeError.
add_shortcode('forecast', static function (array $attributes): string {
    $hours = ['north' => 6, 'süd' => 12];
    $text = static fn (string $place, int $hours): string => "<p>$place: rain in $hours h</p>";
    return $text($attributes['of'], $hours[$attributes['of']]);
});

// The statement fails, and the page does not.
add_shortcode('readings', static function (): string {
    global $wpdb;
    return '<p>' . count($wpdb->get_results("SELECT * FROM readings WHERE place = 'süd'")) . ' readings</p>';
});

// The request runs out of memory.
add_shortcode('totals', static function (): string {
    for ($totals = []; ; $totals[] = str_repeat('total', 1 << 20));
});

// A test sends its comments at once.
add_filter('wp_is_comment_flood', '__return_false', 99);

add_action('wp_insert_comment', static function (int $id, WP_Comment $comment): void {
    if (class_exists(Recorder::class, false)) {
        $facts = ['post' => (int) $comment->comment_post_ID, 'bytes' => strlen($comment->comment_content)];
        Recorder::event('comment', $comment->comment_author, $facts, 0);
    }
}, 10, 2);
