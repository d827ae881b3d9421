// The browser item's real browser: Debian's Chromium, headless, run by a small node program
// (tools/js/browser-driver.mjs, through playwright-core) that this engine speaks to in JSON
// lines. Page calls are answered on a thread of their own, so that a page call waiting for the
// host's main thread never holds up the replies the main thread may be waiting for.
#pragma once

#include "Sim/BrowserEngine.hpp"
#include "Sim/LineProcess.hpp"

#include <condition_variable>
#include <deque>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

namespace Velmora::Sim {

struct BrowserDriverReply {
    bool ok = false;
    std::string value; // JSON text of the result when ok
    std::string error; // why not, otherwise
};

class ChromiumBrowserEngine final : public BrowserEngine {
public:
    // Starts the driver and its browser; nullptr with error when either cannot be had.
    static std::unique_ptr<ChromiumBrowserEngine> Launch(std::string& error);
    // Closes the browser and reaps the driver.
    ~ChromiumBrowserEngine() override;
    ChromiumBrowserEngine(ChromiumBrowserEngine const&) = delete;
    ChromiumBrowserEngine& operator=(ChromiumBrowserEngine const&) = delete;

    void Connect(BrowserEngineEvents events) override;
    void LoadURL(std::string const& url) override;
    bool ExecuteJS(std::string const& script) override;
    bool RegisterObject(std::string const& name,
                        std::vector<std::string> const& functionNames) override;
    void DisableZooming() override;

    // Driving the page as a user or a test would. Each reply arrives once the browser has
    // done it; a page call made meanwhile still needs the host's main thread to run.
    std::future<BrowserDriverReply> Evaluate(std::string const& script);
    std::future<BrowserDriverReply> WaitUntil(std::string const& script, int timeoutMs);
    std::future<BrowserDriverReply> Click(std::string const& selector, int timeoutMs);
    std::future<BrowserDriverReply> Reload();
    std::future<BrowserDriverReply> Screenshot(std::string const& path);

private:
    struct PageCall {
        long long id = 0;
        std::string object;
        std::string function;
        std::string argumentJson;
    };

    ChromiumBrowserEngine() = default;
    bool Send(std::string const& line);
    std::future<BrowserDriverReply> Request(std::string op, std::string const& key,
                                            std::string const& value, int timeoutMs = 0);
    void ReadEvents();
    void HandleLine(std::string const& line);
    void AnswerCalls();
    void FailPendingReplies();

    LineProcess driver_;
    std::mutex mutex_;
    std::condition_variable callsWaiting_;
    BrowserEngineEvents events_;
    std::deque<PageCall> calls_;
    std::map<long long, std::promise<BrowserDriverReply>> replies_;
    long long nextRequest_ = 1;
    bool stopping_ = false;
    std::thread reader_;
    std::thread answerer_;
};

} // namespace Velmora::Sim
