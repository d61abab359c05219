// The menu tables as bytes: see ifo_menu_tables.h.
#include "dvd/ifo_menu_tables.h"

#include "job/bits.h"

namespace kestrova {
namespace {

// The end address at `at` of the table, as the length it closes, checked
// against the bytes the table may fill and against the head before it.
std::int64_t TableLength(const IfoTable& table, std::int64_t at, std::int64_t head, std::int64_t limit) {
    const std::int64_t length = table.Long(at) + 1;
    if (length > limit) {
        table.Fail(at, "the end address " + std::to_string(length - 1) + " lies past the " + std::to_string(limit) +
                           " bytes the table may fill");
    }
    if (length < head) {
        table.Fail(at, "the end address " + std::to_string(length - 1) + " lies inside the table's head of " +
                           std::to_string(head) + " bytes");
    }
    return length;
}

// Throws unless `count` entries of `size` bytes from `offset` end by
// `length`, the table's own end.
void RequireInside(const IfoTable& table, std::int64_t offset, std::int64_t count, std::int64_t size,
                   std::int64_t length, const std::string& what) {
    if (offset < 0 || offset + count * size > length) {
        table.Fail(offset, what + " (" + std::to_string(count * size) + " bytes from offset " +
                               std::to_string(offset) + ") run past the table's end at offset " +
                               std::to_string(length));
    }
}

// Checks that the tables the PGC's header points at end inside its unit.
void RequirePgcInside(const IfoTable& unit, const MenuPgc& entry, std::int64_t unitLength) {
    const PGCI& pgc = entry.Pgc;
    RequireInside(unit, entry.Offset, 1, kPgcHeaderSize, unitLength, "the PGC header");
    if (pgc.CellCount == 0) return;
    RequireInside(unit, entry.Offset + pgc.CellPlaybackOffset, pgc.CellCount, kCellPlaybackSize, unitLength,
                  "the PGC's C_PBKT");
    RequireInside(unit, entry.Offset + pgc.CellPositionOffset, pgc.CellCount, kCellPositionSize, unitLength,
                  "the PGC's C_POSIT");
    RequireInside(unit, entry.Offset + pgc.ProgramMapOffset, pgc.ProgramCount, 1, unitLength, "the PGC's PGC_PGMAP");
}

PGCI_LU ReadUnit(const IfoTable& table, std::int64_t tableLength, std::int64_t u, std::int64_t unitCount) {
    const std::int64_t entry = kPgciUtHeadSize + kLanguageUnitEntrySize * u;
    PGCI_LU unit;
    unit.Code = {static_cast<char>(table.Byte(entry)), static_cast<char>(table.Byte(entry + 1))};
    unit.CodeExtension = table.Byte(entry + 2);
    unit.MenuExistence = table.Byte(entry + 3);
    unit.Offset = table.Long(entry + 4);
    const std::int64_t entriesEnd = kPgciUtHeadSize + kLanguageUnitEntrySize * unitCount;
    if (unit.Offset < entriesEnd || unit.Offset >= tableLength) {
        table.Fail(entry + 4, "language unit " + std::to_string(u + 1) + " starts at offset " +
                                  std::to_string(unit.Offset) + ", outside the table's units (" +
                                  std::to_string(entriesEnd) + " to " + std::to_string(tableLength) + ")");
    }
    const IfoTable lu = table.Sub("PGCI_LU", unit.Offset, "the offset of language unit " + std::to_string(u + 1));
    const std::int64_t unitLength = TableLength(lu, 4, kPgciUtHeadSize, tableLength - unit.Offset);
    const std::vector<PGCI_SRP> entries = ReadPGCI_SRP(lu);
    const auto pgcCount = static_cast<std::int64_t>(entries.size());
    RequireInside(lu, kPgciUtHeadSize, pgcCount, kPgcSearchEntrySize, unitLength, "the PGC entries");
    for (std::int64_t j = 0; j < pgcCount; ++j) {
        const std::int64_t at = kPgciUtHeadSize + kPgcSearchEntrySize * j;
        MenuPgc pgc;
        pgc.Category = static_cast<std::uint32_t>(lu.Long(at));
        pgc.Offset = entries[static_cast<std::size_t>(j)].Offset;
        const std::int64_t entriesEnd = kPgciUtHeadSize + kPgcSearchEntrySize * pgcCount;
        if (pgc.Offset < entriesEnd) {
            lu.Fail(at + 4, "PGC " + std::to_string(j + 1) + " starts at offset " + std::to_string(pgc.Offset) +
                                ", inside the unit's PGC entries, which end at offset " + std::to_string(entriesEnd));
        }
        RequireInside(lu, pgc.Offset, 1, kPgcHeaderSize, unitLength, "PGC " + std::to_string(j + 1));
        pgc.Pgc = ReadPGCI(lu.Sub("PGC", pgc.Offset, "the offset of PGC " + std::to_string(j + 1)));
        RequirePgcInside(lu, pgc, unitLength);
        unit.Pgcs.push_back(std::move(pgc));
    }
    unit.Bytes = lu.Bytes(0, unitLength);
    return unit;
}

void PutWord(std::vector<std::uint8_t>& bytes, std::int64_t at, std::uint16_t value) {
    bytes.at(static_cast<std::size_t>(at)) = static_cast<std::uint8_t>(value >> 8);
    bytes.at(static_cast<std::size_t>(at + 1)) = static_cast<std::uint8_t>(value);
}

}  // namespace

PGCI_UT ReadPGCI_UT(const IfoTable& table, std::int64_t limit) {
    PGCI_UT read;
    const std::int64_t unitCount = table.Word(0);
    if (unitCount == 0) table.Fail(0, "the table holds no language unit");
    read.Length = TableLength(table, 4, kPgciUtHeadSize, limit);
    RequireInside(table, kPgciUtHeadSize, unitCount, kLanguageUnitEntrySize, read.Length,
                  std::to_string(unitCount) + " language unit entries");
    for (std::int64_t u = 0; u < unitCount; ++u) read.Units.push_back(ReadUnit(table, read.Length, u, unitCount));
    return read;
}

std::vector<std::uint8_t> WritePGCI_UT(std::span<const PGCI_LU> units) {
    const std::string name = "the new PGCI_UT";
    const auto count = static_cast<std::int64_t>(units.size());
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(kPgciUtHeadSize + kLanguageUnitEntrySize * count), 0);
    PutWord(bytes, 0, static_cast<std::uint16_t>(count));
    for (std::int64_t u = 0; u < count; ++u) {
        const PGCI_LU& unit = units[static_cast<std::size_t>(u)];
        const std::int64_t entry = kPgciUtHeadSize + kLanguageUnitEntrySize * u;
        for (std::size_t i = 0; i < 2; ++i) {
            bytes.at(static_cast<std::size_t>(entry) + i) =
                static_cast<std::uint8_t>(i < unit.Code.size() ? unit.Code[i] : 0);
        }
        bytes.at(static_cast<std::size_t>(entry + 2)) = unit.CodeExtension;
        bytes.at(static_cast<std::size_t>(entry + 3)) = unit.MenuExistence;
        WRITEDATA(bytes, name, static_cast<std::int64_t>(bytes.size()), entry + 4);
        bytes.insert(bytes.end(), unit.Bytes.begin(), unit.Bytes.end());
    }
    WRITEDATA(bytes, name, static_cast<std::int64_t>(bytes.size()) - 1, 4);
    return bytes;
}

C_ADT ReadC_ADT(const IfoTable& table, std::int64_t limit) {
    C_ADT read;
    read.VobCount = static_cast<std::uint16_t>(table.Word(0));
    const std::int64_t length = TableLength(table, 4, kC_ADTHeadSize, limit);
    if ((length - kC_ADTHeadSize) % kCellAddressSize != 0) {
        table.Fail(4, "the end address " + std::to_string(length - 1) + " closes no whole number of " +
                          std::to_string(kCellAddressSize) + "-byte rows");
    }
    for (std::int64_t at = kC_ADTHeadSize; at < length; at += kCellAddressSize) {
        read.Cells.push_back({static_cast<std::uint16_t>(table.Word(at)), table.Byte(at + 2),
                              static_cast<std::uint32_t>(table.Long(at + 4)),
                              static_cast<std::uint32_t>(table.Long(at + 8))});
    }
    return read;
}

std::vector<std::uint8_t> WriteC_ADT(const C_ADT& table) {
    const std::string name = "the new C_ADT";
    const auto rows = static_cast<std::int64_t>(table.Cells.size());
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(kC_ADTHeadSize + kCellAddressSize * rows), 0);
    PutWord(bytes, 0, table.VobCount);
    WRITEDATA(bytes, name, static_cast<std::int64_t>(bytes.size()) - 1, 4);
    for (std::int64_t r = 0; r < rows; ++r) {
        const CellAddress& cell = table.Cells[static_cast<std::size_t>(r)];
        const std::int64_t at = kC_ADTHeadSize + kCellAddressSize * r;
        PutWord(bytes, at, cell.VobId);
        bytes.at(static_cast<std::size_t>(at + 2)) = cell.CellId;
        WRITEDATA(bytes, name, cell.FirstSector, at + 4);
        WRITEDATA(bytes, name, cell.LastSector, at + 8);
    }
    return bytes;
}

std::vector<std::uint32_t> ReadVOBU_ADMAP(const IfoTable& table, std::int64_t limit) {
    const std::int64_t length = TableLength(table, 0, kVOBU_ADMAPHeadSize, limit);
    if ((length - kVOBU_ADMAPHeadSize) % 4 != 0) {
        table.Fail(0, "the end address " + std::to_string(length - 1) + " closes no whole number of 4-byte entries");
    }
    std::vector<std::uint32_t> sectors;
    for (std::int64_t at = kVOBU_ADMAPHeadSize; at < length; at += 4) {
        sectors.push_back(static_cast<std::uint32_t>(table.Long(at)));
    }
    return sectors;
}

std::vector<std::uint8_t> WriteVOBU_ADMAP(std::span<const std::uint32_t> sectors) {
    const std::string name = "the new VOBU_ADMAP";
    const auto count = static_cast<std::int64_t>(sectors.size());
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(kVOBU_ADMAPHeadSize + 4 * count), 0);
    WRITEDATA(bytes, name, static_cast<std::int64_t>(bytes.size()) - 1, 0);
    for (std::int64_t i = 0; i < count; ++i) {
        WRITEDATA(bytes, name, sectors[static_cast<std::size_t>(i)], kVOBU_ADMAPHeadSize + 4 * i);
    }
    return bytes;
}

}  // namespace kestrova
