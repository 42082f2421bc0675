<?php

/* Read by the wiki before anything else: its settings, its plugins. */

declare(strict_types=1);

const DOKU_CONF = '/srv/demo/dokuwiki/conf/';
const DOKU_PLUGIN = '/srv/demo/dokuwiki/plugins/';
