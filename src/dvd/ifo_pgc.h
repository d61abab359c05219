// One PGC of an IFO file as it stands on the disc, and the search table
// (PGCIT) that lists a domain's PGCs. The menu read, the first-play PGC and
// the title PGCs all go through these readers, so a PGC is parsed in one
// place; what each caller makes of it (the job's model, an inspection
// record) is its own business. Every read is checked against the file.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "dvd/ifo_table.h"
#include "dvd/vm_commands.h"

namespace kestrova {

// Fields of the PGC's general part (PGC_GI), from the PGC's start.
inline constexpr std::int64_t kPgcPrograms = 2;
inline constexpr std::int64_t kPgcCells = 3;
inline constexpr std::int64_t kPgcPlaybackTime = 4;
inline constexpr std::int64_t kPgcUserOperations = 8;
inline constexpr std::int64_t kPgcAudioControl = 12;
inline constexpr std::int64_t kPgcSubpictureControl = 28;
inline constexpr std::int64_t kPgcNext = 156;
inline constexpr std::int64_t kPgcPrevious = 158;
inline constexpr std::int64_t kPgcGoUp = 160;
inline constexpr std::int64_t kPgcStillTime = 163;  // 162 is the playback mode
inline constexpr std::int64_t kPgcPalette = 164;
inline constexpr std::int64_t kPgcCommandTable = 228;
inline constexpr std::int64_t kPgcProgramMap = 230;
inline constexpr std::int64_t kPgcCellPlayback = 232;
inline constexpr std::int64_t kPgcCellPosition = 234;
inline constexpr std::int64_t kPgcHeaderSize = 236;
inline constexpr std::int64_t kCommandSize = 8;
inline constexpr std::int64_t kCellPlaybackSize = 24;
inline constexpr std::int64_t kCellPositionSize = 4;
inline constexpr std::int64_t kPgcSearchEntrySize = 8;

// One entry of C_PBKT, the cell playback table (24 bytes; the sectors are
// not kept).
struct CellPlayback {
    std::uint8_t Category = 0;     // byte 0: block mode and type, seamless and interleave flags
    std::uint8_t StillTime = 0;    // byte 2: seconds, 255 for ever
    std::uint8_t CellCommand = 0;  // byte 3: number of the cell command, 0 for none
    std::uint32_t PlaybackTime = 0;  // bytes 4-7: hours, minutes, seconds, frames in BCD
};

// One entry of C_POSIT, the cell position table (4 bytes).
struct CellPosition {
    std::uint16_t VobId = 0;
    std::uint8_t CellId = 0;  // byte 3
};

// PGC_CMDT: the pre, post and cell commands.
struct PGC_CMDT {
    std::vector<CommandBytes> Pre;
    std::vector<CommandBytes> Post;
    std::vector<CommandBytes> Cell;
};

// A PGC, fields in disc order. The tables behind the header are read only
// when the PGC has cells; a PGC without cells keeps them empty.
struct PGCI {
    std::uint8_t ProgramCount = 0;
    std::uint8_t CellCount = 0;
    std::uint32_t PlaybackTime = 0;       // BCD
    std::string UserOperations;           // the 4-byte mask as eight hexadecimal digits
    std::uint16_t FirstAudioControl = 0;  // control word of audio stream 1
    std::uint32_t FirstSubpictureControl = 0;
    std::uint16_t Next = 0;
    std::uint16_t Previous = 0;
    std::uint16_t GoUp = 0;
    std::uint8_t StillTime = 0;
    std::array<std::uint32_t, 16> Palette{};  // 0 Y Cr Cb per entry
    std::uint16_t CommandTableOffset = 0;     // 0: the PGC has no commands
    std::uint16_t ProgramMapOffset = 0;
    std::uint16_t CellPlaybackOffset = 0;
    std::uint16_t CellPositionOffset = 0;
    PGC_CMDT Commands;
    std::vector<std::uint8_t> ProgramMap;  // PGC_PGMAP: the first cell of each program, from 1
    std::vector<CellPlayback> Cells;       // C_PBKT
    std::vector<CellPosition> Positions;   // C_POSIT, one per cell
};

// Reads the PGC that `pgc` starts at. Throws the reader's Error, naming the
// file, the table (PGC, PGC_CMDT, C_PBKT, C_POSIT, PGC_PGMAP) and the byte,
// for a table outside the file, a missing table the counts call for, or a
// program map that points outside the cells.
PGCI ReadPGCI(const IfoTable& pgc);

// The cells of each program, as positions from 0 in Cells: a cell the
// program map names opens a program, and every cell joins the newest one.
std::vector<std::vector<std::size_t>> ProgramCells(const PGCI& pgc);

// One search entry of a PGCIT (a menu language unit or VTS_PGCIT).
struct PGCI_SRP {
    std::uint8_t Category = 0;  // bit 7 entry PGC; menu type or title number below
    std::int64_t Offset = 0;    // of the PGC from the table's start
};

// The search entries of a PGC table: a 16-bit count, then 8-byte entries
// from byte 8.
std::vector<PGCI_SRP> ReadPGCI_SRP(const IfoTable& table);

// The eight bytes of a command as the 16 hexadecimal digits kestrova-inspect
// and the cross-check print.
std::string CommandHex(const CommandBytes& command);

}  // namespace kestrova
