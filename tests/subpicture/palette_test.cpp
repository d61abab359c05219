// ReplacePalette on IFOs authored by dvdauthor: the model's palettes land in
// the PGCs with cells of the matching language, every other byte stays as
// the tool wrote it, and a file whose tables run past its end comes back as
// it was given.
#include "subpicture/palette.h"

#include <gtest/gtest.h>

#include <span>

#include "dvd/disc_reading.h"
#include "dvd/ifo_pgc.h"
#include "dvd/ifo_table.h"
#include "support/fixtures.h"
#include "support/job_fixture.h"

namespace kestrova {
namespace {

std::string ReadIfo(JobContext& job, const std::string& disc, const std::string& file) {
    const auto data = job.Files.ReadBytes(test::DrivePathOf(job, test::FixtureDisc(disc)) + "\\" + file);
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

// Y, U, V of the model's PGC into bytes 1-3 of each palette entry of the PGC at `pgc`.
void PutPalette(std::string& bytes, std::int64_t pgc, const PGC_Number_Properties& model) {
    for (std::size_t k = 0; k < 16; ++k) {
        const auto& entry = model.Palette.Item(k + 1);
        const auto at = static_cast<std::size_t>(pgc + 165) + 4 * k;
        bytes.replace(at, 3, {static_cast<char>(entry.Y), static_cast<char>(entry.U), static_cast<char>(entry.V)});
    }
}

// Colours no source PGC has, different for every PGC.
void RecolourModel(Language_Properties& language, std::int16_t seed) {
    for (auto& pgc : language.PGC_Number) {
        std::int16_t k = 0;
        for (auto& entry : pgc.Palette) entry = {static_cast<std::int16_t>(16 + k++), seed, 250, 0, 0};
        seed = static_cast<std::int16_t>(seed + 7);
    }
}

TEST(ReplacePalette, PgcsWithCellsGetTheModelsPaletteAndEveryOtherByteStays) {
    test::JobFixture fx;
    auto& job = fx.job;
    test::ReadDisc(job, test::FixtureDisc("pal-menu-cells-jumppad"));
    RecolourModel(job.DiscModel.Item(1).Language.Item(1), 40);
    RecolourModel(job.DiscModel.Item(2).Language.Item(1), 90);
    // The tool wrote two VTS menu PGCs beyond the model's: PGC 3 with cells, PGC 4 without.
    auto& vtsModel = job.DiscModel.Item(2).Language.Item(1).PGC_Number;
    vtsModel.Remove(4);
    vtsModel.Remove(3);

    const std::vector<std::vector<bool>> written = {{true, false}, {true, true, false, false}};
    const char* const files[] = {"VIDEO_TS.IFO", "VTS_01_0.IFO"};
    const std::size_t shown = fx.view.Lines.size();
    for (std::size_t d = 0; d < 2; ++d) {
        SCOPED_TRACE(files[d]);
        std::string authored = ReadIfo(job, "pal-menu-cells-jumppad", files[d]);
        const auto starts = PgcStarts(authored, d == 0 ? 200 : 208).at(0);
        ASSERT_EQ(starts.size(), written[d].size());
        // Each entry's first byte marked, to see it kept.
        for (const auto start : starts) {
            for (std::size_t k = 0; k < 16; ++k) authored[static_cast<std::size_t>(start + 164) + 4 * k] = 'Z';
        }
        // VMG menu 2 has cells in the source, but none as the tool wrote it.
        if (d == 0) authored[static_cast<std::size_t>(starts[1] + 3)] = 0;
        std::string expected = authored;
        const auto& model = job.DiscModel.Item(d + 1).Language.Item(1).PGC_Number;
        for (std::size_t j = 0; j < starts.size(); ++j) {
            if (written[d][j]) PutPalette(expected, starts[j], model.Item(j + 1));
        }
        // A job folder whose name holds "VTS" does not make VIDEO_TS.IFO a title set.
        EXPECT_EQ(ReplacePalette(job, std::string("K:\\VTS_JOB\\VIDEO_TS\\") + files[d], authored), expected);
    }
    EXPECT_FALSE(job.Stages.FailedStage().has_value());
    EXPECT_TRUE(fx.view.Lines.at(shown).ends_with(" Replacing Palette"));
}

TEST(ReplacePalette, UnitsTakeTheLanguageAtTheirPositionOrElseTheNextOneWithPgcs) {
    test::JobFixture fx;
    auto& job = fx.job;
    // Only the French menus are read: the model's first language, en, has no PGCs; fr has 4.
    test::ReadDisc(job, test::FixtureDisc("ntsc-vts-menus-2lang"), "French");
    auto& french = job.DiscModel.Item(2).Language.Item(2);
    ASSERT_EQ(french.PGC_Number.Count(), 4u);
    RecolourModel(french, 30);
    const std::string authored = ReadIfo(job, "ntsc-vts-menus-2lang", "VTS_01_0.IFO");
    const auto starts = PgcStarts(authored, 208);  // en: 5 PGCs, fr: 4

    // Two units for two languages: en is left alone, fr gets the French palettes.
    std::string expected = authored;
    for (std::size_t j = 0; j < 4; ++j) PutPalette(expected, starts[1][j], french.PGC_Number.Item(j + 1));
    EXPECT_EQ(ReplacePalette(job, "K:\\OUT\\VTS_01_0.IFO", authored), expected);

    // The tool merged the two into one unit, the en unit's five PGCs: it
    // takes fr, the next language with PGCs, and its fifth PGC is beyond fr's four.
    std::string merged = authored;
    merged[static_cast<std::size_t>(ByteHandleD(SourceOf(authored), 208) * 2048 + 1)] = 1;  // unit count
    expected = merged;
    for (std::size_t j = 0; j < 4; ++j) PutPalette(expected, starts[0][j], french.PGC_Number.Item(j + 1));
    EXPECT_EQ(ReplacePalette(job, "K:\\OUT\\VTS_01_0.IFO", merged), expected);
    EXPECT_FALSE(job.Stages.FailedStage().has_value());
}

TEST(ReplacePalette, AnOffsetPastTheEndFailsTheCorrectionNamingFileAndByteAndChangesNothing) {
    test::JobFixture fx;
    auto& job = fx.job;
    test::ReadDisc(job, test::FixtureDisc("pal-menu-cells-jumppad"));
    // Palettes that differ from the file's, so a write half done would show.
    RecolourModel(job.DiscModel.Item(2).Language.Item(1), 60);
    const std::string original = ReadIfo(job, "pal-menu-cells-jumppad", "VTS_01_0.IFO");
    const std::int64_t unitTable = ByteHandleD(SourceOf(original), 208) * 2048;
    const std::int64_t pgc3 = PgcStarts(original, 208)[0][2];
    auto poked = [&](std::int64_t at) {
        std::string bytes = original;
        bytes[static_cast<std::size_t>(at)] = '\x7F';
        return bytes;
    };
    const std::string table = poked(208), unit = poked(unitTable + 12);
    const std::pair<std::string, std::int64_t> cases[] = {
        {table, ByteHandleD(SourceOf(table), 208) * 2048},                         // the table's sector
        {unit, unitTable + ByteHandleD(SourceOf(unit), unitTable + 12)},           // unit 1's offset
        {original.substr(0, static_cast<std::size_t>(pgc3 + 100)), pgc3 + 164}};  // PGC 3 (with cells) cut
    for (const auto& [bytes, at] : cases) {
        EXPECT_EQ(ReplacePalette(job, "K:\\OUT\\VTS_01_0.IFO", bytes), bytes);
        const std::string& line = fx.view.Lines.back();
        EXPECT_NE(line.find("IFO correction failed: K:\\OUT\\VTS_01_0.IFO: "), std::string::npos) << line;
        EXPECT_NE(line.find("byte " + std::to_string(at)), std::string::npos) << line;
    }
    EXPECT_EQ(job.Stages.FailedStage(), RunStage::IfoCorrection);
}

}  // namespace
}  // namespace kestrova
