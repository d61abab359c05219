// Version resources of PE files: real layouts made by the test builder, files
// that are not programs or carry no version, and damaged files of every
// length and with random bytes changed, which must never be read out of range.
#include "platform/version_info.h"

#include <gtest/gtest.h>

#include <random>

#include "platform/error.h"
#include "standins/pe_builder.h"
#include "support/temp_folder.h"

namespace kestrova::platform {
namespace {

pe::PeVersion With(pe::PeVersion version, std::optional<std::array<std::uint16_t, 4>> product, bool plus) {
    version.ProductVersion = product;
    version.Pe32Plus = plus;
    return version;
}

const pe::PeVersion kDecrypter{3, 5, 4, 0, "DVD Decrypter", "DVD Decrypter"};

TEST(VersionInfo, ReadsFixedVersionsAndDescriptionOrNothing) {
    const struct {
        pe::PeVersion Version;
        const char* File;
        const char* Product;
    } cases[] = {
        {kDecrypter, "3.5.4.0", "3.5.4.0"},
        {With({65535, 0, 65535, 1, "Encodeur vidéo \xE2\x84\xA2 \xF0\x9F\x8E\xAC"}, std::nullopt, true),
         "65535.0.65535.1", "65535.0.65535.1"},
        {With({0, 0, 0, 0, "", "Nothing described"}, std::array<std::uint16_t, 4>{9, 8, 7, 6}, true), "0.0.0.0",
         "9.8.7.6"},
    };
    test::TempFolder temp;
    for (const auto& c : cases) {
        temp.Write("program.exe", pe::BuildPeWithVersion(c.Version));
        const std::optional<VersionInfo> info = ReadVersionInfo(temp.Host("program.exe"));
        ASSERT_TRUE(info.has_value()) << c.File;
        EXPECT_EQ(info->StructureVersion, "1.0");
        EXPECT_EQ(info->FileVersion, c.File);
        EXPECT_EQ(info->ProductVersion, c.Product);
        EXPECT_EQ(info->FileDescription, c.Version.FileDescription);
    }

    temp.Write("noversion.exe", pe::BuildPeWithoutVersion());
    temp.Write("readme.txt", "MZ is how this text starts, but it is no program at all, not even close to one.");
    temp.Write("empty.exe", "");
    for (const char* name : {"noversion.exe", "readme.txt", "empty.exe", "missing.exe", ""}) {
        EXPECT_FALSE(ReadVersionInfo(temp.Host(name)).has_value()) << name;
    }
}

TEST(VersionInfo, DamagedResourceIsReportedWithFileAndOffset) {
    test::TempFolder temp;
    std::string bytes = pe::BuildPeWithVersion(kDecrypter);
    const std::size_t at = bytes.find(std::string("\xBD\x04\xEF\xFE", 4));  // the fixed part's signature
    ASSERT_NE(at, std::string::npos);
    bytes[at] = 'X';
    temp.Write("broken.exe", bytes);
    try {
        ReadVersionInfo(temp.Host("broken.exe"));
        FAIL() << "a broken signature was accepted";
    } catch (const Error& error) {
        const std::string text = error.what();
        EXPECT_NE(text.find(temp.Host("broken.exe")), std::string::npos) << text;
        EXPECT_NE(text.find("offset " + std::to_string(at)), std::string::npos) << text;
    }
}

// Every prefix of a valid file and thousands with random bytes changed: each read gives a result, nothing, or an
// Error naming the file; the sanitizers catch any read out of range.
TEST(VersionInfo, TruncatedAndCorruptedFilesNeverReadOutOfRange) {
    test::TempFolder temp;
    const std::string path = temp.Host("fuzz.exe");
    const std::string valid = pe::BuildPeWithVersion(kDecrypter);
    const std::string valid64 = pe::BuildPeWithVersion(With({1, 0, 0, 7, "Sixty-four"}, std::nullopt, true));
    int read = 0, nothing = 0, errors = 0;
    auto attempt = [&](const std::string& bytes) {
        temp.Write("fuzz.exe", bytes);
        try {
            ++(ReadVersionInfo(path).has_value() ? read : nothing);
        } catch (const Error& error) {
            ++errors;
            EXPECT_NE(std::string(error.what()).find(path), std::string::npos) << error.what();
        }
    };
    // The version resource ends at most three bytes of padding before the manifest: a file cut inside it gives
    // no version, a file cut after it does.
    const std::size_t manifest = valid.find("<?xml");
    ASSERT_NE(manifest, std::string::npos);
    for (std::size_t length = 0; length < valid.size(); ++length) {
        const int before = read;
        attempt(valid.substr(0, length));
        const int expected = length + 3 < manifest ? 0 : length >= manifest ? 1 : read - before;
        EXPECT_EQ(read - before, expected) << "a file cut at " << length;
    }
    read = 0;
    std::mt19937 random(20240611);
    for (int round = 0; round < 1000; ++round) {
        std::string bytes = round % 2 == 0 ? valid : valid64;
        // Half the changes in the headers, half in the resource section.
        for (int i = 1 + static_cast<int>(random() % 4); i > 0; --i) {
            const std::size_t at = random() % 2 == 0 ? random() % 0x200 : 0x200 + random() % (bytes.size() - 0x200);
            bytes[at] = static_cast<char>(random() % 256);
        }
        attempt(bytes);
    }
    EXPECT_GT(read, 0) << "the corruption must drive every outcome";
    EXPECT_GT(nothing, 0);
    EXPECT_GT(errors, 0);
}

}  // namespace
}  // namespace kestrova::platform
