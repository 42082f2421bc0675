#pragma once

namespace tarnwick::test {

/// Whether the tests run with a sanitizer of memory or threads, which slows them down several times.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool is_sanitized = true;
#else
inline constexpr bool is_sanitized = false;
#endif

} // namespace tarnwick::test
