#include "print/mask_rules.h"

#include "print/text_decoding.h"

#include <QtCore/QByteArray>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>

namespace tarnwick::program {
namespace {

constexpr auto not_found = std::string_view::npos;
constexpr std::size_t max_decoded_size = 1'000'000; // the memory for decoding is several times that

// Keys that are secret as a whole, and keys that contain one of the words. `-` is written as `_`.
constexpr std::array<std::string_view, 6> secret_keys{"cookie",  "set_cookie",          "authorization",
                                                      "_cookie", "proxy_authorization", "php_auth_pw"};
constexpr std::array<std::string_view, 6> secret_words{"password", "passwd", "secret", "token", "api_key", "session"};
// Each secret key ends with one of these.
constexpr std::array<std::string_view, 3> ends_of_secret_keys{"cookie", "authorization", "php_auth_pw"};

bool is_blank_character(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

bool is_quote(char c)
{
    return c == '"' || c == '\'';
}

bool is_key_character(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::string_view("_-.[]%$").find(c) != not_found || static_cast<unsigned char>(c) >= 0x80;
}

/// Reads the values of a text. It never moves back, so that its time is linear.
class Reader {
public:
    Reader(std::string_view text, TextRanges &ranges, MaskRules::Found const &found)
        : text_(text)
        , ranges_(ranges)
        , found_(found)
    {
    }

    [[nodiscard]] std::size_t position() const { return at_; }
    void move_to(std::size_t position) { at_ = std::max(at_, position); }
    /// Reads what follows a secret key that is from `key` to the position.
    void read_value_of(std::size_t key);
    /// Reads values of JSON up to the end of the value at the position. `is_list`: up to the end of the text.
    void read_json(bool is_list);

private:
    [[nodiscard]] char at(std::size_t position) const { return position < text_.size() ? text_[position] : '\0'; }
    [[nodiscard]] bool follows(std::string_view mark) const { return text_.substr(at_).starts_with(mark); }
    void skip_spaces();
    [[nodiscard]] std::size_t quote_at(std::size_t position) const;
    TextRange read_quoted();
    void read_bare(std::string_view ends);
    void read_form_value();
    void read_after_quoted_key(std::size_t key);
    void read_part_of_form();
    void read_serialized();
    void add(TextRange range, bool is_json);

    std::string_view text_;
    TextRanges &ranges_;
    MaskRules::Found const &found_;
    std::size_t at_ = 0;
    std::size_t first_non_form_ = not_found;
    bool knows_form_ = false;
    bool has_blank_lines_ = true; ///< after the position, as far as is known
};

void Reader::skip_spaces()
{
    while (is_blank_character(at(at_)))
        ++at_;
}

/// Returns the place of a quote at the position, after backslashes; `not_found` if there is none.
std::size_t Reader::quote_at(std::size_t position) const
{
    while (at(position) == '\\')
        ++position;
    return is_quote(at(position)) ? position : not_found;
}

void Reader::add(TextRange range, bool is_json)
{
    if (range.begin >= range.end)
        return;
    ranges_.push_back(range);
    auto const value = text_.substr(range.begin, range.end - range.begin);
    auto const decoded = is_json ? json_decoded(value) : url_decoded(value);
    found_(value);
    if (decoded != value)
        found_(decoded);
}

/// Reads a text in quotes, which can be escaped because it is inside of another. REQUIRES: `quote_at` finds one.
TextRange Reader::read_quoted()
{
    auto const open = quote_at(at_);
    auto const depth = open - at_;
    auto const quote = text_[open];
    std::size_t backslashes = 0;
    for (at_ = open + 1; at_ < text_.size(); ++at_) {
        if (text_[at_] == '\\') {
            ++backslashes;
            continue;
        }
        bool const ends = depth == 0 ? backslashes % 2 == 0 : backslashes <= depth;
        if (text_[at_] == quote && ends) {
            auto const end = at_++ - (depth == 0 ? 0 : backslashes);
            return {open + 1, end};
        }
        backslashes = 0;
    }
    return {open + 1, at_};
}

void Reader::read_bare(std::string_view ends)
{
    auto const begin = at_;
    at_ = std::min(text_.find_first_of(ends, at_), text_.size());
    auto const value = text_.substr(begin, at_ - begin);
    if (value != "null" && value != "NULL" && value != "undefined")
        add({begin, at_}, true);
}

void Reader::read_json(bool is_list)
{
    std::size_t depth = 0;
    do {
        skip_spaces();
        auto const c = at(at_);
        if (at_ >= text_.size())
            return;
        if (quote_at(at_) != not_found) {
            auto const range = read_quoted();
            auto after = at_;
            while (is_blank_character(at(after)))
                ++after;
            bool const is_key = at(after) == ':' && (is_list || depth > 0);
            if (is_key)
                at_ = after + 1;
            else
                add(range, true);
        } else if (c == '{' || c == '[') {
            ++at_;
            ++depth;
        } else if (c == '}' || c == ']') {
            ++at_;
            depth -= depth > 0 ? 1 : 0;
        } else if (c == ',' || c == ':') {
            ++at_;
        } else if (c == '\\') {
            at_ = std::min(text_.find_first_not_of('\\', at_), text_.size());
        } else {
            read_bare(" \t\r\n,:{}[]\"'");
        }
    } while (is_list || depth > 0);
}

/// A value after `=`. It ends at `&`, or at `;` before another key. In texts that are not a form it ends at a blank too.
void Reader::read_form_value()
{
    if (quote_at(at_) != not_found) {
        add(read_quoted(), true);
        return;
    }
    if (!knows_form_) {
        first_non_form_ = text_.find_first_of(" \t\r\n\"<>{");
        knows_form_ = true;
    }
    std::string_view const ends = at_ < first_non_form_ ? "&\r\n" : "& \t\r\n\"<>";
    auto const begin = at_;
    for (; at_ < text_.size() && ends.find(text_[at_]) == not_found; ++at_) {
        if (text_[at_] != ';')
            continue;
        auto key = at_ + 1;
        while (at(key) == ' ')
            ++key;
        auto const key_begin = key;
        while (is_key_character(at(key)))
            ++key;
        if (key > key_begin && at(key) == '=')
            break;
    }
    add({begin, at_}, false);
}

/// The content of a part of a multipart form: from the next empty line to the next line with a boundary.
void Reader::read_part_of_form()
{
    auto const blank = has_blank_lines_ ? text_.find("\n\r\n", at_) : not_found;
    has_blank_lines_ = blank != not_found;
    if (!has_blank_lines_)
        return;
    auto const begin = blank + 3;
    auto end = text_.find("\r\n--", begin);
    end = std::min(end, text_.size());
    add({begin, end}, false);
    at_ = end;
}

/// A value as serialize() of PHP writes it, after the key.
void Reader::read_serialized()
{
    auto const type = at(at_ + 1);
    at_ += 3;
    if (type == 's') {
        while (at(at_) >= '0' && at(at_) <= '9')
            ++at_;
        if (at(at_) == ':')
            ++at_;
        if (quote_at(at_) != not_found)
            add(read_quoted(), true);
    } else if (type == 'i' || type == 'd' || type == 'b') {
        read_bare(";");
    }
}

void Reader::read_after_quoted_key(std::size_t key)
{
    bool const names_part = key >= 6 && text_.substr(key - 6, 6) == "name=\"";
    at_ = quote_at(at_) + 1;
    if (at(at_) == ']')
        ++at_;
    if (names_part && (at(at_) == '\r' || at(at_) == ';')) {
        read_part_of_form();
        return;
    }
    if (at(at_) == ';' && at(at_ + 2) == ':') {
        read_serialized();
        return;
    }
    skip_spaces();
    if (follows("=>"))
        at_ += 2;
    else if (at(at_) == ':' || (at(at_) == '=' && at(at_ + 1) != '='))
        ++at_;
    else
        return;
    read_json(false);
}

void Reader::read_value_of(std::size_t key)
{
    if (quote_at(at_) != not_found) {
        read_after_quoted_key(key);
        return;
    }
    if (text_.substr(0, key).ends_with("; name=") && (at(at_) == '\r' || at(at_) == ';')) {
        read_part_of_form();
        return;
    }
    // The key of a header, at the start of a line or of a text in quotes.
    if (at(at_) == ':') {
        ++at_;
        while (at(at_) == ' ')
            ++at_;
        auto const ends = key > 0 && is_quote(text_[key - 1]) ? std::string_view("\r\n\"'") : std::string_view("\r\n");
        auto const begin = at_;
        at_ = std::min(text_.find_first_of(ends, at_), text_.size());
        if (begin < at_) {
            ranges_.push_back({begin, at_});
            for_each_part_of_header(text_.substr(begin, at_ - begin), found_);
        }
        return;
    }
    while (at(at_) == ' ')
        ++at_;
    if (follows("=>")) {
        at_ += 2;
        while (at(at_) == ' ')
            ++at_;
        if (quote_at(at_) != not_found || at(at_) == '[')
            read_json(false);
        else
            read_bare("\r\n");
    } else if (at(at_) == '=' && at(at_ + 1) != '=') {
        ++at_;
        while (at(at_) == ' ')
            ++at_;
        read_form_value();
    }
}

/// Adds the password of each URL with a user: `//user:password@host`.
void find_passwords_of_urls(std::string_view text, TextRanges &ranges, MaskRules::Found const &found)
{
    for (auto mark = text.find("://"); mark != not_found; mark = text.find("://", mark)) {
        mark += 3;
        auto const authority = text.substr(mark, text.find_first_of("/ \t\r\n\"<>", mark) - mark);
        auto const host = authority.rfind('@');
        auto const colon = authority.substr(0, host).find(':');
        if (host == not_found || colon == not_found || colon + 1 == host)
            continue;
        ranges.push_back({mark + colon + 1, mark + host});
        auto const password = authority.substr(colon + 1, host - colon - 1);
        found(password);
        found(url_decoded(password));
    }
}

/// Returns whether a text has an escape: `mark` and a number of hexadecimal digits.
bool has_escape(std::string_view text, std::string_view mark, std::size_t digits)
{
    auto at = text.find(mark);
    while (at != not_found && hex_value(text, at + mark.size(), digits) < 0)
        at = text.find(mark, at + 1);
    return at != not_found;
}

/// Returns the words that a secret key has. Words of `secret_words` and `more` come first.
std::vector<std::string> searched_words(std::vector<std::string> const &more)
{
    std::vector<std::string> words(secret_words.begin(), secret_words.end());
    words.insert(words.end(), more.begin(), more.end());
    words.insert(words.end(), ends_of_secret_keys.begin(), ends_of_secret_keys.end());
    return words;
}

} // namespace

MaskRules::MaskRules(std::vector<std::string> const &words)
    : word_count_(secret_words.size() + words.size())
    , finder_(searched_words(words))
{
}

bool MaskRules::is_secret(std::string_view key) const
{
    auto match = finder_.next(key, 0);
    if (!match)
        return false;
    auto const name = normal(key);
    std::string_view rest = name;
    for (std::string_view const prefix : {"redirect_", "http_"}) {
        if (rest.starts_with(prefix))
            rest.remove_prefix(prefix.size());
    }
    if (std::ranges::find(secret_keys, rest) != secret_keys.end())
        return true;
    while (match && match->word >= word_count_)
        match = finder_.next(key, match->begin + 1);
    return match.has_value();
}

TextRanges MaskRules::find(std::string_view text, Found const &found) const
{
    auto ranges = find_plain(text, found);
    // Keys can be encoded, and a value can be an encoded query string.
    if (has_escape(text, "%", 2))
        find_decoded(text, [](std::string_view encoded, auto &&sink) { decode_url(encoded, sink); }, ranges, found);
    if (has_escape(text, "\\u", 4))
        find_decoded(text, [](std::string_view encoded, auto &&sink) { decode_json(encoded, sink); }, ranges, found);
    return ranges;
}

template <class Decode>
void MaskRules::find_decoded(std::string_view text, Decode &&decode, TextRanges &ranges, Found const &found) const
{
    std::string decoded;
    std::vector<std::uint32_t> ends; // in the text, of each decoded byte
    decode(text.substr(0, max_decoded_size), [&](char byte, std::size_t /*begin*/, std::size_t end) {
        decoded += byte;
        ends.push_back(static_cast<std::uint32_t>(end));
    });
    TextRanges known; // sorted
    add_ranges(known, ranges);
    for (auto const &[begin, end] : find_plain(decoded, [](std::string_view) {})) {
        TextRange const range{begin == 0 ? 0 : ends[begin - 1], ends[end - 1]};
        auto const after = std::ranges::upper_bound(known, range.begin, {}, &TextRange::begin);
        bool const is_known = after != known.begin() && std::prev(after)->end >= range.end;
        if (range.begin >= range.end || is_known) // the first: a part of one escape
            continue;
        ranges.push_back(range);
        found(text.substr(range.begin, range.end - range.begin));
        found(std::string_view(decoded).substr(begin, end - begin));
    }
}

TextRanges MaskRules::find_plain(std::string_view text, Found const &found) const
{
    TextRanges ranges;
    find_passwords_of_urls(text, ranges, found);
    Reader reader(text, ranges, found);
    for (auto match = finder_.next(text, 0); match;
         match = finder_.next(text, std::max(reader.position(), match->begin + 1))) {
        auto begin = match->begin;
        while (begin > reader.position() && is_key_character(text[begin - 1]))
            --begin;
        auto end = match->begin;
        while (end < text.size() && is_key_character(text[end]))
            ++end;
        reader.move_to(end);
        auto key = text.substr(begin, end - begin);
        auto const bracket = key.rfind('[');
        if (bracket != not_found && key.ends_with(']'))
            key = key.substr(bracket + 1, key.size() - bracket - 2);
        // A word and a colon can be prose; the name of a header and a colon are not.
        if (match->word < word_count_ ? !text.substr(end).starts_with(':') : is_secret(key))
            reader.read_value_of(begin);
    }
    return ranges;
}

TextRanges MaskRules::find_json_values(std::string_view json, Found const &found)
{
    TextRanges ranges;
    Reader(json, ranges, found).read_json(true);
    return ranges;
}

void for_each_part_of_header(std::string_view value, MaskRules::Found const &found)
{
    found(value);
    auto const scheme = value.substr(0, value.find(' '));
    if (scheme.find_first_of(";=") == not_found)
        found(value.substr(std::min(scheme.size() + 1, value.size())));
    if (normal(value.substr(0, 6)) == "basic ") {
        auto const encoded = value.substr(6);
        auto const user_and_password =
            QByteArray::fromBase64(QByteArray(encoded.data(), static_cast<qsizetype>(encoded.size()))).toStdString();
        found(user_and_password);
        found(std::string_view(user_and_password)
                  .substr(std::min(user_and_password.find(':') + 1, user_and_password.size())));
        return;
    }
    constexpr std::array<std::string_view, 5> attributes{"domain", "expires", "max_age", "path", "samesite"};
    while (!value.empty()) {
        auto part = value.substr(0, value.find(';'));
        value.remove_prefix(std::min(part.size() + 1, value.size()));
        while (part.starts_with(' '))
            part.remove_prefix(1);
        auto const equals = part.find('=');
        if (equals == not_found || std::ranges::find(attributes, normal(part.substr(0, equals))) != attributes.end())
            continue;
        auto const content = part.substr(equals + 1);
        found(content);
        found(url_decoded(content));
    }
}

bool is_statement(std::string_view text)
{
    static constexpr std::array<std::string_view, 15> words{"alter",   "call",  "create", "delete", "execute",
                                                            "explain", "grant", "insert", "merge",  "replace",
                                                            "select",  "set",   "update", "values", "with"};
    constexpr auto initials = [] {
        std::array<bool, 256> known{};
        for (auto const word : words)
            known[static_cast<unsigned char>(word[0])] = true;
        return known;
    }();
    constexpr std::string_view blanks = " \t\r\n(";
    auto begin = text.find_first_not_of(blanks);
    while (begin != not_found && text.substr(begin).starts_with("/*")) {
        auto const end = text.find("*/", begin + 2);
        begin = end == not_found ? not_found : text.find_first_not_of(blanks, end + 2);
    }
    if (begin == not_found || !initials[static_cast<unsigned char>(normal(text[begin]))])
        return false;
    constexpr std::size_t longest = 7;
    auto const start = text.substr(begin, longest + 1);
    auto const end = std::ranges::find_if(start, is_blank_character);
    return end != start.end() && std::ranges::find(words, normal({start.begin(), end})) != words.end();
}

} // namespace tarnwick::program
