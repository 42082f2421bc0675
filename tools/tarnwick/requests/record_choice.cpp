#include "requests/record_choice.h"

#include "unknown_name.h"

#include <algorithm>

namespace tarnwick::program {

RecordChoice::RecordChoice()
{
    conditions_.fill(std::vector<Condition>());
}

RecordChoice::RecordChoice(std::vector<std::string> const &names, std::vector<std::string> const &conditions)
{
    std::vector<std::string> known;
    data::for_each_type(data::ReportRecords(), [&]<class Record> {
        using Payload = data::payload_of_t<Record>;
        known.emplace_back(data::Description<Payload>::name);
        known.emplace_back(data::class_name<Payload>());
        if (names.empty() || std::ranges::any_of(names, [&](std::string const &name) {
                return name == data::Description<Payload>::name || name == data::class_name<Payload>();
            }))
            conditions_[record_index<Record>].emplace();
    });
    for (auto const &name : names) {
        if (std::ranges::find(known, name) == known.end())
            throw unknown_name("no record is named", name, known);
    }
    auto const named = conditions_;
    for (auto const &text : conditions) {
        Condition const condition(text);
        std::vector<std::string> fields;
        data::for_each_type(data::ReportRecords(), [&]<class Record> {
            if (!named[record_index<Record>])
                return;
            auto &of_record = conditions_[record_index<Record>];
            auto const types = field_types<data::payload_of_t<Record>>();
            for (auto const &[name, type] : types)
                fields.push_back(name);
            auto const type = types.find(condition.field());
            if (type == types.end())
                of_record.reset();
            else if (of_record)
                of_record->emplace_back(condition).set_type(type->second);
        });
        if (std::ranges::find(fields, condition.field()) == fields.end())
            throw unknown_name("no record has a field", condition.field(), fields);
    }
}

} // namespace tarnwick::program
