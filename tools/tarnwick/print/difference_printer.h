#pragma once

#include "print/json_writer.h"
#include "print/output.h"
#include "requests/difference.h"
#include "requests/key_difference.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarnwick::program {

/// One of two requests.
struct ComparedRequest {
    std::string file;
    RequestActivity activity;
    Profile profile; ///< of this request alone
};

/// One of two captures.
struct ComparedCapture {
    std::string file;
    Profiles profiles;
};

/// Prints differences in a format. What it receives is masked already.
class DifferencePrinter {
public:
    DifferencePrinter() = default;
    virtual ~DifferencePrinter() = default;
    DifferencePrinter(DifferencePrinter const &) = delete;
    DifferencePrinter &operator=(DifferencePrinter const &) = delete;

    virtual void print_requests(ComparedRequest const &a, ComparedRequest const &b) = 0;
    virtual void print_captures(ComparedCapture const &a, ComparedCapture const &b,
                                std::vector<RouteDifference> const &routes) = 0;
    /// Differences of one kind.
    virtual void print(std::vector<ActivityDifference> const &differences) = 0;
    virtual void print(std::vector<KeyDifference> const &differences) = 0;
    /// Called last.
    virtual void finish() = 0;
};

/// `top`: how many differences of a kind are printed. Without it, text has all routes and ten of each other kind, and
/// JSON lines have all differences.
std::unique_ptr<DifferencePrinter> make_difference_text(Output &output, std::optional<std::uint64_t> top);
std::unique_ptr<DifferencePrinter> make_difference_json(Output &output, std::optional<std::uint64_t> top,
                                                        JsonStyle style);

} // namespace tarnwick::program
