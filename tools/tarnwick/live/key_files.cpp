#include "live/key_files.h"

#include "error_text.h"
#include "print/output.h"
#include "print/readable_text.h"

#include <fmt/format.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <fcntl.h>
#include <filesystem>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

#include <zmq.h>

namespace tarnwick::program {
namespace {

constexpr std::size_t z85_size = 40;
using Z85Key = std::array<char, z85_size + 1>; // with the terminating null

constexpr mode_t owner_only = 0600;
constexpr mode_t others_can_read_or_write = 0077;
constexpr mode_t all_can_write = 0002;

[[noreturn]] void fail_key_file(std::string const &name, std::string_view reason)
{
    throw KeyFileError(fmt::format("cannot use {}: {}", escaped_text(name), reason));
}

[[noreturn]] void fail_to_write_keys(std::string const &name, int error)
{
    throw WriteError(fmt::format("cannot write {}: {}", escaped_text(name), error_text(error)));
}

class KeyFileDescriptor {
public:
    explicit KeyFileDescriptor(int descriptor)
        : descriptor_(descriptor)
    {
    }
    ~KeyFileDescriptor()
    {
        if (descriptor_ >= 0)
            ::close(descriptor_);
    }
    KeyFileDescriptor(KeyFileDescriptor const &) = delete;
    KeyFileDescriptor &operator=(KeyFileDescriptor const &) = delete;

    [[nodiscard]] int get() const { return descriptor_; }

private:
    int descriptor_;
};

/// New file that is removed unless it is kept.
class NewKeyFile {
public:
    NewKeyFile(std::string name, mode_t mode)
        : name_(std::move(name))
        , descriptor_(::open(name_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode))
    {
        if (descriptor_.get() < 0)
            fail_to_write_keys(name_, errno);
    }
    ~NewKeyFile()
    {
        if (!is_kept_)
            ::unlink(name_.c_str());
    }
    NewKeyFile(NewKeyFile const &) = delete;
    NewKeyFile &operator=(NewKeyFile const &) = delete;

    void write(std::string_view text)
    {
        while (!text.empty()) {
            auto const written = ::write(descriptor_.get(), text.data(), text.size());
            if (written < 0 && errno != EINTR)
                fail_to_write_keys(name_, errno);
            text.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
        }
        if (::fsync(descriptor_.get()) != 0)
            fail_to_write_keys(name_, errno);
    }
    void keep() { is_kept_ = true; }

private:
    std::string name_;
    KeyFileDescriptor descriptor_;
    bool is_kept_ = false;
};

void require_mode(std::string const &name, mode_t mode, mode_t forbidden)
{
    if ((mode & forbidden) == 0)
        return;
    if (forbidden == all_can_write)
        fail_key_file(name, "all users can write it: use chmod o-w");
    fail_key_file(name, "other users can read or write it: use chmod 600");
}

std::string read_key_file(std::string const &name, mode_t forbidden)
{
    KeyFileDescriptor const file(::open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    struct stat status = {};
    if (file.get() < 0 || ::fstat(file.get(), &status) != 0)
        fail_key_file(name, error_text(errno));
    require_mode(name, status.st_mode, forbidden);
    std::string text;
    std::array<char, 4096> buffer{};
    while (true) {
        auto const count = ::read(file.get(), buffer.data(), buffer.size());
        if (count == 0)
            return text;
        if (count > 0)
            text.append(buffer.data(), static_cast<std::size_t>(count));
        else if (errno != EINTR)
            fail_key_file(name, error_text(errno));
    }
}

/// Returns the lines without their ends.
std::vector<std::string> lines_of_key_file(std::string_view text)
{
    std::vector<std::string> lines;
    while (!text.empty()) {
        auto const line = text.substr(0, text.find('\n'));
        text.remove_prefix(line.size() < text.size() ? line.size() + 1 : line.size());
        lines.emplace_back(line.ends_with('\r') ? line.substr(0, line.size() - 1) : line);
    }
    return lines;
}

bool is_z85_key(std::string const &text)
{
    std::array<std::uint8_t, z85_size * 4 / 5> bytes{};
    return text.size() == z85_size && zmq_z85_decode(bytes.data(), text.c_str()) != nullptr;
}

bool file_has_public_key(std::string const &name, std::string_view key)
{
    bool is_found = false;
    std::size_t number = 0;
    for (auto const &line : lines_of_key_file(read_key_file(name, all_can_write))) {
        ++number;
        auto const word = line.substr(0, line.find_first_of(" \t"));
        if (word == "#" || (word.empty() && line.find_first_not_of(" \t") == std::string::npos))
            continue;
        if (!is_z85_key(word))
            fail_key_file(name, fmt::format("line {} does not start with a public key", number));
        is_found = is_found || word == key;
    }
    return is_found;
}

} // namespace

KeyPair make_key_pair()
{
    Z85Key public_key{};
    Z85Key secret_key{};
    if (zmq_curve_keypair(public_key.data(), secret_key.data()) != 0)
        throw KeyFileError("cannot make keys: this ZeroMQ library was built without CURVE (libsodium)");
    return {.public_key = public_key.data(), .secret_key = secret_key.data()};
}

void write_key_pair(std::string const &name, KeyPair const &keys)
{
    NewKeyFile secret_file(name + ".key", owner_only);
    NewKeyFile public_file(name + ".pub", owner_only | S_IRGRP | S_IROTH);
    secret_file.write(fmt::format("{}\n{}\n", keys.public_key, keys.secret_key));
    public_file.write(fmt::format("{}\n", keys.public_key));
    secret_file.keep();
    public_file.keep();
}

KeyPair read_key_pair(std::string const &file)
{
    auto const lines = lines_of_key_file(read_key_file(file, others_can_read_or_write));
    if (lines.size() != 2 || !is_z85_key(lines[0]) || !is_z85_key(lines[1]))
        fail_key_file(file, "it does not have a public and a secret key in two lines");
    Z85Key derived{};
    if (zmq_curve_public(derived.data(), lines[1].c_str()) != 0)
        fail_key_file(file, "this ZeroMQ library was built without CURVE (libsodium)");
    if (lines[0] != derived.data())
        fail_key_file(file, "its public key is not that of its secret key");
    return {.public_key = lines[0], .secret_key = lines[1]};
}

std::string read_public_key(std::string const &file)
{
    auto const lines = lines_of_key_file(read_key_file(file, all_can_write));
    if (lines.size() != 1 || !is_z85_key(lines[0]))
        fail_key_file(file, "it does not have one line with a public key");
    return lines[0];
}

bool has_public_key(std::string const &file_or_folder, std::string_view key)
{
    struct stat status = {};
    if (::stat(file_or_folder.c_str(), &status) != 0)
        fail_key_file(file_or_folder, error_text(errno));
    if (!S_ISDIR(status.st_mode))
        return file_has_public_key(file_or_folder, key);
    require_mode(file_or_folder, status.st_mode, all_can_write);
    bool is_found = false;
    std::error_code error;
    // A failure to advance ends the loop.
    for (std::filesystem::directory_iterator entry(file_or_folder, error), end; !error && entry != end;
         entry.increment(error)) {
        if (entry->path().extension() == ".pub" && file_has_public_key(entry->path().string(), key))
            is_found = true;
    }
    if (error)
        fail_key_file(file_or_folder, error_text(error.value()));
    return is_found;
}

} // namespace tarnwick::program
