<?php

/* A plugin with faults: {{forecast>PLACE}} fails with a place that it does not know. */

declare(strict_types=1);

use dokuwiki\Extension\SyntaxPlugin;

class syntax_plugin_forecast extends SyntaxPlugin
{
    private const HOURS = ['north' => 6, 'süd' => 12];

    public function getType()
    {
        return 'substition';
    }

    public function getSort()
    {
        return 300;
    }

    public function connectTo($mode)
    {
        $this->Lexer->addSpecialPattern('\{\{forecast>[^}]+\}\}', $mode, 'plugin_forecast');
    }

    public function handle($match, $state, $pos, Doku_Handler $handler)
    {
        return substr($match, strlen('{{forecast>'), -2);
    }

    public function render($mode, Doku_Renderer $renderer, $place)
    {
        if ($place === 'everywhere') {
            // The request runs out of memory.
            for ($all = []; ; $all[] = str_repeat('rain', 1 << 20));
        }
        $renderer->cdata(self::text($place, self::HOURS[$place]));
        return true;
    }

    private static function text(string $place, int $hours): string
    {
        return "$place: rain in $hours h";
    }
}
