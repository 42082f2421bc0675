#include "requests/request_summary.h"

#include "print/short_text.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <algorithm>

namespace tarnwick::program {
namespace {

constexpr std::size_t max_method = 24;
constexpr std::size_t max_uri = 500;

/// Returns text as UTF-8, cut if it has more than `max_bytes`; nothing for a null text.
std::optional<std::string> short_text(QString const &text, std::size_t max_bytes)
{
    if (text.isNull())
        return std::nullopt;
    auto const bytes = text.toUtf8();
    return cut_text({bytes.constData(), static_cast<std::size_t>(bytes.size())}, max_bytes);
}

void show_masked(std::optional<std::string> &text, MaskedText const &masks, std::size_t max_bytes)
{
    if (text)
        *text = cut_text(masked(masks.text, masks.masked), max_bytes);
}

} // namespace

void mask_texts(RequestSummary const &request, Masks const &masks)
{
    if (!request.start || !request.start->masks)
        return;
    for (auto *text : {&request.start->masks->method, &request.start->masks->uri})
        add_ranges(text->masked, masks.ranges(text->text));
}

void mask(RequestSummary &request)
{
    if (!request.start || !request.start->masks)
        return;
    show_masked(request.start->method, request.start->masks->method, max_method);
    show_masked(request.start->uri, request.start->masks->uri, max_uri);
}

void RequestSummary::add(data::php::RInit const &record, Dialect dialect, bool has_masks)
{
    bool const is_rpc = dialect == Dialect::rpc;
    if (has_rpc_start && !is_rpc)
        return;
    has_rpc_start = is_rpc;
    start = {.time = record->timestamp(),
             .method = short_text(record->request_text_0(), max_method),
             .uri = short_text(record->request_text_1(), max_uri)};
    if (!has_masks)
        return;
    auto const text = [](QString const &value) {
        return MaskedText{.text = short_text(value, StartMasks::max_text).value_or("")};
    };
    start->masks = std::make_shared<StartMasks>(
        StartMasks{.method = text(record->request_text_0()), .uri = text(record->request_text_1())});
}

void RequestSummary::add(data::php::RShutdown const &record, Dialect dialect)
{
    bool const is_rpc = dialect == Dialect::rpc;
    if (has_rpc_end && !is_rpc)
        return;
    has_rpc_end = is_rpc;
    end = {.status = record->response_status(),
           .duration = record->duration(),
           .memory = std::max({record->memory_0(), record->memory_1(), record->memory_2()})};
}

} // namespace tarnwick::program
