// What a release says of itself: believed only when it is signed, byte for byte, and has its form.
#include "engine/update/releasemaker.h"
#include "update/productaddress.h"
#include "update/productmanifest.h"
#include "update/productversion.h"

#include <gtest/gtest.h>

namespace talo::update
{

namespace
{

using test::ReleaseText;

ReleaseText good()
{
    ReleaseText release;
    release.size = 4096;
    return release;
}

std::string refusalOf(const std::string &manifest)
{
    const auto release =
        readManifest(manifest, test::signRelease(manifest), test::testReleaseKey());
    return release ? std::string() : release.error().text;
}

std::string with(const std::string &what, const std::string &instead)
{
    std::string text = good().text();
    const std::size_t at = text.find(what);
    return at == std::string::npos ? std::string() : text.replace(at, what.size(), instead);
}

} // namespace

TEST(Manifest, IsReadWhenItIsSigned)
{
    ReleaseText text = good();
    text.sha256 = std::string(62, '0') + "fF";
    text.notes = "One.\\nTwo \\u00e4";
    const std::string manifest = text.text();
    const auto release =
        readManifest(manifest, test::signRelease(manifest), test::testReleaseKey());
    ASSERT_TRUE(release) << release.error().text;
    EXPECT_EQ(release->version, "99.0.0");
    EXPECT_EQ(release->date, "2026-11-21");
    EXPECT_EQ(release->notes, "One.\nTwo ä");
    EXPECT_EQ(release->architecture, thisArchitecture());
    EXPECT_EQ(release->package, "package.deb");
    EXPECT_EQ(release->size, 4096u);
    EXPECT_EQ(release->sha256[31], 0xFF);
}

TEST(Manifest, IsRefusedWithAnyBitOfItFlipped)
{
    const std::string manifest = good().text();
    const std::string signature = test::signRelease(manifest);
    for (std::size_t bit = 0; bit < manifest.size() * 8; ++bit) {
        std::string altered = manifest;
        altered[bit / 8] = static_cast<char>(altered[bit / 8] ^ (1 << bit % 8));
        ASSERT_FALSE(readManifest(altered, signature, test::testReleaseKey())) << "bit " << bit;
    }
}

TEST(Manifest, IsRefusedWithAnyBitOfItsSignatureFlipped)
{
    const std::string manifest = good().text();
    const std::string signature = test::signRelease(manifest);
    for (std::size_t bit = 0; bit < signature.size() * 8; ++bit) {
        std::string altered = signature;
        altered[bit / 8] = static_cast<char>(altered[bit / 8] ^ (1 << bit % 8));
        ASSERT_FALSE(readManifest(manifest, altered, test::testReleaseKey())) << "bit " << bit;
    }
}

TEST(Manifest, IsRefusedWithoutItsWholeSignature)
{
    const std::string manifest = good().text();
    const std::string signature = test::signRelease(manifest);
    EXPECT_FALSE(readManifest(manifest, "", test::testReleaseKey()));
    EXPECT_FALSE(readManifest(manifest, signature.substr(0, 63), test::testReleaseKey()));
    EXPECT_FALSE(readManifest(manifest, signature + '\0', test::testReleaseKey()));
    EXPECT_FALSE(readManifest(manifest, std::string(64, '\0'), test::testReleaseKey()));
    EXPECT_FALSE(readManifest(manifest.substr(1), signature, test::testReleaseKey()));
    EXPECT_FALSE(readManifest(manifest + ' ', signature, test::testReleaseKey()));
    EXPECT_FALSE(readManifest(manifest, signature, ReleaseKey{}));
    ReleaseKey other = test::testReleaseKey();
    other[0] = static_cast<unsigned char>(other[0] ^ 1U);
    EXPECT_FALSE(readManifest(manifest, signature, other));
}

// A signer's mistake is not to become an installation either.
TEST(Manifest, IsRefusedUnlessItHasItsForm)
{
    ASSERT_EQ(refusalOf(good().text()), "");
    const std::string version = R"("version": "99.0.0")";
    for (const std::string &manifest : {std::string(),
                                        std::string("[]"),
                                        std::string("null"),
                                        std::string("{}"),
                                        good().text() + "{}",
                                        with(R"("format": 1)", R"("format": 2)"),
                                        with(R"("format": 1)", R"("format": 1.0)"),
                                        with(R"("format": 1)", R"("format": "1")"),
                                        with(R"("format": 1)", R"("format": -1)"),
                                        with(R"("format": 1)", R"("format": true)"),
                                        with("taloantivirus", "another"),
                                        with(version, version + ", " + version),
                                        with(version, version + R"(, "more": "x")"),
                                        with(version + ",", ""),
                                        with(version, R"("version": ["99.0.0"])"),
                                        with(version, R"("version": {"version": "99.0.0"})"),
                                        with(version, R"("version": null)"),
                                        with("99.0.0", "99.0.0-1"),
                                        with("99.0.0", ""),
                                        with("99.0.0", "1.2.3.4.5"),
                                        with("99.0.0", "1000000"),
                                        with("2026-11-21", "2026-11-2x"),
                                        with("2026-11-21", "21.11.2026"),
                                        with("4096", "0"),
                                        with("4096", "536870913"),
                                        with("4096", "18446744073709551616"),
                                        with("4096", "-1"),
                                        with("4096", "04096"),
                                        with(std::string(64, '0'), std::string(63, '0')),
                                        with(std::string(64, '0'), std::string(65, '0')),
                                        with(std::string(64, '0'), std::string(63, '0') + "g"),
                                        with("Better.", "\xff"),
                                        with("Better.", "a\nb"),
                                        with("{", "/* */ {"),
                                        with("\"\n}", "\",\n}"),
                                        with("Better.", std::string(17000, 'x')),
                                        std::string(100000, '['),
                                        std::string(20000, '[')}) {
        EXPECT_NE(refusalOf(manifest), "") << manifest.substr(0, 300);
    }
}

TEST(Manifest, IsRefusedForAnotherArchitecture)
{
    ReleaseText release = good();
    for (const char *other : {"m68k", "all", "any", "AMD64"}) {
        release.architecture = other;
        EXPECT_NE(refusalOf(release.text()).find("architecture"), std::string::npos);
    }
}

TEST(Manifest, IsRefusedWhenItIsTooLarge)
{
    std::string manifest = good().text();
    manifest.resize(kLargestManifest, ' ');
    EXPECT_EQ(refusalOf(manifest), "");
    EXPECT_NE(refusalOf(manifest + ' ').find("too large"), std::string::npos);
}

TEST(Version, IsComparedNumberByNumber)
{
    EXPECT_EQ(compareVersions("0.1.0", "0.1.0"), 0);
    EXPECT_EQ(compareVersions("0.1", "0.1.0.0"), 0);
    EXPECT_EQ(compareVersions("0.10.0", "0.9.9"), 1);
    EXPECT_EQ(compareVersions("0.9.9", "0.10.0"), -1);
    EXPECT_EQ(compareVersions("1", "0.999999.999999.999999"), 1);
    EXPECT_EQ(compareVersions("0.1.0.1", "0.1.0"), 1);
    for (const char *wrong : {"", ".", "1.", ".1", "1..2", "1.2.3.4.5", "v1", "1.2-3", "1 ", "-1",
                              "1000000", "1.0~rc1", "0x1"}) {
        EXPECT_FALSE(compareVersions(wrong, "1.0")) << wrong;
        EXPECT_FALSE(compareVersions("1.0", wrong)) << wrong;
    }
}

TEST(Address, IsSecureOrOfThisMachine)
{
    for (const char *right : {"https://updates.example.org/talo/", "https://example.org",
                              "http://127.0.0.1:8080/", "http://localhost/a", "http://[::1]:9/"})
        EXPECT_TRUE(isReleaseAddress(right)) << right;
    for (const char *wrong :
         {"", "http://example.org/", "http://127.0.0.1.example.org/", "ftp://example.org/",
          "file:///etc/passwd", "https://user@example.org/", "https://a:b@example.org/",
          "https://example.org/?q", "https://example.org/#f", "example.org", "https://",
          "http://localhost.example.org/"})
        EXPECT_FALSE(isReleaseAddress(wrong)) << wrong;
}

TEST(Address, OfAFileStaysInItsFolder)
{
    const std::string folder = "https://example.org/talo";
    EXPECT_EQ(releaseAddress(folder, "a_1.0~1+b-2.deb"), folder + "/a_1.0~1+b-2.deb");
    EXPECT_EQ(releaseAddress(folder + "/", "a.deb"), folder + "/a.deb");
    EXPECT_EQ(releaseAddress(folder, "https://other.example/a.deb"), "https://other.example/a.deb");
    for (const char *wrong : {"", "../a.deb", "a/b.deb", ".deb", "a%2f.deb", "a?b", "a b",
                              "http://other.example/a.deb", "//other.example/a.deb"})
        EXPECT_FALSE(releaseAddress(folder, wrong)) << wrong;
}

} // namespace talo::update
