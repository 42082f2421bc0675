#pragma once

// A server of NATS with streams, for tests.

#include "program.h"

#include <gtest/gtest.h>

#include <QtCore/QTemporaryDir>

#include <string>
#include <string_view>

namespace tarnwick::test {

/// A server on a free port of the loopback address. It stores its streams in a folder of its own.
class NatsServer {
public:
    NatsServer()
    {
        constexpr std::string_view before_port = "Listening for client connections on 127.0.0.1:";
        for (std::string line; !line.ends_with("Server is ready\n"); line = server_.read_line()) {
            if (auto const at = line.find(before_port); at != std::string::npos)
                port_ = line.substr(at + before_port.size(), line.size() - at - before_port.size() - 1);
            if (line.find("[FTL]") != std::string::npos) {
                ADD_FAILURE() << line;
                return;
            }
        }
    }

    /// The address of a stream.
    [[nodiscard]] std::string stream(std::string const &name) const { return "nats://127.0.0.1:" + port_ + '/' + name; }

private:
    QTemporaryDir folder_;
    Program server_{{.arguments = {"-js", "-sd", folder_.path().toStdString(), "-a", "127.0.0.1", "-p", "-1"},
                     .err = Sink::output,
                     .program = TARNWICK_NATS_SERVER}};
    std::string port_;
};

} // namespace tarnwick::test
