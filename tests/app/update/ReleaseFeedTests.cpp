#include "Vantrel/update/ReleaseFeed.h"
#include "Vantrel/update/VeltConfiguration.h"

#include "VantrelCore/DecodingError.h"

#include <gtest/gtest.h>

using namespace vantrel;

TEST(ReleaseFeed, PathIsAppendedToTheOrigin) {
    EXPECT_EQ(ReleaseFeed::url(QUrl("https://updates.example.org")).toString(),
              "https://updates.example.org/v1/releases/latest");
    EXPECT_EQ(ReleaseFeed::url(QUrl("https://updates.example.org/")).toString(),
              "https://updates.example.org/v1/releases/latest");
    EXPECT_EQ(ReleaseFeed::url(QUrl("https://example.org/api")).toString(),
              "https://example.org/api/v1/releases/latest");
    EXPECT_EQ(ReleaseFeed::url(QUrl("https://example.org:8443/api/?channel=beta")).toString(),
              "https://example.org:8443/api/v1/releases/latest?channel=beta");
}

TEST(ReleaseFeed, DecodesTheReleaseMember) {
    EXPECT_EQ(ReleaseFeed::decode(R"({"release": "VELTR1.a.b"})"), "VELTR1.a.b");
    EXPECT_EQ(ReleaseFeed::decode(R"({"release": null})"), std::nullopt);
    EXPECT_EQ(ReleaseFeed::decode("{}"), std::nullopt);
    EXPECT_EQ(ReleaseFeed::decode(R"({"Release": "x"})"), std::nullopt); // keys are exact
    auto kind = [](std::string_view body) -> std::optional<DecodingError::Kind> {
        try {
            ReleaseFeed::decode(body);
        } catch (const DecodingError& error) {
            return error.kind();
        }
        return std::nullopt;
    };
    EXPECT_EQ(kind(R"({"release": 5})"), DecodingError::Kind::typeMismatch);
    EXPECT_EQ(kind(R"({"release": ["x"]})"), DecodingError::Kind::typeMismatch);
    EXPECT_EQ(kind("[]"), DecodingError::Kind::typeMismatch);
    EXPECT_EQ(kind("null"), DecodingError::Kind::typeMismatch);
    EXPECT_EQ(kind(""), DecodingError::Kind::dataCorrupted);
    EXPECT_EQ(kind(R"({"release": 1e999})"), DecodingError::Kind::dataCorrupted);
    EXPECT_EQ(kind("{\"release\": \"x\"} trailing"), DecodingError::Kind::dataCorrupted);
}

TEST(VeltConfiguration, OriginMustBeHttpsWithAHost) {
    auto origin = [](const char* text) {
        return VeltConfiguration::read({{"VeltAPIOrigin", text}}).apiOrigin().has_value();
    };
    EXPECT_TRUE(origin("https://updates.example.org"));
    EXPECT_TRUE(origin("https://127.0.0.1:8443/api/"));
    EXPECT_FALSE(origin("http://updates.example.org"));
    EXPECT_TRUE(origin("HTTPS://updates.example.org")); // schemes are case-insensitive in URLs
    EXPECT_FALSE(origin("https:///path"));
    EXPECT_FALSE(origin("updates.example.org"));
    EXPECT_FALSE(origin(""));
    EXPECT_FALSE(origin("https://exa mple.org"));
    EXPECT_FALSE(VeltConfiguration::read({}).apiOrigin().has_value());
    EXPECT_EQ(VeltConfiguration::read({}).releasePublicKey, "");
    EXPECT_EQ(VeltConfiguration::read({{"VeltReleasePublicKey", "abc="}}).releasePublicKey, "abc=");
}

TEST(VeltConfiguration, InstalledBuildIsAnIntegerOrZero) {
    auto build = [](std::optional<QString> text) {
        InfoDictionary info;
        if (text) {
            info.insert("CFBundleVersion", *text);
        }
        return installedBuild(info);
    };
    EXPECT_EQ(build("42"), 42);
    EXPECT_EQ(build("+42"), 42);
    EXPECT_EQ(build("-3"), -3);
    EXPECT_EQ(build("007"), 7);
    EXPECT_EQ(build(std::nullopt), 0);
    EXPECT_EQ(build(""), 0);
    EXPECT_EQ(build("abc"), 0);
    EXPECT_EQ(build("1.2"), 0);
    EXPECT_EQ(build(" 5"), 0);
    EXPECT_EQ(build("+-5"), 0);
    EXPECT_EQ(build("99999999999999999999"), 0);
}

TEST(VeltConfiguration, CompiledValuesLeaveOutEmptyOnes) {
    const InfoDictionary info = compiledInfoDictionary();
    for (auto it = info.cbegin(); it != info.cend(); ++it) {
        EXPECT_FALSE(it.value().isEmpty()) << it.key().toStdString();
        EXPECT_TRUE(it.key() == "VeltAPIOrigin" || it.key() == "VeltReleasePublicKey" ||
                    it.key() == "CFBundleVersion");
    }
}
