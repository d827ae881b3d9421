// The model send end to end: the add-on in the simulated host sends over loopback to the
// reference service, and every failure the service can produce reaches the user as its one
// message.
#include "SendSession.hpp"

#include "Export/ModelCommands.hpp"
#include "Settings.hpp"
#include "support/GlbReadBack.hpp"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <thread>

namespace Velmora::Testing {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

constexpr char kModelPath[] = "/models-uploadFromPlugin";

// Catches a message mapped to the wrong outcome or phase, a detail taken from an HTML page, a
// 5xx body shown instead of the apology, a missing upload address taken for success, a second
// 401 retry, a fresh token not picked up, and a failure reported without an alert while no
// panel can show it.
TEST_F(SendSessionTest, EveryFailureOfTheSendReachesTheUserAsItsOneMessage) {
    std::string const network = " because of a network error. Check your connection and try again.";
    std::string const apology = " Something went wrong on our side. Try again in a moment.";
    struct Case {
        char const* fault; // what the row catches
        char const* serviceFault;
        std::string freshToken; // handed over by the page after a refresh request
        std::string message;    // the report; a success is matched by its start
        bool alert;
    } const cases[] = {
        {"a refused retry retried again or not reported as signed out",
         R"({"path":"/models-uploadFromPlugin","phase":"begin","mode":"401-once","acceptToken":"x"})",
         "fresh-token",
         "Velmora: you are not signed in. Sign in via the Velmora panel and try again.", true},
        {"the token the page hands over after a 401 not used for the retry",
         R"({"path":"/models-uploadFromPlugin","phase":"begin","mode":"401-once","acceptToken":"fresh-token"})",
         "fresh-token", "Velmora: model uploaded. ", false},
        {"403 not told apart",
         R"({"path":"/models-uploadFromPlugin","phase":"begin","mode":"403"})", "",
         "Velmora: upload forbidden (403). Please contact support.", true},
        {"a 5xx on begin shown with its body",
         R"({"path":"/models-uploadFromPlugin","phase":"begin","mode":"500"})", "",
         "Velmora: could not start the upload." + apology, true},
        {"a 400 on begin without the service's message",
         R"({"path":"/models-uploadFromPlugin","phase":"begin","mode":"400-aspect"})", "",
         "Velmora: could not start the upload. unsupported aspect ratio; use a view between 1:4 "
         "and 4:1",
         true},
        {"a begin answer without an address taken for success",
         R"({"path":"/models-uploadFromPlugin","mode":"no-upload-url"})", "",
         "Velmora: could not start the upload. The server did not return an upload address.", true},
        {"a dropped begin not reported as a network failure",
         R"({"path":"/models-uploadFromPlugin","phase":"begin","mode":"drop"})", "",
         "Velmora: could not start the upload" + network, true},
        {"an HTML error page shown as the detail",
         R"({"path":"/upload","mode":"html","status":400})", "",
         "Velmora: could not upload the model file.", true},
        {"a dropped PUT not reported as a network failure", R"({"path":"/upload","mode":"drop"})",
         "", "Velmora: could not upload the model file" + network, true},
        {"a 502 on confirm shown with its body or under the wrong phase",
         R"({"path":"/models-uploadFromPlugin","phase":"confirm","mode":"502"})", "",
         "Velmora: the server rejected the uploaded model." + apology, true},
    };
    Load(ServiceBase());
    for (Case const& c : cases) {
        SCOPED_TRACE(c.fault);
        ResetService();
        AddFault(nlohmann::json::parse(c.serviceFault));
        Settings::Get().SetAuthToken(kSendToken);
        std::size_t const before = host->Reports().size();
        SendAndSettle(c.freshToken);
        std::vector<Sim::SimReport> const reports = host->Reports();
        ASSERT_EQ(reports.size(), before + 1);
        EXPECT_THAT(reports.back().text, StartsWith(c.message));
        EXPECT_EQ(reports.back().alert, c.alert);
    }
    EXPECT_THAT(LogLinesWith("401 retry picked up"),
                testing::SizeIs(2)); // both 401 rows: a fresh token arrived each time
    EXPECT_THAT(LogLinesWith("SendModel: PUT failed"),
                ElementsAre(HasSubstr("status=400 body=<!DOCTYPE html>"),
                            "[ERROR] SendModel: PUT failed, status=0 body="));
    EXPECT_THAT(LogLinesWith("SendModel: confirm failed"),
                ElementsAre("[ERROR] SendModel: confirm failed, status=502 "
                            "body={\"message\":\"bad gateway\"}"));
}

// Catches a cap that is off by one byte and a size shown in the wrong unit.
TEST(SendSizeRefusal, FilesAbove200MegabytesAreRefused) {
    EXPECT_EQ(SendSizeRefusal(209715200), "");
    EXPECT_EQ(SendSizeRefusal(209715201),
              "Velmora: this model is too large to send (200.0 MB, the limit is 200 MB). Hide "
              "some layers and try again.");
}

// Catches a stored file that differs from the copy on disk, begin metadata that does not
// describe the file sent, a PUT carrying the bearer token, and the token written anywhere
// (log, settings.cfg, preferences).
TEST_F(SendSessionTest, TheServiceStoresTheExportedFileWithItsDescription) {
    Load(ServiceBase());
    SendAndSettle();
    std::string const glb = ReadFile(fs::path(storeFolder) / "model-0001.glb");
    EXPECT_EQ(glb, ReadFile(home.SupportFolder() / "logs" / "last_model.glb"));
    GlbReadBack file;
    std::string problem;
    ASSERT_TRUE(ReadBackGlb(std::vector<unsigned char>(glb.begin(), glb.end()), file, problem))
        << problem;
    nlohmann::json const stored =
        nlohmann::json::parse(ReadFile(fs::path(storeFolder) / "model-0001.json"));
    nlohmann::json const& begin = stored["begin"];
    EXPECT_EQ(begin["triangle_count"], file.triangles.size());
    EXPECT_EQ(begin["file_name"], "Sample House.glb");
    EXPECT_EQ(begin["project_name"], "Sample House");
    EXPECT_EQ(begin["view_name"], "3D / All");
    double low[3] = {1e300, 1e300, 1e300};
    double high[3] = {-1e300, -1e300, -1e300};
    for (ReadBackTriangle const& t : file.triangles)
        for (auto const& corner : t.positions)
            for (int axis = 0; axis < 3; ++axis) {
                low[axis] = std::min<double>(low[axis], corner[axis]);
                high[axis] = std::max<double>(high[axis], corner[axis]);
            }
    for (int axis = 0; axis < 3; ++axis)
        EXPECT_NEAR(begin["bbox_m"][std::string(1, "xyz"[axis])].get<double>(),
                    high[axis] - low[axis], 1e-3);
    EXPECT_EQ(stored["put"]["authorizationHeader"], false);
    EXPECT_EQ(host->Reports().back().text,
              "Velmora: model uploaded. " + std::to_string(file.triangles.size()) +
                  " triangles. You can now place it in the Location widget.");

    std::vector<std::string> seen;
    for (nlohmann::json const& request : ServiceLog())
        seen.push_back(request["method"].get<std::string>() +
                       (request["authorization"].get<bool>() ? " with token" : " without"));
    EXPECT_THAT(seen, ElementsAre("POST with token", "PUT without", "POST with token"));

    Unload(); // the preferences are written as the add-on unloads
    for (fs::directory_entry const& entry : fs::recursive_directory_iterator(home.Path())) {
        if (entry.is_regular_file()) {
            EXPECT_THAT(ReadFile(entry.path()), testing::Not(HasSubstr(kSendToken)))
                << entry.path();
        }
    }
}

// Reads PUT bodies at about 5 MB/s and passes begin and confirm straight through (leading
// the upload address through itself), so that a send's upload takes a few seconds.
class SlowUploadGate {
public:
    SlowUploadGate(std::string serviceBase, int servicePort)
        : serviceBase_(std::move(serviceBase)), service_("127.0.0.1", servicePort) {
        server_.Post(kModelPath, [this](httplib::Request const& req, httplib::Response& res) {
            httplib::Headers headers{{"Authorization", req.get_header_value("Authorization")}};
            Forward(service_.Post(kModelPath, headers, req.body, "application/json"), res);
        });
        server_.Put(R"(/upload/.*)", [this](httplib::Request const& req, httplib::Response& res,
                                            httplib::ContentReader const& read) {
            std::string body;
            read([&body](char const* data, std::size_t length) {
                if (body.size() / kStep != (body.size() + length) / kStep)
                    std::this_thread::sleep_for(std::chrono::milliseconds(50));
                body.append(data, length);
                return true;
            });
            std::string const target = req.path + "?sig=" + req.get_param_value("sig");
            Forward(service_.Put(target.c_str(), body, "model/gltf-binary"), res);
        });
        port_ = server_.bind_to_any_port("127.0.0.1");
        thread_ = std::thread([this] { server_.listen_after_bind(); });
        while (!server_.is_running())
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    ~SlowUploadGate() {
        server_.stop();
        thread_.join();
    }

    std::string Base() const { return "http://127.0.0.1:" + std::to_string(port_); }

private:
    static constexpr std::size_t kStep = 256 * 1024;

    void Forward(httplib::Result const& answer, httplib::Response& res) const {
        res.status = answer ? answer->status : 502;
        std::string body = answer ? answer->body : "";
        for (std::size_t at = body.find(serviceBase_); at != std::string::npos;
             at = body.find(serviceBase_, at))
            body.replace(at, serviceBase_.size(), Base());
        res.set_content(body, "application/json");
    }

    std::string const serviceBase_;
    httplib::Client service_;
    httplib::Server server_;
    std::thread thread_;
    int port_ = 0;
};

// Catches progress that falls, leaves the 30..90 band of the PUT, comes faster than every
// 250 ms, or is missing its phases. About 500 000 triangles make a file of some 14 MB, more
// than the loopback buffers hold.
TEST_F(SendSessionTest, TheUploadReportsRisingThrottledProgressFrom30To90) {
    SlowUploadGate gate(ServiceBase(), std::stoi(ServiceBase().substr(17)));
    fs::path const scene = home.Path() / "terrace.json";
    std::ofstream(scene) << R"({"project": {"file": "/Users/architect/Projects/Terrace.pln"},
 "materials": [{"name": "Roof", "color": [0.5, 0.2, 0.1]}],
 "elements": [{"id": "roof", "type": "roof", "shapes": [{"shape": "heightfield",
   "material": "Roof", "origin": [0, 0], "size": [30, 30], "cells": [500, 500], "base": 6,
   "waves": [{"amplitude": 1, "period": [40, 40]}]}]}]})";
    Load(gate.Base(), scene.string());
    SendAndSettle();
    ASSERT_THAT(host->Reports().back().text, StartsWith("Velmora: model uploaded. "));
    ASSERT_GE(progress.size(), 5u);
    EXPECT_EQ(progress.front().status, "Exporting");
    EXPECT_EQ(progress[1].status, "Uploading");
    EXPECT_EQ(progress[1].percent, 30);
    EXPECT_EQ(progress.back().status, "Checking");
    std::vector<ProgressEvent> const put(progress.begin() + 2, progress.end() - 1);
    ASSERT_GE(put.size(), 3u) << "the upload was too quick to show progress";
    for (std::size_t i = 0; i < put.size(); ++i) {
        EXPECT_EQ(put[i].status, "Uploading");
        EXPECT_GT(put[i].percent, i == 0 ? 30 : put[i - 1].percent);
        EXPECT_LE(put[i].percent, 90);
        // Delivered through the event loop, whose 20 ms turns may bunch two events a little.
        if (i > 0) {
            EXPECT_GE(put[i].at - put[i - 1].at, std::chrono::milliseconds(200));
        }
    }
}

} // namespace
} // namespace Velmora::Testing
