#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <string>

// Record headers only declare the messages that they read, so the class comment names the header that defines them.

namespace tarnwick::data::message_headers_test {
namespace {

namespace fs = std::filesystem;

std::string text_of(fs::path const &path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// The generated header of each message, by the message's name in C++.
std::map<std::string, std::string> generated_headers()
{
    std::regex const package(R"(\npackage ([\w.]+);)");
    std::regex const message(R"(\nmessage (\w+))");
    fs::path const folder = fs::path(TARNWICK_SOURCES) / "proto";
    std::map<std::string, std::string> headers;
    for (auto const &file : fs::recursive_directory_iterator(folder)) {
        if (file.path().extension() != ".proto")
            continue;
        auto const text = text_of(file.path());
        std::smatch name;
        EXPECT_TRUE(std::regex_search(text, name, package)) << file.path();
        auto const scope = std::regex_replace(name.str(1), std::regex(R"(\.)"), "::");
        for (std::sregex_iterator found(text.begin(), text.end(), message), end; found != end; ++found)
            headers[scope + "::" + found->str(1)] =
                fs::relative(file.path(), folder).replace_extension(".pb.h").string();
    }
    return headers;
}

TEST(MessageHeaders, are_named_in_the_comment_of_each_class_that_reads_a_message)
{
    auto const headers = generated_headers();
    std::regex const start(R"(((?:///.*\n)+)class TARNWICK_EXPORT (\w+))");
    std::regex const message(R"(\b(?:rpc|pelorin)::\w+(?:::\w+)+)");
    int named = 0;
    for (auto const &file : fs::recursive_directory_iterator(fs::path(TARNWICK_SOURCES) / "libs/tarnwick/data")) {
        if (file.path().extension() != ".h")
            continue;
        auto const text = text_of(file.path());
        for (std::sregex_iterator found(text.begin(), text.end(), start), end; found != end; ++found) {
            auto const comment = found->str(1);
            auto const after = static_cast<std::size_t>(found->position() + found->length());
            auto const body = text.substr(after, text.find("\n};", after) - after);
            for (std::sregex_iterator use(body.begin(), body.end(), message); use != end; ++use) {
                auto const name = use->str().starts_with("rpc") ? "tarnwick::" + use->str() : use->str();
                SCOPED_TRACE(found->str(2) + " and " + name);
                ASSERT_TRUE(headers.contains(name));
                EXPECT_NE(comment.find("<" + headers.at(name) + ">"), std::string::npos);
                ++named;
            }
        }
    }
    EXPECT_GT(named, 50);
}

} // namespace
} // namespace tarnwick::data::message_headers_test
