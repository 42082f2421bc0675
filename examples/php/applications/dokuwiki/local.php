<?php

/* The wiki's settings: its files, who may edit. */

$conf['title'] = 'Demo Wiki';
$conf['savedir'] = '/srv/demo/dokuwiki/data';
$conf['useacl'] = 1;
$conf['superuser'] = '@admin';
$conf['subscribers'] = 1;
$conf['send404'] = 1;
$conf['remote'] = 1;
$conf['remoteuser'] = '';
