// Streams of NATS over TLS, and credentials.

#include "support/config_files.h"
#include "tools/tarnwick/support/captures.h"
#include "tools/tarnwick/support/live.h"
#include "tools/tarnwick/support/nats_server.h"
#include "tools/tarnwick/support/program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <vector>

namespace tarnwick::test::nats_access_test {
namespace {

using testing::HasSubstr;

/// A certificate for the loopback address, which is its own authority, and its key.
class Certificate {
public:
    Certificate()
    {
        auto const outcome =
            run({.arguments = {"req", "-x509", "-newkey", "ed25519", "-nodes", "-subj", "/CN=127.0.0.1", "-addext",
                               "subjectAltName=IP:127.0.0.1", "-keyout", key(), "-out", file()},
                 .program = TARNWICK_OPENSSL});
        EXPECT_EQ(outcome.status, 0) << outcome.err;
    }
    [[nodiscard]] std::string file() const { return folder_.path() + "/certificate.pem"; }
    [[nodiscard]] std::string key() const { return folder_.path() + "/key.pem"; }

private:
    ConfigFolder folder_;
};

/// A server that accepts only clients with its own certificate.
class NatsTls : public testing::Test {
protected:
    [[nodiscard]] Outcome list(std::vector<std::string> const &environment) const
    {
        return run({.arguments = {"ls", stream}, .environment = environment});
    }

    Certificate const certificate;
    NatsServer const server{{"--tlsverify", "--tlscert", certificate.file(), "--tlskey", certificate.key(),
                             "--tlscacert", certificate.file()}};
    std::string const stream = server.stream("php", "tls");
    std::string const authority = "NATS_CA=" + certificate.file();
    std::vector<std::string> const all_variables{authority, "NATS_CERT=" + certificate.file(),
                                                 "NATS_KEY=" + certificate.key()};
};

TEST_F(NatsTls, carries_frames_from_one_program_to_another)
{
    Program recorder({.arguments = {"record", "tcp://127.0.0.1:*", "-o", stream},
                      .err = Sink::output,
                      .environment = all_variables});
    send_all(address_from(recorder), {rshutdown_frame_of(1, "response_status: 200").SerializeAsString()});
    Program reader({.arguments = {"inspect", "--follow", stream}, .environment = all_variables});
    EXPECT_THAT(reader.read_line(), HasSubstr("\"request_id\":1,"));
    for (auto *program : {&recorder, &reader}) {
        program->send(SIGTERM);
        program->finish();
    }
    EXPECT_EQ(list(all_variables).status, 0);
}

TEST_F(NatsTls, refuses_a_client_without_a_certificate)
{
    auto const outcome = list({authority});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.err, HasSubstr("cannot connect to " + stream + ": "));
}

TEST_F(NatsTls, trusts_only_servers_of_known_authorities)
{
    auto const outcome = list({});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.err, HasSubstr("SSL handshake error: "));
}

/// A server that accepts one user, who has signed credentials.
class NatsCredentials : public testing::Test {
protected:
    /// Returns the name of a file that `nats_credentials.py` writes.
    [[nodiscard]] std::string file(std::string const &name) const { return folder_.path() + '/' + name; }
    [[nodiscard]] Outcome list(std::vector<std::string> const &environment) const
    {
        return run({.arguments = {"ls", server_.stream("php")}, .environment = environment});
    }

private:
    [[nodiscard]] std::vector<std::string> options() const
    {
        auto const outcome =
            run({.arguments = {TARNWICK_OPENSSL, folder_.path()}, .program = TARNWICK_NATS_CREDENTIALS});
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return {"-c", file("server.conf")};
    }

    ConfigFolder folder_;
    NatsServer server_{options()};
};

TEST_F(NatsCredentials, admit_their_user)
{
    EXPECT_THAT(list({"NATS_CREDS=" + file("user.creds")}).err, HasSubstr("the servers have no such stream"));
}

TEST_F(NatsCredentials, of_an_unknown_account_are_refused)
{
    auto const outcome = list({"NATS_CREDS=" + file("stranger.creds")});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.err, HasSubstr("Authorization Violation"));
}

TEST_F(NatsCredentials, are_required_by_the_server)
{
    auto const outcome = list({});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.err, HasSubstr("Authorization Violation"));
}

TEST_F(NatsCredentials, report_a_file_that_is_missing)
{
    auto const outcome = list({"NATS_CREDS=/no/such/file"});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.err, HasSubstr("/no/such/file"));
}

} // namespace
} // namespace tarnwick::test::nats_access_test
