#include "requests/sql_lexer.h"

#include <algorithm>

namespace tarnwick::program {
namespace {

bool is_digit(char c)
{
    return c >= '0' && c <= '9';
}

bool is_letter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || static_cast<unsigned char>(c) >= 0x80;
}

bool is_word_character(char c)
{
    return is_letter(c) || is_digit(c) || c == '$';
}

bool is_space(char c)
{
    return static_cast<unsigned char>(c) <= ' ' || c == '\x7f';
}

bool is_hex_digit(char c)
{
    return is_digit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

bool is_one_of(char c, std::string_view characters)
{
    return characters.find(c) != std::string_view::npos;
}

} // namespace

bool SqlLexer::next(SqlToken &token)
{
    if (end_ == text_.size())
        return false;
    begin_ = end_;
    content_ = {};
    token.kind = lex();
    token.text = text_.substr(begin_, end_ - begin_);
    token.content = content_;
    switch (token.kind) {
    case Kind::string:
    case Kind::number:
    case Kind::hex_number:
    case Kind::word:
    case Kind::name:
    case Kind::placeholder:
    case Kind::close:
        follows_operand_ = true;
        break;
    default:
        follows_operand_ = false;
        break;
    }
    return true;
}

std::size_t SqlLexer::word_end(std::size_t position) const
{
    while (position < text_.size() && is_word_character(text_[position]))
        ++position;
    return position;
}

/// Sets `end_` and `content_`.
SqlLexer::Kind SqlLexer::lex()
{
    auto const c = text_[begin_];
    auto const following = at(begin_ + 1);
    end_ = begin_ + 1;
    if (is_space(c)) {
        while (end_ < text_.size() && is_space(text_[end_]))
            ++end_;
        return Kind::space;
    }
    switch (c) {
    case '\'':
        return lex_quoted(0, reading_.backslash_escapes, Kind::string);
    case '"':
        return reading_.double_quotes_are_names ? lex_quoted(0, false, Kind::name)
                                                : lex_quoted(0, reading_.backslash_escapes, Kind::string);
    case '`':
        return lex_quoted(0, false, Kind::name);
    case '[':
        return lex_bracket();
    case '$':
        return lex_dollar();
    case '(':
        return Kind::open;
    case ')':
    case ']':
        return Kind::close;
    case ',':
    case ';':
        return Kind::separator;
    case '-':
        if (following == '-')
            return lex_comment(2, text_.find('\n', begin_));
        break;
    case '#':
        if (following != '>')
            return lex_comment(1, text_.find('\n', begin_));
        break;
    case '/':
        if (following == '*')
            return lex_block_comment();
        break;
    case '?':
        if (text_.substr(end_).starts_with("..."))
            end_ += 3;
        else
            while (is_digit(at(end_)))
                ++end_;
        return Kind::placeholder;
    case ':':
        if (is_letter(following)) {
            end_ = word_end(end_);
            return Kind::placeholder;
        }
        break;
    case '@':
        while (at(end_) == '@')
            ++end_;
        if (is_letter(at(end_))) {
            end_ = word_end(end_);
            return Kind::word;
        }
        break;
    case '.':
        if (is_digit(following) && !follows_operand_)
            return lex_number();
        return Kind::other;
    default:
        if (is_word_character(c))
            return lex_word_or_number();
        break;
    }
    return lex_operator();
}

/// A comment from `mark` bytes that start it to `end`.
SqlLexer::Kind SqlLexer::lex_comment(std::size_t mark, std::size_t end)
{
    end_ = std::min(end, text_.size());
    content_ = {begin_ + mark, end_};
    return Kind::comment;
}

SqlLexer::Kind SqlLexer::lex_block_comment()
{
    std::size_t const start = begin_ + 2;
    std::size_t end = text_.find("*/", start);
    if (comments_nest_ && end != std::string_view::npos) {
        std::size_t depth = 1;
        auto place = start;
        while (depth > 0 && place < text_.size()) {
            // The nearest slash is in the nearest mark.
            auto const slash = text_.find('/', place);
            if (slash == std::string_view::npos)
                break;
            if (slash > place && text_[slash - 1] == '*') {
                --depth;
                place = slash + 1;
            } else if (at(slash + 1) == '*') {
                ++depth;
                place = slash + 2;
            } else {
                place = slash + 1;
            }
        }
        if (depth == 0)
            end = place - 2;
        else
            comments_nest_ = false;
    }
    lex_comment(2, end);
    if (end != std::string_view::npos)
        end_ = end + 2;
    return Kind::comment;
}

/// A string or a name in quotes, after `prefix` bytes. Without an end it is a string.
SqlLexer::Kind SqlLexer::lex_quoted(std::size_t prefix, bool has_escapes, Kind kind)
{
    auto const open = begin_ + prefix;
    auto const quote = text_[open];
    for (auto place = open + 1; place < text_.size(); ++place) {
        if (text_[place] == '\\' && has_escapes) {
            ++place;
        } else if (text_[place] == quote) {
            if (at(place + 1) == quote) {
                ++place;
                continue;
            }
            content_ = {open + 1, place};
            end_ = place + 1;
            if (kind == Kind::string && is_word_character(at(end_)))
                doubt_ = Doubt::wrong;
            return kind;
        }
    }
    doubt_ = std::max(doubt_, Doubt::string_without_end);
    content_ = {open + 1, text_.size()};
    end_ = text_.size();
    return Kind::string;
}

/// `$1`, `$name`, `$$string$$`, `$tag$string$tag$`
SqlLexer::Kind SqlLexer::lex_dollar()
{
    auto tag_end = end_;
    while (is_letter(at(tag_end)) || is_digit(at(tag_end)))
        ++tag_end;
    if (at(tag_end) == '$' && !is_digit(at(end_))) {
        auto const tag = text_.substr(begin_, tag_end + 1 - begin_);
        auto const content = begin_ + tag.size();
        auto const close = text_.find(tag, content);
        content_ = {content, std::min(close, text_.size())};
        end_ = close == std::string_view::npos ? text_.size() : close + tag.size();
        return Kind::string;
    }
    bool const has_name = tag_end > end_;
    end_ = tag_end;
    return has_name ? Kind::placeholder : Kind::other;
}

/// A name in brackets. Other brackets, of arrays and subscripts, follow an operand or contain more than a name.
SqlLexer::Kind SqlLexer::lex_bracket()
{
    if (follows_operand_ || !is_letter(at(end_)))
        return Kind::open;
    auto place = word_end(end_);
    while (at(place) == ' ')
        place = word_end(place + 1);
    if (at(place) != ']')
        return Kind::open;
    end_ = place + 1;
    return Kind::name;
}

SqlLexer::Kind SqlLexer::lex_word_or_number()
{
    if (is_digit(text_[begin_]))
        return lex_number();
    auto const following = at(begin_ + 1);
    if (following == '\'' && is_one_of(text_[begin_], "bBeEnNxX"))
        return lex_quoted(1, reading_.backslash_escapes || is_one_of(text_[begin_], "eE"), Kind::string);
    if (following == '&' && at(begin_ + 2) == '\'' && is_one_of(text_[begin_], "uU"))
        return lex_quoted(2, false, Kind::string);
    end_ = word_end(begin_);
    return Kind::word;
}

SqlLexer::Kind SqlLexer::lex_number()
{
    auto const digits = [this](std::size_t place) {
        while (is_digit(at(place)))
            ++place;
        return place;
    };
    if (text_[begin_] == '0' && is_one_of(at(begin_ + 1), "xX") && is_hex_digit(at(begin_ + 2))) {
        end_ = begin_ + 2;
        while (is_hex_digit(at(end_)))
            ++end_;
        if (!is_word_character(at(end_)))
            return Kind::hex_number;
    }
    end_ = digits(begin_);
    bool const has_point = at(end_) == '.';
    if (has_point)
        end_ = digits(end_ + 1);
    if (is_one_of(at(end_), "eE")) {
        auto const exponent = end_ + (is_one_of(at(end_ + 1), "+-") ? 2 : 1);
        if (is_digit(at(exponent)))
            end_ = digits(exponent);
    }
    // A name can start with digits.
    if (!has_point && is_word_character(at(end_))) {
        end_ = word_end(begin_);
        return Kind::word;
    }
    return Kind::number;
}

SqlLexer::Kind SqlLexer::lex_operator()
{
    auto const c = text_[begin_];
    if (c == '\\')
        doubt_ = Doubt::wrong;
    if (c == ':' && is_one_of(at(end_), ":="))
        ++end_;
    else if (c == '-' || c == '#')
        while (at(end_) == '>')
            ++end_;
    else if (is_one_of(c, "<>=!|&~^%@"))
        while (is_one_of(at(end_), "<>=!|&~^%"))
            ++end_;
    return Kind::other;
}

} // namespace tarnwick::program
