#pragma once

#include "support/allocation_faults.h"
#include "support/record_content.h"
#include "support/records/make_record.h"
#include "support/records/message_filler.h"
#include "support/records/symbol.h"

#include <tarnwick/data/print.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace tarnwick::test {

/// A constructor of a record from a message.
struct Constructor {
    std::string name;
    /// The class and the class of the message, as in symbols: `tarnwick::data::php::RequestId(tarnwick::rpc::...`.
    std::string signature;
    bool takes_memory = true;
    /// Builds the record of a message of that shape while allocations fail.
    std::function<AllocationFaults(std::uint32_t shape, FieldCoverage &)> fail_each_allocation;
    /// An empty message; null if the record is built from a transport message.
    google::protobuf::Message const *prototype = nullptr;
    /// Builds the record of a message of the prototype's class, or of a transport message of those bytes, and stores the
    /// content of the record. Each constructor has one of the two.
    std::function<void(google::protobuf::Message const &, RecordContent &)> build_from_message = nullptr;
    std::function<void(std::string_view bytes, RecordContent &)> build_from_bytes = nullptr;
};

/// Builds the record of 20 shapes of the message, and of more until `faults_wanted` allocations have failed. Stops at the
/// first shape with a violation. A constructor that takes memory but met no fault is a violation too, and so is a field
/// that was never filled or never absent.
AllocationFaults fail_all_shapes(Constructor const &constructor, std::size_t faults_wanted);

inline constexpr auto record_text = [](auto const &record) { return data::to_text(record); };

template <class Record, class Message>
std::string signature()
{
    return symbol<data::payload_of_t<Record>>() + "(" + symbol<Message>();
}

/// The constructor of a record, or of a handle's payload, from a message and further arguments.
template <class Record, class Message, class... Arguments>
Constructor constructor_of(std::string name, Arguments const &...arguments)
{
    return {.name = std::move(name),
            .signature = signature<Record, Message>(),
            .fail_each_allocation =
                [arguments...](std::uint32_t shape, FieldCoverage &coverage) {
                    auto const message = shaped<Message>(shape);
                    coverage.add(message);
                    return fail_each_allocation(Operation{
                        [&]() -> Message const & { return message; },
                        [&](Message const &given) { return make_record<Record>(given, arguments...); }, record_text});
                },
            .prototype = &Message::default_instance(),
            .build_from_message =
                [arguments...](google::protobuf::Message const &message, RecordContent &content) {
                    content.assign(make_record<Record>(static_cast<Message const &>(message), arguments...));
                }};
}

} // namespace tarnwick::test
