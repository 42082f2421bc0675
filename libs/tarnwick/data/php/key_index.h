#pragma once

// Not installed.

#include <tarnwick/data/php/zval.h>

#include <QtCore/QHashFunctions>

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tarnwick::data::php::detail {

// Nested handles compare by pointer, scalars and strings by value. Inlined because a call for each of the few keys of a
// small array would take a quarter more instructions.
[[gnu::always_inline]] inline bool same_key(ZVal const &left, ZVal const &right)
{
    if (left.kind() != right.kind())
        return false;
    auto const both = [&]<class Content>(std::in_place_type_t<Content>, auto &&same) {
        return same(std::get<Content>(left.value()), std::get<Content>(right.value()));
    };
    switch (left.kind()) {
    case ZVal::Kind::undefined:
    case ZVal::Kind::null:
        return true;
    case ZVal::Kind::bool_:
        return both(std::in_place_type<bool>, std::equal_to<>());
    case ZVal::Kind::long_:
        return both(std::in_place_type<std::int64_t>, std::equal_to<>());
    case ZVal::Kind::double_:
        return both(std::in_place_type<double>, std::equal_to<>());
    case ZVal::Kind::string:
        return both(std::in_place_type<std::string>, std::equal_to<>());
    case ZVal::Kind::array:
        return both(std::in_place_type<php::PelorinArray>,
                    [](auto const &a, auto const &b) { return a->elements() == b->elements(); });
    case ZVal::Kind::object:
        return both(std::in_place_type<php::PelorinObject>, [](auto const &a, auto const &b) {
            return a->class_name() == b->class_name() && a->properties() == b->properties() && a->value() == b->value();
        });
    case ZVal::Kind::resource:
        return both(std::in_place_type<php::PelorinResource>, [](auto const &a, auto const &b) {
            return a->type_name() == b->type_name() && a->value() == b->value();
        });
    case ZVal::Kind::json:
        return both(std::in_place_type<QByteArray>, std::equal_to<>());
    case ZVal::Kind::timestamp:
        return both(std::in_place_type<TimePair>, std::equal_to<>());
    }
    // Both variants are valueless.
    return false;
}

/// Hash table of the first element with each key of an array, which must not change or move while the table exists.
class KeyIndex {
public:
    using Elements = PelorinArray::Elements;
    using Element = Elements::value_type;

    /// Arrays of at most this many elements are searched faster without an index.
    static constexpr std::size_t few = 16;

    explicit KeyIndex(Elements const &elements)
        : slots_(std::bit_ceil(2 * elements.size() + 1))
    {
        for (auto const &element : elements) {
            // NaN equals no key. Many of them would all go into the same part of the table.
            if (!same_key(*element.first, *element.first))
                continue;
            auto const hash = hash_of(*element.first);
            auto &slot = slots_[position_of(*element.first, hash)];
            if (slot.element == nullptr)
                slot = {hash, &element};
        }
    }

    /// Returns null if no element has the key.
    [[nodiscard]] Element const *find(ZVal const &key) const { return slots_[position_of(key, hash_of(key))].element; }

private:
    struct Slot {
        std::size_t hash = 0;
        Element const *element = nullptr;
    };

    /// Returns the slot with the key or, if there is none, the vacant slot in which the key belongs.
    [[nodiscard]] std::size_t position_of(ZVal const &key, std::size_t hash) const
    {
        auto const mask = slots_.size() - 1;
        auto position = hash & mask;
        for (; slots_[position].element != nullptr; position = (position + 1) & mask)
            if (slots_[position].hash == hash && same_key(*slots_[position].element->first, key))
                break;
        return position;
    }

    /// Equal keys have equal hashes. Whoever sends the keys must not know the seed, or could choose keys that collide.
    [[nodiscard]] std::size_t hash_of(ZVal const &key) const
    {
        auto const seed = seed_ + key.value().index();
        auto const &value = key.value();
        switch (key.kind()) {
        case ZVal::Kind::undefined:
        case ZVal::Kind::null:
            break;
        case ZVal::Kind::bool_:
            return seed + (std::get<bool>(value) ? 1 : 0);
        case ZVal::Kind::long_:
            return qHashBits(&std::get<std::int64_t>(value), sizeof(std::int64_t), seed);
        case ZVal::Kind::double_: {
            // 0.0 and -0.0 are equal.
            auto const number = std::get<double>(value) + 0.0;
            return qHashBits(&number, sizeof number, seed);
        }
        case ZVal::Kind::string: {
            auto const &bytes = std::get<std::string>(value);
            return qHashBits(bytes.data(), bytes.size(), seed);
        }
        case ZVal::Kind::array: {
            static_assert(sizeof(Element) == 2 * sizeof(void *));
            auto const &elements = std::get<php::PelorinArray>(value)->elements();
            return qHashBits(static_cast<void const *>(elements.data()), elements.size() * sizeof(Element), seed);
        }
        case ZVal::Kind::object: {
            auto const &object = *std::get<php::PelorinObject>(value);
            std::array<void const *, 2> const parts{object.properties().get(), object.value().get()};
            return qHash(object.class_name(), qHashBits(static_cast<void const *>(parts.data()), sizeof parts, seed));
        }
        case ZVal::Kind::resource: {
            auto const &resource = *std::get<php::PelorinResource>(value);
            return qHash(resource.type_name(), qHash(resource.value().get(), seed));
        }
        case ZVal::Kind::json:
            return qHash(std::get<QByteArray>(value), seed);
        case ZVal::Kind::timestamp: {
            auto const &time = std::get<TimePair>(value);
            std::array<std::int64_t, 2> const parts{time.seconds, time.nanos};
            return qHashBits(parts.data(), sizeof parts, seed);
        }
        }
        return seed;
    }

    std::size_t seed_ = QHashSeed::globalSeed();
    std::vector<Slot> slots_;
};

/// Searches the arrays of one comparison by key, the same array any number of times.
///
/// An index costs as much as some linear searches, so an array gets one once it was searched for more than a few keys.
/// An array can be searched again and again, for one key each time, because keys can repeat in the other array.
class KeySearch {
public:
    using Elements = KeyIndex::Elements;

    /// Returns the index of an array that will be searched for `keys` more keys. Null if linear searches cost less.
    [[nodiscard]] KeyIndex const *index_for(Elements const &elements, std::size_t keys)
    {
        if (elements.size() <= KeyIndex::few || keys == 0)
            return nullptr;
        return index_of_large(elements, keys);
    }

private:
    struct Searched {
        std::size_t keys = 0;
        std::optional<KeyIndex> index;
    };

    [[gnu::noinline]] KeyIndex const *index_of_large(Elements const &elements, std::size_t keys)
    {
        auto &searched = searched_[&elements];
        searched.keys += keys;
        if (searched.keys <= KeyIndex::few)
            return nullptr;
        if (!searched.index)
            searched.index.emplace(elements);
        return &*searched.index;
    }

    std::map<Elements const *, Searched> searched_;
};

} // namespace tarnwick::data::php::detail
