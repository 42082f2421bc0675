#pragma once

#include "fuzz/target.h"

#include <google/protobuf/arena.h>
#include <google/protobuf/message.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::fuzz {

/// Inputs that are a message of one of several classes: a line with the name of the class, then the serialised message.
class MessageInputs {
public:
    MessageInputs(std::initializer_list<google::protobuf::Message const *> prototypes = {});

    void add(google::protobuf::Message const &prototype);

    struct Parts {
        std::string_view name;
        std::string_view bytes;
    };
    static Parts parts_of(std::string_view input);
    static std::string input_of(google::protobuf::Message const &message);

    /// Returns null if the input is not a message. The message is on an arena and is valid until the next call.
    google::protobuf::Message const *parsed(std::string_view input);

    std::string mutated(std::string_view input, std::uint32_t seed, MutateBytes mutate_bytes);
    std::string crossed(std::string_view input, std::string_view other, std::uint32_t seed);

private:
    static constexpr std::size_t block_size = 65'536; ///< enough for most messages

    /// Returns an empty message of the class, or null if the class is unknown.
    google::protobuf::Message *new_message(std::string_view name);

    std::map<std::string, google::protobuf::Message const *, std::less<>> prototypes_;
    std::vector<std::string> names_;
    std::vector<char> block_ = std::vector<char>(block_size);
    google::protobuf::Arena arena_;
};

/// Parses bytes with the nesting limit of the program `tarnwick`.
bool parse(std::string_view bytes, google::protobuf::Message &message);

} // namespace tarnwick::fuzz
