#include "Settings.hpp"

#include "support/FakeHost.hpp"

#include <algorithm>
#include <thread>
#include <vector>

namespace Velmora::Testing {
namespace {

using testing::_;
using testing::AnyNumber;
using testing::Invoke;
using testing::IsNull;
using testing::NotNull;
using testing::Return;

// The fields the blob carries, for comparing two settings objects.
void ExpectSameBlobFields(Settings const& actual, Settings const& expected) {
    EXPECT_EQ(actual.webAppUrl, expected.webAppUrl);
    EXPECT_EQ(actual.apiBaseUrl, expected.apiBaseUrl);
    EXPECT_EQ(actual.lastLoginEmail, expected.lastLoginEmail);
    EXPECT_EQ(actual.extractOptions.viewName, expected.extractOptions.viewName);
    EXPECT_EQ(actual.extractOptions.includeMask, expected.extractOptions.includeMask);
    EXPECT_EQ(actual.extractOptions.useCurrentViewSettings,
              expected.extractOptions.useCurrentViewSettings);
}

// A blob whose every field differs from the defaults.
std::string ChangedBlob() {
    Settings changed;
    changed.webAppUrl = "https://example.test/app";
    changed.apiBaseUrl = "https://example.test/api";
    changed.lastLoginEmail = "someone@example.test";
    changed.extractOptions.viewName = "North elevation";
    changed.extractOptions.includeMask = false;
    changed.extractOptions.useCurrentViewSettings = false;
    return changed.Serialize();
}

TEST(SettingsDefaults, AddressesPointAtTheServiceWithoutATrailingSlash) {
    Settings const settings;
    std::string const embed = "/?embed=archicad";
    ASSERT_GT(settings.webAppUrl.size(), embed.size());
    EXPECT_EQ(
        settings.webAppUrl.compare(settings.webAppUrl.size() - embed.size(), embed.size(), embed),
        0);
    EXPECT_EQ(settings.webAppUrl.rfind("https://", 0), 0u);
    EXPECT_EQ(settings.apiBaseUrl.rfind("https://", 0), 0u);
    EXPECT_NE(settings.apiBaseUrl.back(), '/');
    EXPECT_EQ(settings.ModelUploadEndpoint(), settings.apiBaseUrl + "/models-uploadFromPlugin");
    EXPECT_EQ(settings.AuthToken(), "");
    EXPECT_EQ(settings.AuthTokenVersion(), 0u);
    EXPECT_EQ(&Settings::Get(), &Settings::Get());
}

TEST(SettingsDefaults, EndpointKeepsADoubleSlashAfterABaseEndingInSlash) {
    Settings settings;
    settings.apiBaseUrl = "https://example.test/";
    EXPECT_EQ(settings.ModelUploadEndpoint(), "https://example.test//models-uploadFromPlugin");
}

TEST(PreferenceBlob, DefaultsHaveTheDocumentedLengthAndEndInTwoTrueBytes) {
    Settings const settings;
    std::string const blob = settings.Serialize();
    EXPECT_EQ(blob.size(),
              4 + (4 + settings.webAppUrl.size()) + (4 + settings.apiBaseUrl.size()) + 4 + 4 + 2);
    EXPECT_EQ(blob.substr(0, 4), std::string("\x02\0\0\0", 4));
    EXPECT_EQ(blob.substr(blob.size() - 2), std::string("\x01\x01", 2));
    EXPECT_GE(blob.capacity(), 512u);
}

TEST(PreferenceBlob, FieldsAreLittleEndianLengthPrefixedInOrder) {
    Settings settings;
    settings.webAppUrl = "ab";
    settings.apiBaseUrl = std::string(300, 'x');
    settings.lastLoginEmail = "\xC3\xA9";
    settings.extractOptions.viewName = "";
    settings.extractOptions.includeMask = false;
    settings.extractOptions.useCurrentViewSettings = true;
    std::string const expected = std::string("\x02\0\0\0", 4) + std::string("\x02\0\0\0ab", 6) +
                                 std::string("\x2C\x01\0\0", 4) + std::string(300, 'x') +
                                 std::string("\x02\0\0\0\xC3\xA9", 6) + std::string("\0\0\0\0", 4) +
                                 std::string("\x00\x01", 2);
    EXPECT_EQ(settings.Serialize(), expected);
}

TEST(PreferenceBlob, RoundTripsEveryBlobFieldAndNothingElse) {
    Settings source;
    source.webAppUrl = "https://example.test/app?a=b";
    source.lastLoginEmail = "a@b.test";
    source.extractOptions.viewName = "View \xE2\x9C\x93";
    source.extractOptions.includeMask = false;
    source.extractOptions.highResLongEdge = 4096;
    source.buildingOnly = false;
    source.SetAuthToken("secret-token");
    std::string const blob = source.Serialize();
    EXPECT_EQ(blob.find("secret-token"), std::string::npos);

    Settings target;
    ASSERT_TRUE(target.Deserialize(blob.data(), blob.size(), 2));
    ExpectSameBlobFields(target, source);
    EXPECT_EQ(target.extractOptions.highResLongEdge, 2048);
    EXPECT_TRUE(target.buildingOnly);
    EXPECT_EQ(target.AuthToken(), "");
}

TEST(PreferenceBlob, AnyNonZeroByteReadsAsTrueAndTrailingBytesAreIgnored) {
    std::string blob = Settings().Serialize();
    blob[blob.size() - 2] = '\x07';
    blob[blob.size() - 1] = '\0';
    blob += "trailing garbage";
    Settings target;
    ASSERT_TRUE(target.Deserialize(blob.data(), blob.size(), 0));
    EXPECT_TRUE(target.extractOptions.includeMask);
    EXPECT_FALSE(target.extractOptions.useCurrentViewSettings);
}

TEST(PreferenceBlob, OtherVersionsChangeNothingWhateverTheHostVersionSays) {
    for (char version : {'\x01', '\x03', '\x00'}) {
        std::string blob = ChangedBlob();
        blob[0] = version;
        Settings target;
        EXPECT_FALSE(target.Deserialize(blob.data(), blob.size(), 2)) << int(version);
        ExpectSameBlobFields(target, Settings());
    }
    std::string highByte = ChangedBlob();
    highByte[3] = '\x01'; // version 0x01000002
    Settings target;
    EXPECT_FALSE(target.Deserialize(highByte.data(), highByte.size(), 2));
    ExpectSameBlobFields(target, Settings());
}

TEST(PreferenceBlob, ABlobCutAnywhereBeforeItsLastByteChangesNothing) {
    std::string const blob = ChangedBlob();
    for (std::size_t length = 0; length < blob.size(); ++length) {
        Settings target;
        EXPECT_FALSE(target.Deserialize(blob.data(), length, 2)) << "length " << length;
        ExpectSameBlobFields(target, Settings());
    }
    Settings target;
    EXPECT_FALSE(target.Deserialize(nullptr, blob.size(), 2));
}

TEST(PreferenceBlob, AStringLengthBeyondTheBlobIsRejectedWithoutReading) {
    std::string blob = ChangedBlob();
    blob[4] = '\xFF';
    blob[5] = '\xFF';
    blob[6] = '\xFF';
    blob[7] = '\xFF';
    Settings target;
    EXPECT_FALSE(target.Deserialize(blob.data(), blob.size(), 2));
    ExpectSameBlobFields(target, Settings());
}

using PreferenceStoreTest = HostTest;

TEST_F(PreferenceStoreTest, LoadAsksForTheSizeThenFillsAZeroedBuffer) {
    host.preferences = ChangedBlob();
    host.preferencesVersion = 2;
    testing::InSequence order;
    EXPECT_CALL(host, GetPreferences(NotNull(), NotNull(), IsNull()));
    EXPECT_CALL(host, GetPreferences(NotNull(), NotNull(), NotNull()))
        .WillOnce(Invoke([this](Host::Int32* version, Host::GSSize* size, void* data) {
            char const* bytes = static_cast<char const*>(data);
            EXPECT_EQ(*size, static_cast<Host::GSSize>(host.preferences.size()));
            EXPECT_TRUE(std::all_of(bytes, bytes + *size, [](char byte) { return byte == 0; }));
            std::copy(host.preferences.begin(), host.preferences.end(), static_cast<char*>(data));
            *version = 2;
            return Host::Error::NoError;
        }));
    Settings settings;
    EXPECT_TRUE(settings.Load());
    Settings expected;
    std::string const blob = ChangedBlob();
    ASSERT_TRUE(expected.Deserialize(blob.data(), blob.size(), 2));
    ExpectSameBlobFields(settings, expected);
}

TEST_F(PreferenceStoreTest, NothingStoredOrAnyHostErrorKeepsTheDefaults) {
    Settings settings;
    EXPECT_CALL(host, GetPreferences(_, _, IsNull())).Times(AnyNumber());
    EXPECT_CALL(host, GetPreferences(_, _, NotNull())).Times(0);
    EXPECT_FALSE(settings.Load()); // nothing stored yet: size 0

    host.preferences = ChangedBlob();
    EXPECT_CALL(host, GetPreferences(_, _, IsNull()))
        .WillOnce(Return(Host::Error::General))
        .RetiresOnSaturation();
    EXPECT_FALSE(settings.Load());
    ExpectSameBlobFields(settings, Settings());

    EXPECT_CALL(host, GetPreferences(_, _, NotNull())).WillOnce(Return(Host::Error::MemFull));
    EXPECT_FALSE(settings.Load()); // the size query succeeds, the read fails
    ExpectSameBlobFields(settings, Settings());
}

TEST_F(PreferenceStoreTest, SaveStoresTheBlobAsVersionTwoAndReportsHostErrors) {
    Settings settings;
    settings.lastLoginEmail = "saved@example.test";
    EXPECT_TRUE(settings.Save());
    EXPECT_EQ(host.preferencesVersion, 2);
    EXPECT_EQ(host.preferences, settings.Serialize());

    Settings reloaded;
    EXPECT_TRUE(reloaded.Load());
    ExpectSameBlobFields(reloaded, settings);

    EXPECT_CALL(host, SetPreferences(_, _, _)).WillOnce(Return(Host::Error::General));
    EXPECT_FALSE(settings.Save());
}

TEST(AuthToken, EverySetAndClearMovesTheVersionEvenWithoutAChange) {
    Settings settings;
    settings.ClearAuthToken();
    EXPECT_EQ(settings.AuthTokenVersion(), 1u);
    settings.SetAuthToken("abc");
    settings.SetAuthToken("abc");
    EXPECT_EQ(settings.AuthToken(), "abc");
    EXPECT_EQ(settings.AuthTokenVersion(), 3u);
    settings.ClearAuthToken();
    EXPECT_EQ(settings.AuthToken(), "");
    EXPECT_EQ(settings.AuthTokenVersion(), 4u);
}

TEST(AuthToken, ConcurrentWritersLoseNoVersionStepAndReadersSeeWholeTokens) {
    Settings settings;
    constexpr int kWriters = 4;
    constexpr int kSetsEach = 500;
    std::string const tokens[] = {std::string(64, 'a'), std::string(64, 'b')};
    std::vector<std::thread> threads;
    for (int writer = 0; writer < kWriters; ++writer)
        threads.emplace_back([&settings, &tokens, writer] {
            for (int step = 0; step < kSetsEach; ++step)
                settings.SetAuthToken(tokens[(writer + step) % 2]);
        });
    bool sawTornToken = false;
    std::uint64_t lastVersion = 0;
    bool versionWentBack = false;
    threads.emplace_back([&] {
        for (int read = 0; read < kSetsEach; ++read) {
            std::string const token = settings.AuthToken();
            sawTornToken |= !token.empty() && token != tokens[0] && token != tokens[1];
            std::uint64_t const version = settings.AuthTokenVersion();
            versionWentBack |= version < lastVersion;
            lastVersion = version;
        }
    });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_FALSE(sawTornToken);
    EXPECT_FALSE(versionWentBack);
    EXPECT_EQ(settings.AuthTokenVersion(), std::uint64_t(kWriters) * kSetsEach);
}

} // namespace
} // namespace Velmora::Testing
