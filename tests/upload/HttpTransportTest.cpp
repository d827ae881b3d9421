// The libcurl transport against servers on loopback: what goes on the wire and which
// exchanges count as responses.
#include "LoopbackServers.hpp"

#include "Platform/HttpTransport.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <vector>

namespace Velmora::Testing {
namespace {

using testing::ElementsAreArray;
using testing::MatchesRegex;

struct Reply {
    bool ok = false;
    long status = -1;
    std::string body = "untouched";
    std::string error = "untouched";
};

Reply Send(std::string const& method, std::string const& url, std::string const& token,
           std::string const& payload, HttpProgressCallback const& onProgress = nullptr) {
    Reply reply;
    reply.ok = MacHttpSend(method, url, token, "application/octet-stream", payload.data(),
                           payload.size(), onProgress, reply.status, reply.body, reply.error);
    return reply;
}

// The header lines of a raw request head, without the request line and the two headers
// HTTP itself needs.
std::vector<std::string> OwnHeaderLines(std::string const& head) {
    std::istringstream lines(head);
    std::vector<std::string> headers;
    std::string line;
    std::getline(lines, line); // the request line
    while (std::getline(lines, line)) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (!line.empty() && line.rfind("Host: ", 0) != 0 && line.rfind("Content-Length: ", 0) != 0)
            headers.push_back(line);
    }
    return headers;
}

std::string PatternedBytes(std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<char>((i * 131 + i / 251) & 0xFF);
    return bytes;
}

// Catches a wrong header order, an Authorization header sent for an empty token, curl's own
// Accept/Expect/Transfer-Encoding headers leaking onto the wire, and a truncated body.
TEST(HttpTransportWire, SendsOnlyOurHeadersInOrderWithTheBodyAsGiven) {
    struct Case {
        char const* method;
        std::string token;
        std::size_t bodySize;
        std::vector<std::string> headers;
    };
    std::string const type = "Content-Type: application/octet-stream";
    std::string const agent = "User-Agent: VelmoraAI-Archicad/0.1";
    Case const cases[] = {
        {"POST", "tok-123", 100, {type, "Authorization: Bearer tok-123", agent}},
        {"POST", "", 100, {type, agent}},
        {"PUT", "", 2 * 1048576, {type, agent}}, // large enough for curl to want Expect
        {"POST", "t", 0, {type, "Authorization: Bearer t", agent}},
    };
    for (Case const& c : cases) {
        RawCaptureServer server;
        std::string const payload = PatternedBytes(c.bodySize);
        Reply const reply = Send(c.method, server.Url("/in?x=1"), c.token, payload);
        std::string head;
        std::string body;
        server.Finish(head, body);
        EXPECT_TRUE(reply.ok) << reply.error;
        EXPECT_EQ(head.substr(0, head.find("\r\n")), std::string(c.method) + " /in?x=1 HTTP/1.1");
        EXPECT_THAT(OwnHeaderLines(head), ElementsAreArray(c.headers)) << head;
        EXPECT_NE(head.find("\r\nContent-Length: " + std::to_string(c.bodySize) + "\r\n"),
                  std::string::npos)
            << head;
        EXPECT_TRUE(body == payload) << c.method << " body of " << c.bodySize << " bytes differs";
    }
}

// Catches treating 4xx/5xx as failures, a body cut at a NUL byte, and a stale body or
// status left in the out-parameters.
TEST(HttpTransportResponse, AnyStatusIsAResponseWithItsBodyBinarySafe) {
    LoopbackServer server;
    server.Http().Post(R"(/status/(\d+))", [](httplib::Request const& req, httplib::Response& res) {
        res.status = std::stoi(req.matches[1]);
        res.set_content(req.body, "application/octet-stream"); // echo
    });
    server.Start();
    struct Case {
        int status;
        std::string body;
    };
    Case const cases[] = {
        {200, std::string("a\0b\xff", 4)},     {201, ""}, {404, "missing"}, {500, "boom"},
        {401, "{\"error\":\"unauthorized\"}"}, {204, ""},
    };
    for (Case const& c : cases) {
        Reply const reply =
            Send("POST", server.Url("/status/" + std::to_string(c.status)), "tok", c.body);
        EXPECT_TRUE(reply.ok) << c.status << ": " << reply.error;
        EXPECT_EQ(reply.status, c.status);
        EXPECT_TRUE(reply.body == c.body) << c.status;
        EXPECT_EQ(reply.error, "");
    }
}

// Catches a refused connection reported as a response, or an error text without the
// domain, code and description.
TEST(HttpTransportFailure, RefusedConnectionIsATransportFailureWithAFormattedError) {
    Reply const reply =
        Send("POST", "http://127.0.0.1:" + std::to_string(ClosedLoopbackPort()) + "/x", "t", "{}");
    EXPECT_FALSE(reply.ok);
    EXPECT_EQ(reply.status, 0);
    EXPECT_EQ(reply.body, "");
    EXPECT_THAT(reply.error, MatchesRegex(R"(CURLE 7 \(.+\))"));
}

// Catches a URL that curl would guess its way around, or a request attempted anyway.
TEST(HttpTransportFailure, UnparseableUrlFailsWithTheFixedText) {
    for (char const* url : {"", "not a url", "http://exa mple.com/", "http://[::1", "http://"}) {
        Reply const reply = Send("POST", url, "t", "{}");
        EXPECT_FALSE(reply.ok) << url;
        EXPECT_EQ(reply.status, 0) << url;
        EXPECT_EQ(reply.body, "") << url;
        EXPECT_EQ(reply.error, "endpoint URL could not be parsed") << url;
    }
}

// Catches the session's own total reported instead of the body length, progress that falls
// back, and a last report short of the whole body.
TEST(HttpTransportProgress, PutProgressRisesToTheBodyLength) {
    LoopbackServer server;
    std::string received;
    std::mutex receivedMutex;
    server.Http().Put("/model.glb", [&](httplib::Request const& req, httplib::Response& res) {
        std::lock_guard<std::mutex> lock(receivedMutex);
        received = req.body;
        res.status = 201;
    });
    server.Start();
    std::string const payload = PatternedBytes(3 * 1048576 + 17);
    std::vector<std::pair<std::uint64_t, std::uint64_t>> reports;
    Reply const reply =
        Send("PUT", server.Url("/model.glb"), "", payload,
             [&](std::uint64_t sent, std::uint64_t total) { reports.emplace_back(sent, total); });
    ASSERT_TRUE(reply.ok) << reply.error;
    EXPECT_EQ(reply.status, 201);
    ASSERT_FALSE(reports.empty());
    for (std::size_t i = 0; i < reports.size(); ++i) {
        EXPECT_EQ(reports[i].second, payload.size());
        EXPECT_LE(reports[i].first, payload.size());
        if (i > 0) {
            EXPECT_GE(reports[i].first, reports[i - 1].first);
        }
    }
    EXPECT_EQ(reports.back().first, payload.size());
    std::lock_guard<std::mutex> lock(receivedMutex);
    EXPECT_TRUE(received == payload);
}

// The resource timeout grows with the body and stops at half an hour.
TEST(HttpTransportTimeout, ResourceTimeoutGrowsWithTheBodyUpToTheCap) {
    EXPECT_DOUBLE_EQ(HttpResourceTimeoutSeconds(0), 120.0);
    EXPECT_DOUBLE_EQ(HttpResourceTimeoutSeconds(65536 * 10), 130.0);
    EXPECT_DOUBLE_EQ(HttpResourceTimeoutSeconds(100 * 1000 * 1000), 120.0 + 1525.87890625);
    EXPECT_DOUBLE_EQ(HttpResourceTimeoutSeconds(200 * 1048576), 1800.0);
}

} // namespace
} // namespace Velmora::Testing
