<?php

// Not strict, like most applications: their arguments to PHP's functions are converted.

namespace Tarnwick\Example;

/** One call of a watched function, from its beginning to its return. */
final class Call
{
    public int $began = 0;
    public int $duration = 0;
    public mixed $result = null;
    public ?\Throwable $fault = null;

    public function __construct(
        public readonly string $class,
        public readonly string $function,
        public readonly array $arguments,
        public readonly ?object $object,
    ) {
    }

    public function name(): string
    {
        return $this->class === '' ? $this->function : "$this->class->$this->function";
    }

    /** By position or by name. */
    public function first_argument(): string
    {
        return (string) (array_values($this->arguments)[0] ?? '');
    }

    /** PHP's functions return false when they fail. */
    public function failed(): bool
    {
        return $this->result === false || $this->fault !== null;
    }

    /** Returns the call and its callers in the form of PHP's traces. Only listeners may call it. */
    public function trace(bool $with_arguments): array
    {
        $innermost = ['file' => Calls::FILE, 'function' => $this->function];
        if ($this->class !== '') {
            $innermost += ['class' => $this->class, 'type' => '->'];
        }
        if (!$with_arguments) {
            return Trace::without_ours([$innermost, ...debug_backtrace(DEBUG_BACKTRACE_IGNORE_ARGS)]);
        }
        $innermost['args'] = $this->shown_arguments();
        if ($this->object !== null) {
            $innermost['object'] = $this->object;
        }
        return Trace::without_ours([$innermost, ...debug_backtrace(DEBUG_BACKTRACE_PROVIDE_OBJECT)]);
    }

    /** Arguments without secrets, as in PHP's traces. */
    private function shown_arguments(): array
    {
        $function = $this->class === '' ? new \ReflectionFunction($this->function)
            : new \ReflectionMethod($this->class, $this->function);
        $shown = $this->arguments;
        foreach ($function->getParameters() as $i => $parameter) {
            foreach ([$i, $parameter->getName()] as $key) {
                if (array_key_exists($key, $shown) && $parameter->getAttributes(\SensitiveParameter::class) !== []) {
                    $shown[$key] = new \SensitiveParameterValue($shown[$key]);
                }
            }
        }
        return $shown;
    }
}

/** Replaces functions and methods of PHP by means of the uopz extension, and notifies listeners of each call. */
final class Calls
{
    /** The file from which PHP sees the calls. */
    public const FILE = __FILE__;

    /** @var array<string, list<\Closure(Call): void>> */
    private array $before = [];
    /** @var array<string, list<\Closure(Call): void>> */
    private array $after = [];
    private bool $notifying = false;

    public function __construct(private readonly Reports $reports)
    {
    }

    /** Functions that take an argument by reference cannot be watched. */
    public function watch(string $class, string $function, \Closure $after, ?\Closure $before = null): void
    {
        $is_there = $class === '' ? function_exists($function) : method_exists($class, $function);
        if (!$is_there || !function_exists('uopz_set_return')) {
            return;
        }
        $name = "$class::$function";
        if (!isset($this->after[$name])) {
            $replacement = self::in_front_of($class, $function, $this);
            $class === '' ? uopz_set_return($function, $replacement, true)
                : uopz_set_return($class, $function, $replacement, true);
        }
        $this->after[$name][] = $after;
        if ($before !== null) {
            $this->before[$name][] = $before;
        }
    }

    /** For the replacements: calls by listeners and reports notify nobody. */
    public function listening(): bool
    {
        return !$this->notifying && !$this->reports->busy();
    }

    public function begins(Call $call): void
    {
        $this->notify($this->before, $call);
    }

    public function ended(Call $call): void
    {
        $this->notify($this->after, $call);
    }

    private function notify(array $listeners, Call $call): void
    {
        $this->notifying = true;
        try {
            foreach ($listeners["$call->class::$call->function"] ?? [] as $listener) {
                $listener($call);
            }
        } catch (\Throwable $fault) {
            error_log("a call was not reported: $fault");
        } finally {
            $this->notifying = false;
        }
    }

    /** The extension binds a method's replacement to the object, with access to private members. */
    private static function in_front_of(string $class, string $function, self $calls): \Closure
    {
        return function (...$arguments) use ($class, $function, $calls) {
            // The class name selects PHP's own method even if the application overrides it.
            if (!$calls->listening()) {
                return $class === '' ? $function(...$arguments) : $class::$function(...$arguments);
            }
            $call = new Call($class, $function, $arguments, isset($this) ? $this : null);
            $calls->begins($call);
            $call->began = hrtime(true);
            try {
                $call->result = $class === '' ? $function(...$arguments) : $class::$function(...$arguments);
            } catch (\Throwable $fault) {
                $call->fault = $fault;
            }
            $call->duration = hrtime(true) - $call->began;
            if ($call->fault !== null) {
                Trace::take_ours_out_of($call->fault);
            }
            $calls->ended($call);
            if ($call->fault !== null) {
                throw $call->fault;
            }
            return $call->result;
        };
    }
}
