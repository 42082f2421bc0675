// The reader agrees with a simple implementation of itself on random files of unusual content. A run reads 10,000 files;
// the environment variable TARNWICK_RANDOM_FILES sets another number.

#include "support/config_files.h"
#include "support/literal_config_file.h"

#include <gtest/gtest.h>

#include <QtCore/QtLogging>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <random>
#include <string>
#include <string_view>

namespace tarnwick::test::pconfigfile_equality_test {
namespace {

/// g++ merges a literal "\0" with an empty literal of char16_t, which then has an odd address.
constexpr char nul_byte = '\0';
constexpr std::string_view nul(&nul_byte, 1);

using namespace std::string_view_literals;

class RandomContent {
public:
    explicit RandomContent(std::uint32_t seed)
        : random_(seed)
    {
    }

    std::string file()
    {
        std::string content;
        if (below(20) == 0) // so that the next lines cross the end of QFile's buffer of 16,384 bytes
            content = "#" + std::string(16'384 - 3 - below(60), 'x') + "\n";
        // Some files have so many keys that the table grows several times.
        is_large_ = below(50) == 0;
        for (auto lines = is_large_ ? 64 + below(1'500) : below(12); lines > 0; --lines)
            content += line() + std::string(line_ends[below(line_ends.size())]);
        return content;
    }

private:
    std::string line()
    {
        if (is_large_ && below(2'000) != 0)
            return "app.k" + std::to_string(below(1'000)) + "=" + std::to_string(below(9));
        if (below(40) == 0)
            return pieces(20);
        auto const space = [&] { return std::string(spaces[below(spaces.size())]); };
        if (below(10) == 0)
            return space() + "#" + pieces(3);
        std::string text = space() + std::string(keys[below(keys.size())]) + space() + "=" + space();
        switch (below(4)) {
        case 0:
            text += pieces(4);
            break;
        case 1:
            text += std::string(values[below(values.size())]);
            break;
        case 2:
            text += "${" + std::string(keys[below(keys.size())]) + (below(2) == 0 ? ":-" + pieces(2) : "") + "}";
            break;
        default:
            text += below(100) == 0 ? long_value() : "v" + std::to_string(below(9));
        }
        return text + space();
    }

    /// A content of several buffers of the reader, with carriage returns at random places.
    std::string long_value()
    {
        std::string text(below(60'000), 'y');
        for (auto count = text.empty() ? 0 : below(12); count > 0; --count)
            text.replace(below(text.size()), 1, 1 + below(2), '\r');
        return text;
    }

    std::string pieces(std::uint32_t most)
    {
        std::string text;
        for (auto count = below(most); count > 0; --count)
            text +=
                below(8) == 0 ? std::string(1, static_cast<char>(below(256))) : std::string(bits[below(bits.size())]);
        return text;
    }

    std::uint32_t below(std::size_t end) { return static_cast<std::uint32_t>(random_() % end); }

    static constexpr std::array line_ends{"\n"sv,   "\n"sv,     "\n"sv, "\r\n"sv, "\r"sv,
                                          "\n\r"sv, "\r\r\n"sv, ""sv,   "\0\n"sv};
    static constexpr std::array spaces{
        ""sv, " "sv, "\t"sv, "\r"sv, "\v\f"sv, "\xC2\xA0"sv, "\xE2\x80\x83"sv, "\xEF\xBB\xBF"sv, "\xC2\x85"sv, nul};
    static constexpr std::array keys{
        "a"sv,       "b"sv,       "app.a"sv,           "app.b"sv,        "app."sv, "App.a"sv, "app.include"sv,
        "include"sv, "include"sv, "TARNWICK_TEST_E"sv, "app.\xC3\xA4"sv, ""sv,     "a b"sv};
    static constexpr std::array values{"part.conf"sv, "p*.conf"sv,   "none.conf"sv, "f.conf"sv, "*.none"sv,
                                       "'x'"sv,       "\"${a}\""sv,  "'"sv,         "\""sv,     "${a:-\"\"}"sv,
                                       "'it's'"sv,    "loop.conf"sv, "."sv};
    static constexpr std::array bits{"="sv,
                                     "'"sv,
                                     "\""sv,
                                     "$"sv,
                                     "{"sv,
                                     "}"sv,
                                     "${"sv,
                                     ":-"sv,
                                     " "sv,
                                     "\r"sv,
                                     nul,
                                     "x"sv,
                                     "a"sv,
                                     "#"sv,
                                     ";"sv,
                                     "\xC3\xA4"sv,
                                     "\xC3"sv,
                                     "\xF0\x9F\x98\x80"sv,
                                     "\xF0\x9F"sv,
                                     "\xED\xA0\x80"sv,
                                     "\xEF\xBB\xBF"sv,
                                     "\xEF\xBB"sv,
                                     "\\"sv,
                                     "*"sv};

    std::mt19937 random_;
    bool is_large_ = false;
};

/// The result of a load, without the iteration order of keys.
template <class File>
Texts outcome(File &file)
{
    Texts outcome{failure_of([&] { file.load(); }), std::to_string(file.line_no())};
    auto keys = file.values().uniqueKeys();
    keys.sort();
    for (auto const &key : keys) {
        for (auto const &value : file.values().values(key))
            outcome.push_back((key + u'=' + value).toStdString());
    }
    return outcome;
}

TEST(ConfigFileOnRandomFiles, agrees_with_the_simple_reader)
{
    ConfigFolder const folder;
    folder.write("part.conf", "app.a = part\r\na = ${app.a}\napp.b = 1\napp.b = 2\nb=${b}\n");
    folder.write("pq.conf", "app.a = q\nb = ${a:-d}\nb = last\n");
    folder.write("loop.conf", "app.l = 1\ninclude = f.conf\n");
    auto const file = q(folder.path("f.conf"));
    Variable const environment("TARNWICK_TEST_E", " \"env' ");

    // Qt warns on standard error of names that contain a NUL.
    auto *const handler = qInstallMessageHandler([](QtMsgType, QMessageLogContext const &, QString const &) {});
    int const count = qEnvironmentVariableIsSet("TARNWICK_RANDOM_FILES")
                          ? qEnvironmentVariableIntValue("TARNWICK_RANDOM_FILES")
                          : 10'000;
    int failures = 0;
    int values = 0;
    int large = 0;
    int long_values = 0;
    for (int seed = 0; seed < count; ++seed) {
        auto const content = RandomContent(static_cast<std::uint32_t>(seed)).file();
        std::ofstream(file.toStdString(), std::ios::binary) << content;
        auto const name = q(seed % 2 == 0 ? "" : "app");
        ConfigFile config(file, name);
        LiteralConfigFile literal(file, name);
        auto const expected = outcome(literal);
        ASSERT_EQ(outcome(config), expected) << "seed " << seed << ": " << testing::PrintToString(content);
        failures += expected.front().empty() ? 0 : 1;
        values += static_cast<int>(expected.size()) - 2;
        large += expected.size() > 300 ? 1 : 0;
        long_values += std::ranges::any_of(expected, [](auto const &text) {
            return text.size() > 40'000 && text.find('\r', 20'000) != std::string::npos;
        });
    }
    qInstallMessageHandler(handler);
    // If all files failed, or were empty, the comparison would show nothing.
    EXPECT_GT(failures, count / 10);
    EXPECT_LT(failures, count * 8 / 10);
    EXPECT_GT(values, count);
    EXPECT_GT(large, count / 500);
    EXPECT_GT(long_values, count / 5'000);
}

} // namespace
} // namespace tarnwick::test::pconfigfile_equality_test
