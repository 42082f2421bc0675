#pragma once

#include <google/protobuf/descriptor.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

namespace tarnwick::test {

/// The names of a message's fields, in the order of their numbers. A test that compares them with the fields that records
/// read and ignore fails when a message gains a field.
template <class Message>
std::vector<std::string> field_names()
{
    std::vector<std::string> names;
    auto const &descriptor = *Message::descriptor();
    names.reserve(static_cast<std::size_t>(descriptor.field_count()));
    for (int i = 0; i < descriptor.field_count(); ++i)
        names.emplace_back(descriptor.field(i)->name());
    return names;
}

} // namespace tarnwick::test
