// What a program does that links the library: it is built against an installed tree and as a super-project. It touches
// each of the libraries and exits with the number of things that went wrong.

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

int wrong = 0;

void expect(bool holds, char const *what)
{
    if (!holds) {
        std::cerr << "wrong: " << what << '\n';
        ++wrong;
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
    expect(fmt::format("{}", record) == expected, "what fmt prints");
    QString printed;
    QDebug(&printed).nospace() << record;
    expect(printed.trimmed().toStdString() == expected, "what QDebug prints");
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
    return wrong;
}
