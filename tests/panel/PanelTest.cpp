#include "PanelTest.hpp"

#include "Logger.hpp"
#include "ResourceIds.hpp"

namespace Velmora::Testing {

PanelTest::PanelTest() {
    Logger::Get().Init();
}

WebAppPalette& PanelTest::OpenWithPage() {
    WebAppPalette::CreateInstance();
    Page().StartLoading();
    Page().FinishLoading();
    return WebAppPalette::GetInstance();
}

std::shared_ptr<Host::JS::Base> PanelTest::Call(char const* function,
                                                std::shared_ptr<Host::JS::Base> argument) {
    return Page().CallFromPage("velmora", function, std::move(argument));
}

std::shared_ptr<Host::JS::Base> PanelTest::Call(char const* function, std::string const& argument) {
    return Call(function, std::make_shared<Host::JS::Value>(argument));
}

bool PanelTest::PanelMenuChecked() const {
    return (host.MenuFlags(VELMORA_COMMAND_MENU, 1) & Host::MenuItemFlag::Checked) != 0;
}

bool IsJsBool(std::shared_ptr<Host::JS::Base> const& value, bool expected) {
    auto const* plain = dynamic_cast<Host::JS::Value const*>(value.get());
    return plain != nullptr && plain->GetType() == Host::JS::Value::BOOL &&
           plain->GetBool() == expected;
}

} // namespace Velmora::Testing
