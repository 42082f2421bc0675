#pragma once

#define TARNWICK_EXPORT __attribute__((visibility("default")))
