#pragma once

#define PCOMMON_EXPORT __attribute__((visibility("default")))
