// Secrets in the output of `tarnwick config dump`.

#include "tools/tarnwick/support/config_program.h"
#include "tools/tarnwick/support/program.h"

#include <gmock/gmock.h>

#include <string>

namespace tarnwick::test::config_masks_test {
namespace {

using testing::HasSubstr;

class ConfigMasks : public ConfigProgram {
protected:
    void SetUp() override
    {
        folder.write("main.conf",
                     "app.db.password = the-password\napp.db.dsn = mysql:host=h;password=the-password;x=y\n"
                     "app.note = use the-password\napp.port = 80\napp.token =\n");
    }
};

std::string const masked_dump = "app.db.dsn = mysql:host=h;password=[masked];x=y\napp.db.password = [masked]\n"
                                "app.note = use [masked]\napp.port = 80\napp.token = \n";

TEST_F(ConfigMasks, dump_masks_on_a_terminal)
{
    auto const plain = config({"dump", "main.conf"});
    EXPECT_THAT(plain.out, HasSubstr("app.db.password = the-password\n"));
    EXPECT_EQ(config({.arguments = {"dump", "--color=never", "main.conf"}, .out = Sink::terminal}).out, masked_dump);
    EXPECT_EQ(config({.arguments = {"dump", "--color=never", "--mask=none", "main.conf"}, .out = Sink::terminal}).out,
              plain.out);
    EXPECT_THAT(config({.arguments = {"dump", "--format=json", "main.conf"}, .out = Sink::terminal}).out,
                HasSubstr("the-password"));
}

TEST_F(ConfigMasks, dump_masks_if_asked)
{
    expect(config({"dump", "--mask=default", "main.conf"}), 0, masked_dump);
    expect(config({"dump", "--mask=port", "--format=json", "main.conf"}), 0,
           R"({"file":"main.conf","values":{"app.db.dsn":["mysql:host=h;password=[masked];x=y"],)"
           R"("app.db.password":["[masked]"],"app.note":["use [masked]"],"app.port":["[masked]"],"app.token":[""]}})"
           "\n");
}

} // namespace
} // namespace tarnwick::test::config_masks_test
