// Files of CURVE keys, and `tarnwick keys`, which creates them.

#include "live/key_files.h"

#include "support/config_files.h"
#include "tools/tarnwick/support/files.h"
#include "tools/tarnwick/support/program.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace tarnwick::test::key_files_test {
namespace {

using program::KeyFileError;
using testing::HasSubstr;
using testing::ThrowsMessage;

mode_t mode_of(std::string const &file)
{
    struct stat status = {};
    EXPECT_EQ(::stat(file.c_str(), &status), 0) << file;
    return status.st_mode & 07777U;
}

TEST(KeysCommand, creates_a_secret_and_a_public_file)
{
    ConfigFolder const folder;
    auto const outcome = run({.arguments = {"keys", folder.path("shop")}});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out + outcome.err, "");
    auto const keys = content_of(folder.path("shop.key"));
    EXPECT_EQ(keys.size(), 82U);
    EXPECT_EQ(content_of(folder.path("shop.pub")), keys.substr(0, 41));
    EXPECT_EQ(mode_of(folder.path("shop.key")), 0600U);
    EXPECT_EQ(mode_of(folder.path("shop.pub")) & 0022U, 0U);
    EXPECT_EQ(program::read_key_pair(folder.path("shop.key")).public_key,
              program::read_public_key(folder.path("shop.pub")));
}

TEST(KeysCommand, creates_other_keys_each_time)
{
    EXPECT_NE(program::make_key_pair().secret_key, program::make_key_pair().secret_key);
}

TEST(KeysCommand, creates_neither_file_if_one_exists)
{
    for (std::string const existing : {"shop.key", "shop.pub"}) {
        SCOPED_TRACE(existing);
        ConfigFolder const folder;
        folder.write(existing, "mine");
        auto const outcome = run({.arguments = {"keys", folder.path("shop")}});
        EXPECT_EQ(outcome.status, 3);
        EXPECT_EQ(outcome.err, "tarnwick: cannot write " + folder.path(existing) + ": File exists\n");
        EXPECT_EQ(content_of(folder.path(existing)), "mine");
        EXPECT_FALSE(std::filesystem::exists(folder.path(existing == "shop.key" ? "shop.pub" : "shop.key")));
    }
}

TEST(KeysCommand, leaves_no_file_if_the_disk_is_full)
{
    ConfigFolder const folder;
    auto const outcome = run({.arguments = {"keys", folder.path("shop")}, .largest_file = 50});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.err, "tarnwick: cannot write " + folder.path("shop.key") + ": File too large\n");
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST(KeysCommand, requires_a_name)
{
    for (auto const &arguments : std::vector<std::vector<std::string>>{{"keys"}, {"keys", ""}}) {
        auto const outcome = run({.arguments = arguments});
        EXPECT_EQ(outcome.status, 2);
        EXPECT_THAT(outcome.err, HasSubstr("tarnwick: a name for the files is required\n"));
    }
}

class KeyFiles : public testing::Test {
protected:
    // NOLINTNEXTLINE(modernize-use-nodiscard): the name is known
    std::string write(std::string const &name, std::string const &content, mode_t mode = 0600) const
    {
        auto file = folder_.write(name, content);
        EXPECT_EQ(::chmod(file.c_str(), mode), 0);
        return file;
    }

    ConfigFolder folder_;                               // NOLINT: fixture
    program::KeyPair keys_ = program::make_key_pair();  // NOLINT: fixture
    program::KeyPair other_ = program::make_key_pair(); // NOLINT: fixture
};

TEST_F(KeyFiles, are_refused_if_others_can_read_or_write_the_secret_key)
{
    for (mode_t const mode : {0640U, 0604U, 0620U, 0602U, 0666U}) {
        auto const file = write("a.key", keys_.public_key + "\n" + keys_.secret_key + "\n", mode);
        EXPECT_THAT(
            [&] { (void)program::read_key_pair(file); },
            ThrowsMessage<KeyFileError>("cannot use " + file + ": other users can read or write it: use chmod 600"))
            << mode;
    }
    for (mode_t const mode : {0600U, 0400U}) {
        auto const file = write("b" + std::to_string(mode), keys_.public_key + "\n" + keys_.secret_key + "\n", mode);
        EXPECT_EQ(program::read_key_pair(file).secret_key, keys_.secret_key);
    }
}

TEST_F(KeyFiles, are_refused_if_all_users_can_write_the_public_key)
{
    auto const file = write("a.pub", keys_.public_key + "\n", 0646);
    auto const expected = ThrowsMessage<KeyFileError>("cannot use " + file + ": all users can write it: use chmod o-w");
    EXPECT_THAT([&] { (void)program::read_public_key(file); }, expected);
    EXPECT_THAT([&] { (void)program::has_public_key(file, keys_.public_key); }, expected);
    EXPECT_THAT([&] { (void)program::has_public_key(folder_.path(), keys_.public_key); }, expected);
    EXPECT_EQ(::chmod(file.c_str(), 0644), 0);
    EXPECT_TRUE(program::has_public_key(folder_.path(), keys_.public_key));
    EXPECT_EQ(::chmod(folder_.path().c_str(), 0777), 0);
    EXPECT_THROW((void)program::has_public_key(folder_.path(), keys_.public_key), KeyFileError);
}

TEST_F(KeyFiles, are_refused_if_they_are_missing)
{
    auto const file = folder_.path("none");
    auto const expected = ThrowsMessage<KeyFileError>("cannot use " + file + ": No such file or directory");
    EXPECT_THAT([&] { (void)program::read_key_pair(file); }, expected);
    EXPECT_THAT([&] { (void)program::read_public_key(file); }, expected);
    EXPECT_THAT([&] { (void)program::has_public_key(file, keys_.public_key); }, expected);
}

TEST_F(KeyFiles, are_refused_if_they_are_damaged)
{
    auto const &[open, secret] = keys_;
    for (auto const &content :
         {std::string(), open, fmt::format("{}\n", open), fmt::format("{}\n{}\n", open, secret.substr(1)),
          fmt::format("{}\"\n{}\n", open.substr(0, 39), secret), fmt::format("{}\n{}\n\n", open, secret),
          fmt::format("{}\n{}x\n", open, secret), fmt::format("{} {}\n", open, secret)})
        EXPECT_THAT([&] { (void)program::read_key_pair(write("a.key", content)); },
                    ThrowsMessage<KeyFileError>(HasSubstr("it does not have a public and a secret key in two lines")))
            << content;
    EXPECT_THAT(
        [&] { (void)program::read_key_pair(write("a.key", fmt::format("{}\n{}\n", other_.public_key, secret))); },
        ThrowsMessage<KeyFileError>(HasSubstr("its public key is not that of its secret key")));
    for (auto const &content :
         {std::string(), fmt::format("{}x\n", open), open.substr(1), fmt::format("{}\n{}\n", open, secret)})
        EXPECT_THAT([&] { (void)program::read_public_key(write("a.pub", content)); },
                    ThrowsMessage<KeyFileError>(HasSubstr("it does not have one line with a public key")))
            << content;
}

TEST_F(KeyFiles, can_have_lines_that_end_as_on_other_systems)
{
    EXPECT_EQ(program::read_key_pair(write("a.key", keys_.public_key + "\r\n" + keys_.secret_key)).secret_key,
              keys_.secret_key);
}

TEST_F(KeyFiles, list_keys_with_comments)
{
    auto const list =
        write("list", "# hosts of the shop\n\n  \n" + keys_.public_key + " first host\n# " + other_.public_key + "\n");
    EXPECT_TRUE(program::has_public_key(list, keys_.public_key));
    EXPECT_FALSE(program::has_public_key(list, other_.public_key));
    EXPECT_FALSE(program::has_public_key(list, ""));
    EXPECT_FALSE(program::has_public_key(write("empty", ""), keys_.public_key));
}

TEST_F(KeyFiles, are_refused_with_the_line_that_is_not_a_key)
{
    auto const list = write("list", keys_.public_key + "\nfirst host\n");
    EXPECT_THAT([&] { (void)program::has_public_key(list, keys_.public_key); },
                ThrowsMessage<KeyFileError>("cannot use " + list + ": line 2 does not start with a public key"));
}

TEST_F(KeyFiles, are_found_in_a_folder_by_their_ending)
{
    write("a.pub", keys_.public_key + "\n");
    write("b.pub.old", other_.public_key + "\n");
    write("notes", "not a key");
    EXPECT_TRUE(program::has_public_key(folder_.path(), keys_.public_key));
    EXPECT_FALSE(program::has_public_key(folder_.path(), other_.public_key));
}

} // namespace
} // namespace tarnwick::test::key_files_test
