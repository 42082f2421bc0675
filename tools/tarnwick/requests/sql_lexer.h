#pragma once

#include "print/text_ranges.h"

#include <cstddef>
#include <string_view>

namespace tarnwick::program {

/// What the dialects of SQL read differently.
struct SqlReading {
    bool backslash_escapes = true;
    bool double_quotes_are_names = true;
};

struct SqlToken {
    enum class Kind {
        space,
        comment,
        string, ///< also what has no end
        number,
        hex_number,
        word,        ///< a keyword, or a name without quotes
        name,        ///< in quotes
        placeholder, ///< `?`, `?1`, `$1`, `:name`; `?...` is a list of them in a shape
        open,        ///< `(` or `[`
        close,
        separator, ///< `,` or `;`
        other,     ///< an operator or a dot
    };

    Kind kind = Kind::space;
    std::string_view text;
    TextRange content; ///< of a string or a comment: the part between its quotes
};

/// Splits a statement into tokens, which together are the whole text.
class SqlLexer {
public:
    SqlLexer(std::string_view text, SqlReading reading)
        : text_(text)
        , reading_(reading)
    {
    }

    /// Reads the next token. Returns false at the end.
    bool next(SqlToken &token);
    /// How sure the reading is, after the last token.
    enum class Doubt {
        none,
        string_without_end, ///< the text can be cut
        wrong,              ///< a letter directly after a string, or a backslash outside of strings
    };
    [[nodiscard]] Doubt doubt() const { return doubt_; }

private:
    using Kind = SqlToken::Kind;

    [[nodiscard]] char at(std::size_t position) const { return position < text_.size() ? text_[position] : '\0'; }
    [[nodiscard]] std::size_t word_end(std::size_t position) const;
    Kind lex();
    Kind lex_comment(std::size_t mark, std::size_t end);
    Kind lex_block_comment();
    Kind lex_quoted(std::size_t prefix, bool has_escapes, Kind kind);
    Kind lex_dollar();
    Kind lex_bracket();
    Kind lex_word_or_number();
    Kind lex_number();
    Kind lex_operator();

    std::string_view text_;
    SqlReading reading_;
    std::size_t begin_ = 0; ///< of the current token
    std::size_t end_ = 0;
    TextRange content_;
    bool follows_operand_ = false; ///< without space between
    bool comments_nest_ = true;    ///< until that leaves one without an end
    Doubt doubt_ = Doubt::none;
};

} // namespace tarnwick::program
