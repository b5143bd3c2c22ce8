// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/Utils.h>

#include <tests/support/TemporaryFolder.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <future>
#include <iterator>
#include <semaphore>
#include <string>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace kelvane {
namespace {

struct Answer {
    std::string text;
    bool stalls = false; ///< hangs up only when the test says so
};

/// An HTTP server on loopback that answers each connection with the next of its answers and then hangs up. It ends
/// with the last one.
class Server {
public:
    explicit Server(std::vector<Answer> answers) : _listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        EXPECT_EQ(bind(_listener, reinterpret_cast<sockaddr *>(&address), size), 0);
        EXPECT_EQ(listen(_listener, 8), 0);
        EXPECT_EQ(getsockname(_listener, reinterpret_cast<sockaddr *>(&address), &size), 0);
        _port = ntohs(address.sin_port);
        _thread = std::thread([this, answers = std::move(answers)] {
            for (const Answer &answer : answers)
                serve(answer);
        });
    }
    ~Server()
    {
        hangUp();
        shutdown(_listener, SHUT_RDWR); // for a test that failed before it asked for all answers
        _thread.join();
        close(_listener);
    }
    Server(const Server &) = delete;
    Server &operator=(const Server &) = delete;

    /// Waits until an answer stalls.
    void waitForStall() { _stalled.acquire(); }
    /// Lets the answer that stalls end.
    void hangUp() { _hangUp.release(); }

    [[nodiscard]] String url() const { return "http://127.0.0.1:" + std::to_string(_port) + "/file"; }

private:
    void serve(const Answer &answer)
    {
        const int connection = accept4(_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection < 0)
            return;
        std::string request;
        char buffer[1024];
        while (request.find("\r\n\r\n") == std::string::npos) {
            const ssize_t size = recv(connection, buffer, sizeof buffer, 0);
            if (size <= 0)
                break;
            request.append(buffer, static_cast<std::size_t>(size));
        }
        EXPECT_EQ(send(connection, answer.text.data(), answer.text.size(), MSG_NOSIGNAL),
            static_cast<ssize_t>(answer.text.size()));
        if (answer.stalls) {
            _stalled.release();
            _hangUp.acquire();
        }
        close(connection);
    }

    const int _listener;
    std::uint16_t _port = 0;
    std::counting_semaphore<> _stalled{0};
    std::counting_semaphore<> _hangUp{0};
    std::thread _thread;
};

Answer answer(std::size_t promised, const std::string &body, const std::string &status = "200 OK")
{
    return {"HTTP/1.1 " + status + "\r\nConnection: close\r\nContent-Length: " + std::to_string(promised) + "\r\n\r\n"
        + body};
}
Answer stalledAnswer(std::size_t promised, const std::string &body)
{
    return {answer(promised, body).text, true};
}

class UtilsDownloadOverHttp : public testing::Test {
protected:
    void SetUp() override
    {
        if (std::system("curl --version >/dev/null 2>&1") != 0)
            GTEST_SKIP() << "there is no curl";
    }
    [[nodiscard]] std::string content() const
    {
        std::ifstream file(folder.path("file"));
        return {std::istreambuf_iterator<char>(file), {}};
    }

    testsupport::TemporaryFolder folder;
};

TEST_F(UtilsDownloadOverHttp, TriesAgainAfterHangUpsAndTruncatedAnswers)
{
    const Server server({Answer{}, answer(5, "123"), answer(5, "12345")});
    EXPECT_EQ(Utils::downloadModule(folder.string("file"), server.url(), 5), 0);
    EXPECT_EQ(content(), "12345");
}

TEST_F(UtilsDownloadOverHttp, GivesUpAfterSixAnswersThatAreTooShort)
{
    const Server server(std::vector<Answer>(6, answer(3, "123")));
    EXPECT_EQ(Utils::downloadModule(folder.string("file"), server.url(), 5), -1);
    EXPECT_EQ(content(), "123");
}

TEST_F(UtilsDownloadOverHttp, WaitsForAnAnswerThatStallsAndTriesAgainOnceItIsCut)
{
    Server server({stalledAnswer(5, "123"), answer(5, "12345")});
    auto result =
        std::async(std::launch::async, [&] { return Utils::downloadModule(folder.string("file"), server.url(), 5); });
    server.waitForStall();
    EXPECT_EQ(result.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
    server.hangUp();
    EXPECT_EQ(result.get(), 0);
    EXPECT_EQ(content(), "12345");
}

TEST_F(UtilsDownloadOverHttp, AnErrorPageCountsByItsSizeAsAnyAnswer)
{
    const Server server({answer(4, "gone", "404 Not Found"), answer(5, "error", "500 Internal Server Error")});
    EXPECT_EQ(Utils::downloadModule(folder.string("file"), server.url(), 5), 0);
    EXPECT_EQ(content(), "error");
}

TEST_F(UtilsDownloadOverHttp, GivesUpWhereNobodyAnswers)
{
    EXPECT_EQ(Utils::downloadModule(folder.string("file"), "http://127.0.0.1:1/file", 5), -1);
    EXPECT_FALSE(Utils::fileExsit(folder.string("file")));
}

} // namespace
} // namespace kelvane
