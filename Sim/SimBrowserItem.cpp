#include "Sim/SimBrowserItem.hpp"

#include "Sim/JsJson.hpp"

#include <future>

namespace Velmora::Sim {

SimBrowserItem::SimBrowserItem(Context context, Host::DG::Palette const& palette, short item,
                               int width, int height, std::unique_ptr<BrowserEngine> engine)
    : context_(std::move(context)), palette_(palette), item_(item), width_(width), height_(height),
      engine_(std::move(engine)) {
    BrowserEngineEvents events;
    std::weak_ptr<bool> const alive = alive_;
    EventLoop& loop = context_.loop;
    // From the engine's threads only the event loop is touched; the item is looked at on
    // the main thread, after checking that it still exists.
    events.onLoadingState = [this, alive, &loop](bool loading) {
        loop.Enqueue([this, alive, loading] {
            if (alive.lock())
                OnLoadingState(loading);
        });
    };
    events.onCall = [this](std::string const& object, std::string const& function,
                           std::string const& argumentJson) {
        return OnEngineCall(object, function, argumentJson);
    };
    engine_->Connect(std::move(events));
}

SimBrowserItem::~SimBrowserItem() {
    alive_.reset();
    engine_.reset();
    if (context_.onGone)
        context_.onGone(this);
}

void SimBrowserItem::Orphan() {
    context_.onGone = nullptr;
    context_.onScript = nullptr;
}

void SimBrowserItem::LoadURL(std::string const& url) {
    context_.calls.Enter("DG::Browser::LoadURL");
    urls_.push_back(url);
    // The old document is on its way out: nothing reaches it any more.
    documentLoaded_ = false;
    engine_->LoadURL(url);
}

bool SimBrowserItem::ExecuteJS(std::string const& jsCode) {
    if (context_.calls.Enter("DG::Browser::ExecuteJS"))
        return false;
    if (!documentLoaded_ || loading_)
        return false;
    if (!engine_->ExecuteJS(jsCode))
        return false;
    scripts_.push_back(jsCode);
    if (context_.onScript)
        context_.onScript(jsCode);
    return true;
}

bool SimBrowserItem::RegisterAsynchJSObject(std::shared_ptr<Host::JS::Object> obj) {
    if (context_.calls.Enter("DG::Browser::RegisterAsynchJSObject") || obj == nullptr)
        return false;
    std::vector<std::string> functionNames;
    for (auto const& [name, item] : obj->GetItemTable()) {
        if (std::dynamic_pointer_cast<Host::JS::Function>(item) != nullptr)
            functionNames.push_back(name);
    }
    if (!engine_->RegisterObject(obj->GetName(), functionNames))
        return false;
    objects_[obj->GetName()] = std::move(obj);
    return true;
}

void SimBrowserItem::DisableZooming() {
    context_.calls.Enter("DG::Browser::DisableZooming");
    zoomingDisabled_ = true;
    engine_->DisableZooming();
}

void SimBrowserItem::Resize(short hGrow, short vGrow) {
    width_ += hGrow;
    height_ += vGrow;
}

void SimBrowserItem::Detach(Host::DG::ItemObserver& observer) {
    if (itemObserver_ == &observer)
        itemObserver_ = nullptr;
}

void SimBrowserItem::Detach(Host::DG::BrowserObserver& observer) {
    if (browserObserver_ == &observer)
        browserObserver_ = nullptr;
}

void SimBrowserItem::OnLoadingState(bool loading) {
    loading_ = loading;
    if (!loading)
        documentLoaded_ = true;
    if (browserObserver_ == nullptr)
        return;
    AddOnLifecycle::Call call(context_.addOn);
    if (call.Ready())
        browserObserver_->OnLoadingStateChange({loading, false, false});
}

std::optional<std::string> SimBrowserItem::CallFromPage(std::string const& object,
                                                        std::string const& function,
                                                        std::string const& argumentJson) {
    auto const found = objects_.find(object);
    if (found == objects_.end())
        return std::nullopt;
    for (auto const& [name, item] : found->second->GetItemTable()) {
        auto const callable = std::dynamic_pointer_cast<Host::JS::Function>(item);
        if (name != function || callable == nullptr)
            continue;
        AddOnLifecycle::Call call(context_.addOn);
        return call.Ready() ? JsonFromJs(callable->Call(JsFromJson(argumentJson))) : "null";
    }
    return std::nullopt;
}

std::string SimBrowserItem::OnEngineCall(std::string const& object, std::string const& function,
                                         std::string const& argumentJson) {
    if (std::this_thread::get_id() == context_.mainThread)
        return CallFromPage(object, function, argumentJson).value_or("null");
    // The host runs the add-on's function on its main thread; the page waits for it.
    auto result = std::make_shared<std::promise<std::string>>();
    std::future<std::string> answer = result->get_future();
    std::weak_ptr<bool> const alive = alive_;
    context_.loop.Enqueue([this, alive, result, object, function, argumentJson] {
        std::string json = "null";
        if (alive.lock())
            json = CallFromPage(object, function, argumentJson).value_or("null");
        result->set_value(json);
    });
    try {
        return answer.get();
    } catch (std::future_error const&) {
        return "null"; // the host went away before running the call
    }
}

void SimBrowserItem::DoubleClick() {
    AddOnLifecycle::Call call(context_.addOn);
    if (itemObserver_ != nullptr)
        itemObserver_->ItemDoubleClicked(Host::DG::ItemDoubleClickEvent{});
}

void SimBrowserItem::Click() {
    bool processed = false;
    AddOnLifecycle::Call call(context_.addOn);
    if (itemObserver_ != nullptr) {
        itemObserver_->ItemMouseDown(Host::DG::ItemMouseDownEvent{}, &processed);
        itemObserver_->ItemMouseUp(Host::DG::ItemMouseUpEvent{}, &processed);
    }
}

void SimBrowserItem::Wheel(short yTrackValue, bool command) {
    bool processed = false;
    if (itemObserver_ == nullptr)
        return;
    AddOnLifecycle::Call call(context_.addOn);
    itemObserver_->ItemWheelTrackEntered(Host::DG::ItemWheelEvent{}, &processed);
    itemObserver_->ItemWheelTracked(Host::DG::ItemWheelTrackEvent(0, yTrackValue, command),
                                    &processed);
    itemObserver_->ItemWheelTrackExited(Host::DG::ItemWheelEvent{}, &processed);
}

} // namespace Velmora::Sim
