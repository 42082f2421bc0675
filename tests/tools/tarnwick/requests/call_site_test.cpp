#include "requests/call_site.h"

#include "support/textproto.h"

#include <tarnwick/rpc/php/v1/function.pb.h>

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tarnwick::program::call_site_test {
namespace {

struct Call {
    std::string name;
    std::optional<std::string> file;
};

/// Returns the name of the call site of a trace.
std::string call_site_of(std::vector<Call> const &calls)
{
    std::string textproto;
    for (auto const &[name, file] : calls)
        textproto += "frames { function { name: '" + name + "'" +
                     (file ? " location { file: '" + *file + "' line: 5 }" : "") + " } } ";
    data::php::StackTrace const trace(test::from_text<rpc::php::v1::StackTrace>(textproto));
    auto const *const found = call_site(trace);
    return found == nullptr ? "none" : found->name().toStdString();
}

TEST(CallSite, is_the_first_call_in_a_file_of_the_application)
{
    struct Case {
        char const *name;
        std::vector<Call> calls;
        std::string call_site;
    };
    Case const cases[] = {
        {"no calls", {}, "none"},
        {"the first in a file", {{"a", std::nullopt}, {"b", ""}, {"c", "/app/c.php"}, {"d", "/app/d.php"}}, "c"},
        {"after libraries", {{"a", "/app/vendor/x/a.php"}, {"b", "/app/b.php"}}, "b"},
        {"only libraries", {{"a", std::nullopt}, {"b", "/app/vendor/x/b.php"}, {"c", "/usr/share/php/c.php"}}, "b"},
        {"no files", {{"a", std::nullopt}, {"b", ""}}, "a"},
    };
    for (auto const &[name, calls, expected] : cases)
        EXPECT_EQ(call_site_of(calls), expected) << name;
}

TEST(CallSite, recognises_libraries_by_their_directory)
{
    std::pair<std::string, bool> const cases[] = {
        {"/app/vendor/orm/Connection.php", true},
        {"vendor/orm/Connection.php", true},
        {"/app/node_modules/x/index.php", true},
        {"/usr/share/php/Doctrine/Connection.php", true},
        {"/usr/share/pear/DB.php", true},
        {"/usr/lib/php/DB.php", true},
        {"/usr/lib64/php/DB.php", true},
        {"/usr/local/lib/php/DB.php", true},
        {"phar:///app/tool.phar/src/Query.php", true},
        {"/app/vendors/list.php", false},
        {"/app/my-vendor/list.php", false},
        {"/app/vendor.php", false},
        {"/usr/share/phpmyadmin/index.php", false},
        {"/app/usr/share/php/x.php", false},
        {"/app/phar://x.php", false},
    };
    for (auto const &[file, is_library] : cases)
        EXPECT_EQ(call_site_of({{"query", file}, {"caller", "/app/page.php"}}), is_library ? "caller" : "query")
            << file;
}

} // namespace
} // namespace tarnwick::program::call_site_test
