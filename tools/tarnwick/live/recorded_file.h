#pragma once

#include "live/frame_check.h"
#include "live/frame_target.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace tarnwick::program {

/// Capture that grows while frames are appended to it. The file always ends with a whole frame, unless the process is
/// killed while it writes. A lock keeps other processes from writing it.
class RecordedFile final : public FrameTarget {
public:
    /// Opens or creates a file. Removes an incomplete frame at the end of an existing one, with a message. Throws
    /// `WriteError` if the file cannot be opened, is no capture, or is written by another process. A file that ends
    /// inside its first frame is a capture if a report would end where the frame ends.
    explicit RecordedFile(std::string name);
    /// Drops the frames that are not written yet.
    ~RecordedFile() override;

    /// Removes the file if this object created it and wrote no frame.
    void discard();

    /// These throw `WriteError`; the whole frames that were written remain.
    void append(std::string_view frame) override;
    void flush() override;
    void sync() override;
    /// Writes and stores all frames, renames the file to a name with the current time, and begins a new file. Returns
    /// the name. Throws `WriteError`.
    std::string rotate();

    [[nodiscard]] std::string const &name() const override { return name_; }
    /// The size of the file with the frames that were appended, in bytes.
    [[nodiscard]] std::uint64_t size() const { return size_ + buffer_.size(); }
    /// The number of frames that this object has written completely, to all files.
    [[nodiscard]] std::uint64_t written() const override { return written_; }
    [[nodiscard]] std::uint64_t max_frame() const override { return max_frame_size; }

private:
    void open(int flags);
    void continue_existing();
    void write(std::string_view bytes);
    void remove_incomplete(std::size_t size);
    [[noreturn]] void fail(std::string_view reason) const;

    std::string name_;
    int descriptor_ = -1;
    bool is_new_ = false; ///< whether this object created the file
    std::uint64_t size_ = 0;
    std::uint64_t written_ = 0;
    std::uint64_t waiting_ = 0; ///< frames in `buffer_`
    std::string buffer_;
};

} // namespace tarnwick::program
