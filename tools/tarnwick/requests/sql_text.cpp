#include "requests/sql_text.h"

#include "requests/sql_lexer.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <vector>

namespace tarnwick::program {
namespace {

using Kind = SqlToken::Kind;

constexpr std::size_t no_piece = static_cast<std::size_t>(-1);

std::string upper_case(std::string_view word)
{
    std::string upper(word);
    for (auto &c : upper) {
        if (c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 'a' + 'A');
    }
    return upper;
}

bool is_any_of(std::string_view word, std::span<std::string_view const> words)
{
    constexpr std::size_t longest = 9;
    return word.size() <= longest && std::ranges::find(words, upper_case(word)) != words.end();
}

/// Words before a value: a sign that follows is part of a number, and a parenthesis is not that of a call.
constexpr std::array<std::string_view, 38> words_before_values{
    "ALL",    "AND",   "AS",       "BETWEEN", "BY",     "CASE",   "DISTINCT", "ELSE",  "EXISTS", "FROM",
    "HAVING", "IN",    "INTERVAL", "INTO",    "IS",     "JOIN",   "LIKE",     "LIMIT", "NOT",    "OFFSET",
    "ON",     "OR",    "OVER",     "REGEXP",  "RETURN", "SELECT", "SET",      "TABLE", "THEN",   "UNION",
    "UPDATE", "USING", "VALUE",    "VALUES",  "WHEN",   "WHERE",  "WITH",     "XOR"};
constexpr std::array<std::string_view, 5> words_before_names{"FROM", "INTO", "JOIN", "TABLE", "UPDATE"};
constexpr std::array<std::string_view, 2> words_before_rows{"VALUE", "VALUES"};
constexpr std::array<std::string_view, 4> words_before_lists{"ARRAY", "IN", "VALUE", "VALUES"};
constexpr std::array<std::string_view, 4> words_of_literals{"DEFAULT", "FALSE", "NULL", "TRUE"};

bool is_blank(Kind kind)
{
    return kind == Kind::space || kind == Kind::comment;
}

/// Whether texts in double quotes are names in a statement in which they can be names.
bool has_names_in_double_quotes(std::string_view statement, bool backslash_escapes)
{
    SqlLexer lexer(statement, {.backslash_escapes = backslash_escapes, .double_quotes_are_names = true});
    SqlToken previous{.kind = Kind::space, .text = {}, .content = {}};
    for (SqlToken token; lexer.next(token);) {
        if (is_blank(token.kind))
            continue;
        auto const is_quoted = [](SqlToken const &name) {
            return name.kind == Kind::name && name.text.starts_with('"');
        };
        if (is_quoted(token) &&
            (previous.text == "." || (previous.kind == Kind::word && is_any_of(previous.text, words_before_names))))
            return true;
        if (is_quoted(previous) && token.text == ".")
            return true;
        previous = token;
    }
    return false;
}

SqlReading reading_with(std::string_view statement, bool backslash_escapes)
{
    return {.backslash_escapes = backslash_escapes,
            .double_quotes_are_names = has_names_in_double_quotes(statement, backslash_escapes)};
}

SqlLexer::Doubt doubt_of(std::string_view statement, SqlReading reading)
{
    SqlLexer lexer(statement, reading);
    for (SqlToken token; lexer.next(token);) {
    }
    return lexer.doubt();
}

/// The ways to read a statement, the most likely first.
std::vector<SqlReading> readings_of(std::string_view statement)
{
    auto const with_escapes = reading_with(statement, true);
    if (statement.find('\\') == std::string_view::npos)
        return {with_escapes};
    auto const without_escapes = reading_with(statement, false);
    auto const doubt_with = doubt_of(statement, with_escapes);
    auto const doubt_without = doubt_of(statement, without_escapes);
    using Doubt = SqlLexer::Doubt;
    if (doubt_with == Doubt::wrong && doubt_without != Doubt::wrong)
        return {without_escapes};
    if (doubt_without == Doubt::wrong && doubt_with != Doubt::wrong)
        return {with_escapes};
    if (doubt_without < doubt_with)
        return {without_escapes, with_escapes};
    return {with_escapes, without_escapes};
}

/// Builds the shape of a statement from its tokens.
class Shape {
public:
    void add(SqlToken const &token);
    std::string finish();

private:
    struct Piece {
        Kind kind = Kind::space;
        std::string_view text;
    };
    /// An open parenthesis or bracket.
    struct Group {
        std::size_t open = 0;        ///< its piece
        bool is_list = false;        ///< can be a list of literals
        bool is_row = false;         ///< equal rows can follow
        bool has_only_values = true; ///< literals and placeholders
        bool has_values = false;
        std::size_t last_row = no_piece; ///< open piece of the row that ended last, if only a comma follows it
    };

    void add_piece(Piece piece);
    void add_sign();
    void open(Piece piece);
    void close(Piece piece);
    void drop_cut_row();
    [[nodiscard]] Piece last() const { return pieces_.empty() ? Piece() : pieces_.back(); }
    [[nodiscard]] bool expects_value() const;
    [[nodiscard]] bool is_last_row_repeated(std::size_t first, std::size_t second) const;

    std::vector<Piece> pieces_;
    std::vector<Group> groups_{Group()};
    std::optional<Piece> sign_; ///< not added yet, because it can be part of a number
};

void Shape::add(SqlToken const &token)
{
    switch (token.kind) {
    case Kind::space:
    case Kind::comment:
        return;
    case Kind::number:
    case Kind::hex_number:
        sign_.reset();
        add_piece({Kind::placeholder, "?"});
        return;
    case Kind::string:
        add_sign();
        add_piece({Kind::placeholder, "?"});
        return;
    case Kind::open:
        add_sign();
        open({token.kind, token.text});
        return;
    case Kind::close:
        add_sign();
        close({token.kind, token.text});
        return;
    default:
        add_sign();
        if ((token.text == "-" || token.text == "+") && expects_value())
            sign_ = {token.kind, token.text};
        else
            add_piece({token.kind, token.text});
        return;
    }
}

void Shape::add_sign()
{
    if (sign_)
        add_piece(*sign_);
    sign_.reset();
}

void Shape::add_piece(Piece piece)
{
    auto &group = groups_.back();
    if (piece.text != ",") {
        bool const is_value =
            piece.kind == Kind::placeholder || (piece.kind == Kind::word && is_any_of(piece.text, words_of_literals));
        group.has_values = group.has_values || is_value;
        group.has_only_values = group.has_only_values && is_value;
        group.last_row = no_piece;
    }
    pieces_.push_back(piece);
}

/// Whether a sign that follows belongs to a number.
bool Shape::expects_value() const
{
    auto const &[kind, text] = last();
    switch (kind) {
    case Kind::word:
        return is_any_of(text, words_before_values);
    case Kind::placeholder:
    case Kind::name:
    case Kind::close:
        return false;
    default:
        return true;
    }
}

void Shape::open(Piece piece)
{
    auto &group = groups_.back();
    auto const before = last();
    bool const follows_word = before.kind == Kind::word;
    bool const continues_rows = group.last_row != no_piece && before.text == ",";
    bool const is_in_list = group.is_list && (before.kind == Kind::open || before.text == ",");
    Group inner;
    inner.open = pieces_.size();
    inner.is_row = continues_rows || is_in_list || (follows_word && is_any_of(before.text, words_before_rows));
    inner.is_list = inner.is_row || (follows_word && is_any_of(before.text, words_before_lists));
    group.has_only_values = false;
    pieces_.push_back(piece);
    groups_.push_back(inner);
}

void Shape::close(Piece piece)
{
    if (groups_.size() == 1) {
        add_piece(piece);
        return;
    }
    auto const inner = groups_.back();
    groups_.pop_back();
    if (inner.is_list && inner.has_only_values && inner.has_values) {
        pieces_.resize(inner.open + 1);
        pieces_.push_back({Kind::placeholder, "?..."});
    }
    pieces_.push_back(piece);
    auto &group = groups_.back();
    if (inner.is_row && group.last_row != no_piece && is_last_row_repeated(group.last_row, inner.open))
        pieces_.resize(inner.open - 1); // the comma too
    else
        group.last_row = inner.is_row ? inner.open : no_piece;
}

bool Shape::is_last_row_repeated(std::size_t first, std::size_t second) const
{
    std::span const pieces(pieces_);
    return std::ranges::equal(pieces.subspan(first, second - 1 - first), pieces.subspan(second), {}, &Piece::text,
                              &Piece::text);
}

/// If the text is cut in a row that follows another, drops it: the whole row could have been equal to the other.
void Shape::drop_cut_row()
{
    for (std::size_t i = 1; i < groups_.size(); ++i) {
        if (groups_[i].is_row && groups_[i - 1].last_row != no_piece) {
            pieces_.resize(groups_[i].open - 1); // the comma too
            groups_.resize(i);
            return;
        }
    }
}

bool can_precede_dot(Kind kind)
{
    return kind == Kind::word || kind == Kind::name || kind == Kind::placeholder || kind == Kind::close;
}

std::string Shape::finish()
{
    add_sign();
    drop_cut_row();
    // The text can be cut in a list.
    if (auto const &group = groups_.back(); group.is_list && group.has_only_values && group.has_values) {
        pieces_.resize(group.open + 1);
        pieces_.push_back({Kind::placeholder, "?..."});
    }
    while (last().text == ";")
        pieces_.pop_back();

    std::string text;
    Piece before;
    bool joins_next = false; // a dot or a cast without a space before it
    for (auto const &piece : pieces_) {
        bool const joins = (piece.text == "." || piece.text == "::") && can_precede_dot(before.kind);
        bool const is_call =
            piece.text == "(" && before.kind == Kind::word && !is_any_of(before.text, words_before_values);
        bool const is_subscript = piece.text == "[" && can_precede_dot(before.kind) &&
                                  (before.kind != Kind::word || !is_any_of(before.text, words_before_values));
        bool const has_space = !text.empty() && !joins && !is_call && !is_subscript && before.kind != Kind::open &&
                               piece.kind != Kind::close && piece.kind != Kind::separator &&
                               !(joins_next && (can_precede_dot(piece.kind) || piece.text == "*"));
        if (has_space)
            text += ' ';
        text += piece.text;
        joins_next = joins;
        before = piece;
    }
    return text;
}

void add_literals(TextRanges &ranges, std::string_view statement, SqlReading reading)
{
    SqlLexer lexer(statement, reading);
    std::size_t begin = 0;
    for (SqlToken token; lexer.next(token); begin += token.text.size()) {
        if (token.kind == Kind::hex_number)
            ranges.push_back({begin, begin + token.text.size()});
        else if (token.kind == Kind::string ||
                 (token.kind == Kind::comment && token.text.find_first_of("'\"") != std::string_view::npos))
            ranges.push_back(token.content);
    }
}

} // namespace

std::string statement_shape(std::string_view statement)
{
    SqlLexer lexer(statement, readings_of(statement).front());
    Shape shape;
    for (SqlToken token; lexer.next(token);)
        shape.add(token);
    return shape.finish();
}

TextRanges literal_ranges(std::string_view statement)
{
    TextRanges ranges;
    for (auto const reading : readings_of(statement))
        add_literals(ranges, statement, reading);
    return ranges;
}

std::string masked_statement(std::string_view statement)
{
    return masked(statement, literal_ranges(statement));
}

std::string first_word(std::string_view statement)
{
    SqlLexer lexer(statement, readings_of(statement).front());
    for (SqlToken token; lexer.next(token);) {
        if (!is_blank(token.kind) && token.text != "(")
            return token.kind == Kind::word ? upper_case(token.text) : std::string();
    }
    return {};
}

} // namespace tarnwick::program
