// The playback side of a disc, read for inspection only: the first-play PGC
// of VIDEO_TS.IFO and the title PGCs (VTS_PGCIT) of each title set. The
// job's model keeps the menu side alone, so these come back in records of
// their own; kestrova-inspect and the cross-check print them.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "dvd/ifo_pgc.h"
#include "job/bits.h"
#include "platform/files.h"

namespace kestrova {

// Header fields pointing at the playback tables.
inline constexpr std::int64_t kVmgFP_PGC = 0x84;     // byte offset of the first-play PGC
inline constexpr std::int64_t kVtsVTS_PGCIT = 0xCC;  // sector of the title PGC table

struct TitlePGC {
    PGCI_SRP Entry;  // Category: bit 7 entry PGC, low 7 bits the title number in the set
    PGCI Pgc;
};

struct PlaybackPGCs {
    std::optional<PGCI> FP_PGC;
    std::vector<std::vector<TitlePGC>> VTS_PGCIT;  // item n - 1 is title set n, in reading order
};

// The first-play PGC of VIDEO_TS.IFO; none when its offset is 0. Errors
// name the file, FP_PGC (or the PGC's tables) and the byte.
std::optional<PGCI> ReadFP_PGC(const ByteSource& bytes);

// The title PGCs of a VTS_nn_0.IFO in table order; none when the table's
// sector is 0. Errors name the file, VTS_PGCIT or VTS_PGC (or the PGC's
// tables) and the byte.
std::vector<TitlePGC> ReadVTS_PGCIT(const ByteSource& bytes);

// Both of a disc, from its IFO files (drive paths, VIDEO_TS.IFO first and
// then the title sets' files in the order the job reads them).
PlaybackPGCs ReadPlaybackPGCs(const platform::FileSystem& files, const std::vector<std::string>& ifoFiles);

}  // namespace kestrova
