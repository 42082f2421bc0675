#include "recover.h"

#include "capture/capture_reader.h"
#include "capture/file_kind.h"
#include "capture/input_file.h"
#include "output_file.h"
#include "print/output.h"
#include "print/readable_text.h"
#include "progress.h"
#include "standard_error.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unistd.h>
#include <utility>

namespace tarnwick::program {
namespace {

using Step = CaptureReader::Step;

/// Writes the frames of one capture, and reports its faults.
class Recovery {
public:
    Recovery(std::string const &name, Output &output)
        : name_(name)
        , output_(output)
        , input_(name, [&output] { output.flush(); })
        , reader_(input_)
        , progress_(name, input_.size())
    {
        reader_.keep_bytes();
    }

    ExitStatus run();
    /// Whether the file has frames with a known report, or only frames.
    [[nodiscard]] bool is_capture() const { return has_report_ || (frames_ > 0 && status_ == success); }

private:
    void handle_frame();
    void handle_end();
    void print_line(std::string_view line);
    void print_about_file(std::string_view text);
    void print_faults();

    std::string const &name_;
    Output &output_;
    InputFile input_;
    CaptureReader reader_;
    Progress progress_;
    ExitStatus status_ = success;
    bool has_report_ = false; ///< whether the reader returned a frame with a known report
    std::uint64_t frames_ = 0;
    std::uint64_t lost_ = 0;          ///< bytes that are in no frame
    std::uint64_t end_of_frames_ = 0; ///< the offset after the last frame
    std::string faults_;              ///< not printed yet: a file without any report is not a capture
};

ExitStatus Recovery::run()
{
    if (input_.is_same_file(output_.descriptor())) {
        print_line(fmt::format("cannot read {}: standard output is the same file", escaped_text(name_)));
        return file_failure;
    }
    for (auto step = reader_.next(); step != Step::end; step = reader_.next()) {
        if (step == Step::failure) {
            print_faults();
            print_line(fmt::format("cannot read {}: {}", escaped_text(name_), reader_.problem()));
            return file_failure;
        }
        if (step == Step::frame)
            handle_frame();
        if (step == Step::fault) {
            status_ = input_fault;
            faults_ += fmt::format("{}: frame {} at byte {}: {}\n", escaped_text(name_), reader_.number(),
                                   reader_.offset(), reader_.problem());
        }
        if (has_report_)
            print_faults();
        if (progress_.due())
            progress_.show(input_.position());
    }
    handle_end();
    return status_;
}

void Recovery::handle_frame()
{
    output_.write(reader_.bytes());
    ++frames_;
    has_report_ = has_report_ || reader_.frame().report_case() != capture::v1::Frame::REPORT_NOT_SET;
    // The reader can continue inside the previous frame. Then the frames from there on reach past its end.
    auto const begin = reader_.offset();
    lost_ += std::max(begin, end_of_frames_) - end_of_frames_;
    end_of_frames_ = begin + reader_.bytes().size();
}

void Recovery::handle_end()
{
    if (!is_capture()) {
        status_ = input_fault;
        print_about_file(reader_.number() == 0 ? "not a capture: the file is empty"
                                               : describe_foreign_file(reader_.head()));
        return;
    }
    lost_ += input_.position() - end_of_frames_;
    if (status_ != success)
        print_about_file(fmt::format("frames recovered: {}; bytes lost: {} of {}", frames_, lost_, input_.position()));
}

// Standard output is flushed first, so that the order is right where both streams go to one place.
void Recovery::print_line(std::string_view line)
{
    progress_.clear();
    output_.flush();
    print_error(fmt::format("{}\n", line));
}

void Recovery::print_about_file(std::string_view text)
{
    print_line(fmt::format("{}: {}", escaped_text(name_), text));
}

void Recovery::print_faults()
{
    if (faults_.empty())
        return;
    faults_.pop_back();
    print_line(std::exchange(faults_, {}));
}

} // namespace

ExitStatus recover(RecoverOptions const &options)
{
    std::optional<OutputFile> file;
    if (options.output != "-")
        file.emplace(options.output);
    Output output(file ? file->descriptor() : STDOUT_FILENO);
    auto status = success;
    bool has_capture = false;
    for (auto const &name : options.files) {
        Recovery recovery(name, output);
        status = std::max(status, recovery.run());
        has_capture = has_capture || recovery.is_capture();
    }
    output.flush();
    if (file && has_capture)
        file->finish();
    return status;
}

} // namespace tarnwick::program
