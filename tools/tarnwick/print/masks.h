#pragma once

#include "print/mask_rules.h"
#include "print/secrets.h"
#include "print/text_ranges.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::program {

/// The option --mask.
struct MaskOptions {
    enum class Mode { automatic, none, on };

    Mode mode = Mode::automatic;
    /// Further words of keys.
    std::vector<std::string> words{}; // NOLINT(readability-redundant-member-init): designators leave it out
};

/// Masks what must not be printed: the values that `MaskRules` finds, literals of SQL, values of storage, and any value
/// of at least 8 bytes that was masked elsewhere in the same request.
///
/// First pass the records of a request to `collect` (`print/masked_writer.h`), then print its texts through these
/// functions, or its records through a `MaskedWriter`. A masked value is printed as `mask_text`.
class Masks {
public:
    /// Masks nothing.
    Masks() = default;
    explicit Masks(MaskRules rules);
    /// Returns the masks of an option. `by_default`: whether values are masked if the option is not given.
    [[nodiscard]] static Masks of(MaskOptions const &options, bool by_default);

    /// Whether anything is masked.
    [[nodiscard]] bool are_on() const { return state_ != nullptr; }

    /// Chooses the request of the next calls. Secrets of 4,096 requests are kept, those used most recently.
    void select_request(std::uint64_t request_id) const;

    /// Returns whether secrets of the request were added after the last search of a text for them.
    [[nodiscard]] bool have_new_secrets() const { return are_on() && secrets().has_new_values(); }

    /// Returns a number that is equal only for equal secrets of requests; 0 if there are none.
    [[nodiscard]] std::uint64_t secrets_version() const { return are_on() ? secrets().version() : 0; }

    /// Returns whether a value is masked because of its key.
    [[nodiscard]] bool is_secret(std::string_view key) const;

    /// Returns the parts of a text that are masked. A text that is a URI or a path is a `TextPlace::name`.
    [[nodiscard]] TextRanges ranges(std::string_view text, TextPlace place = TextPlace::text) const;
    /// The same for the values of a JSON text all of which are masked, and for a statement.
    [[nodiscard]] TextRanges ranges_of_json(std::string_view json) const;
    [[nodiscard]] TextRanges ranges_of_statement(std::string_view statement, TextPlace place = TextPlace::text) const;

    /// Returns the text with its secrets masked. This is right for a URI or a path, too.
    [[nodiscard]] std::string text(std::string_view text) const { return masked(text, ranges(text)); }
    /// The same for the name of a file or a function.
    [[nodiscard]] std::string name(std::string_view name) const { return masked(name, ranges(name, TextPlace::name)); }
    /// The same for a statement, whose literals are masked.
    [[nodiscard]] std::string statement(std::string_view statement) const
    {
        return masked(statement, ranges_of_statement(statement));
    }
    /// The same for the value of a key.
    [[nodiscard]] std::string value(std::string_view key, std::string_view value) const;

    /// Remembers a value that is masked.
    void add(std::string_view value, Secrets::Source source) const;
    /// Remembers the value of a header, and the parts that other texts can contain alone.
    void add_header(std::string_view value) const;
    /// Remembers what is masked in a text, in the values of a JSON text, and in a statement.
    void add_from(std::string_view text) const;
    void add_from_json(std::string_view json) const;
    void add_from_statement(std::string_view statement) const;

private:
    struct State {
        MaskRules rules;
        SecretStore store;
        std::uint64_t request_id = 0;
        std::uint64_t last_version = 0; ///< of the secrets of any request
    };

    void add_secret(std::string_view value, Secrets::Source source) const;
    [[nodiscard]] Secrets &secrets() const { return state_->store.of(state_->request_id); }

    std::shared_ptr<State> state_; ///< shared by copies; null if nothing is masked
};

} // namespace tarnwick::program
