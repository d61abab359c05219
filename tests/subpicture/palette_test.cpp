// ReplacePalette on IFOs authored by dvdauthor: the model's palettes land in
// the PGCs with cells of the matching language, every other byte of the file
// stays as the tool wrote it, and a file whose tables run past its end is
// handed back as it came.
#include "subpicture/palette.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "dvd/disc_reading.h"
#include "dvd/ifo_pgc.h"
#include "dvd/ifo_table.h"
#include "support/fixtures.h"
#include "support/job_fixture.h"

namespace kestrova {
namespace {

using test::FixtureDisc;

std::string ReadIfo(JobContext& job, const std::string& disc, const std::string& file) {
    const auto data = job.Files.ReadBytes(test::DrivePathOf(job, FixtureDisc(disc)) + "\\" + file);
    return {data.begin(), data.end()};
}

ByteSource SourceOf(const std::string& bytes) {
    return {std::span(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()), "authored.IFO"};
}

// The byte where each menu PGC starts, per language unit.
std::vector<std::vector<std::int64_t>> PgcStarts(const std::string& bytes, std::int64_t pointer) {
    const ByteSource source = SourceOf(bytes);
    const auto table = IfoTable::AtSector(source, "PGCI_UT", pointer);
    std::vector<std::vector<std::int64_t>> units;
    for (std::int64_t i = 1; i <= table->Word(0); ++i) {
        const IfoTable unit = table->Sub("PGCI_LU", table->Long(8 * i + 4), "unit");
        auto& starts = units.emplace_back();
        for (const auto& entry : ReadPGCI_SRP(unit)) starts.push_back(unit.Base() + entry.Offset);
    }
    return units;
}

// The byte where the menu PGCI_UT starts: its sector is named at `pointer`.
std::int64_t UnitTableStart(const std::string& bytes, std::int64_t pointer) {
    const ByteSource source = SourceOf(bytes);
    return IfoTable(source, "IFO header", 0).Long(pointer) * 2048;
}

void PutLong(std::string& bytes, std::int64_t at, std::uint32_t value) {
    for (int b = 0; b < 4; ++b) bytes[static_cast<std::size_t>(at + b)] = static_cast<char>(value >> (24 - 8 * b));
}

// Y, U, V of the model's PGC into bytes 1-3 of each palette entry of the PGC at `pgc`.
void PutPalette(std::string& bytes, std::int64_t pgc, const PGC_Number_Properties& model) {
    for (std::size_t k = 0; k < 16; ++k) {
        const auto& entry = model.Palette.Item(k + 1);
        const auto at = static_cast<std::size_t>(pgc + 164 + 4 * static_cast<std::int64_t>(k));
        bytes[at + 1] = static_cast<char>(entry.Y);
        bytes[at + 2] = static_cast<char>(entry.U);
        bytes[at + 3] = static_cast<char>(entry.V);
    }
}

// Colours the source never had, different for every PGC.
void RecolourModel(Language_Properties& language, std::int16_t seed) {
    for (auto& pgc : language.PGC_Number) {
        std::int16_t k = 0;
        for (auto& entry : pgc.Palette) {
            entry.Y = static_cast<std::int16_t>(16 + k);
            entry.U = seed;
            entry.V = static_cast<std::int16_t>(250 - k);
            ++k;
        }
        seed = static_cast<std::int16_t>(seed + 7);
    }
}

TEST(ReplacePalette, PgcsWithCellsGetTheModelsPaletteAndEveryOtherByteStays) {
    test::JobFixture fx;
    auto& job = fx.job;
    test::ReadDisc(job, FixtureDisc("pal-menu-cells-jumppad"));
    RecolourModel(job.DiscModel.Item(1).Language.Item(1), 40);
    RecolourModel(job.DiscModel.Item(2).Language.Item(1), 90);
    // The tool wrote two VTS menu PGCs more than the model has: PGC 3 with
    // cells, PGC 4 without.
    auto& vtsModel = job.DiscModel.Item(2).Language.Item(1).PGC_Number;
    ASSERT_EQ(vtsModel.Count(), 4u);
    vtsModel.Remove(4);
    vtsModel.Remove(3);

    struct Case {
        const char* File;
        std::int64_t Pointer;
        std::size_t Domain;
        std::vector<bool> Written;  // per PGC of the one unit
    };
    const Case cases[] = {{"VIDEO_TS.IFO", 200, 1, {true, false}},
                          {"VTS_01_0.IFO", 208, 2, {true, true, false, false}}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.File);
        std::string authored = ReadIfo(job, "pal-menu-cells-jumppad", c.File);
        const auto starts = PgcStarts(authored, c.Pointer);
        ASSERT_EQ(starts.size(), 1u);
        ASSERT_EQ(starts[0].size(), c.Written.size());
        // The first byte of every entry marked, to see it kept.
        for (const auto start : starts[0]) {
            for (int k = 0; k < 16; ++k) authored[static_cast<std::size_t>(start + 164 + 4 * k)] = '\x5A';
        }
        // The tool wrote VMG menu 2, which has cells in the source, without cells.
        if (c.Domain == 1) authored[static_cast<std::size_t>(starts[0][1] + 3)] = 0;
        const std::string given = authored;

        // A job folder whose name holds "VTS" does not make VIDEO_TS.IFO a title set.
        const std::string replaced = ReplacePalette(job, std::string("K:\\VTS_JOB\\VIDEO_TS\\") + c.File, authored);

        EXPECT_EQ(authored, given) << "the input is never changed";
        std::string expected = authored;
        const auto& model = job.DiscModel.Item(c.Domain).Language.Item(1).PGC_Number;
        for (std::size_t j = 0; j < c.Written.size(); ++j) {
            if (c.Written[j]) PutPalette(expected, starts[0][j], model.Item(j + 1));
        }
        EXPECT_EQ(replaced, expected);
    }
    EXPECT_FALSE(job.Stages.FailedStage().has_value());
    EXPECT_NE(std::find_if(fx.view.Lines.begin(), fx.view.Lines.end(),
                           [](const std::string& line) { return line.ends_with(" Replacing Palette"); }),
              fx.view.Lines.end());
}

TEST(ReplacePalette, UnitsTakeTheLanguageAtTheirPositionOrElseTheNextOneWithPgcs) {
    test::JobFixture fx;
    auto& job = fx.job;
    // Only the French menus are read: the model's first language, en, has no PGCs.
    test::ReadDisc(job, FixtureDisc("ntsc-vts-menus-2lang"), "French");
    auto& languages = job.DiscModel.Item(2).Language;
    ASSERT_EQ(languages.Count(), 2u);
    ASSERT_EQ(languages.Item(1).PGC_Number.Count(), 0u);
    ASSERT_EQ(languages.Item(2).PGC_Number.Count(), 4u);
    RecolourModel(languages.Item(2), 30);
    const auto& french = languages.Item(2).PGC_Number;

    const std::string path = "K:\\OUT\\VTS_01_0.IFO";
    const std::string authored = ReadIfo(job, "ntsc-vts-menus-2lang", "VTS_01_0.IFO");
    const auto starts = PgcStarts(authored, 208);
    ASSERT_EQ(starts.size(), 2u);
    ASSERT_EQ(starts[0].size(), 5u);

    // Two units for two languages: en is left alone, fr gets the French palettes.
    std::string expected = authored;
    for (std::size_t j = 0; j < 4; ++j) PutPalette(expected, starts[1][j], french.Item(j + 1));
    EXPECT_EQ(ReplacePalette(job, path, authored), expected);

    // The tool merged the two into one unit (the en unit's five PGCs): it
    // takes fr, the next language with PGCs; its fifth PGC is beyond fr's four.
    std::string merged = authored;
    const std::int64_t unitTable = UnitTableStart(authored, 208);
    merged[static_cast<std::size_t>(unitTable)] = 0;
    merged[static_cast<std::size_t>(unitTable + 1)] = 1;
    expected = merged;
    for (std::size_t j = 0; j < 4; ++j) PutPalette(expected, starts[0][j], french.Item(j + 1));
    EXPECT_EQ(ReplacePalette(job, path, merged), expected);
    EXPECT_FALSE(job.Stages.FailedStage().has_value());
}

TEST(ReplacePalette, AnOffsetPastTheEndFailsTheCorrectionNamingFileAndByteAndChangesNothing) {
    test::JobFixture fx;
    auto& job = fx.job;
    test::ReadDisc(job, FixtureDisc("pal-menu-cells-jumppad"));
    // Palettes that differ from the file's, so a half-done write would show.
    RecolourModel(job.DiscModel.Item(2).Language.Item(1), 60);
    const std::string path = "K:\\OUT\\VTS_01_0.IFO";
    const std::string original = ReadIfo(job, "pal-menu-cells-jumppad", "VTS_01_0.IFO");
    const auto starts = PgcStarts(original, 208);
    const std::int64_t unitTable = UnitTableStart(original, 208);
    const std::int64_t far = 0x7FFFFF00;

    struct Case {
        const char* What;
        std::string Bytes;
        std::int64_t Byte;  // the offset the message names
    };
    std::vector<Case> cases;
    std::string sector = original;
    PutLong(sector, 208, 0x00100000);
    cases.push_back({"table sector", sector, std::int64_t{0x00100000} * 2048});
    std::string unitOffset = original;
    PutLong(unitOffset, unitTable + 12, static_cast<std::uint32_t>(far));
    cases.push_back({"unit offset", unitOffset, unitTable + far});
    // PGC 3 has cells: with the file cut inside its header, its palette lies past the end.
    cases.push_back({"cut PGC", original.substr(0, static_cast<std::size_t>(starts[0][2] + 100)), starts[0][2] + 164});
    for (const auto& c : cases) {
        SCOPED_TRACE(c.What);
        EXPECT_EQ(ReplacePalette(job, path, c.Bytes), c.Bytes);
        const std::string& line = fx.view.Lines.back();
        EXPECT_NE(line.find("IFO correction failed: " + path + ": "), std::string::npos) << line;
        EXPECT_NE(line.find("byte " + std::to_string(c.Byte)), std::string::npos) << line;
    }
    EXPECT_EQ(job.Stages.FailedStage(), RunStage::IfoCorrection);
}

}  // namespace
}  // namespace kestrova
