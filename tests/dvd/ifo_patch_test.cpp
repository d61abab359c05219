// The IFO byte toolkit on dvdauthor's IFOs: split by the header pointers
// and joined again, the menu tables read and written back byte for byte,
// and damaged pointers and tables refused with a sentence naming the file,
// the table and the byte. (Tables that change size, and so move the
// pointers behind them, are tested through CorrectMuxmanIfo.)
#include "dvd/ifo_patch.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>

#include "disc_reading.h"
#include "dvd/ifo_menu_tables.h"
#include "platform/error.h"
#include "support/fixtures.h"
#include "support/job_fixture.h"

namespace kestrova {
namespace {

using Bytes = std::vector<std::uint8_t>;

std::size_t Long(const Bytes& bytes, std::size_t at) {
    return std::size_t(bytes.at(at)) << 24 | std::size_t(bytes.at(at + 1)) << 16 | std::size_t(bytes.at(at + 2)) << 8 |
           bytes.at(at + 3);
}
void PutLong(Bytes& bytes, std::size_t at, std::size_t value) {
    for (int i = 0; i < 4; ++i) bytes.at(at + i) = static_cast<std::uint8_t>(value >> (24 - 8 * i));
}

std::string ErrorOf(const std::function<void()>& call) {
    try {
        call();
    } catch (const Error& failure) {
        return failure.what();
    }
    return "";
}

// A PGCI_UT, C_ADT or VOBU_ADMAP of the file read where its part lies and
// written again; empty for another part.
Bytes ReadAndWrite(const ByteSource& ifo, const IfoPart& part) {
    const IfoTable table(ifo, part.Table, part.Sector * kSectorSize);
    const std::int64_t limit = part.Sectors * kSectorSize;
    if (part.Table.find("PGCI_UT") != std::string::npos) return WritePGCI_UT(ReadPGCI_UT(table, limit).Units);
    if (part.Table.find("C_ADT") != std::string::npos) return WriteC_ADT(ReadC_ADT(table, limit));
    if (part.Table.find("ADMAP") != std::string::npos) return WriteVOBU_ADMAP(ReadVOBU_ADMAP(table, limit));
    return {};
}

void ReadEveryTable(const ByteSource& ifo) {
    for (const auto& part : SplitIfo(ifo).Parts) ReadAndWrite(ifo, part);
}

#define EXPECT_STARTS(text, start) EXPECT_EQ((text).substr(0, std::string(start).size()), start) << (text)

// Each part of the split file as a block of its own bytes.
std::vector<IfoBlock> Blocks(const ByteSource& ifo) {
    std::vector<IfoBlock> blocks;
    for (const auto& part : SplitIfo(ifo).Parts) {
        const auto kept = PartBytes(ifo, part);
        blocks.push_back({part.Pointer, Bytes(kept.begin(), kept.end())});
    }
    return blocks;
}

std::vector<std::string> TableNames(const IfoLayout& layout) {
    std::vector<std::string> names;
    for (const auto& part : layout.Parts) names.push_back(part.Table);
    return names;
}

TEST(IfoPatch, EveryFixtureIfoSplitsJoinsAndWritesItsMenuTablesBack) {
    test::JobFixture fx;
    int menus = 0;
    for (const auto& disc : test::FixtureDiscs()) {
        for (const auto& file : test::IfoFiles(fx.job, test::DrivePathOf(fx.job, disc))) {
            const Bytes bytes = fx.job.Files.ReadBytes(file);
            const ByteSource ifo{bytes, file};
            const IfoLayout layout = SplitIfo(ifo);
            EXPECT_TRUE(JoinIfo(file, layout.Kind, Blocks(ifo)) == bytes) << file;
            for (const auto& part : layout.Parts) {
                const Bytes written = ReadAndWrite(ifo, part);
                EXPECT_TRUE(std::equal(written.begin(), written.end(), PartBytes(ifo, part).begin()))
                    << file << " " << part.Table;
                menus += part.Table.find("PGCI_UT") != std::string::npos;
            }
        }
    }
    EXPECT_GE(menus, 10);
}

// One pointer of a fixture IFO set to a value, and what the split says.
struct PointerCase {
    const char* File;
    std::size_t Offset;
    std::size_t Sector;  // 0xFFFFFFFF: the file's own sector count
    std::vector<std::string> Tables;  // the parts, or empty when the split fails
    const char* Error;                 // the message after "<file>: "
};

TEST(IfoPatch, PointerRules) {
    test::JobFixture fx;
    const std::string folder = test::DrivePathOf(fx.job, test::FixtureDisc("pal-vmg-buttons"));
    constexpr std::size_t kFileEnd = 0xFFFFFFFF;
    const std::vector<PointerCase> cases{
        // dvdauthor leaves the parental and text tables out of the VMG.
        {"VIDEO_TS.IFO", 204, 0,
         {"VMGI_MAT", "TT_SRPT", "VMGM_PGCI_UT", "VTS_ATRT", "VMGM_C_ADT", "VMGM_VOBU_ADMAP"}, ""},
        {"VTS_01_0.IFO", 212, 0,
         {"VTSI_MAT", "VTS_PTT_SRPT", "VTS_PGCIT", "VTSM_PGCI_UT", "VTSM_C_ADT", "VTSM_VOBU_ADMAP", "VTS_C_ADT",
          "VTS_VOBU_ADMAP"},
         ""},
        {"VTS_01_0.IFO", 216, kFileEnd, {},
         "VTSM_C_ADT at byte 216: the pointer names sector 9, at or past the end of the file (9 sectors)"},
        {"VTS_01_0.IFO", 228, 0x10000, {}, "VTS_VOBU_ADMAP at byte 228: the pointer names sector 65536"},
        {"VTS_01_0.IFO", 212, 2, {},
         "VTS_TMAPT at byte 212: the pointer names sector 2, which is not behind VTSM_PGCI_UT at sector 3 (byte 208)"},
        {"VIDEO_TS.IFO", 220, 4, {}, "VMGM_VOBU_ADMAP at byte 220: the pointer names sector 4, which is not behind "
                                     "VMGM_C_ADT at sector 4 (byte 216)"},
        {"VIDEO_TS.IFO", 196, 0, {"VMGI_MAT", "VMGM_PGCI_UT", "VTS_ATRT", "VMGM_C_ADT", "VMGM_VOBU_ADMAP"}, ""},
    };
    for (const auto& row : cases) {
        const std::string file = folder + "\\" + row.File;
        Bytes bytes = fx.job.Files.ReadBytes(file);
        PutLong(bytes, row.Offset, row.Sector == kFileEnd ? bytes.size() / 2048 : row.Sector);
        const ByteSource ifo{bytes, file};
        if (row.Tables.empty()) {
            EXPECT_STARTS(ErrorOf([&] { SplitIfo(ifo); }), file + ": " + row.Error);
        } else {
            const IfoLayout layout = SplitIfo(ifo);
            EXPECT_EQ(TableNames(layout), row.Tables) << row.File << " " << row.Offset;
            EXPECT_EQ(layout.Part(row.Offset), nullptr) << "a pointer of 0 names no part";
        }
    }

    Bytes bytes = fx.job.Files.ReadBytes(folder + "\\VTS_01_0.IFO");
    bytes.resize(bytes.size() - 100);
    EXPECT_STARTS(ErrorOf([&] { SplitIfo(ByteSource{bytes, "VTS_01_0.IFO"}); }),
                  "VTS_01_0.IFO: VTSI_MAT at byte " + std::to_string(bytes.size()) + ": the file holds");
    bytes[11] = 'X';
    EXPECT_STARTS(ErrorOf([&] { SplitIfo(ByteSource{bytes, "VTS_01_0.IFO"}); }),
                  "VTS_01_0.IFO: IFO header at byte 0: the identifier reads \"DVDVIDEO-VTX\"");
}

TEST(IfoPatch, BrokenMenuTablesNameTheTableAndTheByte) {
    test::JobFixture fx;
    const std::string file =
        test::DrivePathOf(fx.job, test::FixtureDisc("pal-menu-cells-jumppad")) + "\\VTS_01_0.IFO";
    const Bytes original = fx.job.Files.ReadBytes(file);
    const std::size_t units = Long(original, 208) * 2048;
    const std::size_t unit = units + Long(original, units + 12);
    const std::size_t cells = Long(original, 216) * 2048;
    const std::size_t map = Long(original, 220) * 2048;
    const auto readAll = [&](const Bytes& bytes) { ReadEveryTable(ByteSource{bytes, file}); };
    const auto at = [&](const std::string& table, std::size_t byte) {
        return file + ": " + table + " at byte " + std::to_string(byte) + ": ";
    };
    struct Damage {
        std::size_t Offset, Value;
        std::string Start;
    };
    const std::vector<Damage> damages{
        {units, 0, at("VTSM_PGCI_UT", units) + "the table holds no language unit"},
        {units + 4, 2048, at("VTSM_PGCI_UT", units + 4) + "the end address 2048 lies past the 2048 bytes"},
        {units + 12, 4, at("VTSM_PGCI_UT", units + 12) + "language unit 1 starts at offset 4"},
        {unit + 4, 0x7000, at("PGCI_LU", unit + 4) + "the end address 28672"},
        {unit + 12, 8, at("PGCI_LU", unit + 12) + "PGC 1 starts at offset 8, inside the unit's PGC entries"},
        {cells + 4, 8 + 12 + 5, at("VTSM_C_ADT", cells + 4) + "the end address 25 closes no whole number"},
        {map, 2, at("VTSM_VOBU_ADMAP", map) + "the end address 2 lies inside the table's head"},
    };
    EXPECT_NO_THROW(readAll(original));
    for (const auto& damage : damages) {
        Bytes bytes = original;
        PutLong(bytes, damage.Offset, damage.Value);  // a unit count of 0 with its 2 bytes of 0 behind it
        EXPECT_STARTS(ErrorOf([&] { readAll(bytes); }), damage.Start);
    }

    // Cut and flipped copies of every fixture IFO give an Error or a clean
    // read, never a read out of range (the sanitizers watch).
    std::mt19937 random(19);
    int errors = 0, reads = 0;
    for (const auto& disc : test::FixtureDiscs()) {
        for (const auto& name : test::IfoFiles(fx.job, test::DrivePathOf(fx.job, disc))) {
            const Bytes bytes = fx.job.Files.ReadBytes(name);
            for (int trial = 0; trial < 120; ++trial) {
                Bytes damaged = bytes;
                if (trial % 3 == 0) {
                    damaged.resize(random() % bytes.size());
                } else {
                    for (int i = 0; i < 1 + trial % 4; ++i) damaged[random() % damaged.size()] ^= 1 << (random() % 8);
                }
                ++reads;
                const std::string error = ErrorOf([&] { ReadEveryTable(ByteSource{damaged, name}); });
                if (!error.empty()) {
                    ++errors;
                    EXPECT_STARTS(error, name + ": ");
                }
            }
        }
    }
    EXPECT_GT(errors, reads / 3);
    EXPECT_LT(errors, reads);
}

}  // namespace
}  // namespace kestrova
