#include "report/value_pool.h"

#include <fmt/format.h>

#include <QtCore/QByteArrayView>
#include <QtCore/QCryptographicHash>

#include <algorithm>

namespace tarnwick::program {
namespace {

/// Removes a token from the start of a JSON text: a string, a bracket, a comma, a colon or another scalar.
std::string_view next_token(std::string_view &rest)
{
    std::size_t end = 1;
    if (rest.starts_with('"')) {
        while (end < rest.size() && rest[end] != '"')
            end += rest[end] == '\\' ? 2 : 1;
        ++end;
    } else if (std::string_view("{}[],:").find(rest.front()) == std::string_view::npos) {
        end = rest.find_first_of(",]}");
    }
    auto const token = rest.substr(0, end);
    rest.remove_prefix(token.size());
    return token;
}

QByteArray digest_of(std::string_view json)
{
    return QCryptographicHash::hash(QByteArrayView(json.data(), static_cast<qsizetype>(json.size())),
                                    QCryptographicHash::Blake2b_256);
}

} // namespace

std::uint64_t ValuePool::add(std::string_view json)
{
    auto const value = shared(json);
    constexpr std::string_view reference = "{\"$\":";
    // A reference is the value itself.
    return value.starts_with(reference) ? std::stoull(value.substr(reference.size())) : store(value);
}

void ValuePool::finish()
{
    if (!block_.empty())
        end_block();
}

// NOLINTNEXTLINE(misc-no-recursion): records limit the depth
std::string ValuePool::shared(std::string_view &rest)
{
    std::string value(next_token(rest));
    if (value == "{" || value == "[") {
        while (!rest.starts_with('}') && !rest.starts_with(']')) {
            if (rest.starts_with(','))
                value += next_token(rest);
            if (value.front() == '{') {
                value += next_token(rest);
                value += next_token(rest);
            }
            value += shared(rest);
        }
        value += next_token(rest);
    }
    bool const has_time = value.find("\"nanos\":") != std::string::npos;
    return value.size() < shortest || has_time ? value : fmt::format("{{\"$\":{}}}", store(value));
}

std::uint64_t ValuePool::store(std::string const &json)
{
    auto const [entry, is_new] = numbers_.try_emplace(digest_of(json), numbers_.size());
    if (is_new) {
        if (block_.empty())
            starts_.push_back(entry->second);
        block_ += block_.empty() ? '[' : ',';
        block_ += json;
        if (block_.size() >= block_size)
            end_block();
    }
    return entry->second;
}

void ValuePool::end_block()
{
    block_ += ']';
    use_(block_);
    block_.clear();
}

} // namespace tarnwick::program
