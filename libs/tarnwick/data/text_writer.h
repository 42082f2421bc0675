#pragma once

#include <tarnwick/data/description.h>
#include <tarnwick/data/time_pair.h>
#include <tarnwick/export.h>

#include <cstdint>
#include <string>
#include <string_view>

class QString;

namespace tarnwick::data {

/// Writes records on one line, for logs and debuggers, like `php.RShutdown{request_id: 7, duration: {0 s, 5 ns}, ...}`.
/// Texts stand in quotes with escapes, a null text is `null`, what is absent is `none`.
class TARNWICK_EXPORT TextWriter {
public:
    [[nodiscard]] std::string const &line() const noexcept { return out_; }

    void begin_record(std::string_view name);
    void field(std::string_view name, Sense sense);
    void end_record();
    void absent();
    void integer(std::int64_t value);
    void integer(std::uint64_t value);
    void time(TimePair value);
    void text(QString const &value);

private:
    std::string out_;
    bool first_field_ = true;
};

} // namespace tarnwick::data
