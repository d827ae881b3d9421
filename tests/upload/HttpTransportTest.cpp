// The libcurl transport over loopback: what goes on the wire and which exchanges count as
// responses.
#include "LoopbackServers.hpp"

#include "Platform/HttpTransport.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <vector>

namespace Velmora::Testing {
namespace {

using testing::ElementsAreArray;

struct Reply {
    bool ok = false;
    long status = -1;
    std::string body = "stale";
    std::string error = "stale";
};

Reply Send(std::string const& method, std::string const& url, std::string const& token,
           std::string const& payload, HttpProgressCallback const& onProgress = nullptr) {
    Reply reply;
    reply.ok = MacHttpSend(method, url, token, "application/octet-stream", payload.data(),
                           payload.size(), onProgress, reply.status, reply.body, reply.error);
    return reply;
}

// The request line and header lines of a raw request, without Host and Content-Length.
std::vector<std::string> HeadLines(std::string const& request) {
    std::istringstream lines(request.substr(0, request.find("\r\n\r\n")));
    std::vector<std::string> head;
    for (std::string line; std::getline(lines, line);) {
        line.pop_back(); // the '\r'
        if (line.rfind("Host: ", 0) != 0 && line.rfind("Content-Length: ", 0) != 0)
            head.push_back(line);
    }
    return head;
}

// Catches a wrong header order, an Authorization header for an empty token, curl's own
// Accept/Expect headers leaking, a body cut or changed, 4xx/5xx taken for failures, a reply
// body cut at a NUL byte, stale out-parameters, and progress that falls back, reports curl's
// own total or stops short of (length, length).
TEST(HttpTransport, SendsOurHeadersInOrderAndAnyStatusIsAResponse) {
    struct Case {
        char const* method;
        std::string token;
        std::size_t bodySize; // 2 MB: large enough for curl to want Expect
        char const* statusLine;
        std::string replyBody;
    };
    Case const cases[] = {
        {"POST", "tok-1", 100, "200 OK", std::string("a\0b\xff", 4)},
        {"POST", "", 100, "404 Not Found", "missing"},
        {"PUT", "", 2 * 1048576 + 17, "500 Internal Server Error", ""},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.method + c.token);
        std::string payload(c.bodySize, '\0');
        for (std::size_t i = 0; i < payload.size(); ++i)
            payload[i] = static_cast<char>(i * 131 + i / 251);
        std::vector<std::pair<std::uint64_t, std::uint64_t>> progress;
        Reply reply;
        std::string const raw = CaptureRawRequest(
            [&](std::string const& base) {
                reply = Send(c.method, base + "/in?x=1", c.token, payload,
                             [&](std::uint64_t sent, std::uint64_t total) {
                                 progress.emplace_back(sent, total);
                             });
            },
            std::string("HTTP/1.1 ") + c.statusLine + "\r\nContent-Length: " +
                std::to_string(c.replyBody.size()) + "\r\nConnection: close\r\n\r\n" + c.replyBody);
        std::vector<std::string> expected = {std::string(c.method) + " /in?x=1 HTTP/1.1",
                                             "Content-Type: application/octet-stream"};
        if (!c.token.empty())
            expected.push_back("Authorization: Bearer " + c.token);
        expected.push_back("User-Agent: VelmoraAI-Archicad/0.1");
        EXPECT_THAT(HeadLines(raw), ElementsAreArray(expected)) << raw.substr(0, 400);
        EXPECT_TRUE(raw.substr(raw.find("\r\n\r\n") + 4) == payload);
        EXPECT_TRUE(reply.ok) << reply.error;
        EXPECT_EQ(reply.status, std::stol(c.statusLine));
        EXPECT_TRUE(reply.body == c.replyBody);
        EXPECT_EQ(reply.error, "");
        ASSERT_FALSE(progress.empty());
        for (std::size_t i = 0; i < progress.size(); ++i) {
            EXPECT_EQ(progress[i].second, payload.size());
            EXPECT_GE(progress[i].first, i > 0 ? progress[i - 1].first : 0);
        }
        EXPECT_EQ(progress.back().first, payload.size());
    }
}

// Catches a refused connection or an unparseable URL reported as a response, an error text
// without the domain, code and description, and a URL curl guesses its way around.
TEST(HttpTransport, TransportFailuresGiveTheirErrorText) {
    std::string const refused = "http://127.0.0.1:" + std::to_string(ClosedLoopbackPort()) + "/x";
    std::pair<std::string, char const*> const cases[] = {
        {refused, R"(CURLE 7 \(.+\))"}, // the error as a regular expression
        {"", "endpoint URL could not be parsed"},
        {"not a url", "endpoint URL could not be parsed"},
        {"http://exa mple.com/", "endpoint URL could not be parsed"},
        {"http://[::1", "endpoint URL could not be parsed"},
    };
    for (auto const& [url, error] : cases) {
        Reply const reply = Send("POST", url, "t", "{}");
        EXPECT_FALSE(reply.ok) << url;
        EXPECT_EQ(reply.status, 0) << url;
        EXPECT_EQ(reply.body, "") << url;
        EXPECT_THAT(reply.error, testing::MatchesRegex(error)) << url;
    }
}

} // namespace
} // namespace Velmora::Testing
