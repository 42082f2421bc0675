#include "print/json_writer.h"

#include "print/output.h"
#include "print/plain_values.h"

#include <tarnwick/data/walk.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QStringConverter>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstring>

namespace tarnwick::program {
namespace {

constexpr std::size_t longest_line = 65'536; // in memory, if there is an output
// Values nest deep on small stacks, so a piece is small.
constexpr std::size_t longest_piece = 1'024; // of a string, in code units

constexpr std::size_t longest_escape = 6; // \u001F

/// For each byte of a string: 0 if it is not escaped, otherwise the character after the backslash.
constexpr auto escapes = [] {
    std::array<char, 256> letters{};
    for (std::size_t control = 0; control < 0x20; ++control)
        letters[control] = 'u';
    letters['"'] = '"';
    letters['\\'] = '\\';
    letters['\b'] = 'b';
    letters['\f'] = 'f';
    letters['\n'] = 'n';
    letters['\r'] = 'r';
    letters['\t'] = 't';
    return letters;
}();

using Word = std::uint64_t;

/// Returns a word with the byte in every place.
constexpr Word repeated(unsigned char byte)
{
    return byte * 0x0101'0101'0101'0101U;
}

/// Returns whether any byte of the word is a control character, a quote or a backslash.
constexpr bool needs_escapes(Word word)
{
    auto const below = [](Word bytes, unsigned char limit) { return (bytes - repeated(limit)) & ~bytes; };
    return ((below(word, 0x20) | below(word ^ repeated('"'), 1) | below(word ^ repeated('\\'), 1)) & repeated(0x80)) !=
           0;
}

/// Writes one byte of a string, escaped. Returns the end of the output.
inline char *escape(char byte, char *out)
{
    auto const code = static_cast<unsigned char>(byte);
    auto const letter = escapes[code];
    if (letter == 0) [[likely]] {
        *out++ = byte;
        return out;
    }
    *out++ = '\\';
    *out++ = letter;
    if (letter == 'u') {
        constexpr std::string_view digits = "0123456789ABCDEF";
        *out++ = '0';
        *out++ = '0';
        *out++ = digits[code >> 4U];
        *out++ = digits[code & 0xfU];
    }
    return out;
}

/// Writes a string, escaped. Returns the end of the output. REQUIRES: room for `longest_escape` bytes per byte.
char *escape(std::string_view bytes, char *out)
{
    while (bytes.size() >= sizeof(Word)) {
        Word word = 0;
        std::memcpy(&word, bytes.data(), sizeof word);
        if (needs_escapes(word)) {
            for (char const byte : bytes.substr(0, sizeof word))
                out = escape(byte, out);
        } else {
            std::memcpy(out, &word, sizeof word);
            out += sizeof word;
        }
        bytes.remove_prefix(sizeof word);
    }
    for (char const byte : bytes)
        out = escape(byte, out);
    return out;
}

} // namespace

void JsonWriter::clear()
{
    line_.clear();
    needs_comma_ = false;
}

void JsonWriter::begin_record(std::string_view /*name*/)
{
    begin('{');
}

void JsonWriter::field(std::string_view name, data::Sense sense)
{
    string(name);
    line_.push_back(':');
    needs_comma_ = false;
    is_id_ = style_.string_ids && sense == data::Sense::id;
}

void JsonWriter::end_record()
{
    end('}');
}

void JsonWriter::begin_alternative(std::string_view name)
{
    begin('{');
    field(name);
}

void JsonWriter::begin_list()
{
    begin('[');
}

void JsonWriter::end_list()
{
    end(']');
}

void JsonWriter::begin_value(std::string_view kind)
{
    begin('{');
    append(R"("kind":")");
    append(kind);
    append(R"(","value":)");
}

void JsonWriter::end_value()
{
    end('}');
}

void JsonWriter::bare_value(std::string_view kind)
{
    begin('{');
    append(R"("kind":")");
    append(kind);
    line_.push_back('"');
    end('}');
}

void JsonWriter::absent()
{
    value("null");
}

void JsonWriter::boolean(bool flag)
{
    value(flag ? "true" : "false");
}

void JsonWriter::integer(std::int64_t value)
{
    fmt::format_int const digits(value);
    number({digits.data(), digits.size()}, value >= -exact_in_double && value <= exact_in_double);
}

void JsonWriter::integer(std::uint64_t value)
{
    fmt::format_int const digits(value);
    number({digits.data(), digits.size()}, value <= std::uint64_t{exact_in_double});
}

void JsonWriter::real(double number)
{
    if (std::isnan(number))
        string("NaN");
    else if (std::isinf(number))
        string(number > 0 ? "Infinity" : "-Infinity");
    else
        value(fmt::to_string(number));
}

void JsonWriter::time(data::TimePair pair)
{
    begin('{');
    field("seconds");
    integer(pair.seconds);
    field("nanos");
    integer(std::int64_t{pair.nanos});
    end('}');
}

void JsonWriter::text(QString const &text)
{
    if (text.isNull()) {
        absent();
        return;
    }
    if (style_.base64_nul && text.contains(QChar(u'\0'))) {
        bytes(text.toStdString());
        return;
    }
    separate();
    line_.push_back('"');
    // The encoder keeps the first half of a surrogate pair between pieces.
    QStringEncoder encoder(QStringEncoder::Utf8);
    constexpr std::size_t longest_character = 3; // of a code unit, in bytes
    // Not initialised: that would cost more than converting the text.
    std::array<char, (longest_piece + 1) * longest_character> utf8;
    for (QStringView rest = text; !rest.isEmpty();) {
        auto const piece = rest.first(std::min(rest.size(), static_cast<qsizetype>(longest_piece)));
        auto const *const end = encoder.appendToBuffer(utf8.data(), piece);
        escaped({utf8.data(), static_cast<std::size_t>(end - utf8.data())});
        rest = rest.sliced(piece.size());
    }
    line_.push_back('"');
}

void JsonWriter::bytes(std::string_view bytes, std::string_view base64_name)
{
    bool const has_nul = style_.base64_nul && bytes.find('\0') != std::string_view::npos;
    if (!has_nul && QUtf8StringView(bytes.data(), static_cast<qsizetype>(bytes.size())).isValidUtf8()) {
        string(bytes);
        return;
    }
    begin('{');
    field(base64_name);
    base64(bytes);
    end('}');
}

void JsonWriter::begin(char bracket)
{
    separate();
    line_.push_back(bracket);
    needs_comma_ = false;
}

void JsonWriter::end(char bracket)
{
    line_.push_back(bracket);
    needs_comma_ = true;
}

void JsonWriter::value(std::string_view json)
{
    separate();
    append(json);
}

void JsonWriter::number(std::string_view digits, bool is_exact)
{
    if (is_id_ || (style_.string_ids && !is_exact))
        string(digits);
    else
        value(digits);
}

void JsonWriter::string(std::string_view utf8)
{
    separate();
    line_.push_back('"');
    escaped(utf8);
    line_.push_back('"');
}

void JsonWriter::base64(std::string_view bytes)
{
    separate();
    line_.push_back('"');
    // A multiple of three bytes needs no padding, so only the last piece has some.
    constexpr auto longest = longest_piece / 3 * 3;
    for (; !bytes.empty(); bytes.remove_prefix(std::min(bytes.size(), longest))) {
        auto const piece = bytes.substr(0, longest);
        auto const text = QByteArray::fromRawData(piece.data(), static_cast<qsizetype>(piece.size())).toBase64();
        append({text.constData(), static_cast<std::size_t>(text.size())});
        write_long_line();
    }
    line_.push_back('"');
}

void JsonWriter::separate()
{
    write_long_line();
    if (needs_comma_)
        line_.push_back(',');
    needs_comma_ = true;
}

void JsonWriter::escaped(std::string_view utf8)
{
    for (; !utf8.empty(); utf8.remove_prefix(std::min(utf8.size(), longest_piece))) {
        auto const piece = utf8.substr(0, longest_piece);
        auto const size = line_.size();
        line_.resize(size + piece.size() * longest_escape);
        auto const *const end = escape(piece, line_.data() + size);
        line_.resize(static_cast<std::size_t>(end - line_.data()));
        write_long_line();
    }
}

void JsonWriter::write_long_line()
{
    if (output_ != nullptr && line_.size() >= longest_line) {
        output_->write(line());
        line_.clear();
    }
}

void walk(JsonWriter &writer, data::php::detail::ZVal const &value)
{
    if (writer.style().plain_values)
        write_plain(writer, value);
    else
        data::walk<JsonWriter>(writer, value);
}

void walk(JsonWriter &writer, data::php::detail::PelorinArray const &array)
{
    if (writer.style().plain_values)
        write_plain(writer, array);
    else
        data::walk<JsonWriter>(writer, array);
}

} // namespace tarnwick::program
