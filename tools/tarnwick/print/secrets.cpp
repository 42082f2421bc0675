#include "print/secrets.h"

#include "print/text_decoding.h"

#include <algorithm>

namespace tarnwick::program {
namespace {

/// Returns a number below 4096 for two bytes.
std::size_t number_of(char first, char second)
{
    return (std::size_t{static_cast<unsigned char>(first)} << 4) ^ static_cast<unsigned char>(second);
}

/// Adds a range, or extends the last one.
void add_range(TextRanges &ranges, TextRange const &range)
{
    if (!ranges.empty() && ranges.back().end >= range.begin && ranges.back().begin <= range.begin)
        ranges.back().end = std::max(ranges.back().end, range.end);
    else
        ranges.push_back(range);
}

} // namespace

bool Secrets::add(std::string_view value, Source source)
{
    if (value.size() < shortest)
        return false;
    value = value.substr(0, longest);
    if (nodes_.empty())
        nodes_.emplace_back();
    auto const room = source == Source::key ? max_size : max_size / 4 * 3;
    if (nodes_.size() + value.size() > room)
        return false;
    starts_.set(number_of(value[0], value[1]));
    std::uint32_t node = 0;
    for (char const byte : value) {
        auto next = child(node, byte);
        if (next == 0) {
            next = static_cast<std::uint32_t>(nodes_.size());
            nodes_.push_back({.sibling = nodes_[node].child, .byte = byte});
            nodes_[node].child = next;
            if (node == 0)
                first_[static_cast<unsigned char>(byte)] = next;
        }
        node = next;
    }
    bool const is_ordinary = source == Source::data && value.find_first_of("0123456789") == std::string_view::npos;
    auto &last = nodes_[node];
    if (last.ends != 0 && (is_ordinary || !last.is_ordinary))
        return false;
    last.ends = static_cast<std::uint16_t>(value.size());
    last.is_ordinary = is_ordinary;
    is_linked_ = false;
    return true;
}

void Secrets::find(std::string_view text, TextPlace place, TextRanges &ranges)
{
    if (nodes_.empty() || text.size() < shortest)
        return;
    if (!is_linked_)
        link();
    search_plain(text, place, ranges);
    if (text.find('%') != std::string_view::npos || text.find('+') != std::string_view::npos)
        search([&](auto &&sink) { decode_url(text, sink); }, text.size(), place, ranges);
    if (text.find('\\') != std::string_view::npos)
        search([&](auto &&sink) { decode_json(text, sink); }, text.size(), place, ranges);
}

std::uint32_t Secrets::child(std::uint32_t node, char byte) const
{
    if (node == 0)
        return first_[static_cast<unsigned char>(byte)];
    auto next = nodes_[node].child;
    while (next != 0 && nodes_[next].byte != byte)
        next = nodes_[next].sibling;
    return next;
}

/// Returns the node of the longest suffix of the read text that is the start of a value.
std::uint32_t Secrets::follow(std::uint32_t node, char byte) const
{
    auto next = child(node, byte);
    while (next == 0 && node != 0) {
        node = nodes_[node].fallback;
        next = child(node, byte);
    }
    return next;
}

void Secrets::link()
{
    // Breadth first: a fallback is nearer to the root.
    std::vector<std::uint32_t> queue{0};
    queue.reserve(nodes_.size());
    for (std::size_t done = 0; done < queue.size(); ++done) {
        auto const parent = queue[done];
        for (auto at = nodes_[parent].child; at != 0; at = nodes_[at].sibling) {
            auto &node = nodes_[at];
            node.fallback = parent == 0 ? 0 : follow(nodes_[parent].fallback, node.byte);
            auto const &shorter = nodes_[node.fallback];
            node.match = node.ends != 0 ? node.ends : shorter.match;
            node.name_match = node.ends != 0 && !node.is_ordinary ? node.ends : shorter.name_match;
            queue.push_back(at);
        }
    }
    is_linked_ = true;
}

/// Returns the size of the longest value that ends at a node; 0 if there is none.
std::size_t Secrets::match(std::uint32_t node, TextPlace place) const
{
    return place == TextPlace::name ? nodes_[node].name_match : nodes_[node].match;
}

/// Searches the text as it is. Most texts have no value, so most bytes are passed over two by two.
void Secrets::search_plain(std::string_view text, TextPlace place, TextRanges &ranges) const
{
    std::uint32_t node = 0;
    for (std::size_t at = 0; at < text.size();) {
        if (node == 0) {
            while (at + shortest <= text.size() && !starts_[number_of(text[at], text[at + 1])])
                ++at;
            if (at + shortest > text.size())
                return;
        }
        node = follow(node, text[at++]);
        if (auto const size = match(node, place); size > 0)
            add_range(ranges, {at - size, size == longest ? text.size() : at});
    }
}

/// `decode` passes the bytes of a text of `size` bytes.
template <class Decode>
void Secrets::search(Decode &&decode, std::size_t size, TextPlace place, TextRanges &ranges) const
{
    std::array<std::size_t, longest> begins; // of the last bytes; not initialised, which would cost more than a search
    std::size_t count = 0;
    std::uint32_t node = 0;
    decode([&](char byte, std::size_t begin, std::size_t end) {
        begins[count++ % longest] = begin;
        node = follow(node, byte);
        if (auto const matched = match(node, place); matched > 0)
            add_range(ranges, {begins[(count - matched) % longest], matched == longest ? size : end});
    });
}

Secrets &SecretStore::of(std::uint64_t request_id)
{
    if (!requests_.empty() && requests_.front().id == request_id)
        return requests_.front().secrets;
    if (!requests_.empty())
        size_ += requests_.front().secrets.size();
    if (auto const place = places_.find(request_id); place != places_.end()) {
        size_ -= place->second->secrets.size();
        requests_.splice(requests_.begin(), requests_, place->second);
    } else {
        requests_.push_front({.id = request_id, .secrets = {}});
        places_.emplace(request_id, requests_.begin());
    }
    while (requests_.size() > max_requests || (size_ > max_size && requests_.size() > 1))
        drop_last();
    return requests_.front().secrets;
}

void SecretStore::drop_last()
{
    size_ -= requests_.back().secrets.size();
    places_.erase(requests_.back().id);
    requests_.pop_back();
}

} // namespace tarnwick::program
