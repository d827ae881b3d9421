#include "Sim/ChromiumBrowserEngine.hpp"

#include <nlohmann/json.hpp>

#include <optional>

namespace Velmora::Sim {

namespace {

using nlohmann::json;

// The first start of Chromium on a cold machine can take several seconds.
constexpr auto kStartTimeout = std::chrono::seconds(60);
// Time for the driver to close the browser and exit before it is killed.
constexpr auto kCloseGrace = std::chrono::seconds(15);

std::string StringField(json const& message, char const* key) {
    auto const found = message.find(key);
    return found != message.end() && found->is_string() ? found->get<std::string>() : "";
}

std::optional<long long> IntegerField(json const& message, char const* key) {
    auto const found = message.find(key);
    if (found == message.end() || !found->is_number_integer())
        return std::nullopt;
    return found->get<long long>();
}

bool BoolField(json const& message, char const* key) {
    auto const found = message.find(key);
    return found != message.end() && found->is_boolean() && found->get<bool>();
}

// Reads lines until the driver says it is ready, or why it cannot be.
bool AwaitReady(LineProcess& driver, std::string& error) {
    auto const deadline = std::chrono::steady_clock::now() + kStartTimeout;
    for (;;) {
        auto const left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        std::optional<std::string> const line =
            left.count() > 0 ? driver.ReadLine(left) : std::nullopt;
        if (!line) {
            error = "the browser driver did not start (node, playwright-core or chromium)";
            return false;
        }
        json const message = json::parse(*line, nullptr, false);
        std::string const event = message.is_object() ? StringField(message, "event") : "";
        if (event == "ready")
            return true;
        if (event == "failed") {
            error = "the browser did not start: " + StringField(message, "error");
            return false;
        }
    }
}

} // namespace

std::unique_ptr<ChromiumBrowserEngine> ChromiumBrowserEngine::Launch(std::string& error) {
    std::unique_ptr<ChromiumBrowserEngine> engine(new ChromiumBrowserEngine());
    if (!engine->driver_.Start({"node", VELMORA_BROWSER_DRIVER}, error) ||
        !AwaitReady(engine->driver_, error))
        return nullptr; // the driver is reaped with the engine
    engine->reader_ = std::thread([raw = engine.get()] { raw->ReadEvents(); });
    engine->answerer_ = std::thread([raw = engine.get()] { raw->AnswerCalls(); });
    return engine;
}

ChromiumBrowserEngine::~ChromiumBrowserEngine() {
    // The end of its input tells the driver to close the browser; its output then ends.
    driver_.CloseInput();
    driver_.Finish(kCloseGrace);
    if (reader_.joinable())
        reader_.join();
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
    }
    callsWaiting_.notify_all();
    if (answerer_.joinable())
        answerer_.join();
}

void ChromiumBrowserEngine::Connect(BrowserEngineEvents events) {
    std::lock_guard<std::mutex> lock(mutex_);
    events_ = std::move(events);
}

bool ChromiumBrowserEngine::Send(std::string const& line) {
    return driver_.WriteLine(line);
}

void ChromiumBrowserEngine::LoadURL(std::string const& url) {
    Send(json{{"op", "load"}, {"url", url}}.dump());
}

bool ChromiumBrowserEngine::ExecuteJS(std::string const& script) {
    return Send(json{{"op", "exec"}, {"script", script}}.dump());
}

bool ChromiumBrowserEngine::RegisterObject(std::string const& name,
                                           std::vector<std::string> const& functionNames) {
    return Send(json{{"op", "register"}, {"name", name}, {"functions", functionNames}}.dump());
}

void ChromiumBrowserEngine::DisableZooming() {
    Send(json{{"op", "zoom"}}.dump());
}

std::future<BrowserDriverReply> ChromiumBrowserEngine::Request(std::string op,
                                                               std::string const& key,
                                                               std::string const& value,
                                                               int timeoutMs) {
    std::promise<BrowserDriverReply> reply;
    std::future<BrowserDriverReply> future = reply.get_future();
    long long id = 0;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        id = nextRequest_++;
        replies_.emplace(id, std::move(reply));
    }
    json message{{"id", id}, {"op", std::move(op)}};
    if (!key.empty())
        message[key] = value;
    if (timeoutMs > 0)
        message["timeoutMs"] = timeoutMs;
    if (!Send(message.dump())) {
        std::lock_guard<std::mutex> lock(mutex_);
        auto const pending = replies_.find(id);
        if (pending != replies_.end()) {
            pending->second.set_value({false, "", "the browser driver is gone"});
            replies_.erase(pending);
        }
    }
    return future;
}

std::future<BrowserDriverReply> ChromiumBrowserEngine::Evaluate(std::string const& script) {
    return Request("eval", "script", script);
}

std::future<BrowserDriverReply> ChromiumBrowserEngine::WaitUntil(std::string const& script,
                                                                 int timeoutMs) {
    return Request("wait", "script", script, timeoutMs);
}

std::future<BrowserDriverReply> ChromiumBrowserEngine::Click(std::string const& selector,
                                                             int timeoutMs) {
    return Request("click", "selector", selector, timeoutMs);
}

std::future<BrowserDriverReply> ChromiumBrowserEngine::Reload() {
    return Request("reload", "", "");
}

std::future<BrowserDriverReply> ChromiumBrowserEngine::Screenshot(std::string const& path) {
    return Request("screenshot", "path", path);
}

void ChromiumBrowserEngine::ReadEvents() {
    while (std::optional<std::string> const line = driver_.ReadLine())
        HandleLine(*line);
    FailPendingReplies();
}

void ChromiumBrowserEngine::HandleLine(std::string const& line) {
    json const message = json::parse(line, nullptr, false);
    if (!message.is_object())
        return;
    if (std::optional<long long> const id = IntegerField(message, "reply")) {
        BrowserDriverReply reply{BoolField(message, "ok"), StringField(message, "value"),
                                 StringField(message, "error")};
        std::lock_guard<std::mutex> lock(mutex_);
        auto const pending = replies_.find(*id);
        if (pending != replies_.end()) {
            pending->second.set_value(std::move(reply));
            replies_.erase(pending);
        }
        return;
    }
    std::string const event = StringField(message, "event");
    if (event == "loading") {
        std::function<void(bool)> onLoadingState;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            onLoadingState = events_.onLoadingState;
        }
        if (onLoadingState)
            onLoadingState(message.value("loading", false));
    } else if (event == "call" && message.contains("call") && message["call"].is_number_integer()) {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            calls_.push_back({message["call"].get<long long>(), StringField(message, "object"),
                              StringField(message, "function"), StringField(message, "argument")});
        }
        callsWaiting_.notify_one();
    }
}

// One page call at a time, in the order the page made them.
void ChromiumBrowserEngine::AnswerCalls() {
    for (;;) {
        PageCall call;
        std::function<std::string(std::string const&, std::string const&, std::string const&)>
            onCall;
        {
            std::unique_lock<std::mutex> lock(mutex_);
            callsWaiting_.wait(lock, [this] { return stopping_ || !calls_.empty(); });
            if (stopping_)
                return; // the driver is gone: nobody is left to answer
            call = std::move(calls_.front());
            calls_.pop_front();
            onCall = events_.onCall;
        }
        std::string const result =
            onCall ? onCall(call.object, call.function, call.argumentJson) : "null";
        Send(json{{"op", "result"}, {"call", call.id}, {"value", result}}.dump());
    }
}

void ChromiumBrowserEngine::FailPendingReplies() {
    std::lock_guard<std::mutex> lock(mutex_);
    for (auto& pending : replies_)
        pending.second.set_value({false, "", "the browser driver is gone"});
    replies_.clear();
}

} // namespace Velmora::Sim
