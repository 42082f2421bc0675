#include "threads/records.h"

#include "support/records/constructor_table.h"

#include <tarnwick/data/print.h>

#include <memory>
#include <stdexcept>
#include <string_view>
#include <type_traits>
#include <utility>

namespace tarnwick::test {
namespace {

template <class Message>
Message parsed(std::string const &bytes)
{
    Message message;
    if (!message.ParseFromString(bytes))
        throw std::logic_error("the message does not parse");
    return message;
}

template <class Handle, class Message, class... Arguments>
std::function<Record()> constructor(std::uint32_t shape, Source source, Arguments const &...arguments)
{
    if constexpr (TransportMessage<Message>) {
        return [bytes = MessageFiller(shape).text(), arguments...] {
            Message message;
            fill(message.handle(), bytes);
            return Record(make_record<Handle>(std::move(message), arguments...));
        };
    } else {
        auto const construct = [arguments...](Message const &message) {
            return Record(make_record<Handle>(message, arguments...));
        };
        auto bytes = shaped<Message>(shape).SerializeAsString();
        if (source == Source::bytes)
            return [construct, bytes = std::move(bytes)] { return construct(parsed<Message>(bytes)); };
        return [construct, message = std::make_shared<Message const>(parsed<Message>(bytes))] {
            return construct(*message);
        };
    }
}

} // namespace

std::string text_of(Record const &record)
{
    return std::visit([](auto const &handle) { return data::to_text(handle); }, record);
}

int handles(Record const &record)
{
    return std::visit([](auto const &handle) { return int(handle->ref.loadRelaxed()); }, record);
}

std::vector<std::function<Record()>> constructors(std::uint32_t shape, Source source)
{
    std::vector<std::function<Record()>> all;
    visit_constructors(
        [&]<class Handle, class Message>(Of<Handle, Message>, std::string_view, auto const &...arguments) {
            if constexpr (data::is_handle<Handle>)
                all.push_back(constructor<Handle, Message>(shape, source, arguments...));
        });
    return all;
}

} // namespace tarnwick::test
