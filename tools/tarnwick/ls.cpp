#include "ls.h"

#include "capture/captures.h"
#include "capture/record_feed.h"
#include "print/csv.h"
#include "print/masks.h"
#include "print/output.h"
#include "print/terminal.h"
#include "print/text_width.h"
#include "requests/summary_sink.h"

#include <algorithm>
#include <array>
#include <compare>
#include <cstddef>
#include <string_view>
#include <unistd.h>
#include <utility>

namespace tarnwick::program {
namespace {

constexpr std::array<std::string_view, 10> columns_for_people{"number",   "start",  "method", "uri",    "status",
                                                              "duration", "memory", "errors", "events", "statements"};

std::vector<RequestColumn const *> chosen_columns(LsOptions const &options, LsOptions::Format format)
{
    auto columns = options.columns;
    if (columns.empty() && format == LsOptions::Format::text) {
        for (auto const name : columns_for_people)
            columns.push_back(&request_column(name));
    } else if (columns.empty()) {
        for (auto const &column : request_columns())
            columns.push_back(&request_column(column.name));
    }
    return columns;
}

TextTable table_of(std::vector<RequestColumn const *> const &columns)
{
    std::vector<TextTable::Column> titles;
    titles.reserve(columns.size());
    for (auto const *column : columns)
        titles.push_back({column->title, column->align});
    return TextTable(std::move(titles));
}

/// Prints requests in a format.
class RequestPrinter {
public:
    RequestPrinter(Output &output, LsOptions const &options, LsOptions::Format format)
        : output_(output)
        , format_(format)
        , masks_(Masks::of(options.mask, format != LsOptions::Format::jsonl))
        , columns_(chosen_columns(options, format))
        , width_(terminal_width(STDOUT_FILENO))
        , table_(table_of(columns_))
    {
        if (format_ == LsOptions::Format::csv)
            print_csv([](RequestColumn const &column) { return std::string(column.name); });
    }

    void print(RequestSummary request)
    {
        if (masks_.are_on() && request.start && request.start->uri) {
            masks_.select_request(request.id);
            request.start->uri = masks_.text(*request.start->uri);
        }
        switch (format_) {
        case LsOptions::Format::jsonl:
            print_json(request);
            break;
        case LsOptions::Format::csv:
            print_csv([&](RequestColumn const &column) { return column.plain(request); });
            break;
        default:
            add_row(request);
        }
    }

    /// Prints what is kept for the width of columns.
    void finish()
    {
        if (format_ == LsOptions::Format::text)
            print_table();
    }

private:
    static constexpr std::size_t max_rows = 1000; ///< that share the width of their columns

    void print_json(RequestSummary const &request)
    {
        json_.begin_record({});
        for (auto const *column : columns_) {
            json_.field(column->name);
            column->write(json_, request);
        }
        json_.end_record();
        output_.write(json_.line());
        output_.write("\n");
        json_.clear();
    }

    template <class Cell>
    void print_csv(Cell const &cell)
    {
        std::string line;
        for (auto const *column : columns_) {
            line += line.empty() ? "" : ",";
            line += csv_cell(cell(*column));
        }
        output_.write(line + "\r\n");
    }

    void add_row(RequestSummary const &request)
    {
        std::vector<std::string> cells;
        cells.reserve(columns_.size());
        for (auto const *column : columns_)
            cells.push_back(column->cell(request));
        table_.add(std::move(cells));
        if (++rows_ == max_rows)
            print_table();
    }

    void print_table()
    {
        rows_ = 0;
        for (auto const &line : table_.take_lines()) {
            output_.write(width_ ? cut_lines(line, *width_) : line);
            output_.write("\n");
        }
    }

    Output &output_;
    LsOptions::Format format_;
    Masks masks_;
    std::vector<RequestColumn const *> columns_;
    std::optional<std::size_t> width_;
    TextTable table_;
    std::size_t rows_ = 0; ///< in the table
    JsonWriter json_;
};

/// Absent values are last in either direction.
bool is_before(FieldValue const &left, FieldValue const &right, bool is_descending)
{
    bool const left_is_absent = std::holds_alternative<std::monostate>(left);
    bool const right_is_absent = std::holds_alternative<std::monostate>(right);
    if (left_is_absent || right_is_absent)
        return !left_is_absent && right_is_absent;
    auto const &low = is_descending ? right : left;
    auto const &high = is_descending ? left : right;
    if (auto const *number = std::get_if<long double>(&low))
        return *number < std::get<long double>(high);
    if (auto const *text = std::get_if<std::string_view>(&low))
        return *text < std::get<std::string_view>(high);
    if (auto const *boolean = std::get_if<bool>(&low))
        return static_cast<int>(*boolean) < static_cast<int>(std::get<bool>(high));
    return false;
}

/// Keeps the first `top` requests in an order.
class SortedRequests {
public:
    explicit SortedRequests(LsOptions const &options)
        : options_(options)
    {
    }

    void add(RequestSummary &&request)
    {
        requests_.push_back(std::move(request));
        // Twice as many, so that sorting costs little for each.
        if (options_.top && requests_.size() >= *options_.top * 2 + 1000)
            sort();
    }

    std::vector<RequestSummary> const &sorted()
    {
        sort();
        return requests_;
    }

private:
    void sort()
    {
        std::ranges::stable_sort(requests_, [&](RequestSummary const &left, RequestSummary const &right) {
            return is_before(options_.sort->value(left), options_.sort->value(right), options_.is_descending);
        });
        if (options_.top && requests_.size() > *options_.top)
            requests_.resize(*options_.top);
    }

    LsOptions const &options_;
    std::vector<RequestSummary> requests_;
};

} // namespace

ExitStatus ls(LsOptions const &options)
{
    Output output(STDOUT_FILENO);
    auto const automatic = output.is_terminal() ? LsOptions::Format::text : LsOptions::Format::jsonl;
    auto const format = options.format == LsOptions::Format::automatic ? automatic : options.format;
    RequestPrinter printer(output, options, format);
    SortedRequests sorted(options);
    std::uint64_t left = options.top.value_or(UINT64_MAX);
    SummarySink sink(options.filter.reports, [&](RequestSummary &request) {
        if (!options.filter.fits(request))
            return;
        if (options.sort != nullptr) {
            sorted.add(std::move(request));
            return;
        }
        if (left > 0) {
            printer.print(request);
            --left;
        }
        if (left == 0)
            throw EnoughResults();
    });
    RecordFeed feed(sink);
    auto const status = read_captures(capture_files(options.files), output,
                                      [&](auto const &frame, auto const & /*origin*/) { return feed.feed(frame); });
    try {
        sink.close_all();
    } catch (EnoughResults const &) { // NOLINT(bugprone-empty-catch): the others are not wanted
    }
    if (options.sort != nullptr) {
        for (auto const &request : sorted.sorted())
            printer.print(request);
    }
    printer.finish();
    output.flush();
    return status;
}

} // namespace tarnwick::program
