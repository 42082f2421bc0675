#include <pcommon/plogger.h>

#include <string>
#include <type_traits>

PLogger &PLogger::instance() noexcept
{
    // Neither constructed nor destroyed at run time: static objects of other sources may log before main() and after
    // it.
    static_assert(std::is_trivially_destructible_v<PLogger>);
    static constinit PLogger logger;
    return logger;
}

void PLogger::set_output(std::ostream *output)
{
    std::scoped_lock const lock(writing_);
    output_.store(output, std::memory_order_release);
}

void PLogger::println(Level level, char const *file, int line, std::string_view message) const
{
    if (output() == nullptr)
        return;

    std::string text = std::to_string(static_cast<int>(level));
    text.append(" ").append(file).append(":").append(std::to_string(line)).append(" ").append(message).append("\n");

    std::scoped_lock const lock(writing_);
    // Read again: set_output() may have removed the stream meanwhile. From here on it waits.
    if (std::ostream *const stream = output(); stream != nullptr) {
        stream->write(text.data(), static_cast<std::streamsize>(text.size()));
        stream->flush();
    }
}
