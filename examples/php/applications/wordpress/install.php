<?php

/* Installs the weblog: `install.php PASSWORD`. */

declare(strict_types=1);

$_SERVER['HTTP_HOST'] = '127.0.0.1:8101';
$_SERVER['REQUEST_URI'] = '/';
const WP_INSTALLING = true;

mysqli_query(mysqli_connect('localhost', 'root', socket: '/srv/demo/wordpress/mariadb.sock'), 'CREATE DATABASE weblog');
require '/usr/share/wordpress/wp-load.php';
require ABSPATH . 'wp-admin/includes/upgrade.php';
wp_install('Demo Weblog', 'admin', 'admin@example.org', true, '', $argv[1]);
update_option('comment_moderation', 0);
update_option('comment_previously_approved', 0);
