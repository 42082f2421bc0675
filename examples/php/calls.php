<?php

// Not strict, as most applications are not: what they pass to PHP's functions is converted.

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

    /** By place or by name. */
    public function first_argument(): string
    {
        return (string) (array_values($this->arguments)[0] ?? '');
    }

    /** PHP's functions return false when they fail. */
    public function failed(): bool
    {
        return $this->result === false || $this->fault !== null;
    }

    /** The call and what led to it, as PHP's traces are. Can be taken while the call is being told of. */
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

    /** PHP keeps secrets out of its traces. */
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

/** Stands in front of functions and methods of PHP, by means of the uopz extension, and tells what came of each call. */
final class Calls
{
    /** Where PHP sees the calls come from. */
    public const FILE = __FILE__;

    /** @var array<string, list<\Closure(Call): void>> */
    private array $before = [];
    /** @var array<string, list<\Closure(Call): void>> */
    private array $after = [];
    private bool $telling = false;

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

    /** For the replacements. What listeners and reports call themselves is told to nobody. */
    public function listening(): bool
    {
        return !$this->telling && !$this->reports->busy();
    }

    public function begins(Call $call): void
    {
        $this->tell($this->before, $call);
    }

    public function ended(Call $call): void
    {
        $this->tell($this->after, $call);
    }

    private function tell(array $listeners, Call $call): void
    {
        $this->telling = true;
        try {
            foreach ($listeners["$call->class::$call->function"] ?? [] as $listener) {
                $listener($call);
            }
        } catch (\Throwable $fault) {
            error_log("a call was not reported: $fault");
        } finally {
            $this->telling = false;
        }
    }

    /** The extension gives a method's replacement the object and the rights of the method. */
    private static function in_front_of(string $class, string $function, self $calls): \Closure
    {
        return function (...$arguments) use ($class, $function, $calls) {
            // Named with its class, the method is PHP's own also where the application overrides it.
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
