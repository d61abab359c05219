// CorrectMuxmanIfo on dvdauthor's discs: with cell rows and NAV pack
// sectors that are the source's own, the rebuilt IFO must be the source's,
// and libdvdread must open it without a word; on copies patched where
// dvdauthor cannot make the case (a VOB id past 255, no time map, the VMG's
// parental and text tables), on converted and dummy menus, and on broken
// input, which ends in an Error and writes nothing.
#include "muxman/ifo_patching.h"

#include <dvdread/dvd_reader.h>
#include <dvdread/ifo_read.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <cstdarg>
#include <functional>

#include "../dvd/disc_reading.h"
#include "platform/error.h"
#include "support/fixtures.h"
#include "support/job_fixture.h"

namespace kestrova {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Rows = std::vector<std::array<std::int32_t, 6>>;

std::size_t Word(const Bytes& bytes, std::size_t at) { return std::size_t(bytes.at(at)) << 8 | bytes.at(at + 1); }
std::size_t Long(const Bytes& bytes, std::size_t at) { return Word(bytes, at) << 16 | Word(bytes, at + 2); }
void PutWord(Bytes& bytes, std::size_t at, std::size_t value) {
    bytes.at(at) = static_cast<std::uint8_t>(value >> 8);
    bytes.at(at + 1) = static_cast<std::uint8_t>(value);
}
void PutLong(Bytes& bytes, std::size_t at, std::size_t value) {
    PutWord(bytes, at, value >> 16);
    PutWord(bytes, at + 2, value & 0xFFFF);
}

// The first bytes at which two files differ, as "offset: a/b" in hex; empty
// when they are the same.
std::string Differences(const Bytes& a, const Bytes& b) {
    std::string text;
    if (a.size() != b.size()) text = "sizes " + std::to_string(a.size()) + "/" + std::to_string(b.size()) + " ";
    int shown = 0;
    for (std::size_t i = 0; i < std::min(a.size(), b.size()) && shown < 12; ++i) {
        if (a[i] == b[i]) continue;
        char line[40];
        std::snprintf(line, sizeof line, "%zu: %02X/%02X ", i, a[i], b[i]);
        text += line;
        ++shown;
    }
    return text;
}

// Zeros over the playback times of every menu PGC and its cells, the
// fields the rebuild sets from the model (a one-frame still becomes 12 or 15
// frames, a PGC the sum of its cells).
Bytes WithoutTimes(Bytes ifo, std::size_t unitTablePointer) {
    const std::size_t table = Long(ifo, unitTablePointer) * 2048;
    for (std::size_t u = 0; u < Word(ifo, table); ++u) {
        const std::size_t unit = table + Long(ifo, table + 12 + 8 * u);
        for (std::size_t j = 0; j < Word(ifo, unit); ++j) {
            const std::size_t pgc = unit + Long(ifo, unit + 12 + 8 * j);
            PutLong(ifo, pgc + 4, 0);
            for (std::size_t c = 0; c < ifo.at(pgc + 3); ++c) PutLong(ifo, pgc + Word(ifo, pgc + 232) + 24 * c + 4, 0);
        }
    }
    return ifo;
}

std::string ErrorOf(const std::function<void()>& call) {
    try {
        call();
    } catch (const Error& failure) {
        return failure.what();
    }
    return "";
}

// The NAV pack sectors and cell rows of the source's own menu VOBS, from its
// VOBU_ADMAP and C_ADT: each cell's last NAV pack is the last VOBU start
// inside it.
struct SourceCells {
    std::vector<std::int32_t> NavArray;
    Rows FinishedNavs;
};

SourceCells CellsOf(const Bytes& ifo, int entry) {
    SourceCells cells;
    const std::size_t map = Long(ifo, 220) * 2048;
    for (std::size_t at = map + 4; at <= map + Long(ifo, map); at += 4) {
        cells.NavArray.push_back(static_cast<std::int32_t>(Long(ifo, at)));
    }
    const std::size_t table = Long(ifo, 216) * 2048;
    for (std::size_t at = table + 8; at <= table + Long(ifo, table + 4); at += 12) {
        const auto first = static_cast<std::int32_t>(Long(ifo, at + 4));
        const auto last = static_cast<std::int32_t>(Long(ifo, at + 8));
        std::int32_t lastNav = first;
        for (const std::int32_t sector : cells.NavArray) {
            if (sector <= last) lastNav = std::max(lastNav, sector);
        }
        cells.FinishedNavs.push_back(
            {entry, static_cast<std::int32_t>(Word(ifo, at)), ifo.at(at + 2), first, last, lastNav});
    }
    return cells;
}

// What libdvdread says while it opens each IFO of the folder: its messages
// and any file it cannot open.
std::vector<std::string>& Messages() {
    static std::vector<std::string> messages;
    return messages;
}
void KeepMessage(void*, dvd_logger_level_t level, const char* format, va_list args) {
    if (level == DVD_LOGGER_LEVEL_DEBUG) return;
    char text[512];
    std::vsnprintf(text, sizeof text, format, args);
    Messages().emplace_back(text);
}

std::vector<std::string> OpenWithDvdread(const std::string& hostFolder, const std::vector<int>& titleSets) {
    Messages().clear();
    std::vector<std::string> complaints;
    static const dvd_logger_cb logger{KeepMessage};
    dvd_reader_t* dvd = DVDOpen2(nullptr, &logger, hostFolder.c_str());
    if (dvd == nullptr) return {"DVDOpen2 failed"};
    for (const int n : titleSets) {
        ifo_handle_t* ifo = ifoOpen(dvd, n);
        if (ifo == nullptr || ifo->pgci_ut == nullptr || ifo->menu_c_adt == nullptr ||
            ifo->menu_vobu_admap == nullptr) {
            complaints.push_back("title set " + std::to_string(n) + ": no menu tables");
        }
        if (ifo != nullptr) ifoClose(ifo);
    }
    DVDClose(dvd);
    // Not about the files: no CSS library, and a folder rather than a device.
    for (const auto& message : Messages()) {
        if (message.find("Encrypted DVD support") != 0 && message != "Couldn't find device name.") {
            complaints.push_back(message);
        }
    }
    return complaints;
}

class MuxmanIfo : public testing::Test {
protected:
    void Read(const std::string& disc, const std::string& language = "ALL") {
        test::ReadDisc(fx.job, test::FixtureDisc(disc), language);
        fx.job.DiscModel.Item(1).Root = "K:\\OUT";
    }
    void SetUp() override {
        fx.job.Options().Default_Enable_Log = 1;
        fx.job.RunLog.File("K:\\Kestrova.LOG");
    }
    std::string LogText() { return fx.temp.Read("Kestrova.LOG"); }
    Bytes Source(int entry) { return fx.job.Files.ReadBytes(fx.job.DiscModel.Item(entry).OriginalIfo); }
    Bytes Result(const std::string& name) { return fx.job.Files.ReadBytes("K:\\OUT\\VIDEO_TS\\" + name); }
    // Puts a patched copy of the entry's IFO under K:\SRC and makes it the
    // entry's source.
    void UseCopy(int entry, const Bytes& bytes) {
        auto& domain = fx.job.DiscModel.Item(entry);
        const std::string copy = "K:\\SRC\\" + platform::FileNameOf(domain.OriginalIfo);
        fx.temp.Write("SRC/" + platform::FileNameOf(domain.OriginalIfo), std::string(bytes.begin(), bytes.end()));
        domain.OriginalIfo = copy;
    }
    bool Correct(int entry, const SourceCells& cells) {
        return CorrectMuxmanIfo(fx.job, entry, cells.NavArray, cells.FinishedNavs);
    }
    test::JobFixture fx;
};

// With the source's own sectors each rebuilt IFO is the source byte for
// byte but for the playback times, which come from the model: the units,
// PGCs and cells re-pointed where they were, C_ADT, VOBU_ADMAP and every
// pointer.
TEST_F(MuxmanIfo, TheSourcesOwnSectorsGiveTheSourceBackAndLibdvdreadOpensIt) {
    int rebuilt = 0;
    for (const auto& disc : test::FixtureDiscs()) {
        SCOPED_TRACE(disc);
        fx.files.DeleteTree("K:\\OUT");
        fx.job.DiscModel.Clear();
        fx.job.TitleMap.Clear();
        fx.job.PalettePool.Clear();
        fx.job.StreamUse.clear();
        test::ReadDisc(fx.job, disc);
        fx.job.DiscModel.Item(1).Root = "K:\\OUT";
        std::vector<int> titleSets;
        for (int entry = 1; entry <= static_cast<int>(fx.job.DiscModel.Count()); ++entry) {
            if (fx.job.DiscModel.Item(entry).OriginalIfo.empty()) continue;  // no menus read
            const Bytes source = Source(entry);
            EXPECT_FALSE(Correct(entry, CellsOf(source, entry))) << "every cell has its row";
            const std::string name = platform::FileNameOf(fx.job.DiscModel.Item(entry).OriginalIfo);
            const std::size_t units = entry == 1 ? 200 : 208;
            EXPECT_EQ(Differences(WithoutTimes(Result(name), units), WithoutTimes(source, units)), "") << name;
            EXPECT_TRUE(Result(platform::WithExtension(name, ".BUP")) == Result(name));
            titleSets.push_back(entry - 1);
            ++rebuilt;
        }
        if (titleSets.empty()) continue;
        EXPECT_EQ(OpenWithDvdread(fx.temp.Host("OUT"), titleSets), OpenWithDvdread(disc, titleSets))
            << "no complaint but those of dvdauthor's own files";
    }
    EXPECT_GE(rebuilt, 10);
    EXPECT_TRUE(LogText().find("Creating VTSM table of size:") != std::string::npos);
}

// One language chosen of two: the table keeps that unit alone, with a head
// of its own, and everything behind it moves up.
TEST_F(MuxmanIfo, OneChosenLanguageKeepsItsUnitAlone) {
    Read("ntsc-vts-menus-2lang", fx.job.LanguageTable.priv_LangCodeToLangName("fr"));
    const Bytes source = Source(2);
    ASSERT_NE(fx.job.DiscModel.Item(2).Language.Item(2).PGC_Quantity, 0);
    EXPECT_FALSE(Correct(2, CellsOf(source, 2)));
    const Bytes result = WithoutTimes(Result("VTS_01_0.IFO"), 208);
    const Bytes sourceBytes = WithoutTimes(source, 208);

    const std::size_t table = Long(result, 208) * 2048;
    EXPECT_EQ(Word(result, table), 1u);
    EXPECT_EQ(std::string(result.begin() + table + 8, result.begin() + table + 10), "fr");
    EXPECT_EQ(Long(result, table + 12), 16u);
    const std::size_t sourceTable = Long(source, 208) * 2048;
    const std::size_t french = sourceTable + Long(source, sourceTable + 8 + 8 + 4);
    const std::size_t length = Long(source, french + 4) + 1;
    EXPECT_EQ(Long(result, table + 4), 16 + length - 1) << "the end address is the last byte";
    EXPECT_TRUE(
        std::equal(sourceBytes.begin() + french, sourceBytes.begin() + french + length, result.begin() + table + 16))
        << "the unit's bytes are the source's, its cells' sectors being the source's own";
    // Two sectors of units became one: the tables behind move up a sector.
    for (std::size_t pointer : {212, 216, 220, 224, 228}) EXPECT_EQ(Long(result, pointer), Long(source, pointer) - 1);
    EXPECT_EQ(Long(result, 28), Long(source, 28) - 1);
    EXPECT_EQ(Long(result, 192), Long(source, 192) - 1);
    EXPECT_EQ(OpenWithDvdread(fx.temp.Host("OUT"), {1}),
              OpenWithDvdread(test::FixtureDisc("ntsc-vts-menus-2lang"), {1}));
}

// A converted PAL menu: cell and PGC times at 30 a second, a dummy VOB's
// cells held 15 frames, the menu video marked NTSC and the transcoded
// audio AC3 of two channels at 48 kHz.
TEST_F(MuxmanIfo, ConversionDummyVobsAndTranscodedAudio) {
    Read("pal-vmg-buttons");
    fx.job.Timing.Conversion = 1;
    auto& vmg = fx.job.DiscModel.Item(1);
    vmg.Vob_Id.Item(1).Dummy = -1;
    vmg.Vob_Id.Item(2).Audio_Transcoded = -1;
    const Bytes source = Source(1);
    EXPECT_FALSE(Correct(1, CellsOf(source, 1)));
    const Bytes result = Result("VIDEO_TS.IFO");

    const std::size_t table = Long(result, 200) * 2048;
    const std::size_t unit = table + Long(result, table + 12);
    // Frames of a time under a minute at 30 a second.
    const auto frames30 = [](std::size_t bcd) {
        return ((bcd >> 12) & 15) * 300 + ((bcd >> 8) & 15) * 30 + ((bcd >> 4) & 3) * 10 + (bcd & 15);
    };
    int dummyCells = 0;
    for (std::size_t j = 0; j < Word(result, unit); ++j) {
        const std::size_t pgc = unit + Long(result, unit + 12 + 8 * j);
        std::size_t frames = 0;
        for (std::size_t c = 0; c < result.at(pgc + 3); ++c) {
            const std::size_t time = pgc + Word(result, pgc + 232) + 24 * c + 4;
            EXPECT_EQ(result.at(time + 3) & 0xC0, 0xC0) << "30 frames a second";
            if (Word(result, pgc + Word(result, pgc + 234) + 4 * c) == 1) {
                EXPECT_EQ(Long(result, time), 0x000000D5u) << "15 frames";
                ++dummyCells;
            }
            frames += frames30(Long(result, time));
        }
        EXPECT_EQ(frames30(Long(result, pgc + 4)), frames) << "the PGC's time is its cells'";
    }
    EXPECT_GT(dummyCells, 0);
    EXPECT_EQ(result.at(256) & 0x30, 0x00) << "NTSC";
    EXPECT_EQ(result.at(256) & ~0x30, source.at(256) & ~0x30);
    EXPECT_EQ(result.at(257), source.at(257) & 0xE7);
    EXPECT_EQ(result.at(260) & 0xE0, 0) << "AC3";
    EXPECT_EQ(result.at(261) & 0x37, 0x01) << "48 kHz, two channels";
    const std::string log = LogText();
    EXPECT_NE(log.find("Correcting Format - Conversion has taken place"), std::string::npos);
}

// A VOB id of 300 in a cell position (both bytes count), with the cell's
// row and the model's cell under that id.
TEST_F(MuxmanIfo, AVobIdPast255) {
    Read("pal-vmg-buttons");
    Bytes source = Source(2);
    const std::size_t table = Long(source, 208) * 2048;
    const std::size_t unit = table + Long(source, table + 12);
    const std::size_t pgc = unit + Long(source, unit + 12);
    const std::size_t position = pgc + Word(source, pgc + 234);
    const std::size_t vob = Word(source, position);
    const std::size_t cell = source.at(position + 3);
    PutWord(source, position, 300);
    UseCopy(2, source);
    auto& vobs = fx.job.DiscModel.Item(2).Vob_Id;
    while (vobs.Count() < 300) vobs.Add();
    auto& moved = vobs.Item(300);
    for (std::size_t c = 1; c <= cell; ++c) moved.CELL_ID.Add(vobs.Item(vob).CELL_ID.Item(c));

    SourceCells cells = CellsOf(source, 2);
    cells.FinishedNavs.push_back({2, 300 % 256, static_cast<std::int32_t>(cell), 9000, 9100, 9050});
    cells.FinishedNavs.push_back({2, 300, static_cast<std::int32_t>(cell), 7000, 7100, 7050});
    Correct(2, cells);
    const Bytes result = Result("VTS_01_0.IFO");
    ASSERT_EQ(Long(result, 208), Long(source, 208));
    const std::size_t playback = pgc + Word(source, pgc + 232);
    EXPECT_EQ(Long(result, playback + 8), 7000u);
    EXPECT_EQ(Long(result, playback + 16), 7050u);
    EXPECT_EQ(Long(result, playback + 20), 7100u);
    const std::size_t addresses = Long(result, 216) * 2048;
    EXPECT_EQ(Word(result, addresses), 300u) << "the C_ADT counts VOBs to the highest id";
    const std::size_t last = addresses + Long(result, addresses + 4) - 11;
    EXPECT_EQ(Word(result, last), 300u);
    EXPECT_EQ(Long(result, last + 4), 7000u);
}

// A title set without a time map, and a VMG with a parental and a text
// table: a pointer of 0 stays 0, the tables dvdauthor never writes keep
// their bytes, and the menu tables land where the pointers say.
TEST_F(MuxmanIfo, NoTimeMapAndTheVmgsOptionalTables) {
    Read("pal-vmg-buttons");
    const Bytes vts = Source(2);
    Bytes bare(vts.begin(), vts.begin() + 4 * 2048);  // up to the time map
    bare.insert(bare.end(), vts.begin() + 5 * 2048, vts.end());
    PutLong(bare, 212, 0);
    PutLong(bare, 28, 7);
    PutLong(bare, 192, 8);
    for (std::size_t pointer : {216, 220, 224, 228}) PutLong(bare, pointer, Long(vts, pointer) - 1);
    UseCopy(2, bare);
    Correct(2, CellsOf(bare, 2));
    Bytes result = Result("VTS_01_0.IFO");
    EXPECT_EQ(Long(result, 212), 0u);
    EXPECT_EQ(Long(result, 216), 4u) << "right behind the menu PGCI_UT";
    EXPECT_EQ(Differences(WithoutTimes(result, 208), WithoutTimes(bare, 208)), "") << "the rest as it was";

    const Bytes vmg = Source(1);
    Bytes full(vmg.begin(), vmg.begin() + 3 * 2048);
    const Bytes parental(2048, 0x44), text(2048, 0x55);
    full.insert(full.end(), parental.begin(), parental.end());
    full.insert(full.end(), vmg.begin() + 3 * 2048, vmg.begin() + 4 * 2048);  // VTS_ATRT
    full.insert(full.end(), text.begin(), text.end());
    full.insert(full.end(), vmg.begin() + 4 * 2048, vmg.end());
    PutLong(full, 204, 3);
    PutLong(full, 208, 4);
    PutLong(full, 212, 5);
    PutLong(full, 216, 6);
    PutLong(full, 220, 7);
    UseCopy(1, full);
    Correct(1, CellsOf(full, 1));
    result = Result("VIDEO_TS.IFO");
    EXPECT_EQ(Long(result, 28), Long(full, 28) + 2) << "the source's header claimed two sectors fewer";
    PutLong(full, 28, Long(full, 28) + 2);
    PutLong(full, 192, Long(full, 192) + 2);
    EXPECT_EQ(Differences(WithoutTimes(result, 200), WithoutTimes(full, 200)), "");
}

TEST_F(MuxmanIfo, BrokenInputEndsInAnErrorAndWritesNothing) {
    Read("pal-menu-cells-jumppad");
    const Bytes source = Source(2);
    const SourceCells cells = CellsOf(source, 2);
    auto& domain = fx.job.DiscModel.Item(2);
    const std::string original = domain.OriginalIfo;
    const std::string sourceFolder = original.substr(0, original.rfind('\\'));

    fx.job.DiscModel.Item(1).Root = sourceFolder.substr(0, sourceFolder.rfind('\\'));
    EXPECT_NE(ErrorOf([&] { Correct(2, cells); }).find("would be written over its source"), std::string::npos);
    fx.job.DiscModel.Item(1).Root = "K:\\OUT";

    SourceCells twice = cells;
    twice.FinishedNavs.push_back(cells.FinishedNavs.front());
    EXPECT_NE(ErrorOf([&] { Correct(2, twice); }).find("holds two rows for VOB 1 cell 1"), std::string::npos);

    // Cut in front of the menu VOBU_ADMAP.
    UseCopy(2, Bytes(source.begin(), source.begin() + static_cast<std::ptrdiff_t>(Long(source, 220) * 2048)));
    const std::string cut = ErrorOf([&] { Correct(2, cells); });
    EXPECT_EQ(cut.rfind("K:\\SRC\\VTS_01_0.IFO: VTSM_VOBU_ADMAP at byte 220: the pointer", 0), 0u) << cut;
    domain.OriginalIfo = "K:\\SRC\\VTS_09_0.IFO";
    EXPECT_NE(ErrorOf([&] { Correct(2, cells); }).find("VTS_09_0.IFO"), std::string::npos);
    EXPECT_FALSE(fx.files.Exists("K:\\OUT\\VIDEO_TS\\VTS_01_0.IFO"));

    // A row missing: the cell keeps the source's entry, which is said.
    domain.OriginalIfo = original;
    SourceCells fewer = cells;
    fewer.FinishedNavs.erase(fewer.FinishedNavs.begin());
    EXPECT_TRUE(Correct(2, fewer));
    EXPECT_NE(LogText().find("No cell table row for VOB 1 cell 1"), std::string::npos);

    // A write cut short by a file size limit leaves the old IFO whole.
    const Bytes old = Result("VTS_01_0.IFO");
    struct rlimit saved {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &saved), 0);
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    struct rlimit small = saved;
    small.rlim_cur = 4096;
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    const std::string error = ErrorOf([&] { Correct(2, cells); });
    ::setrlimit(RLIMIT_FSIZE, &saved);
    std::signal(SIGXFSZ, oldHandler);
    EXPECT_NE(error.find("VTS_01_0.IFO"), std::string::npos) << error;
    EXPECT_TRUE(Result("VTS_01_0.IFO") == old);

    // The model lacks the cells the PGCs play.
    for (auto& vob : domain.Vob_Id) vob.CELL_ID.Clear();
    EXPECT_NE(ErrorOf([&] { Correct(2, cells); }).find("which the domain's model does not hold"), std::string::npos);
}

}  // namespace
}  // namespace kestrova
