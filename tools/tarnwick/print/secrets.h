#pragma once

#include "print/text_ranges.h"

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <list>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace tarnwick::program {

/// Where a text is printed.
enum class TextPlace {
    text,
    name, ///< a URI, the name of a file or of a function
};

/// The values of one request that are masked wherever they appear.
///
/// All values are in one trie, with the links of the algorithm of Aho and Corasick. So a search takes time linear in the
/// size of the text, whatever the values are. Adding a value takes time linear in its size; the links are built again
/// before the next search.
class Secrets {
public:
    static constexpr std::size_t shortest = 8; ///< in bytes; shorter values are not added
    static constexpr std::size_t longest =
        512; ///< of a longer value the start counts, and the rest of a text is masked
    /// In bytes. Values that were masked by their key have the last quarter for themselves.
    static constexpr std::size_t max_size = 65'536;

    enum class Source {
        key,  ///< masked because of its key
        data, ///< masked because all values in its place are: a literal of SQL, a value of storage
    };

    /// Adds a value, if there is room. Returns whether it is a new one.
    ///
    /// A value from `data` without a digit is ordinary, like the name of a page or of a file. It is not searched for in
    /// a `TextPlace::name`.
    bool add(std::string_view value, Source source);
    /// Adds the parts of the text that are one of the values, as they are, URL-encoded or escaped as in JSON.
    void find(std::string_view text, TextPlace place, TextRanges &ranges);
    /// Whether values were added after the last search.
    [[nodiscard]] bool has_new_values() const { return !is_linked_; }
    /// Identifies the values among those of all requests; 0 if there are none.
    [[nodiscard]] std::uint64_t version() const { return version_; }
    void set_version(std::uint64_t version) { version_ = version; }
    /// In bytes of values, without their common starts.
    [[nodiscard]] std::size_t size() const { return nodes_.size(); }

private:
    struct Node {
        std::uint32_t child = 0; ///< the first; 0 for none
        std::uint32_t sibling = 0;
        std::uint32_t fallback = 0;   ///< node of the longest other suffix
        std::uint16_t ends = 0;       ///< size of the value that ends here, or 0
        std::uint16_t match = 0;      ///< size of the longest value that ends here, in any place
        std::uint16_t name_match = 0; ///< the same in a name
        char byte = 0;
        bool is_ordinary = false;
    };

    [[nodiscard]] std::uint32_t child(std::uint32_t node, char byte) const;
    [[nodiscard]] std::uint32_t follow(std::uint32_t node, char byte) const;
    void link();
    void search_plain(std::string_view text, TextPlace place, TextRanges &ranges) const;
    [[nodiscard]] std::size_t match(std::uint32_t node, TextPlace place) const;
    template <class Decode>
    void search(Decode &&decode, std::size_t size, TextPlace place, TextRanges &ranges) const;

    std::vector<Node> nodes_;                ///< the root is first
    std::array<std::uint32_t, 256> first_{}; ///< children of the root
    std::bitset<4096> starts_;               ///< which two bytes can be the start of a value
    bool is_linked_ = true;
    std::uint64_t version_ = 0;
};

/// The secrets of the requests that were used most recently. Takes at most some 25 MB.
class SecretStore {
public:
    static constexpr std::size_t max_requests = 4096;
    static constexpr std::size_t max_size = 524'288; ///< of all requests together

    /// Returns the secrets of a request, and makes it the most recent one. They are valid until the next call.
    Secrets &of(std::uint64_t request_id);

private:
    struct Request {
        std::uint64_t id = 0;
        Secrets secrets;
    };

    void drop_last();

    std::list<Request> requests_; ///< most recent first
    std::unordered_map<std::uint64_t, std::list<Request>::iterator> places_;
    std::size_t size_ = 0; ///< of all but the first
};

} // namespace tarnwick::program
