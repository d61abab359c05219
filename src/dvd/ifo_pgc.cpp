// The PGC and PGC search table readers: see ifo_pgc.h.
#include "dvd/ifo_pgc.h"

#include <algorithm>

namespace kestrova {

namespace {

CommandBytes ReadCommand(const IfoTable& table, std::int64_t at) {
    const auto hex = table.HexBytes(at, kCommandSize);
    CommandBytes command;
    std::copy(hex.begin(), hex.end(), command.begin());
    return command;
}

// PGC_CMDT: counts of pre, post and cell commands, the end address, then the
// commands in that order.
PGC_CMDT ReadPGC_CMDT(const IfoTable& pgc, std::int64_t offset) {
    const IfoTable table = pgc.Sub("PGC_CMDT", offset, "the offset of the command table");
    const std::int64_t counts[3] = {table.Word(0), table.Word(2), table.Word(4)};
    const std::int64_t total = counts[0] + counts[1] + counts[2];
    table.Require(8, total * kCommandSize, std::to_string(total) + " commands");
    PGC_CMDT commands;
    std::vector<CommandBytes>* lists[3] = {&commands.Pre, &commands.Post, &commands.Cell};
    std::int64_t at = 8;
    for (int kind = 0; kind < 3; ++kind) {
        for (std::int64_t i = 0; i < counts[kind]; ++i, at += kCommandSize) {
            lists[kind]->push_back(ReadCommand(table, at));
        }
    }
    return commands;
}

// A table of the PGC found through a 16-bit offset in its header, which must
// be set when the PGC has entries for it.
IfoTable PgcSubTable(const IfoTable& pgc, const char* name, std::int64_t pointer, const char* counted,
                     std::int64_t entries, std::int64_t entrySize) {
    const std::int64_t offset = pgc.Word(pointer);
    if (offset == 0) {
        pgc.Fail(pointer, std::string("the PGC's ") + counted + " is " + std::to_string(entries) +
                              ", but the offset of its " + name + " is 0");
    }
    IfoTable table = pgc.Sub(name, offset, std::string("the offset of the ") + name);
    table.Require(0, entries * entrySize, std::to_string(entries) + " entries");
    return table;
}

void ReadCellTables(const IfoTable& pgc, PGCI& read) {
    const IfoTable playback = PgcSubTable(pgc, "C_PBKT", kPgcCellPlayback, "cell count", read.CellCount,
                                          kCellPlaybackSize);
    const IfoTable position = PgcSubTable(pgc, "C_POSIT", kPgcCellPosition, "cell count", read.CellCount,
                                          kCellPositionSize);
    for (std::int64_t i = 0; i < read.CellCount; ++i) {
        const std::int64_t entry = kCellPlaybackSize * i;
        read.Cells.push_back({playback.Byte(entry), playback.Byte(entry + 2), playback.Byte(entry + 3),
                              static_cast<std::uint32_t>(playback.Long(entry + 4))});
        const std::int64_t place = kCellPositionSize * i;
        read.Positions.push_back({static_cast<std::uint16_t>(position.Word(place)), position.Byte(place + 3)});
    }
}

// PGC_PGMAP: each program's first cell, which must be a cell of the PGC;
// cell 1 must open a program.
void ReadPGC_PGMAP(const IfoTable& pgc, PGCI& read) {
    const std::int64_t cells = read.CellCount;
    if (read.ProgramCount > 0) {
        const IfoTable map = PgcSubTable(pgc, "PGC_PGMAP", kPgcProgramMap, "program count", read.ProgramCount, 1);
        for (std::int64_t p = 0; p < read.ProgramCount; ++p) {
            const std::uint8_t entryCell = map.Byte(p);
            if (entryCell < 1 || entryCell > cells) {
                map.Fail(p, "program " + std::to_string(p + 1) + " starts at cell " + std::to_string(entryCell) +
                                ", but the PGC has " + std::to_string(cells) + " cells");
            }
            read.ProgramMap.push_back(entryCell);
        }
    }
    if (std::find(read.ProgramMap.begin(), read.ProgramMap.end(), 1) == read.ProgramMap.end()) {
        pgc.Fail(kPgcProgramMap, "the program map opens no program at cell 1");
    }
}

}  // namespace

PGCI ReadPGCI(const IfoTable& pgc) {
    pgc.Require(0, kPgcHeaderSize, "the PGC header");
    PGCI read;
    read.ProgramCount = pgc.Byte(kPgcPrograms);
    read.CellCount = pgc.Byte(kPgcCells);
    read.PlaybackTime = static_cast<std::uint32_t>(pgc.Long(kPgcPlaybackTime));
    read.UserOperations = pgc.Hex(kPgcUserOperations, 4);
    read.FirstAudioControl = static_cast<std::uint16_t>(pgc.Word(kPgcAudioControl));
    read.FirstSubpictureControl = static_cast<std::uint32_t>(pgc.Long(kPgcSubpictureControl));
    read.Next = static_cast<std::uint16_t>(pgc.Word(kPgcNext));
    read.Previous = static_cast<std::uint16_t>(pgc.Word(kPgcPrevious));
    read.GoUp = static_cast<std::uint16_t>(pgc.Word(kPgcGoUp));
    read.StillTime = pgc.Byte(kPgcStillTime);
    for (std::size_t i = 0; i < read.Palette.size(); ++i) {
        read.Palette[i] = static_cast<std::uint32_t>(pgc.Long(kPgcPalette + 4 * static_cast<std::int64_t>(i)));
    }
    read.CommandTableOffset = static_cast<std::uint16_t>(pgc.Word(kPgcCommandTable));
    read.ProgramMapOffset = static_cast<std::uint16_t>(pgc.Word(kPgcProgramMap));
    read.CellPlaybackOffset = static_cast<std::uint16_t>(pgc.Word(kPgcCellPlayback));
    read.CellPositionOffset = static_cast<std::uint16_t>(pgc.Word(kPgcCellPosition));
    if (read.CommandTableOffset != 0) read.Commands = ReadPGC_CMDT(pgc, read.CommandTableOffset);

    if (read.CellCount == 0) return read;
    ReadCellTables(pgc, read);
    ReadPGC_PGMAP(pgc, read);
    return read;
}

std::vector<std::vector<std::size_t>> ProgramCells(const PGCI& pgc) {
    std::vector<std::vector<std::size_t>> programs;
    for (std::size_t i = 0; i < pgc.Cells.size(); ++i) {
        const bool opens = std::find(pgc.ProgramMap.begin(), pgc.ProgramMap.end(), i + 1) != pgc.ProgramMap.end();
        if (opens || programs.empty()) programs.emplace_back();
        programs.back().push_back(i);
    }
    return programs;
}

std::vector<PGCI_SRP> ReadPGCI_SRP(const IfoTable& table) {
    const std::int64_t count = table.Word(0);
    table.Require(8, count * kPgcSearchEntrySize, std::to_string(count) + " PGC entries");
    std::vector<PGCI_SRP> entries;
    for (std::int64_t j = 0; j < count; ++j) {
        const std::int64_t at = 8 + kPgcSearchEntrySize * j;
        entries.push_back({table.Byte(at), table.Long(at + 4)});
    }
    return entries;
}

std::string CommandHex(const CommandBytes& command) {
    std::string hex;
    for (const auto& byte : command) hex += byte;
    return hex;
}

}  // namespace kestrova
