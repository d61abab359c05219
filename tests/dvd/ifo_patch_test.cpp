// The IFO byte toolkit on dvdauthor's IFOs: split by the header pointers
// and joined again, the menu tables read and written back byte for byte,
// pointers moved behind a table that grew, and damaged pointers and tables
// refused with a sentence naming the file, the table and the byte.
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

// Splits the file and reads each menu table where its part lies.
void ReadEveryTable(const ByteSource& ifo) {
    for (const auto& part : SplitIfo(ifo).Parts) {
        const IfoTable table(ifo, part.Table, part.Sector * kSectorSize);
        const std::int64_t limit = part.Sectors * kSectorSize;
        if (part.Table.find("PGCI_UT") != std::string::npos) ReadPGCI_UT(table, limit);
        if (part.Table.find("C_ADT") != std::string::npos) ReadC_ADT(table, limit);
        if (part.Table.find("ADMAP") != std::string::npos) ReadVOBU_ADMAP(table, limit);
    }
}

#define EXPECT_STARTS(text, start) EXPECT_EQ((text).substr(0, std::string(start).size()), start) << (text)

std::vector<std::string> TableNames(const IfoLayout& layout) {
    std::vector<std::string> names;
    for (const auto& part : layout.Parts) names.push_back(part.Table);
    return names;
}

// The menu tables of a split file, each read where its part lies, and
// written back; the written bytes must be the table's bytes on the disc.
void ExpectMenuTablesWrittenBack(const ByteSource& ifo, const IfoLayout& layout) {
    const std::int64_t unitPointer = layout.Kind == IfoKind::Vmg ? 200 : 208;
    const auto table = [&](std::int64_t pointer) {
        const IfoPart* part = layout.Part(pointer);
        return std::pair{IfoTable(ifo, part->Table, part->Sector * kSectorSize), part->Sectors * kSectorSize};
    };
    const auto original = [&](std::int64_t pointer, std::size_t length) {
        const auto bytes = PartBytes(ifo, *layout.Part(pointer));
        return Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length));
    };
    if (layout.Part(unitPointer) == nullptr) return;
    const auto [units, unitLimit] = table(unitPointer);
    const PGCI_UT read = ReadPGCI_UT(units, unitLimit);
    const Bytes unitBytes = WritePGCI_UT(read.Units);
    EXPECT_EQ(unitBytes, original(unitPointer, static_cast<std::size_t>(read.Length))) << ifo.FileName;

    const auto [cells, cellLimit] = table(216);
    const Bytes cellBytes = WriteC_ADT(ReadC_ADT(cells, cellLimit));
    EXPECT_EQ(cellBytes, original(216, cellBytes.size())) << ifo.FileName;
    EXPECT_EQ(Long(cellBytes, 4) + 1, cellBytes.size()) << "the end address is the last byte";

    const auto [map, mapLimit] = table(220);
    const Bytes mapBytes = WriteVOBU_ADMAP(ReadVOBU_ADMAP(map, mapLimit));
    EXPECT_EQ(mapBytes, original(220, mapBytes.size())) << ifo.FileName;
}

TEST(IfoPatch, EveryFixtureIfoSplitsJoinsAndWritesItsMenuTablesBack) {
    test::JobFixture fx;
    int menus = 0;
    for (const auto& disc : test::FixtureDiscs()) {
        for (const auto& file : test::IfoFiles(fx.job, test::DrivePathOf(fx.job, disc))) {
            const Bytes bytes = fx.job.Files.ReadBytes(file);
            const ByteSource ifo{bytes, file};
            const IfoLayout layout = SplitIfo(ifo);
            std::vector<IfoBlock> blocks;
            std::int64_t sectors = 0;
            for (const auto& part : layout.Parts) {
                const auto kept = PartBytes(ifo, part);
                blocks.push_back({part.Pointer, Bytes(kept.begin(), kept.end())});
                sectors += part.Sectors;
            }
            EXPECT_EQ(sectors * kSectorSize, static_cast<std::int64_t>(bytes.size())) << file;
            EXPECT_EQ(JoinIfo(file, layout.Kind, std::move(blocks)), bytes) << file;
            ExpectMenuTablesWrittenBack(ifo, layout);
            menus += layout.Part(layout.Kind == IfoKind::Vmg ? 200 : 208) != nullptr;
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

// A table grown by a sector moves every pointer behind it and none before
// it; a pointer of 0 stays 0, and tables dvdauthor never writes (the VMG's
// parental and text tables) take their places in disc order.
TEST(IfoPatch, JoinMovesThePointersBehindATableThatGrew) {
    test::JobFixture fx;
    const std::string folder = test::DrivePathOf(fx.job, test::FixtureDisc("pal-vmg-buttons"));
    const Bytes vts = fx.job.Files.ReadBytes(folder + "\\VTS_01_0.IFO");
    const ByteSource ifo{vts, "VTS_01_0.IFO"};
    const IfoLayout layout = SplitIfo(ifo);
    std::vector<IfoBlock> blocks;
    for (const auto& part : layout.Parts) {
        const auto kept = PartBytes(ifo, part);
        blocks.push_back({part.Pointer, Bytes(kept.begin(), kept.end())});
        if (part.Pointer == 208) blocks.back().Bytes.resize(blocks.back().Bytes.size() + 1, 0xEE);
    }
    const Bytes joined = JoinIfo("VTS_01_0.IFO", IfoKind::Vts, std::move(blocks));
    ASSERT_EQ(joined.size(), vts.size() + 2048) << "one byte more fills a whole sector more";
    for (std::size_t pointer : {200, 204, 208}) EXPECT_EQ(Long(joined, pointer), Long(vts, pointer)) << pointer;
    for (std::size_t pointer : {212, 216, 220, 224, 228}) {
        EXPECT_EQ(Long(joined, pointer), Long(vts, pointer) + 1) << pointer;
        EXPECT_TRUE(std::equal(vts.begin() + Long(vts, pointer) * 2048, vts.begin() + Long(vts, pointer) * 2048 + 2048,
                               joined.begin() + Long(joined, pointer) * 2048))
            << "the table at " << pointer << " moved whole";
    }

    const std::string bareDisc = test::DrivePathOf(fx.job, test::FixtureDisc("pal-titles-only-lpcm"));
    const Bytes titlesOnly = fx.job.Files.ReadBytes(bareDisc + "\\VTS_01_0.IFO");
    const ByteSource bare{titlesOnly, "VTS_01_0.IFO"};
    std::vector<IfoBlock> grown;
    for (const auto& part : SplitIfo(bare).Parts) {
        const auto kept = PartBytes(bare, part);
        grown.push_back({part.Pointer, Bytes(kept.begin(), kept.end())});
        if (part.Pointer == 200) grown.back().Bytes.resize(grown.back().Bytes.size() + 2048, 0);
    }
    const Bytes moved = JoinIfo("VTS_01_0.IFO", IfoKind::Vts, std::move(grown));
    for (std::size_t pointer : {208, 216, 220}) EXPECT_EQ(Long(moved, pointer), 0u) << pointer;
    EXPECT_EQ(Long(moved, 212), Long(titlesOnly, 212) + 1);

    // The VMG with a parental table and a text table between its own.
    const Bytes vmg = fx.job.Files.ReadBytes(folder + "\\VIDEO_TS.IFO");
    const ByteSource manager{vmg, "VIDEO_TS.IFO"};
    std::vector<IfoBlock> full;
    for (const auto& part : SplitIfo(manager).Parts) {
        const auto kept = PartBytes(manager, part);
        if (part.Pointer == 208) full.push_back({204, Bytes(2048, 0x44)});
        if (part.Pointer == 216) full.push_back({212, Bytes(3000, 0x55)});
        full.push_back({part.Pointer, Bytes(kept.begin(), kept.end())});
    }
    const Bytes withTables = JoinIfo("VIDEO_TS.IFO", IfoKind::Vmg, std::move(full));
    EXPECT_EQ(TableNames(SplitIfo(ByteSource{withTables, "VIDEO_TS.IFO"})),
              (std::vector<std::string>{"VMGI_MAT", "TT_SRPT", "VMGM_PGCI_UT", "PTL_MAIT", "VTS_ATRT", "TXTDT_MG",
                                        "VMGM_C_ADT", "VMGM_VOBU_ADMAP"}));
    EXPECT_EQ(Long(withTables, 220), Long(vmg, 220) + 3);

    std::vector<IfoBlock> outOfOrder{{0, Bytes(2048, 0)}, {216, Bytes(8, 0)}, {200, Bytes(8, 0)}};
    EXPECT_STARTS(ErrorOf([&] { JoinIfo("VIDEO_TS.IFO", IfoKind::Vmg, std::move(outOfOrder)); }),
                  "Cannot join VIDEO_TS.IFO: part 3 names the pointer at byte 200");
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
        // The counts are 16-bit: a count of 0 is written into the first word.
        if (damage.Offset == units) {
            bytes.at(units) = 0;
            bytes.at(units + 1) = 0;
        } else {
            PutLong(bytes, damage.Offset, damage.Value);
        }
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
