#pragma once

#include <tarnwick/data/php/zval.h>
