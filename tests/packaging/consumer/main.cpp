// A program that uses the library, built with an installed tree and as a super-project. It uses each of the libraries
// and exits with the number of failed checks.

#include <tarnwick/data/php/rshutdown.h>
#include <tarnwick/data/print.h>
#include <tarnwick/pexception.h>
#include <tarnwick/qstring_format.h>

#include <pcommon/plogger.h>
#include <pelorin/protobuf/PelorinPHP/rshutdown_data.pb.h>
#include <tarnwick/rpc/php/v1/notify_request.pb.h>
#include <zeromq/message.h>

#include <google/protobuf/text_format.h>

#include <QtCore/QDebug>

#include <fmt/format.h>

#include <iostream>
#include <sstream>
#include <string>

namespace {

int failures = 0;

void expect(bool condition, char const *what)
{
    if (!condition) {
        std::cerr << "failed: " << what << '\n';
        ++failures;
    }
}

char const *const request_end_text = R"(
    request_id { id: 7 }
    timestamp { seconds: 1700000000 nanos: 5 }
    rshutdown { duration { nanos: 5000000 } response { status: 404 } memory { value_0: 1 value_1: 2 value_2: 3 } }
)";

tarnwick::rpc::php::v1::NotifyRequest request_end()
{
    tarnwick::rpc::php::v1::NotifyRequest message;
    bool const parsed = google::protobuf::TextFormat::ParseFromString(request_end_text, &message);
    expect(parsed, "the text of a message parses");
    return message;
}

void records_of_both_dialects()
{
    using namespace tarnwick::data::php;

    RShutdown const record(new detail::RShutdown(request_end()));
    expect(record->request_id().id() == 7, "request_id");
    expect(record->response_status() == 404, "response_status");
    expect(record->memory_2() == 3, "memory_2");

    std::string const expected =
        "php.RShutdown{request_id: 7, timestamp: {1700000000 s, 5 ns}, "
        "duration: {0 s, 5000000 ns}, response_status: 404, memory_0: 1, memory_1: 2, memory_2: 3}";
    expect(fmt::format("{}", record) == expected, "the text of fmt");
    QString printed;
    QDebug(&printed).nospace() << record;
    expect(printed.trimmed().toStdString() == expected, "the text of QDebug");
    std::cout << fmt::format("{}\n", record);

    pelorin::protobuf::PelorinPHP::RShutdownData other;
    other.set_response_status(200);
    RShutdown const other_record(new detail::RShutdown(other, RequestId(8)));
    expect(other_record->request_id().id() == 8 && other_record->response_status() == 200, "the other dialect");
}

void neighbours()
{
    std::ostringstream lines;
    PLogger::instance().set_output(&lines);
    PLogger::instance().println(PLogger::Level::info, "main.cpp", 1, fmt::format("{}", QStringLiteral("text")));
    PLogger::instance().set_output(nullptr);
    expect(lines.str() == "3 main.cpp:1 text\n", "the logger's line");

    ZMQ::Message message("bytes");
    expect(message.holds_message() && message.handle() != nullptr, "a ZeroMQ message");

    try {
        throw PException("thrown here");
    } catch (std::runtime_error const &exception) {
        expect(exception.what() == std::string("thrown here"), "the exception's text");
        expect(dynamic_cast<PException const *>(&exception) != nullptr, "the exception's type");
    }
}

} // namespace

int main()
{
    records_of_both_dialects();
    neighbours();
    return failures;
}
