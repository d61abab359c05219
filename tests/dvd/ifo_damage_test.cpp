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

std::uint32_t Word(const Bytes& bytes, std::size_t at) { return bytes.at(at) << 8 | bytes.at(at + 1); }
std::uint32_t Long(const Bytes& bytes, std::size_t at) { return Word(bytes, at) << 16 | Word(bytes, at + 2); }
void PutWord(Bytes& bytes, std::size_t at, std::uint32_t value) {
    bytes.at(at) = static_cast<std::uint8_t>(value >> 8);
    bytes.at(at + 1) = static_cast<std::uint8_t>(value);
}
void PutLong(Bytes& bytes, std::size_t at, std::uint32_t value) {
    PutWord(bytes, at, value >> 16);
    PutWord(bytes, at + 2, value & 0xFFFF);
}

// Clears what a read leaves in the job, so the next read starts afresh.
void Reset(JobContext& job) {
    job.DiscModel.Clear();
    job.TitleMap.Clear();
    job.PalettePool.Clear();
    job.StreamUse.clear();
    job.Timing.VideoStandard.clear();
}

class IfoDamage : public testing::Test {
protected:
    void SetUp() override {
        const std::string folder = test::DrivePathOf(fx_.job, test::FixtureDisc("pal-menu-cells-jumppad"));
        vmg_ = fx_.job.Files.ReadBytes(folder + "\\VIDEO_TS.IFO");
        vts_ = fx_.job.Files.ReadBytes(folder + "\\VTS_01_0.IFO");
        UnitTable = Long(vts_, 208) * 2048;
        FirstUnit = UnitTable + Long(vts_, UnitTable + 12);
        FirstPgc = FirstUnit + Long(vts_, FirstUnit + 12);
        CellAddresses = Long(vts_, 216) * 2048;
        Chapters = Long(vts_, 200) * 2048;
    }

    // Reads the given VMG bytes and then, if any, the title-set bytes; returns
    // the Error's text, or "" when the read succeeds.
    std::string Read(const Bytes& vmg, const Bytes* vts = nullptr) {
        Reset(fx_.job);
        try {
            GetIFOParamsFromBytes(fx_.job, ByteSource{vmg, "K:\\DVD\\VIDEO_TS.IFO"}, true, "ALL", true);
            if (vts) GetIFOParamsFromBytes(fx_.job, ByteSource{*vts, "K:\\DVD\\VTS_01_0.IFO"}, true, "ALL", false);
        } catch (const Error& failure) {
            return failure.what();
        }
        return "";
    }
    std::string ReadVts(const Bytes& vts) { return Read(vmg_, &vts); }
    // The start of the message: the file, the table and the byte offset.
    static std::string At(const std::string& table, std::size_t offset) {
        return "K:\\DVD\\VTS_01_0.IFO: " + table + " at byte " + std::to_string(offset) + ": ";
    }

    test::JobFixture fx_;
    Bytes vmg_, vts_;
    std::size_t UnitTable, FirstUnit, FirstPgc, CellAddresses, Chapters;
};

#define EXPECT_STARTS(text, start) EXPECT_EQ((text).substr(0, (start).size()), start) << (text)

TEST_F(IfoDamage, TablesBeyondTheFileAndCountsRunningPastTheEnd) {
    EXPECT_EQ(ReadVts(vts_), "");
    EXPECT_EQ(fx_.job.DiscModel.Count(), 2u);

    auto vts = vts_;
    PutLong(vts, 208, 0x1000);
    const std::string beyond = ReadVts(vts);
    EXPECT_STARTS(beyond, At("VTSM_PGCI_UT", 8388608));
    EXPECT_NE(beyond.find("sector 4096 named at byte 208"), std::string::npos) << beyond;
    vts = vts_;
    PutLong(vts, 216, static_cast<std::uint32_t>(vts_.size() / 2048));
    EXPECT_STARTS(ReadVts(vts), At("VTSM_C_ADT", vts_.size() / 2048 * 2048));
    vts = vts_;
    PutLong(vts, 200, 0x7FFF);
    EXPECT_STARTS(ReadVts(vts), At("VTS_PTT_SRPT", 0x7FFFu * 2048));
    auto vmg = vmg_;
    PutLong(vmg, 196, 0x100);
    EXPECT_STARTS(Read(vmg), std::string("K:\\DVD\\VIDEO_TS.IFO: TT_SRPT at byte 524288: "));

    vts = vts_;
    PutWord(vts, UnitTable, 0xFFFF);
    EXPECT_STARTS(ReadVts(vts), At("VTSM_PGCI_UT", UnitTable + 8));
    vts = vts_;
    PutWord(vts, FirstUnit, 0xFFFF);
    EXPECT_STARTS(ReadVts(vts), At("PGCI_LU", FirstUnit + 8));
    vts = vts_;
    PutLong(vts, CellAddresses + 4, 0x00FFFFFF);
    EXPECT_STARTS(ReadVts(vts), At("VTSM_C_ADT", CellAddresses + 8));
    vmg = vmg_;
    const std::size_t titles = Long(vmg_, 196) * 2048;
    PutWord(vmg, titles, 0x4000);
    EXPECT_STARTS(Read(vmg), "K:\\DVD\\VIDEO_TS.IFO: TT_SRPT at byte " + std::to_string(titles + 8) + ": ");
}

TEST_F(IfoDamage, OffsetsAndCrossReferencesOutsideTheirTables) {
    auto vts = vts_;
    PutLong(vts, FirstUnit + 12, 0x00100000);
    EXPECT_STARTS(ReadVts(vts), At("PGCI_LU", FirstUnit));
    vts = vts_;
    PutWord(vts, FirstPgc + 232, 0);  // cell playback table offset
    EXPECT_STARTS(ReadVts(vts), At("PGC", FirstPgc + 232));
    vts = vts_;
    const std::size_t positions = FirstPgc + Word(vts_, FirstPgc + 234);
    PutWord(vts, positions, 9);  // a VOB id the C_ADT does not list
    EXPECT_STARTS(ReadVts(vts), At("C_POSIT", positions));
    vts = vts_;
    const std::size_t map = FirstPgc + Word(vts_, FirstPgc + 230);
    vts.at(map) = 2;  // the one program starts at a cell the PGC lacks
    EXPECT_STARTS(ReadVts(vts), At("PGC_PGMAP", map));
    vts = vts_;
    PutLong(vts, Chapters + 8, 0x00FFFFFF);
    EXPECT_STARTS(ReadVts(vts), At("VTS_PTT_SRPT", Chapters));
    vts = vts_;
    PutWord(vts, CellAddresses + 8, 0);  // VOB id 0
    EXPECT_STARTS(ReadVts(vts), At("VTSM_C_ADT", CellAddresses + 8));
}

TEST_F(IfoDamage, ShortFileNamesTheTableAndOffset) {
    // The cell address table stands behind the PGCs and is read first.
    Bytes vts(vts_.begin(), vts_.begin() + static_cast<std::ptrdiff_t>(FirstPgc + 100));
    EXPECT_STARTS(ReadVts(vts), At("VTSM_C_ADT", CellAddresses));
    // With the cell address table gone, the PGC header itself is cut.
    PutLong(vts, 216, 0);
    EXPECT_STARTS(ReadVts(vts), At("PGC", FirstPgc));
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
                Reset(job);
                ++reads;
                try {
                    // A title set is read as domain 2, so that it reads its chapter table.
                    if (f > 0) job.DiscModel.Add();
                    GetIFOParamsFromBytes(job, ByteSource{bytes, files[f]}, true, "ALL", f == 0);
                } catch (const Error& failure) {
                    ++errors;
                    EXPECT_NE(std::string(failure.what()).find(files[f]), std::string::npos) << failure.what();
                    return false;
                }
                return true;
            };
            // A cut that reads cleanly holds every table, and so does any longer one.
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
    // About 10 s alone; the bound leaves room for a machine busy with other tests.
    EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(60)) << "meant to take a few seconds";
}

}  // namespace
}  // namespace kestrova
