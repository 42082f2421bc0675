<?php

/* The weblog's settings: its database, its files, no requests to other servers. */

declare(strict_types=1);

const DB_NAME = 'weblog';
const DB_USER = 'root';
const DB_PASSWORD = '';
const DB_HOST = 'localhost:/srv/demo/wordpress/mariadb.sock';
const WP_CONTENT_DIR = '/srv/demo/wordpress/content';
const WP_HTTP_BLOCK_EXTERNAL = true;
// The server answers one request at a time: a request to itself would wait for its own end.
const DISABLE_WP_CRON = true;
