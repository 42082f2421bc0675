#include "print/json_writer.h"

#include "print/byte_words.h"
#include "print/plain_values.h"

#include <tarnwick/data/walk.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QStringConverter>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <limits>

namespace tarnwick::program {
namespace {

constexpr std::size_t longest_line = 65'536; // in memory, if there is an output
// Values nest deep on small stacks, so a piece is small.
constexpr std::size_t longest_piece = 1'024; // of a string, in code units

constexpr std::size_t longest_escape = 6; // \u001F
constexpr std::size_t longest_integer =
    std::numeric_limits<std::uint64_t>::digits10 + 1; // as is that of a negative one

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

/// Returns whether any byte of the word is a control character, a quote or a backslash.
constexpr bool needs_escapes(ByteWord word)
{
    return has_below(word, ' ') || has_byte(word, '"') || has_byte(word, '\\');
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

/// Writes a word, escaped. Returns the end of the output.
char *escape(ByteWord word, char *out)
{
    if (!needs_escapes(word)) [[likely]] {
        std::memcpy(out, &word, sizeof word);
        return out + sizeof word;
    }
    std::array<char, sizeof word> bytes{};
    std::memcpy(bytes.data(), &word, sizeof word);
    for (char const byte : bytes)
        out = escape(byte, out);
    return out;
}

/// Writes a string, escaped. Returns the end of the output. REQUIRES: room for `longest_escape` bytes per byte.
char *escape(std::string_view bytes, char *out)
{
    auto const *const end = bytes.data() + bytes.size();
    auto const *at = bytes.data();
    for (; end - at >= static_cast<std::ptrdiff_t>(sizeof(ByteWord)); at += sizeof(ByteWord))
        out = escape(word_at(at), out);
    // The last word can overlap the one before: without escapes, equal bytes are written once more.
    if (auto const rest = end - at; rest > 0 && bytes.size() >= sizeof(ByteWord)) {
        auto const word = word_at(end - sizeof(ByteWord));
        if (!needs_escapes(word)) {
            std::memcpy(out + rest - sizeof word, &word, sizeof word);
            return out + rest;
        }
    }
    while (at != end)
        out = escape(*at++, out);
    return out;
}

constexpr std::ptrdiff_t units_per_word = sizeof(ByteWord); ///< as bytes

/// Returns whether code units that make a word as bytes are ASCII.
bool is_ascii(char16_t const *units)
{
    constexpr ByteWord above_ascii = 0xff80'ff80'ff80'ff80U;
    std::array<ByteWord, sizeof(char16_t)> words{};
    std::memcpy(words.data(), units, sizeof words);
    return ((words[0] | words[1]) & above_ascii) == 0;
}

/// Writes the code units up to the first word with others than ASCII, escaped, and removes them from `text`. Returns
/// the end of the output. REQUIRES: room for `longest_escape` bytes per code unit.
char *escape_ascii(QStringView &text, char *out)
{
    auto const *at = text.utf16();
    auto const *const end = at + text.size();
    for (; end - at >= units_per_word && is_ascii(at); at += units_per_word) {
        std::array<char, units_per_word> bytes;
        std::transform(at, at + units_per_word, bytes.begin(), [](char16_t unit) { return static_cast<char>(unit); });
        out = escape(word_at(bytes.data()), out);
    }
    for (; end - at < units_per_word && at != end && *at < 0x80; ++at)
        out = escape(static_cast<char>(*at), out);
    text = text.last(end - at);
    return out;
}

char *copy(std::string_view text, char *out)
{
    std::memcpy(out, text.data(), text.size());
    return out + text.size();
}

// Its size is known to the compiler, so that it needs no call.
template <std::size_t size>
char *copy(char const (&literal)[size], char *out)
{
    std::memcpy(out, literal, size - 1);
    return out + size - 1;
}

} // namespace

template <class Write>
void JsonWriter::extend(std::size_t room, Write &&write)
{
    auto const size = line_->size();
    line_->try_reserve(size + room);
    auto const *const end = write(line_->data() + size);
    line_->try_resize(static_cast<std::size_t>(end - line_->data()));
}

template <class Write>
void JsonWriter::next(std::size_t room, Write &&write)
{
    write_long_line();
    extend(room + 1, [&](char *out) {
        if (needs_comma_)
            *out++ = ',';
        return write(out);
    });
    needs_comma_ = true;
}

template <class... Parts>
void JsonWriter::value(Parts const &...parts)
{
    next((std::size(parts) + ...), [&](char *out) {
        ((out = copy(parts, out)), ...);
        return out;
    });
}

template <class Escape>
void JsonWriter::begin_string(std::size_t units, Escape &&escape)
{
    next(units * longest_escape + 1, [&](char *out) {
        *out++ = '"';
        return escape(out);
    });
}

template <class Integer>
void JsonWriter::number(Integer value, bool is_exact)
{
    bool const is_string = is_id_ || (style_.string_ids && !is_exact);
    next(longest_integer + 2, [&](char *out) {
        if (is_string)
            *out++ = '"';
        out = std::to_chars(out, out + longest_integer, value).ptr;
        if (is_string)
            *out++ = '"';
        return out;
    });
}

void JsonWriter::clear()
{
    own_line_.clear();
    needs_comma_ = false;
}

void JsonWriter::begin_record(std::string_view /*name*/)
{
    begin('{');
}

void JsonWriter::field(std::string_view name, data::Sense sense)
{
    value("\"", name, "\":");
    needs_comma_ = false;
    is_id_ = style_.string_ids && sense == data::Sense::id;
}

void JsonWriter::member(std::string_view utf8)
{
    string(utf8);
    line_->push_back(':');
    needs_comma_ = false;
    is_id_ = false;
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
    value(R"({"kind":")", kind, R"(","value":)");
    needs_comma_ = false;
}

void JsonWriter::end_value()
{
    end('}');
}

void JsonWriter::bare_value(std::string_view kind)
{
    value(R"({"kind":")", kind, R"("})");
}

void JsonWriter::absent()
{
    value("null");
}

void JsonWriter::boolean(bool flag)
{
    flag ? value("true") : value("false");
}

void JsonWriter::integer(std::int64_t value)
{
    number(value, value >= -exact_in_double && value <= exact_in_double);
}

void JsonWriter::integer(std::uint64_t value)
{
    number(value, value <= std::uint64_t{exact_in_double});
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
    if (style_.string_ids) { // integers can be strings
        begin('{');
        field("seconds");
        integer(pair.seconds);
        field("nanos");
        integer(std::int64_t{pair.nanos});
        end('}');
        return;
    }
    next(2 * longest_integer + std::size(R"({"seconds":,"nanos":})"), [pair](char *out) {
        out = copy(R"({"seconds":)", out);
        out = std::to_chars(out, out + longest_integer, pair.seconds).ptr;
        out = copy(R"(,"nanos":)", out);
        out = std::to_chars(out, out + longest_integer, pair.nanos).ptr;
        return copy("}", out);
    });
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
    QStringView const view = text;
    auto rest = view.first(std::min(view.size(), static_cast<qsizetype>(longest_piece)));
    auto const size = rest.size();
    begin_string(static_cast<std::size_t>(size), [&](char *out) { return escape_ascii(rest, out); });
    escaped(view.sliced(size - rest.size()));
    line_->push_back('"');
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
    next(1, [bracket](char *out) {
        *out = bracket;
        return out + 1;
    });
    needs_comma_ = false;
}

void JsonWriter::end(char bracket)
{
    line_->push_back(bracket);
    needs_comma_ = true;
}

void JsonWriter::string(std::string_view utf8)
{
    auto const piece = utf8.substr(0, longest_piece);
    begin_string(piece.size(), [piece](char *out) { return escape(piece, out); });
    escaped(utf8.substr(piece.size()));
    line_->push_back('"');
}

void JsonWriter::base64(std::string_view bytes)
{
    value("\"");
    // A multiple of three bytes needs no padding, so only the last piece has some.
    constexpr auto longest = longest_piece / 3 * 3;
    for (; !bytes.empty(); bytes.remove_prefix(std::min(bytes.size(), longest))) {
        auto const piece = bytes.substr(0, longest);
        auto const text = QByteArray::fromRawData(piece.data(), static_cast<qsizetype>(piece.size())).toBase64();
        line_->append(text.constData(), text.constData() + text.size());
        write_long_line();
    }
    line_->push_back('"');
}

void JsonWriter::escaped(std::string_view utf8)
{
    for (; !utf8.empty(); utf8.remove_prefix(std::min(utf8.size(), longest_piece))) {
        auto const piece = utf8.substr(0, longest_piece);
        extend(piece.size() * longest_escape, [piece](char *out) { return escape(piece, out); });
        write_long_line();
    }
}

void JsonWriter::escaped(QStringView text)
{
    if (text.isEmpty())
        return;
    // The encoder keeps the first half of a surrogate pair between pieces.
    QStringEncoder encoder(QStringEncoder::Utf8);
    constexpr std::size_t longest_character = 3; // of a code unit, in bytes
    // Not initialised: that would cost more than converting the text.
    std::array<char, (longest_piece + 1) * longest_character> utf8;
    while (!text.isEmpty()) {
        auto const piece = text.first(std::min(text.size(), static_cast<qsizetype>(longest_piece)));
        auto const *const end = encoder.appendToBuffer(utf8.data(), piece);
        escaped({utf8.data(), static_cast<std::size_t>(end - utf8.data())});
        text = text.sliced(piece.size());
    }
}

void JsonWriter::write_long_line()
{
    if (output_ != nullptr && line_->size() >= longest_line)
        output_->flush();
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
