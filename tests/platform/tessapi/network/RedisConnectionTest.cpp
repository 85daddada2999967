#include "platform/tessapi/network/RedisConnection.h"

#include "platform/tessapi/network/LinkError.h"
#include "platform/tessapi/network/ServerRefusal.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <string>
#include <vector>

namespace tessapi::network {
namespace {

using namespace std::string_literals;

/// Gives its bytes in pieces of one size, and then closes.
class ScriptedTransport final : public ITransport {
public:
    ScriptedTransport(std::string text, std::size_t piece, std::string& written) :
        script{std::move(text)}, pieceSize{piece}, sent{written} {}

    void send(std::string_view bytes, const Deadline& /*deadline*/) override { sent += bytes; }

    std::size_t receive(char* buffer, std::size_t size, const Deadline& /*deadline*/) override {
        const auto count = std::min({size, pieceSize, script.size() - place});
        if (count == 0) {
            throw LinkError{"the server closed the connection"};
        }
        std::memcpy(buffer, script.data() + place, count);
        place += count;
        return count;
    }

    int descriptor() const override { return -1; }

private:
    const std::string script;
    const std::size_t pieceSize;
    std::string& sent;
    std::size_t place{0};
};

class RedisConnectionTest : public ::testing::Test {
protected:
    RedisConnection answering(const std::string& script, std::size_t piece = 1000) {
        return RedisConnection{std::make_unique<ScriptedTransport>(script, piece, sent)};
    }

    static Deadline soon() { return Deadline::in(std::chrono::seconds{10}); }

    std::string sent;
};

TEST_F(RedisConnectionTest, CommandsCarryAnyBytes) {
    auto connection = answering("+OK\r\n");
    Command command{"SET", std::string_view{"a\r\n\0b", 5}};
    command.add(std::uint64_t{18446744073709551615U}).add(std::int64_t{-7}).add("");
    connection.call(command, soon());
    EXPECT_EQ(sent,
              "*5\r\n$3\r\nSET\r\n$5\r\na\r\n\0b\r\n$20\r\n18446744073709551615\r\n$2\r\n-7\r\n$0\r\n\r\n"s);
}

TEST_F(RedisConnectionTest, AnswersAreReadHoweverTheyAreCutIntoPieces) {
    const std::string script{"*4\r\n$5\r\nab\r\nc\r\n:-42\r\n$-1\r\n*2\r\n+fine\r\n$0\r\n\r\n:7\r\n"};
    for (std::size_t piece = 1; piece <= script.size(); ++piece) {
        auto connection = answering(script, piece);
        const auto answer = connection.receive(soon());
        const auto list = answer.view();
        ASSERT_EQ(list.size(), 4U);
        EXPECT_EQ(list.at(0).text(), "ab\r\nc");
        EXPECT_EQ(list.at(1).integer(), -42);
        EXPECT_TRUE(list.at(2).isNil());
        EXPECT_EQ(list.at(3).at(0).text(), "fine");
        EXPECT_EQ(list.at(3).at(1).text(), "");
        EXPECT_EQ(connection.receive(soon()).view().integer(), 7);
    }
}

TEST_F(RedisConnectionTest, ErrorOfTheServerIsARefusalWithItsWord) {
    auto connection = answering("-OOM command not allowed when used memory > 'maxmemory'.\r\n+OK\r\n");
    try {
        connection.call({"SET"}, soon());
        FAIL() << "no refusal";
    } catch (const ServerRefusal& refusal) {
        EXPECT_EQ(refusal.code(), "OOM");
        EXPECT_TRUE(refusal.mayPass());
    }
    EXPECT_EQ(connection.receive(soon()).view().text(), "OK") << "the connection goes on";
}

TEST_F(RedisConnectionTest, GarbageIsNoAnswer) {
    for (const auto* garbage : {"HTTP/1.1 400 Bad Request\r\n", "$abc\r\n", "*-7\r\n", "\r\n", ":\x01\r\n"}) {
        auto connection = answering(garbage);
        EXPECT_THROW(connection.receive(soon()), LinkError) << garbage;
    }
}

TEST_F(RedisConnectionTest, AnswerThatBreaksOffIsAFailure) {
    for (const auto* start : {"", "$5\r\nab", "*2\r\n:1\r\n", "+O"}) {
        auto connection = answering(start);
        EXPECT_THROW(connection.receive(soon()), LinkError) << start;
    }
}

TEST_F(RedisConnectionTest, AnswerOfAnotherKindThanExpectedIsAFailure) {
    auto connection = answering("*1\r\n:1\r\n+word\r\n$-1\r\n");
    const auto list = connection.receive(soon());
    EXPECT_THROW(list.view().text(), LinkError);
    EXPECT_THROW(list.view().at(1), LinkError);
    EXPECT_THROW(list.view().at(0).size(), LinkError);
    const auto word = connection.receive(soon());
    EXPECT_THROW(word.view().integer(), LinkError);
    EXPECT_THROW(word.view().at(0), LinkError);
    EXPECT_THROW(connection.receive(soon()).view().text(), LinkError);
}

} // namespace
} // namespace tessapi::network
