// Damaged IFO files: copies of fixture IFOs with bytes patched, cut short or
// flipped must end the read with an Error that names the file, the table and
// the byte offset, or read cleanly; never a read out of range.
#include "dvd/ifo_reader.h"

#include <gtest/gtest.h>

#include <chrono>
#include <random>

#include "disc_reading.h"
#include "platform/error.h"
#include "support/fixtures.h"
#include "support/job_fixture.h"

namespace kestrova {
namespace {

using Bytes = std::vector<std::uint8_t>;

std::uint32_t Long(const Bytes& bytes, std::size_t at) {
    return static_cast<std::uint32_t>(bytes.at(at) << 24 | bytes.at(at + 1) << 16 | bytes.at(at + 2) << 8 |
                                      bytes.at(at + 3));
}
std::uint32_t Word(const Bytes& bytes, std::size_t at) { return bytes.at(at) << 8 | bytes.at(at + 1); }
void PutLong(Bytes& bytes, std::size_t at, std::uint32_t value) {
    for (int i = 0; i < 4; ++i) bytes.at(at + i) = static_cast<std::uint8_t>(value >> (24 - 8 * i));
}
void PutWord(Bytes& bytes, std::size_t at, std::uint32_t value) {
    bytes.at(at) = static_cast<std::uint8_t>(value >> 8);
    bytes.at(at + 1) = static_cast<std::uint8_t>(value);
}

// Where the tables of a VTS IFO of a fixture start.
struct VtsLayout {
    std::size_t UnitTable, FirstUnit, FirstPgc, CellAddresses, Chapters;
    explicit VtsLayout(const Bytes& ifo) {
        UnitTable = Long(ifo, 208) * 2048;
        FirstUnit = UnitTable + Long(ifo, UnitTable + 12);
        FirstPgc = FirstUnit + Long(ifo, FirstUnit + 12);
        CellAddresses = Long(ifo, 216) * 2048;
        Chapters = Long(ifo, 200) * 2048;
    }
};

class IfoDamage : public testing::Test {
protected:
    void SetUp() override {
        folder_ = test::DrivePathOf(fx_.job, test::FixtureDisc("pal-menu-cells-jumppad"));
        vmg_ = fx_.job.Files.ReadBytes(folder_ + "\\VIDEO_TS.IFO");
        vts_ = fx_.job.Files.ReadBytes(folder_ + "\\VTS_01_0.IFO");
    }

    // Reads the VMG as it is and then the given title-set bytes; returns the
    // Error's text, or "" when the read succeeds.
    std::string ReadVts(const Bytes& vts) {
        Reset();
        try {
            GetIFOParamsFromBytes(fx_.job, ByteSource{vmg_, "K:\\DVD\\VIDEO_TS.IFO"}, true, "ALL", true);
            GetIFOParamsFromBytes(fx_.job, ByteSource{vts, "K:\\DVD\\VTS_01_0.IFO"}, true, "ALL", false);
        } catch (const Error& failure) {
            return failure.what();
        }
        return "";
    }
    std::string ReadVmg(const Bytes& vmg) {
        Reset();
        try {
            GetIFOParamsFromBytes(fx_.job, ByteSource{vmg, "K:\\DVD\\VIDEO_TS.IFO"}, true, "ALL", true);
        } catch (const Error& failure) {
            return failure.what();
        }
        return "";
    }
    void Reset() {
        auto& job = fx_.job;
        job.DiscModel.Clear();
        job.TitleMap.Clear();
        job.PalettePool.Clear();
        job.StreamUse.clear();
        job.Timing.VideoStandard.clear();
    }

    test::JobFixture fx_;
    std::string folder_;
    Bytes vmg_, vts_;
};

TEST_F(IfoDamage, UntouchedCopiesRead) {
    EXPECT_EQ(ReadVts(vts_), "");
    EXPECT_EQ(fx_.job.DiscModel.Count(), 2u);
}

TEST_F(IfoDamage, TableSectorsBeyondTheFile) {
    auto vts = vts_;
    PutLong(vts, 208, 0x1000);
    EXPECT_EQ(ReadVts(vts), "K:\\DVD\\VTS_01_0.IFO: VTSM_PGCI_UT at byte 8388608: the sector 4096 named at byte 208 "
                            "lies beyond the end of the file (" +
                                std::to_string(vts_.size()) + " bytes); the table was expected inside the file.");

    vts = vts_;
    PutLong(vts, 216, static_cast<std::uint32_t>(vts_.size() / 2048));
    EXPECT_NE(ReadVts(vts).find("VTSM_C_ADT at byte " + std::to_string(vts_.size() / 2048 * 2048)), std::string::npos);

    vts = vts_;
    PutLong(vts, 200, 0x7FFF);
    EXPECT_NE(ReadVts(vts).find("VTS_PTT_SRPT at byte"), std::string::npos);

    auto vmg = vmg_;
    PutLong(vmg, 196, 0x100);
    EXPECT_NE(ReadVmg(vmg).find("VIDEO_TS.IFO: TT_SRPT at byte 524288"), std::string::npos);
}

TEST_F(IfoDamage, CountsRunningPastTheEnd) {
    const VtsLayout at(vts_);
    auto vts = vts_;
    PutWord(vts, at.UnitTable, 0xFFFF);
    EXPECT_EQ(ReadVts(vts), "K:\\DVD\\VTS_01_0.IFO: VTSM_PGCI_UT at byte " + std::to_string(at.UnitTable + 8) +
                                ": expected 65535 language unit entries (524280 bytes), but the file ends at byte " +
                                std::to_string(vts_.size()) + ".");

    vts = vts_;
    PutWord(vts, at.FirstUnit, 0xFFFF);
    EXPECT_NE(ReadVts(vts).find("PGCI_LU at byte " + std::to_string(at.FirstUnit + 8) + ": expected 65535 PGC entries"),
              std::string::npos);

    vts = vts_;
    PutLong(vts, at.CellAddresses + 4, 0x00FFFFFF);
    EXPECT_NE(ReadVts(vts).find("VTSM_C_ADT at byte " + std::to_string(at.CellAddresses + 8) + ": "),
              std::string::npos);

    auto vmg = vmg_;
    const std::size_t titles = Long(vmg_, 196) * 2048;
    PutWord(vmg, titles, 0x4000);
    EXPECT_NE(ReadVmg(vmg).find("TT_SRPT at byte " + std::to_string(titles + 8) + ": expected 16384 title entries"),
              std::string::npos);
}

TEST_F(IfoDamage, OffsetsAndCrossReferencesOutsideTheirTables) {
    const VtsLayout at(vts_);
    auto vts = vts_;
    PutLong(vts, at.FirstUnit + 12, 0x00100000);
    const std::string pgc = ReadVts(vts);
    EXPECT_NE(pgc.find("PGCI_LU at byte " + std::to_string(at.FirstUnit) + ": the offset of PGC 1 (1048576) points"),
              std::string::npos)
        << pgc;
    EXPECT_NE(pgc.find("past the end of the file"), std::string::npos);

    vts = vts_;
    PutWord(vts, at.FirstPgc + 232, 0);  // cell playback table offset
    EXPECT_NE(ReadVts(vts).find("PGC at byte " + std::to_string(at.FirstPgc + 232) +
                                ": the PGC's cell count is 1, but the offset of its C_PBKT is 0"),
              std::string::npos);

    vts = vts_;
    const std::size_t positions = at.FirstPgc + Word(vts_, at.FirstPgc + 234);
    PutWord(vts, positions, 9);  // VOB id the C_ADT does not list
    EXPECT_NE(ReadVts(vts).find("C_POSIT at byte " + std::to_string(positions) +
                                ": cell 1 names VOB id 9 cell id 1, which the menu C_ADT does not list"),
              std::string::npos);

    vts = vts_;
    const std::size_t map = at.FirstPgc + Word(vts_, at.FirstPgc + 230);
    vts.at(map) = 2;  // the one program starts at a cell the PGC lacks
    EXPECT_NE(ReadVts(vts).find("PGC_PGMAP at byte " + std::to_string(map) +
                                ": program 1 starts at cell 2, but the PGC has 1 cells"),
              std::string::npos);

    vts = vts_;
    PutLong(vts, at.Chapters + 8, 0x00FFFFFF);
    EXPECT_NE(ReadVts(vts).find("VTS_PTT_SRPT at byte " + std::to_string(at.Chapters) + ": the offset of title 1"),
              std::string::npos);

    vts = vts_;
    PutWord(vts, at.CellAddresses + 8, 0);
    EXPECT_NE(ReadVts(vts).find("row 1 names VOB id 0 cell id 1; ids start at 1"), std::string::npos);
}

TEST_F(IfoDamage, ShortFileNamesTheTableAndOffset) {
    const VtsLayout at(vts_);
    // The cell address table stands behind the PGCs and is read first.
    Bytes vts(vts_.begin(), vts_.begin() + static_cast<std::ptrdiff_t>(at.FirstPgc + 100));
    EXPECT_EQ(ReadVts(vts), "K:\\DVD\\VTS_01_0.IFO: VTSM_C_ADT at byte " + std::to_string(at.CellAddresses) +
                                ": the sector " + std::to_string(at.CellAddresses / 2048) +
                                " named at byte 216 lies beyond the end of the file (" +
                                std::to_string(at.FirstPgc + 100) + " bytes); the table was expected inside the file.");

    // With the cell address table gone, the PGC header itself is cut.
    PutLong(vts, 216, 0);
    EXPECT_EQ(ReadVts(vts), "K:\\DVD\\VTS_01_0.IFO: PGC at byte " + std::to_string(at.FirstPgc) +
                                ": expected the PGC header (236 bytes), but the file ends at byte " +
                                std::to_string(at.FirstPgc + 100) + ".");
}

// Every fixture IFO cut at many lengths and with random bytes flipped: only
// a clean read or an Error may come out (the sanitizers watch the reads).
TEST(IfoFuzz, CutAndFlippedFilesGiveErrorsOnly) {
    test::JobFixture fx;
    auto& job = fx.job;
    std::mt19937 random(20261123);
    int errors = 0, reads = 0;
    const auto started = std::chrono::steady_clock::now();
    for (const auto& disc : test::FixtureDiscs()) {
        const auto files = test::IfoFiles(job, test::DrivePathOf(job, disc));
        for (std::size_t f = 0; f < files.size(); ++f) {
            const Bytes original = job.Files.ReadBytes(files[f]);
            auto attempt = [&](const Bytes& bytes) -> bool {
                job.DiscModel.Clear();
                job.TitleMap.Clear();
                job.PalettePool.Clear();
                job.StreamUse.clear();
                job.Timing.VideoStandard.clear();
                ++reads;
                try {
                    // A title set is read as domain 2, so that it reads its
                    // chapter table (as an extra title set of the map).
                    if (f > 0) job.DiscModel.Add();
                    GetIFOParamsFromBytes(job, ByteSource{bytes, files[f]}, true, "ALL", f == 0);
                } catch (const Error& failure) {
                    ++errors;
                    EXPECT_NE(std::string(failure.what()).find(files[f]), std::string::npos) << failure.what();
                    return false;
                }
                return true;
            };
            // A cut that reads cleanly holds every table, and so does any
            // longer one.
            for (std::size_t length = 0; length < original.size(); length += 7) {
                if (attempt(Bytes(original.begin(), original.begin() + static_cast<std::ptrdiff_t>(length)))) break;
            }
            for (int flip = 0; flip < 250; ++flip) {
                Bytes bytes = original;
                const int count = 1 + static_cast<int>(random() % 4);
                for (int i = 0; i < count; ++i) {
                    bytes[random() % bytes.size()] ^= static_cast<std::uint8_t>(1 + random() % 255);
                }
                attempt(bytes);
            }
        }
    }
    EXPECT_GT(errors, reads / 2) << "most cut files must fail";
    EXPECT_LT(errors, reads) << "flips in unread bytes leave the file readable";
    EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(30)) << "meant to take a few seconds";
}

}  // namespace
}  // namespace kestrova
