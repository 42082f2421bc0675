#include "fuzz/message_inputs.h"

#include "fuzz/message_mutator.h"

#include <capture/report_parser.h>

#include <google/protobuf/io/coded_stream.h>

namespace tarnwick::fuzz {

using google::protobuf::Message;

bool parse(std::string_view bytes, Message &message)
{
    google::protobuf::io::CodedInputStream stream(reinterpret_cast<std::uint8_t const *>(bytes.data()),
                                                  static_cast<int>(bytes.size()));
    stream.SetRecursionLimit(program::max_report_depth);
    return message.ParseFromCodedStream(&stream) && stream.ConsumedEntireMessage();
}

MessageInputs::MessageInputs(std::initializer_list<Message const *> prototypes)
    : arena_(block_.data(), block_.size())
{
    for (auto const *prototype : prototypes)
        add(*prototype);
}

void MessageInputs::add(Message const &prototype)
{
    std::string const name(prototype.GetDescriptor()->full_name());
    if (prototypes_.emplace(name, &prototype).second)
        names_.push_back(name);
}

MessageInputs::Parts MessageInputs::parts_of(std::string_view input)
{
    auto const end = input.find('\n');
    if (end == std::string_view::npos)
        return {};
    return {input.substr(0, end), input.substr(end + 1)};
}

std::string MessageInputs::input_of(Message const &message)
{
    std::string input(message.GetDescriptor()->full_name());
    input += '\n';
    return input + message.SerializeAsString();
}

Message *MessageInputs::new_message(std::string_view name)
{
    auto const found = prototypes_.find(name);
    return found == prototypes_.end() ? nullptr : found->second->New(&arena_);
}

Message const *MessageInputs::parsed(std::string_view input)
{
    arena_.Reset();
    auto const [name, bytes] = parts_of(input);
    auto *const message = new_message(name);
    return message != nullptr && parse(bytes, *message) ? message : nullptr;
}

std::string MessageInputs::mutated(std::string_view input, std::uint32_t seed, MutateBytes mutate_bytes)
{
    arena_.Reset();
    Random random(seed);
    auto const [name, bytes] = parts_of(input);
    auto *message = new_message(name);
    if (name.empty() || random.one_in(1'000)) {
        message = new_message(random.one_of(names_));
    } else if (message == nullptr || random.one_in(50)) {
        // Bytes that no message class writes: fields out of order, unknown fields, truncated messages.
        constexpr std::size_t longest_growth = 16;
        std::string changed(bytes);
        changed.resize(bytes.size() + longest_growth);
        changed.resize(mutate_bytes(reinterpret_cast<std::uint8_t *>(changed.data()), bytes.size(), changed.size()));
        return std::string(name) + "\n" + changed;
    } else if (!parse(bytes, *message)) {
        message->Clear();
    }
    MessageMutator(seed, mutate_bytes).mutate(*message);
    return input_of(*message);
}

std::string MessageInputs::crossed(std::string_view input, std::string_view other, std::uint32_t seed)
{
    arena_.Reset();
    auto const [name, bytes] = parts_of(input);
    auto const [other_name, other_bytes] = parts_of(other);
    auto *const message = new_message(name);
    auto *const other_message = new_message(other_name);
    if (message == nullptr || other_message == nullptr || !parse(bytes, *message) ||
        !parse(other_bytes, *other_message))
        return std::string(input);
    MessageMutator(seed, nullptr).cross(*message, *other_message);
    return input_of(*message);
}

} // namespace tarnwick::fuzz
