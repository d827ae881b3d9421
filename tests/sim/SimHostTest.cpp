// The simulated host's own guarantees, which every end-to-end test relies on.
#include "Sim/SimHost.hpp"
#include "ResourceIds.hpp"
#include "support/TempHome.hpp"

#include <gtest/gtest.h>

#include <thread>

namespace Velmora::Testing {
namespace {

int gHandlerCalls = 0;
Host::GSErrCode CountingHandler(Host::GSHandle, Host::GSPtr, bool) {
    ++gHandlerCalls;
    return Host::Error::NoError;
}

class SimHostTest : public testing::Test {
protected:
    SimHostTest() : host(Options()) {
        std::string error;
        EXPECT_TRUE(host.LoadResources(error)) << error;
        gHandlerCalls = 0;
    }

    Sim::SimHostOptions Options() const {
        Sim::SimHostOptions options;
        options.hostFolder = home.Path().string();
        options.addOnId = ownId;
        return options;
    }

    TempHome home;
    Host::API_ModulID ownId{VELMORA_MDID_DEVELOPER, VELMORA_MDID_LOCAL};
    Sim::SimHost host;
};

TEST_F(SimHostTest, FaultsFireOnTheNamedNthCallOnly) {
    host.Calls().AddFault(*Sim::ParseFault("ACAPI_MenuItem_RegisterMenu:2:0x81060068", false));
    auto const registerMenu = [&](short id) {
        return host.MenuItem().RegisterMenu(id, 0, Host::MenuCode_UserDef, 0);
    };
    EXPECT_EQ(registerMenu(VELMORA_COMMAND_MENU), Host::Error::NoError);
    EXPECT_EQ(registerMenu(VELMORA_SETTINGS_MENU), Host::Error::BadPars);
    EXPECT_EQ(registerMenu(VELMORA_SETTINGS_MENU), Host::Error::NoError);

    host.Calls().AddFault(*Sim::ParseFault("ACAPI_WriteReport:1", true));
    EXPECT_THROW(host.WriteReport("x", false), Sim::SimulatedHostException);
    EXPECT_FALSE(Sim::ParseFault("ACAPI_WriteReport:0", false));
    EXPECT_FALSE(Sim::ParseFault(":1", false));
}

TEST_F(SimHostTest, EventLoopCallsReachOnlyTheOwnModulesInstalledHandler) {
    auto& communication = host.AddOnAddOnCommunication();
    constexpr Host::GSType kCommand = 0x54455354; // 'TEST'
    EXPECT_EQ(communication.CallFromEventLoop(&ownId, kCommand, 1, nullptr, true, nullptr),
              Host::Error::ModulCmdNotSupported);
    ASSERT_EQ(communication.RegisterSupportedService(kCommand, 1), Host::Error::NoError);
    ASSERT_EQ(host.AddOnIntegration().InstallModulCommandHandler(kCommand, 1, CountingHandler),
              Host::Error::NoError);
    Host::API_ModulID const stranger{1, 1};
    EXPECT_EQ(communication.CallFromEventLoop(&stranger, kCommand, 1, nullptr, true, nullptr),
              Host::Error::ModulNotInstalled);

    std::thread worker([&] {
        for (int i = 0; i < 3; ++i)
            communication.CallFromEventLoop(&ownId, kCommand, 1, nullptr, true, nullptr);
    });
    worker.join();
    EXPECT_EQ(gHandlerCalls, 0); // nothing runs until the main thread turns the loop
    EXPECT_TRUE(host.Loop().RunUntilSettled([] { return true; }, Sim::EventLoop::Clock::now() +
                                                                     std::chrono::seconds(2)));
    EXPECT_EQ(gHandlerCalls, 3);
    EXPECT_EQ(host.Calls().OffMainThreadCalls(), 0);

    std::thread offMain([&] { host.WriteReport("from a worker", false); });
    offMain.join();
    EXPECT_EQ(host.Calls().OffMainThreadCalls(), 1);
}

} // namespace
} // namespace Velmora::Testing
