#pragma once

// A server of NATS with streams, for tests.

#include "program.h"

#include <gtest/gtest.h>

#include <QtCore/QTemporaryDir>

#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::test {

/// A server on a free port of the loopback address. It stores its streams in a folder of its own.
class NatsServer {
public:
    explicit NatsServer(std::vector<std::string> const &options = {})
        : server_({.arguments = arguments(options), .err = Sink::output, .program = TARNWICK_NATS_SERVER})
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
    [[nodiscard]] std::string stream(std::string const &name, std::string const &scheme = "nats") const
    {
        return scheme + "://127.0.0.1:" + port_ + '/' + name;
    }

private:
    [[nodiscard]] std::vector<std::string> arguments(std::vector<std::string> const &options) const
    {
        std::vector<std::string> all{"-js", "-sd", folder_.path().toStdString(), "-a", "127.0.0.1", "-p", "-1"};
        all.insert(all.end(), options.begin(), options.end());
        return all;
    }

    QTemporaryDir folder_;
    Program server_;
    std::string port_;
};

} // namespace tarnwick::test
