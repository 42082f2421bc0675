#include "support/textproto.h"

#include <google/protobuf/io/tokenizer.h>
#include <google/protobuf/text_format.h>

#include <gtest/gtest.h>

#include <string_view>

namespace tarnwick::test {
namespace {

class FailTest : public google::protobuf::io::ErrorCollector {
public:
    void RecordError(int line, int column, std::string_view what) override
    {
        ADD_FAILURE() << "textproto, line " << line + 1 << ", column " << column + 1 << ": " << what;
    }
};

} // namespace

void read_text(std::string const &textproto, google::protobuf::Message &message)
{
    FailTest fail_test;
    google::protobuf::TextFormat::Parser parser;
    parser.RecordErrorsTo(&fail_test);
    EXPECT_TRUE(parser.ParseFromString(textproto, &message));
}

} // namespace tarnwick::test
