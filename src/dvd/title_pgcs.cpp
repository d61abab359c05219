// The first-play and title PGC readers: see title_pgcs.h.
#include "dvd/title_pgcs.h"

namespace kestrova {

std::optional<PGCI> ReadFP_PGC(const ByteSource& bytes) {
    const std::int64_t offset = IfoTable(bytes, "VMGI_MAT", 0).Long(kVmgFP_PGC);
    if (offset == 0) return std::nullopt;
    // A PGC past the end fails on its header, named FP_PGC at that offset.
    return ReadPGCI(IfoTable(bytes, "FP_PGC", offset));
}

std::vector<TitlePGC> ReadVTS_PGCIT(const ByteSource& bytes) {
    const auto table = IfoTable::AtSector(bytes, "VTS_PGCIT", kVtsVTS_PGCIT);
    if (!table) return {};
    std::vector<TitlePGC> pgcs;
    for (const PGCI_SRP& entry : ReadPGCI_SRP(*table)) {
        const std::string what = "the offset of title PGC " + std::to_string(pgcs.size() + 1);
        pgcs.push_back({entry, ReadPGCI(table->Sub("VTS_PGC", entry.Offset, what))});
    }
    return pgcs;
}

PlaybackPGCs ReadPlaybackPGCs(const platform::FileSystem& files, const std::vector<std::string>& ifoFiles) {
    PlaybackPGCs read;
    for (std::size_t i = 0; i < ifoFiles.size(); ++i) {
        const std::vector<std::uint8_t> data = files.ReadBytes(ifoFiles[i]);
        const ByteSource bytes{data, ifoFiles[i]};
        if (i == 0) {
            read.FP_PGC = ReadFP_PGC(bytes);
        } else {
            read.VTS_PGCIT.push_back(ReadVTS_PGCIT(bytes));
        }
    }
    return read;
}

}  // namespace kestrova
