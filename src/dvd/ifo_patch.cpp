// An IFO file split by its pointers and joined again: see ifo_patch.h.
#include "dvd/ifo_patch.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "job/bits.h"
#include "platform/error.h"
#include "platform/text.h"

namespace kestrova {
namespace {

constexpr std::array<IfoPointerField, 7> kVmgPointers{{
    {196, "TT_SRPT"},
    {200, "VMGM_PGCI_UT"},
    {204, "PTL_MAIT"},
    {208, "VTS_ATRT"},
    {212, "TXTDT_MG"},
    {216, "VMGM_C_ADT"},
    {220, "VMGM_VOBU_ADMAP"},
}};

// Byte 196 of a VTS header is the title VOBS' sector, counted from the IFO's
// start but lying in the VOB files: not a table of the IFO.
constexpr std::array<IfoPointerField, 8> kVtsPointers{{
    {200, "VTS_PTT_SRPT"},
    {204, "VTS_PGCIT"},
    {208, "VTSM_PGCI_UT"},
    {212, "VTS_TMAPT"},
    {216, "VTSM_C_ADT"},
    {220, "VTSM_VOBU_ADMAP"},
    {224, "VTS_C_ADT"},
    {228, "VTS_VOBU_ADMAP"},
}};

constexpr std::string_view kVmgIdentifier = "DVDVIDEO-VMG";
constexpr std::string_view kVtsIdentifier = "DVDVIDEO-VTS";

// The last header field the split and the join touch ends at byte 232.
constexpr std::int64_t kHeaderBytes = 232;

const char* ManagementTable(IfoKind kind) { return kind == IfoKind::Vmg ? "VMGI_MAT" : "VTSI_MAT"; }

IfoKind KindOf(const ByteSource& ifo) {
    const IfoTable header(ifo, "IFO header", 0);
    const auto bytes = header.Bytes(0, 12);
    const std::string identifier(bytes.begin(), bytes.end());
    if (identifier == kVmgIdentifier) return IfoKind::Vmg;
    if (identifier == kVtsIdentifier) return IfoKind::Vts;
    header.Fail(0, "the identifier reads \"" + identifier + "\"; \"DVDVIDEO-VMG\" or \"DVDVIDEO-VTS\" was expected");
}

}  // namespace

std::span<const IfoPointerField> IfoPointerFields(IfoKind kind) {
    if (kind == IfoKind::Vmg) return kVmgPointers;
    return kVtsPointers;
}

const IfoPart* IfoLayout::Part(std::int64_t pointer) const {
    const auto found =
        std::find_if(Parts.begin(), Parts.end(), [pointer](const IfoPart& part) { return part.Pointer == pointer; });
    return found == Parts.end() ? nullptr : &*found;
}

IfoLayout SplitIfo(const ByteSource& ifo) {
    IfoLayout layout;
    layout.Kind = KindOf(ifo);
    const IfoTable header(ifo, ManagementTable(layout.Kind), 0);
    header.Require(0, kHeaderBytes, "the header's table pointers");
    const auto size = static_cast<std::int64_t>(ifo.Bytes.size());
    if (size % kSectorSize != 0) {
        header.Fail(size, "the file holds " + std::to_string(size) +
                              " bytes, not a whole number of sectors; an IFO fills whole sectors");
    }
    const std::int64_t fileSectors = size / kSectorSize;

    layout.Parts.push_back({0, ManagementTable(layout.Kind), 0, 0});
    for (const IfoPointerField& field : IfoPointerFields(layout.Kind)) {
        const std::int64_t sector = header.Long(field.Offset);
        if (sector == 0) continue;
        const IfoPart& before = layout.Parts.back();
        if (sector >= fileSectors) {
            ThrowIfoError(ifo, field.Table, field.Offset,
                          "the pointer names sector " + std::to_string(sector) + ", at or past the end of the file (" +
                              std::to_string(fileSectors) + " sectors)");
        }
        if (sector <= before.Sector) {
            ThrowIfoError(ifo, field.Table, field.Offset,
                          "the pointer names sector " + std::to_string(sector) + ", which is not behind " +
                              before.Table + " at sector " + std::to_string(before.Sector) +
                              (before.Pointer != 0 ? " (byte " + std::to_string(before.Pointer) + ")" : "") +
                              "; the tables were expected in disc order");
        }
        layout.Parts.back().Sectors = sector - before.Sector;
        layout.Parts.push_back({field.Offset, field.Table, sector, 0});
    }
    layout.Parts.back().Sectors = fileSectors - layout.Parts.back().Sector;
    return layout;
}

std::span<const std::uint8_t> PartBytes(const ByteSource& ifo, const IfoPart& part) {
    return CheckedBytes(ifo, part.Sector * kSectorSize, part.Sectors * kSectorSize);
}

std::int64_t SectorsOf(std::int64_t bytes) { return (bytes + kSectorSize - 1) / kSectorSize; }

void PadToSectors(std::vector<std::uint8_t>& bytes) {
    bytes.resize(static_cast<std::size_t>(SectorsOf(static_cast<std::int64_t>(bytes.size())) * kSectorSize), 0);
}

std::vector<std::uint8_t> JoinIfo(const std::string& fileName, IfoKind kind, std::vector<IfoBlock> blocks) {
    if (blocks.empty() || blocks.front().Pointer != 0 ||
        static_cast<std::int64_t>(blocks.front().Bytes.size()) < kHeaderBytes) {
        throw Error("Cannot join " + fileName + ": the first part must be the " + ManagementTable(kind) +
                    " with its header of " + std::to_string(kHeaderBytes) + " bytes.");
    }
    const auto fields = IfoPointerFields(kind);
    std::vector<std::uint8_t> joined = std::move(blocks.front().Bytes);
    PadToSectors(joined);
    for (const IfoPointerField& field : fields) WRITEDATA(joined, fileName, 0, field.Offset);

    auto next = fields.begin();
    for (std::size_t b = 1; b < blocks.size(); ++b) {
        IfoBlock& block = blocks[b];
        next = std::find_if(next, fields.end(),
                            [&](const IfoPointerField& field) { return field.Offset == block.Pointer; });
        if (next == fields.end()) {
            throw Error("Cannot join " + fileName + ": part " + std::to_string(b + 1) + " names the pointer at byte " +
                        std::to_string(block.Pointer) + ", which is no table pointer of the " +
                        ManagementTable(kind) + " behind the parts before it.");
        }
        if (block.Bytes.empty()) {
            throw Error("Cannot join " + fileName + ": the " + next->Table + " (byte " +
                        std::to_string(block.Pointer) + ") holds no bytes.");
        }
        const auto sector = static_cast<std::int64_t>(joined.size()) / kSectorSize;
        WRITEDATA(joined, fileName, sector, block.Pointer);
        PadToSectors(block.Bytes);
        joined.insert(joined.end(), block.Bytes.begin(), block.Bytes.end());
        ++next;
    }
    return joined;
}

void WriteIfoFiles(const platform::FileSystem& files, const std::string& path, std::span<const std::uint8_t> bytes) {
    const std::string text(bytes.begin(), bytes.end());
    files.WriteFileAtomic(path, text);
    files.WriteFileAtomic(platform::WithExtension(path, ".BUP"), text);
}

}  // namespace kestrova
