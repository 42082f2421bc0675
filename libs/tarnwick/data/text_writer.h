#pragma once

#include <tarnwick/data/description.h>
#include <tarnwick/data/time_pair.h>
#include <tarnwick/export.h>

#include <cstdint>
#include <string>
#include <string_view>

class QString;

namespace tarnwick::data {

/// Writes a record as one line of text for logs and debuggers, such as `php.RShutdown{request_id: 7, duration: {0 s, 5
/// ns}, ...}`. Texts and bytes are quoted and escaped. A null text is `null`, an absent value `none`, a PHP array
/// `["key" => value]`. Only the first bytes of a trace chunk are written.
class TARNWICK_EXPORT TextWriter {
public:
    /// Returns the text written so far.
    [[nodiscard]] std::string const &line() const noexcept { return out_; }

    void begin_record(std::string_view name);
    void field(std::string_view name, Sense sense);
    void end_record();
    void begin_alternative(std::string_view /*name*/) {}
    void end_alternative() {}
    void begin_list();
    void item();
    void end_list();
    void begin_entry() {}
    void entry_value();
    void end_entry() {}
    void begin_value(std::string_view kind);
    void end_value() {}
    void bare_value(std::string_view kind);
    void label(std::string_view /*meaning*/) {}
    void absent();
    void boolean(bool value);
    void integer(std::int64_t value);
    void integer(std::uint64_t value);
    void real(double value);
    void time(TimePair value);
    void text(QString const &value);
    void bytes(std::string_view value);
    void json(std::string_view value);
    void digits(std::string_view value);
    void chunk(std::string_view value);

private:
    void separate();

    std::string out_;
    bool first_ = true; ///< whether the innermost record or list is still empty
};

} // namespace tarnwick::data
