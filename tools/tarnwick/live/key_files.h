#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace tarnwick::program {

/// A file of CURVE keys that cannot be read, or that is not as described here.
class KeyFileError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Keys of CURVE in Z85: 40 printable characters each.
struct KeyPair {
    std::string public_key;
    std::string secret_key;
};

/// Returns a new key pair. Throws `KeyFileError` if ZeroMQ was built without CURVE.
KeyPair make_key_pair();

/// Creates NAME.key with the public key in its first line and the secret key in its second line, readable only by its
/// owner, and NAME.pub with the public key. Throws `WriteError` if a file exists or cannot be written; then neither file
/// is created.
void write_key_pair(std::string const &name, KeyPair const &keys);

/// Reads a file NAME.key. Throws `KeyFileError`, also if other users can read or write the file.
KeyPair read_key_pair(std::string const &file);

/// Reads a file NAME.pub. Throws `KeyFileError`, also if all users can write the file.
std::string read_public_key(std::string const &file);

/// Returns whether a file, or a file of a folder whose name ends with `.pub`, has this public key. The files have a key
/// in a line, and optionally a space and a comment. Throws `KeyFileError` if any of the files has a fault, also if all
/// users can write it.
bool has_public_key(std::string const &file_or_folder, std::string_view key);

} // namespace tarnwick::program
