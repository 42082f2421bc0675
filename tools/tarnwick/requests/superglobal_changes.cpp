#include "requests/superglobal_changes.h"

#include "print/json_writer.h"

#include <tarnwick/data/walk.h>

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <variant>

namespace tarnwick::program {
namespace {

using data::php::PelorinArray;
using data::php::Superglobals;
using data::php::ZVal;

/// Positions of values in an array, by key.
class PositionsByKey {
public:
    /// `array` can be null.
    explicit PositionsByKey(PelorinArray const *array)
    {
        if (array == nullptr)
            return;
        auto const &elements = (*array)->elements();
        for (std::size_t i = 0; i < elements.size(); ++i) {
            auto const &[key, value] = elements[i];
            if (value->kind() != ZVal::Kind::undefined)
                positions_.emplace(id_of(key), i);
        }
    }

    /// Returns nothing if the key has no value.
    [[nodiscard]] std::optional<std::size_t> find(ZVal const &key) const
    {
        auto const found = positions_.find(id_of(key));
        return found == positions_.end() ? std::nullopt : std::optional(found->second);
    }

private:
    using Id = std::variant<std::monostate, std::int64_t, std::string_view>;

    static Id id_of(ZVal const &key)
    {
        if (auto const *text = std::get_if<std::string>(&key->value()))
            return *text;
        if (auto const *number = std::get_if<std::int64_t>(&key->value()))
            return *number;
        return {};
    }

    std::map<Id, std::size_t> positions_;
};

bool is_same_value(ZVal const &left, ZVal const &right)
{
    JsonWriter left_writer;
    JsonWriter right_writer;
    data::walk(left_writer, left);
    data::walk(right_writer, right);
    return left_writer.line() == right_writer.line();
}

PelorinArray const *array_in(ZVal const &value)
{
    return std::get_if<PelorinArray>(&value->value());
}

} // namespace

std::pair<ZVal, ZVal> const &entry_at(Superglobals const &record, ValuePlace place)
{
    auto const &group = record->values()->elements()[place.group];
    if (!place.element)
        return group;
    return (*array_in(group.second))->elements()[*place.element];
}

std::vector<SuperglobalChange> superglobal_changes(Superglobals const &record, Superglobals const *before)
{
    PositionsByKey const groups_before(before == nullptr ? nullptr : &(*before)->values());
    std::map<std::optional<std::size_t>, PositionsByKey> indexes; // by position of the group before
    std::vector<SuperglobalChange> changes;
    auto const add = [&](ValuePlace place, std::optional<ValuePlace> old) {
        auto const &value = entry_at(record, place).second;
        if (!old || !is_same_value(entry_at(*before, *old).second, value))
            changes.push_back({place, old});
    };
    auto const &groups = record->values()->elements();
    for (ValuePlace place; place.group < groups.size(); ++place.group) {
        auto const &[name, group] = entry_at(record, {place.group, std::nullopt});
        auto const group_before = groups_before.find(name);
        auto const *elements = array_in(group);
        if (elements == nullptr) {
            add({place.group, std::nullopt},
                group_before ? std::optional(ValuePlace{*group_before, std::nullopt}) : std::nullopt);
            continue;
        }
        auto const *old_array = before != nullptr && group_before
                                    ? array_in(entry_at(*before, {*group_before, std::nullopt}).second)
                                    : nullptr;
        auto const &elements_before = indexes.try_emplace(group_before, old_array).first->second;
        std::size_t position = 0;
        for (auto const &[key, value] : (*elements)->elements()) {
            auto const element = position++;
            // One message of the protobuf dialect has both states, so the first has later entries without value.
            if (before == nullptr && value->kind() == ZVal::Kind::undefined)
                continue;
            auto const old = elements_before.find(key);
            add({place.group, element},
                old && group_before ? std::optional(ValuePlace{*group_before, old}) : std::nullopt);
        }
    }
    return changes;
}

} // namespace tarnwick::program
