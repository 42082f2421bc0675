#pragma once

#include "faults/allocation_faults.h"
#include "faults/made.h"
#include "faults/message_filler.h"
#include "support/told.h"

#include <tarnwick/data/print.h>

#include <cxxabi.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace tarnwick::test {

/// A constructor of a record from a message.
struct Constructor {
    std::string name;
    /// The class and the message's class as symbols have them: `tarnwick::data::php::RequestId(tarnwick::rpc::...`.
    std::string signature;
    bool takes_memory = true;
    /// Makes the record of a message of that shape, with faults.
    std::function<AllocationFaults(std::uint32_t shape, FieldCoverage &)> fail_each_allocation;
    /// An empty message; null where the record is made of a transport message.
    google::protobuf::Message const *prototype = nullptr;
    /// Makes the record of a message of the prototype's class, or of a transport message of those bytes, and tells what is
    /// in it. Each constructor has one of the two.
    std::function<void(google::protobuf::Message const &, Told &)> tell = nullptr;
    std::function<void(std::string_view bytes, Told &)> tell_of_bytes = nullptr;
};

/// Makes the record of 20 shapes of the message and of as many more as give the faults wanted, up to a shape in which
/// something is violated. That there is no fault at all is a violation too, and a field that was never filled or never
/// absent.
AllocationFaults fail_all_shapes(Constructor const &constructor, std::size_t faults_wanted);

inline constexpr auto told = [](auto const &record) { return data::to_text(record); };

template <class T>
std::string symbol()
{
    std::unique_ptr<char, decltype(&std::free)> const name(
        abi::__cxa_demangle(typeid(T).name(), nullptr, nullptr, nullptr), &std::free);
    return name.get();
}

template <class Record, class Message>
std::string signature()
{
    return symbol<class_of_t<Record>>() + "(" + symbol<Message>();
}

/// The constructor of a record, or of a handle's payload, from a message and the arguments that stand behind it.
template <class Record, class Message, class... Arguments>
Constructor constructor_of(std::string name, Arguments const &...arguments)
{
    return {.name = std::move(name),
            .signature = signature<Record, Message>(),
            .fail_each_allocation =
                [arguments...](std::uint32_t shape, FieldCoverage &coverage) {
                    auto const message = shaped<Message>(shape);
                    coverage.see(message);
                    return fail_each_allocation(
                        Operation{[&]() -> Message const & { return message; },
                                  [&](Message const &given) { return made<Record>(given, arguments...); }, told});
                },
            .prototype = &Message::default_instance(),
            .tell =
                [arguments...](google::protobuf::Message const &message, Told &all) {
                    print_error(made<Record>(static_cast<Message const &>(message), arguments...), all);
                }};
}

} // namespace tarnwick::test
