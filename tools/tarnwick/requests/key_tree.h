#pragma once

#include "capture/dialect.h"
#include "requests/key_arrays.h"

#include <tarnwick/data/php/pelorin_array.h>

#include <array>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace tarnwick::program {

/// The keys of PHP arrays, without their values. A key that identifies something becomes `{id}`, as in routes: a
/// number, a UUID or a long hexadecimal text.
class KeyTree {
public:
    void add(data::php::PelorinArray const &array);
    void add(KeyTree const &other);

    /// Returns an array with these keys.
    [[nodiscard]] data::php::PelorinArray array() const;

    /// Calls `use(key)` with all keys, at any depth.
    template <class Use>
    void for_each(Use const &use) const
    {
        for (auto const &[key, nested] : keys_) {
            use(key);
            if (nested)
                nested->for_each(use);
        }
    }

private:
    /// With the keys of the arrays under a key; null if no value is an array.
    std::map<std::string, std::unique_ptr<KeyTree>, std::less<>> keys_;
};

// Null for arrays that are not reported.
using KeyTrees = std::array<std::unique_ptr<KeyTree>, key_array_names.size()>;
using CountedKeys = std::array<KeyTree const *, key_array_names.size()>;
void add(KeyTrees &trees, CountedKeys const &keys);
KeyArrays arrays_of(KeyTrees const &trees);

/// The keys of a request in each dialect.
class RequestKeys {
public:
    /// If a request reports an array several times, the first counts.
    template <class Record>
    void add(Record const &record, Dialect dialect, std::string_view view)
    {
        auto const &[index, array] = key_array_of(record, view);
        auto &tree = trees_[static_cast<std::size_t>(dialect)][index];
        if (!tree) {
            tree = std::make_unique<KeyTree>();
            tree->add(array);
        }
    }

    /// Returns the headers and superglobals of the rpc dialect if it has any, otherwise those of the protobuf dialect.
    [[nodiscard]] CountedKeys counted() const;

private:
    std::array<KeyTrees, 2> trees_; ///< by dialect
};

} // namespace tarnwick::program
