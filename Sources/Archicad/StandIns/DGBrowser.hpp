// Stand-in written from archicad-api.md: DG::Browser, its bases and the JavaScript engine calls
// (section 5.4); DisableZooming is 28 only.
#pragma once

#include "DGBrowserEventArgs.hpp"
#include "DGItem.hpp"
#include "DGPanel.hpp"
#include "JSValues.hpp"
#include "Ref.hpp"
#include "UniString.hpp"

namespace DG {

class JavascriptEngine {
public:
    virtual ~JavascriptEngine();
    virtual void LoadURL(const GS::UniString& url);
    virtual void LoadHTML(const GS::UniString& htmlStr);
    virtual bool ExecuteJS(const GS::UniString& jsCode);
    virtual bool RegisterAsynchJSObject(GS::Ref<JS::Object> obj);
    virtual void UnregisterJSObject(const GS::UniString& name);
};

class BrowserBase : public JavascriptEngine {
public:
    virtual bool IsLoading() const;
    virtual void DisableZooming();
    virtual void EnableZooming();

protected:
    virtual void OnLoadingStateChange(const BrowserLoadingStateChangeArg& arg);
};

class Browser : public Item, public BrowserBase {
public:
    Browser(const Panel& panel, short item);
};

} // namespace DG
