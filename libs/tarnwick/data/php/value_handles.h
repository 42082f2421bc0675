#pragma once

// The former name of `zval_handles.h`, for programs that include it.

#include <tarnwick/data/php/zval_handles.h>
