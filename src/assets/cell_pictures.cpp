// Picture counts per cell: see cell_pictures.h.
#include "assets/cell_pictures.h"

#include <map>

#include "assets/program_stream.h"

namespace kestrova {

namespace {

constexpr std::uint8_t kVideoStream = 0xE0;
constexpr std::uint8_t kPictureStartCode = 0x00;

// A start code finder that keeps its place across packets.
struct StartCodeScan {
    int Zeros = 0;        // zero bytes just seen, up to 2
    bool Prefix = false;  // 00 00 01 seen, the code byte is next

    std::uint64_t CountPictures(std::span<const std::uint8_t> bytes) {
        std::uint64_t pictures = 0;
        for (const std::uint8_t byte : bytes) {
            if (Prefix) {
                Prefix = false;
                Zeros = 0;
                if (byte == kPictureStartCode) ++pictures;
                continue;
            }
            if (byte == 0) {
                if (Zeros < 2) ++Zeros;
            } else {
                Prefix = byte == 1 && Zeros == 2;
                Zeros = 0;
            }
        }
        return pictures;
    }
};

}  // namespace

std::vector<CellPictures> CountCellPictures(platform::ByteReader& input, std::vector<std::string>& navFaults) {
    ProgramStreamReader reader(input);
    std::vector<CellPictures> cells;
    std::vector<StartCodeScan> scans;
    std::map<SplitUnit, std::size_t> index;
    std::size_t current = 0;
    bool inCell = false;
    while (const Pack* pack = reader.Next()) {
        if (!pack->NavFault.empty()) {
            navFaults.push_back(pack->NavFault);
            inCell = false;
        }
        if (pack->HasNav) {
            const SplitUnit cell{pack->Nav.VobId, pack->Nav.CellId};
            auto [entry, added] = index.try_emplace(cell, cells.size());
            if (added) {
                cells.push_back(CellPictures{cell});
                scans.emplace_back();
            }
            current = entry->second;
            inCell = true;
        }
        if (!inCell) continue;
        ++cells[current].Packs;
        for (const PesPacket& packet : pack->Packets) {
            if (packet.Stream != kVideoStream) continue;
            ++cells[current].VideoPackets;
            cells[current].Pictures += scans[current].CountPictures(packet.Payload);
        }
    }
    return cells;
}

}  // namespace kestrova
