#pragma once

#include <tarnwick/data/walk.h>

#include <QtCore/QString>
#include <QtCore/QStringView>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace tarnwick::test {

/// A sequence of texts in one buffer.
template <class View>
class TextSequence {
public:
    void append(View text)
    {
        all_.insert(all_.end(), text.begin(), text.end());
        ends_.push_back(all_.size());
    }
    void clear()
    {
        all_.clear();
        ends_.clear();
    }
    [[nodiscard]] std::size_t size() const { return ends_.size(); }
    [[nodiscard]] View operator[](std::size_t index) const
    {
        auto const begin = index == 0 ? 0 : ends_[index - 1];
        return View(all_.data() + begin, static_cast<View::size_type>(ends_[index] - begin));
    }
    bool operator==(TextSequence const &) const = default;

private:
    std::vector<std::remove_const_t<typename View::value_type>> all_;
    std::vector<std::size_t> ends_;
};

/// The complete content of a record, with its texts and byte strings apart from the rest: a `data::Writer`. One object
/// can be assigned many records, and reuses its memory.
class RecordContent {
public:
    template <class Record>
    void assign(Record const &record)
    {
        structure_.clear();
        texts_.clear();
        byte_strings_.clear();
        data::walk(*this, record);
    }

    /// Numbers, kinds, nesting, and whether a text is null.
    [[nodiscard]] std::string const &structure() const { return structure_; }
    [[nodiscard]] TextSequence<QStringView> const &texts() const { return texts_; }
    [[nodiscard]] TextSequence<std::string_view> const &byte_strings() const { return byte_strings_; }
    bool operator==(RecordContent const &) const = default;

    void begin_record(std::string_view name) { named('{', name); }
    void field(std::string_view /*name*/, data::Sense /*sense*/) { structure_ += ','; }
    void end_record() { structure_ += '}'; }
    void begin_alternative(std::string_view name) { named('(', name); }
    void end_alternative() { structure_ += ')'; }
    void begin_list() { structure_ += '['; }
    void item() { structure_ += ';'; }
    void end_list() { structure_ += ']'; }
    void begin_entry() { structure_ += '<'; }
    void entry_value() { structure_ += '='; }
    void end_entry() { structure_ += '>'; }
    void begin_value(std::string_view kind) { named('v', kind); }
    void end_value() { structure_ += 'V'; }
    void bare_value(std::string_view kind) { named('k', kind); }
    void label(std::string_view /*meaning*/) {}
    void absent() { structure_ += '-'; }
    void boolean(bool value) { structure_ += value ? '1' : '0'; }
    void integer(std::int64_t value) { number('i', value); }
    void integer(std::uint64_t value) { number('u', value); }
    void real(double value) { number('r', value); }
    void time(data::TimePair value)
    {
        number('s', value.seconds);
        number('n', value.nanos);
    }
    void text(QString const &value)
    {
        structure_ += value.isNull() ? '0' : 't';
        texts_.append(value);
    }
    void bytes(std::string_view value)
    {
        structure_ += 'b';
        byte_strings_.append(value);
    }
    void json(std::string_view value) { bytes(value); }
    void digits(std::string_view value) { named('d', value); }
    void chunk(std::string_view value)
    {
        structure_ += 'c';
        byte_strings_.append(value);
    }

private:
    void named(char what, std::string_view name)
    {
        structure_ += what;
        structure_ += name;
        structure_ += ' ';
    }
    /// The bytes of the number, so that two NaNs differ where their bits do.
    template <class Number>
    void number(char what, Number value)
    {
        structure_ += what;
        structure_.append(reinterpret_cast<char const *>(&value), sizeof value);
    }

    std::string structure_;
    TextSequence<QStringView> texts_;
    TextSequence<std::string_view> byte_strings_;
};

} // namespace tarnwick::test
