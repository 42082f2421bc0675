#pragma once

#include "print/readable_text.h"

#include <tarnwick/data/description.h>
#include <tarnwick/data/time_pair.h>

#include <cstdint>
#include <string>
#include <string_view>

class QString;

namespace tarnwick::program {

/// Writes values on one line for people, PHP arrays as `["key" => value]`.
class LineWriter {
public:
    /// `length`: of quoted texts.
    explicit LineWriter(bool has_quotes = true, TextLength length = TextLength::cut)
        : has_quotes_(has_quotes)
        , length_(length)
    {
    }

    [[nodiscard]] std::string const &text() const { return out_; }
    /// Starts a new line.
    void clear() { out_.clear(); }

    void begin_record(std::string_view /*name*/) { open('{'); }
    void field(std::string_view name, data::Sense sense);
    void end_record() { close('}'); }
    void begin_alternative(std::string_view name) { value(name); }
    void end_alternative() {}
    void begin_list() { open('['); }
    void item() { separate(); }
    void end_list() { close(']'); }
    void begin_entry() {}
    void entry_value() { out_ += " => "; }
    void end_entry() {}
    void begin_value(std::string_view /*kind*/) {}
    void end_value() {}
    void bare_value(std::string_view kind) { value(kind); }
    void label(std::string_view /*meaning*/) {}
    void absent() { value("-"); }
    void boolean(bool flag) { value(flag ? "true" : "false"); }
    void integer(std::int64_t number);
    void integer(std::uint64_t number);
    void real(double number);
    void time(data::TimePair pair);
    void text(QString const &string);
    void bytes(std::string_view string);
    void json(std::string_view text);
    void digits(std::string_view digits) { value(digits); }
    void chunk(std::string_view string) { bytes(string); }

private:
    void open(char bracket);
    void close(char bracket);
    void separate();
    void value(std::string_view text) { out_ += text; }

    bool has_quotes_;
    TextLength length_;
    std::string out_;
    bool is_first_ = true; ///< in the innermost brackets
};

} // namespace tarnwick::program
