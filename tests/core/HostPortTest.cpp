#include "support/FakeHost.hpp"

namespace Velmora::Testing {
namespace {

using HostPortTest = HostTest;

TEST_F(HostPortTest, FakeHostKeepsMenuFlagsBetweenCalls) {
    Host::API_MenuItemRef ref{32501, 2};
    Host::GSFlags flags = Host::MenuItemFlag::Checked;
    ASSERT_EQ(Host::Get().MenuItem().SetMenuItemFlags(&ref, &flags), Host::Error::NoError);
    Host::GSFlags read = 0;
    ASSERT_EQ(Host::Get().MenuItem().GetMenuItemFlags(&ref, &read), Host::Error::NoError);
    EXPECT_EQ(read, Host::MenuItemFlag::Checked);
    EXPECT_EQ(Host::Get().MenuItem().GetMenuItemFlags(nullptr, &read), Host::Error::BadPars);
}

} // namespace
} // namespace Velmora::Testing
