#pragma once

namespace tarnwick::test {

/// Whether the tests run with a sanitizer of memory or threads, which slows them down several times.
#ifdef TARNWICK_SANITIZED
inline constexpr bool is_sanitized = true;
#else
inline constexpr bool is_sanitized = false;
#endif

} // namespace tarnwick::test
