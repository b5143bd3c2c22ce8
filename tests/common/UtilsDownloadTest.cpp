// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/Utils.h>

#include <tests/support/TemporaryFolder.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace kelvane {
namespace {

/// An HTTP server on loopback that answers each connection with the next of its answers and then hangs up. It ends
/// with the last one.
class Server {
public:
    explicit Server(std::vector<std::string> answers) : _listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
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
            for (const std::string &answer : answers)
                serve(answer);
        });
    }
    ~Server()
    {
        shutdown(_listener, SHUT_RDWR); // for a test that failed before it asked for all answers
        _thread.join();
        close(_listener);
    }
    Server(const Server &) = delete;
    Server &operator=(const Server &) = delete;

    [[nodiscard]] String url() const { return "http://127.0.0.1:" + std::to_string(_port) + "/file"; }

private:
    void serve(const std::string &answer) const
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
        EXPECT_EQ(send(connection, answer.data(), answer.size(), MSG_NOSIGNAL), static_cast<ssize_t>(answer.size()));
        close(connection);
    }

    const int _listener;
    std::uint16_t _port = 0;
    std::thread _thread;
};

std::string answer(std::size_t promised, const std::string &body)
{
    return "HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: " + std::to_string(promised) + "\r\n\r\n" + body;
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
    const Server server({"", answer(5, "123"), answer(5, "12345")});
    EXPECT_EQ(Utils::downloadModule(folder.string("file"), server.url(), 5), 0);
    EXPECT_EQ(content(), "12345");
}

TEST_F(UtilsDownloadOverHttp, GivesUpAfterSixAnswersThatAreTooShort)
{
    const Server server(std::vector<std::string>(6, answer(3, "123")));
    EXPECT_EQ(Utils::downloadModule(folder.string("file"), server.url(), 5), -1);
    EXPECT_EQ(content(), "123");
}

TEST_F(UtilsDownloadOverHttp, GivesUpWhereNobodyAnswers)
{
    EXPECT_EQ(Utils::downloadModule(folder.string("file"), "http://127.0.0.1:1/file", 5), -1);
    EXPECT_FALSE(Utils::fileExsit(folder.string("file")));
}

} // namespace
} // namespace kelvane
