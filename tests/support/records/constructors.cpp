#include "support/records/constructors.h"

#include "support/records/constructor_table.h"

#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace tarnwick::test {
namespace {

using Frames = pelorin::protobuf::PelorinPHP::StackTrace;

Constructor stack_trace_of_a_list(std::string name)
{
    return {.name = std::move(name),
            .signature = signature<data::php::StackTrace, FrameList>(),
            .fail_each_allocation =
                [](std::uint32_t shape, FieldCoverage &coverage) {
                    auto const message = shaped<Frames>(shape);
                    coverage.add(message);
                    return fail_each_allocation(
                        Operation{[&]() -> auto const & { return message.frames(); },
                                  [](auto const &frames) { return data::php::StackTrace(frames); }, record_text});
                },
            .prototype = &Frames::default_instance(),
            .build_from_message =
                [](google::protobuf::Message const &message, RecordContent &content) {
                    content.assign(data::php::StackTrace(static_cast<Frames const &>(message).frames()));
                }};
}

/// A chunk takes ownership of its transport message, so each run needs a new one.
template <class Record, class Message, class... Arguments>
Constructor constructor_of_chunk(std::string name, Arguments const &...arguments)
{
    return {.name = std::move(name),
            .signature = signature<Record, Message>(),
            .fail_each_allocation =
                [arguments...](std::uint32_t shape, FieldCoverage &) {
                    auto const bytes = MessageFiller(shape).text();
                    return fail_each_allocation(Operation{
                        [&] {
                            auto message = std::make_unique<Message>();
                            fill(message->handle(), bytes);
                            return message;
                        },
                        [&](auto const &message) { return make_record<Record>(std::move(*message), arguments...); },
                        record_text});
                },
            .build_from_bytes =
                [arguments...](std::string_view bytes, RecordContent &content) {
                    Message message;
                    fill(message.handle(), bytes);
                    content.assign(make_record<Record>(std::move(message), arguments...));
                }};
}

} // namespace

std::vector<Constructor> constructors()
{
    std::vector<Constructor> all;
    visit_constructors(
        [&]<class Record, class Message>(Of<Record, Message>, std::string name, auto const &...arguments) {
            if constexpr (std::is_same_v<Message, FrameList>)
                all.push_back(stack_trace_of_a_list(std::move(name)));
            else if constexpr (TransportMessage<Message>)
                all.push_back(constructor_of_chunk<Record, Message>(std::move(name), arguments...));
            else
                all.push_back(constructor_of<Record, Message>(std::move(name), arguments...));
            all.back().takes_memory = !std::is_same_v<Record, data::php::RequestId>;
        });
    return all;
}

} // namespace tarnwick::test
