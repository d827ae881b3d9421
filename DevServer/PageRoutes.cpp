#include "DevServer/PageRoutes.hpp"

#include "DevServer/PageFiles.hpp"

#include <nlohmann/json.hpp>

#include <cstring>

namespace Velmora::DevServer {
namespace {

constexpr char const* kSignedInEmail = "architect@example.com";
// A held page request never outlives this, so that a forgotten release cannot hang a test.
constexpr auto kLongestHold = std::chrono::seconds(120);

PageFile const* FindPageFile(std::string const& name) {
    for (PageFile const& file : PageFiles()) {
        if (name == file.name)
            return &file;
    }
    return nullptr;
}

void ServePageFile(httplib::Response& response, std::string const& name) {
    PageFile const* file = FindPageFile(name);
    if (file == nullptr) {
        response.status = 404;
        response.set_content(nlohmann::json{{"message", "no such page file: " + name}}.dump(),
                             "application/json");
        return;
    }
    response.status = 200;
    response.set_header("Cache-Control", "no-store");
    response.set_content(file->text, std::strlen(file->text), file->contentType);
}

void ServeLastExtraction(ServiceState& state, httplib::Response& response, bool mask) {
    std::string jpeg;
    std::string png;
    state.store.LastExtraction(jpeg, png);
    std::string const& bytes = mask ? png : jpeg;
    response.set_header("Cache-Control", "no-store");
    if (bytes.empty()) {
        response.status = 404;
        response.set_content(R"({"message": "no extraction stored yet"})", "application/json");
        return;
    }
    response.status = 200;
    response.set_content(bytes, mask ? "image/png" : "image/jpeg");
}

} // namespace

void InstallPageRoutes(httplib::Server& server, ServiceState& state) {
    auto const index = [](httplib::Request const&, httplib::Response& response) {
        ServePageFile(response, "index.html");
    };
    server.Get("/", index);
    server.Get("/app/?", index);
    server.Get("/page/([a-z.]+)", [](httplib::Request const& request, httplib::Response& response) {
        ServePageFile(response, request.matches[1]);
    });
    // What the page's sign-in button gets: the token the service accepts right now.
    server.Get("/_control/session", [&state](httplib::Request const&, httplib::Response& response) {
        response.set_content(
            nlohmann::json{{"token", state.faults.AcceptedToken()}, {"email", kSignedInEmail}}
                .dump(),
            "application/json");
    });
    server.Get("/_control/last-extraction.jpg",
               [&state](httplib::Request const&, httplib::Response& response) {
                   ServeLastExtraction(state, response, false);
               });
    server.Get("/_control/last-extraction.png",
               [&state](httplib::Request const&, httplib::Response& response) {
                   ServeLastExtraction(state, response, true);
               });
    server.Get("/_control/hold", [&state](httplib::Request const&, httplib::Response& response) {
        bool const released = state.hold.Wait(kLongestHold);
        response.status = released ? 204 : 504;
    });
    server.Post("/_control/release",
                [&state](httplib::Request const&, httplib::Response& response) {
                    state.hold.Release();
                    response.set_content(R"({"released": true})", "application/json");
                });
}

} // namespace Velmora::DevServer
