// The first-play and title PGC readers on damaged copies of fixture IFOs:
// an Error naming the file, the table and the byte, never a read out of
// range. What they read from sound files is compared with libdvdread by the
// dvd_reader_crosscheck test.
#include "dvd/title_pgcs.h"

#include <gtest/gtest.h>

#include <random>

#include "disc_reading.h"
#include "platform/error.h"
#include "support/fixtures.h"
#include "support/job_fixture.h"

namespace kestrova {
namespace {

using Bytes = std::vector<std::uint8_t>;

std::size_t Long(const Bytes& bytes, std::size_t at) {
    return std::size_t{bytes.at(at)} << 24 | bytes.at(at + 1) << 16 | bytes.at(at + 2) << 8 | bytes.at(at + 3);
}

// The Error's text of reading `bytes` as the VMG (first-play PGC) or a title
// set (title PGCs), or "" when the read succeeds.
std::string Read(const Bytes& bytes, bool vmg) {
    const ByteSource source{bytes, vmg ? "K:\\DVD\\VIDEO_TS.IFO" : "K:\\DVD\\VTS_01_0.IFO"};
    try {
        vmg ? static_cast<void>(ReadFP_PGC(source)) : static_cast<void>(ReadVTS_PGCIT(source));
    } catch (const Error& failure) {
        return failure.what();
    }
    return "";
}

TEST(PlaybackPGCs, DamageNamesTheFileTheTableAndTheByte) {
    test::JobFixture fx;
    const std::string folder = test::DrivePathOf(fx.job, test::FixtureDisc("pal-vmg-buttons"));
    const Bytes vmg = fx.job.Files.ReadBytes(folder + "\\VIDEO_TS.IFO");
    const Bytes vts = fx.job.Files.ReadBytes(folder + "\\VTS_01_0.IFO");
    ASSERT_EQ(Read(vmg, true), "");
    ASSERT_EQ(Read(vts, false), "");
    const std::size_t table = Long(vts, 0xCC) * 2048;
    const std::size_t pgc = table + Long(vts, table + 12);

    Bytes bytes = vmg;
    bytes[0x84] = 0x7F;  // the first-play PGC beyond the end
    const std::string at = " at byte " + std::to_string(Long(bytes, 0x84)) + ": ";
    EXPECT_EQ(Read(bytes, true).rfind("K:\\DVD\\VIDEO_TS.IFO: FP_PGC" + at, 0), 0u);
    bytes = vts;
    bytes[table] = 0x7F;  // more title PGCs than the file holds
    EXPECT_EQ(Read(bytes, false).rfind("K:\\DVD\\VTS_01_0.IFO: VTS_PGCIT at byte " + std::to_string(table + 8), 0), 0u);
    bytes = vts;
    bytes[pgc + 232] = bytes[pgc + 233] = 0;  // cells without a cell playback table
    EXPECT_EQ(Read(bytes, false).rfind("K:\\DVD\\VTS_01_0.IFO: VTS_PGC at byte " + std::to_string(pgc + 232), 0), 0u);

    // Cut short and flipped at random: only a clean read or an Error.
    std::mt19937 random(20261124);
    for (const auto& [original, isVmg] : {std::pair{vmg, true}, std::pair{vts, false}}) {
        for (std::size_t length = 0; length < original.size(); length += 11) {
            const std::string error = Read(Bytes(original.begin(), original.begin() + std::ptrdiff_t(length)), isVmg);
            if (error.empty()) break;  // a cut that reads cleanly holds every table
        }
        for (int flip = 0; flip < 300; ++flip) {
            bytes = original;
            for (int i = 0; i < 3; ++i) bytes[random() % bytes.size()] ^= static_cast<std::uint8_t>(1 + random() % 255);
            const std::string error = Read(bytes, isVmg);
            EXPECT_TRUE(error.empty() || error.rfind("K:\\DVD\\", 0) == 0) << error;
        }
    }
}

}  // namespace
}  // namespace kestrova
