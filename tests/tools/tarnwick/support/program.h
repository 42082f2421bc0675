#pragma once

// Runs the program `tarnwick` as a child process.

#include "files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <linux/capability.h>
#include <pty.h>
#include <string>
#include <string_view>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <termios.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace tarnwick::test {

/// Destination of an output of the program.
enum class Sink {
    test,     ///< to the test, through a pipe
    terminal, ///< to the test, through a raw terminal
    output,   ///< for standard error only: the same as standard output
    full_disk,
    nobody, ///< a pipe that nobody reads
    closed, ///< a closed descriptor
};

struct Setup {
    std::vector<std::string> arguments;
    Sink out = Sink::test;
    Sink err = Sink::test;
    /// NAME=VALUE, added to the environment of the test.
    std::vector<std::string> environment = {}; // NOLINT(readability-redundant-member-init): designators leave it out
    bool obeys_permissions = false;            ///< file permissions apply even to root
    int in = -1;                               ///< replaces the pipe of standard input
    int out_file = -1;                         ///< replaces `out`
    std::string program = TARNWICK_PROGRAM;    // NOLINT(readability-redundant-member-init)
    rlim_t largest_file = RLIM_INFINITY;       ///< in bytes, limit of a file that it writes
    rlim_t open_files = 0;                     ///< limit of descriptors; 0 for the default
    std::uint16_t terminal_columns = 0;        ///< of its terminals; 0 is unknown
    rlim_t address_space = RLIM_INFINITY;      ///< in bytes
};

struct Outcome {
    int status = -1; ///< -1 if a signal ended it
    std::string out;
    std::string err;
    std::int64_t peak_memory = 0; ///< resident, in KiB
};

namespace detail {

struct Terminal {
    explicit Terminal(std::uint16_t columns = 0)
    {
        termios raw{};
        ::cfmakeraw(&raw);
        winsize const size{.ws_row = 24, .ws_col = columns, .ws_xpixel = 0, .ws_ypixel = 0};
        int ends[2];
        EXPECT_EQ(::openpty(&ends[0], &ends[1], nullptr, &raw, &size), 0);
        master.reset(ends[0]);
        slave.reset(ends[1]);
        ::fcntl(master, F_SETFD, FD_CLOEXEC);
        ::fcntl(slave, F_SETFD, FD_CLOEXEC);
    }
    Descriptor master;
    Descriptor slave;
};

/// Called in the child. exec() restores capabilities unless they are removed from the bounding set.
inline bool drop_rights_over_files()
{
    if (::geteuid() != 0)
        return true;
    return ::prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE) == 0 && ::prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH) == 0;
}

inline bool limit(__rlimit_resource resource, rlim_t most)
{
    rlimit const limits{most, most};
    return ::setrlimit(resource, &limits) == 0;
}

inline std::string read_all(int descriptor)
{
    std::string all;
    char buffer[16 * 1024];
    // At the end of a terminal, read() fails.
    for (ssize_t count = 0; (count = ::read(descriptor, buffer, sizeof buffer)) > 0;)
        all.append(buffer, static_cast<std::size_t>(count));
    return all;
}

} // namespace detail

/// Running program.
class Program {
public:
    explicit Program(Setup const &setup)
    {
        std::signal(SIGPIPE, SIG_IGN);
        auto out =
            setup.out_file < 0 ? open(setup, setup.out, out_) : Descriptor(::fcntl(setup.out_file, F_DUPFD_CLOEXEC, 0));
        auto const err = setup.err == Sink::output ? Descriptor(::dup(out)) : open(setup, setup.err, err_);
        Pipe in;
        std::vector<std::string> arguments{setup.program};
        arguments.insert(arguments.end(), setup.arguments.begin(), setup.arguments.end());
        auto const environment = environment_of(setup);
        auto argv = pointers(arguments);
        auto envp = pointers(environment);

        pid_ = ::fork();
        if (pid_ == 0) {
            std::signal(SIGPIPE, SIG_DFL);
            std::signal(SIGINT, SIG_DFL); // a shell ignores it in programs in the background
            bool const ready = ::dup2(setup.in < 0 ? int(in.reader) : setup.in, STDIN_FILENO) >= 0 &&
                               redirect(out, STDOUT_FILENO) && redirect(err, STDERR_FILENO) &&
                               (!setup.obeys_permissions || detail::drop_rights_over_files()) &&
                               detail::limit(RLIMIT_FSIZE, setup.largest_file) &&
                               (setup.open_files == 0 || detail::limit(RLIMIT_NOFILE, setup.open_files)) &&
                               (setup.address_space == RLIM_INFINITY || detail::limit(RLIMIT_AS, setup.address_space));
            if (ready)
                ::execve(setup.program.c_str(), argv.data(), envp.data());
            ::_exit(127);
        }
        in_ = std::move(in.writer);
    }
    ~Program()
    {
        if (pid_ > 0) {
            ::kill(pid_, SIGKILL);
            Outcome ignored;
            wait(ignored);
        }
    }
    Program(Program const &) = delete;
    Program &operator=(Program const &) = delete;

    void write(std::string_view bytes) { write_all(in_, bytes); }
    void close_input() { in_.reset(); }
    void send(int signal) const { EXPECT_EQ(::kill(pid_, signal), 0); }
    /// Closes the pipe of its output.
    void close_output() { out_.reset(); }

    /// Returns the next bytes of its output, at most `limit`; none at the end.
    std::string read(std::size_t limit)
    {
        std::string bytes(limit, '\0');
        auto const count = ::read(out_, bytes.data(), limit);
        bytes.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
        return bytes;
    }
    /// Returns the next line of its output with the line feed, or the rest at the end.
    std::string read_line()
    {
        std::string line;
        for (char byte = 0; byte != '\n' && ::read(out_, &byte, 1) == 1;)
            line.push_back(byte);
        return line;
    }
    /// Reads `count` lines of its output.
    void skip_lines(std::size_t count)
    {
        char buffer[64 * 1024];
        while (count > 0) {
            auto const size = ::read(out_, buffer, sizeof buffer);
            ASSERT_GT(size, 0) << count << " lines are missing";
            auto const lines = static_cast<std::size_t>(std::count(buffer, buffer + size, '\n'));
            ASSERT_LE(lines, count);
            count -= lines;
        }
    }
    /// Returns a memory figure of /proc, in kB.
    [[nodiscard]] std::int64_t memory(std::string const &figure) const
    {
        std::ifstream status("/proc/" + std::to_string(pid_) + "/status");
        for (std::string line; std::getline(status, line);) {
            if (line.starts_with(figure + ":"))
                return std::stoll(line.substr(figure.size() + 1));
        }
        ADD_FAILURE() << "no " << figure;
        return 0;
    }

    /// Reads the rest of its output, and waits for its end.
    Outcome finish()
    {
        Outcome outcome;
        std::thread err_reader([&] { outcome.err = detail::read_all(err_); });
        outcome.out = detail::read_all(out_);
        err_reader.join();
        wait(outcome);
        return outcome;
    }

private:
    /// Opens an output. Returns the end for the child, and puts the end for the test into `mine`.
    static Descriptor open(Setup const &setup, Sink sink, Descriptor &mine)
    {
        switch (sink) {
        case Sink::test: {
            Pipe pipe;
            mine = std::move(pipe.reader);
            return std::move(pipe.writer);
        }
        case Sink::terminal: {
            detail::Terminal terminal(setup.terminal_columns);
            mine = std::move(terminal.master);
            return std::move(terminal.slave);
        }
        case Sink::full_disk:
            return Descriptor(::open("/dev/full", O_WRONLY | O_CLOEXEC));
        case Sink::nobody:
            return std::move(Pipe().writer);
        case Sink::output:
        case Sink::closed:
            break;
        }
        return Descriptor();
    }
    static bool redirect(int from, int to) { return from < 0 ? ::close(to) == 0 : ::dup2(from, to) == to; }

    static std::vector<std::string> environment_of(Setup const &setup)
    {
        std::vector<std::string> environment = setup.environment;
        for (char *const *entry = environ; *entry != nullptr; ++entry) {
            std::string_view const text = *entry;
            if (text.starts_with("ASAN_OPTIONS="))
                // Quarantined memory would count as memory in use.
                environment.push_back(std::string(text) + ":quarantine_size_mb=1");
            else if (!text.starts_with("NO_COLOR=") && !text.starts_with("COLUMNS=") && !text.starts_with("TERM="))
                environment.emplace_back(text);
        }
        return environment;
    }
    static std::vector<char *> pointers(std::vector<std::string> const &texts)
    {
        std::vector<char *> pointers;
        pointers.reserve(texts.size() + 1);
        for (auto const &text : texts)
            pointers.push_back(const_cast<char *>(text.c_str()));
        pointers.push_back(nullptr);
        return pointers;
    }

    void wait(Outcome &outcome)
    {
        int status = 0;
        rusage usage{};
        EXPECT_GT(::wait4(std::exchange(pid_, -1), &status, 0, &usage), 0);
        outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        outcome.peak_memory = usage.ru_maxrss;
    }

    pid_t pid_ = -1;
    Descriptor in_;
    Descriptor out_;
    Descriptor err_;
};

/// Runs the program to its end, with `input` in a pipe as its standard input.
inline Outcome run(Setup const &setup, std::string_view input = {})
{
    Program program(setup);
    std::thread writer([&] {
        program.write(input);
        program.close_input();
    });
    auto outcome = program.finish();
    writer.join();
    return outcome;
}

/// Runs `tarnwick inspect`.
inline Outcome inspect(std::vector<std::string> arguments, std::string_view input = {})
{
    arguments.insert(arguments.begin(), "inspect");
    return run({.arguments = std::move(arguments)}, input);
}

} // namespace tarnwick::test
