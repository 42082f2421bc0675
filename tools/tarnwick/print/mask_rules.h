#pragma once

#include "print/text_ranges.h"
#include "print/word_finder.h"

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::program {

/// Which values are masked because of their key or their place. The rules look at one text or key at a time.
class MaskRules {
public:
    /// Receives each value that is masked, decoded.
    using Found = std::function<void(std::string_view value)>;

    /// `words`: further words of keys, besides password, passwd, secret, token, api_key and session.
    explicit MaskRules(std::vector<std::string> const &words = {});

    /// Returns whether the value of the key is masked: a header or a server variable with credentials, or a key that
    /// contains one of the words. Case does not matter, and `-` is like `_`.
    [[nodiscard]] bool is_secret(std::string_view key) const;

    /// Returns the values in a text that follow such a key: in forms, query strings and DSNs (`token=...`), in JSON
    /// and dumps of PHP values (`"token":...`), in parts of multipart forms, in lines of headers
    /// (`Cookie: ...`) and the password of a URL (`//user:password@host`). Of the first 1,000,000 bytes, the
    /// URL-decoded text and the one without escapes of JSON are searched too.
    [[nodiscard]] TextRanges find(std::string_view text, Found const &found) const;
    /// Returns all values of a JSON text. Keys are not included.
    [[nodiscard]] static TextRanges find_json_values(std::string_view json, Found const &found);

private:
    /// The same without decoding.
    [[nodiscard]] TextRanges find_plain(std::string_view text, Found const &found) const;
    /// Adds what `find_plain` finds in the decoded text.
    template <class Decode>
    void find_decoded(std::string_view text, Decode &&decode, TextRanges &ranges, Found const &found) const;

    std::size_t word_count_; ///< of the first words of `finder_`, each of which makes a key secret
    WordFinder finder_;
};

/// Calls `found` with the value of a header, and with the parts that other texts can contain alone: the value of each
/// cookie, and the credentials without their scheme.
void for_each_part_of_header(std::string_view value, MaskRules::Found const &found);

/// Returns whether the text is probably a statement: it starts with a word like SELECT.
bool is_statement(std::string_view text);

} // namespace tarnwick::program
