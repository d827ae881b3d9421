#include "Settings.hpp"

#include "support/FakeHost.hpp"

#include <algorithm>
#include <thread>
#include <vector>

namespace Velmora::Testing {
namespace {

using testing::_;
using testing::Return;

// Every blob field differs from the defaults; the long address outgrows any small fixed buffer.
Settings& ChangeBlobFields(Settings& settings) {
    settings.webAppUrl = "https://example.test/app?" + std::string(600, 'q');
    settings.apiBaseUrl = "https://example.test/api";
    settings.lastLoginEmail = "someone@example.test";
    settings.extractOptions.viewName = "View \xE2\x9C\x93";
    settings.extractOptions.includeMask = false;
    settings.extractOptions.useCurrentViewSettings = false;
    return settings;
}

TEST(PreferenceBlob, FieldsAreLittleEndianLengthPrefixedInOrder) {
    Settings settings;
    settings.webAppUrl = "ab";
    settings.apiBaseUrl = std::string(300, 'x');
    settings.lastLoginEmail = "\xC3\xA9";
    settings.extractOptions.includeMask = false;
    std::string const expected = std::string("\x02\0\0\0\x02\0\0\0ab\x2C\x01\0\0", 14) +
                                 std::string(300, 'x') +
                                 std::string("\x02\0\0\0\xC3\xA9\0\0\0\0\x00\x01", 12);
    EXPECT_EQ(settings.Serialize(), expected);
}

TEST(PreferenceBlob, RoundTripsAndReadsAnyNonZeroByteAsTrue) {
    Settings source;
    std::string blob = ChangeBlobFields(source).Serialize();
    Settings target;
    ASSERT_TRUE(target.Deserialize(blob.data(), blob.size(), 0)); // the host version is not used
    EXPECT_EQ(target.Serialize(), blob);
    EXPECT_EQ(target.ModelUploadEndpoint(), "https://example.test/api/models-uploadFromPlugin");
    blob[blob.size() - 2] = '\x07';
    blob += "trailing bytes";
    ASSERT_TRUE(target.Deserialize(blob.data(), blob.size(), 2));
    EXPECT_TRUE(target.extractOptions.includeMask);
}

TEST(PreferenceBlob, ABadBlobIsRejectedAndChangesNothing) {
    Settings changed;
    std::string const good = ChangeBlobFields(changed).Serialize();
    std::vector<std::string> cases(3, good);
    cases[0][0] = '\x03';
    cases[1][3] = '\x01';                       // version 0x01000002
    cases[2].replace(4, 4, "\xFF\xFF\xFF\xFF"); // a length beyond the blob
    for (std::size_t length = 0; length < good.size(); ++length)
        cases.push_back(good.substr(0, length));
    for (std::size_t index = 0; index < cases.size(); ++index) {
        Settings target;
        EXPECT_FALSE(target.Deserialize(cases[index].data(), cases[index].size(), 2)) << index;
        EXPECT_EQ(target.Serialize(), Settings().Serialize()) << index;
    }
    EXPECT_FALSE(Settings().Deserialize(nullptr, good.size(), 2));
}

using PreferenceStoreTest = HostTest;

TEST_F(PreferenceStoreTest, SaveStoresVersionTwoAndLoadReadsItBackUnlessTheHostFails) {
    Settings saved;
    EXPECT_TRUE(ChangeBlobFields(saved).Save());
    EXPECT_EQ(host.preferencesVersion, 2);
    EXPECT_EQ(host.preferences, saved.Serialize());
    Settings loaded;
    EXPECT_TRUE(loaded.Load());
    EXPECT_EQ(loaded.Serialize(), saved.Serialize());
    // The failing calls still hand out a size and the data, so only the error code can stop Load.
    EXPECT_CALL(host, SetPreferences(_, _, _)).WillOnce(Return(Host::Error::General));
    EXPECT_CALL(host, GetPreferences(_, _, _))
        .WillOnce(testing::DoAll(testing::SetArgPointee<1>(Host::GSSize(host.preferences.size())),
                                 Return(Host::Error::General)))
        .WillOnce(testing::DoDefault())
        .WillOnce([this](Host::Int32*, Host::GSSize*, void* data) {
            std::copy(host.preferences.begin(), host.preferences.end(), static_cast<char*>(data));
            return Host::Error::MemFull;
        });
    EXPECT_FALSE(saved.Save());
    Settings settings;
    EXPECT_FALSE(settings.Load());
    EXPECT_FALSE(settings.Load());
    EXPECT_EQ(settings.Serialize(), Settings().Serialize());
}

TEST(AuthToken, EverySetAndClearMovesTheVersionAndReadersOnOtherThreadsSeeWholeTokens) {
    Settings settings;
    settings.SetAuthToken("abc");
    settings.SetAuthToken("abc");
    EXPECT_EQ(settings.AuthToken(), "abc");
    settings.ClearAuthToken();
    EXPECT_EQ(settings.AuthToken(), "");
    std::vector<std::thread> writers;
    for (int writer = 0; writer < 4; ++writer)
        writers.emplace_back([&settings] {
            for (int step = 0; step < 500; ++step)
                settings.SetAuthToken(std::string(64, step % 2 == 0 ? 'a' : 'b'));
        });
    for (int read = 0; read < 500; ++read) {
        std::string const token = settings.AuthToken();
        EXPECT_TRUE(token.empty() || token == std::string(64, token[0])) << token;
    }
    for (std::thread& writer : writers)
        writer.join();
    EXPECT_EQ(settings.AuthTokenVersion(), 3u + 2000u);
}

} // namespace
} // namespace Velmora::Testing
