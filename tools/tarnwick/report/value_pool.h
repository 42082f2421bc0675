#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QHashFunctions>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace tarnwick::program {

/// Stores JSON values in blocks, each different value once. Requests of one application share most of their texts, calls
/// and traces.
///
/// A value is a reference `{"$":N}` where it is a part of another one. `N` counts all stored values from 0. Short values
/// stay in their place, and so do those with a time, which are hardly ever equal to another.
///
/// Memory is one block, and about 100 bytes for each stored value.
class ValuePool {
public:
    static constexpr std::size_t shortest = 32;        ///< in bytes of JSON; shorter values are not stored
    static constexpr std::size_t block_size = 262'144; ///< in bytes of JSON, before the last value of a block

    /// `use` receives each block when it is full: a JSON list of values.
    explicit ValuePool(std::function<void(std::string_view block)> use)
        : use_(std::move(use))
    {
    }

    /// Returns the number of a value. REQUIRES: `json` is JSON without white space between tokens.
    std::uint64_t add(std::string_view json);
    /// Passes on the last block. REQUIRES: nothing is added afterwards.
    void finish();

    /// The number of the first value of each block.
    [[nodiscard]] std::vector<std::uint64_t> const &starts() const { return starts_; }

private:
    struct HashOfDigest {
        std::size_t operator()(QByteArray const &digest) const { return qHash(digest); }
    };

    std::string shared(std::string_view &rest);
    std::uint64_t store(std::string const &json);
    void end_block();

    std::function<void(std::string_view block)> use_;
    std::unordered_map<QByteArray, std::uint64_t, HashOfDigest> numbers_; ///< by digest
    std::vector<std::uint64_t> starts_;
    std::string block_;
};

} // namespace tarnwick::program
