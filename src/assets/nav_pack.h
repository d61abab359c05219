// The fields of a DVD NAV pack that the demultiplexer and the scanners
// use: the general information of the presentation control packet (PCI_GI)
// and of the data search packet (DSI_GI). A NAV pack starts each VOBU and
// names the VOB id and cell id that the VOBU belongs to.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace kestrova {

// PCI_GI and DSI_GI, as far as read; the two packets' data follow their
// sub-stream id byte (0x00 PCI, 0x01 DSI) in private stream 2.
struct NavPack {
    std::uint32_t PciLbn = 0;        // PCI_GI nv_pck_lbn: sector of this pack in the VOB set
    std::uint16_t VobuCategory = 0;  // PCI_GI vobu_cat
    std::uint32_t UserOperations = 0;
    std::uint32_t VobuStartPtm = 0;  // PCI_GI vobu_s_ptm, 90 kHz
    std::uint32_t VobuEndPtm = 0;    // PCI_GI vobu_e_ptm
    std::uint32_t Scr = 0;           // DSI_GI nv_pck_scr
    std::uint32_t DsiLbn = 0;        // DSI_GI nv_pck_lbn
    std::uint32_t VobuEndAddress = 0;  // DSI_GI vobu_ea: last sector of the VOBU, relative
    std::uint16_t VobId = 0;         // DSI_GI vobu_vob_idn
    std::uint8_t CellId = 0;         // DSI_GI vobu_c_idn
    std::uint32_t CellElapsed = 0;   // DSI_GI c_eltm, BCD time and frame byte
};

// Bytes of PCI_GI and DSI_GI read here.
inline constexpr std::size_t kPciGeneralBytes = 60;
inline constexpr std::size_t kDsiGeneralBytes = 32;

// Reads PCI_GI from the PCI data (behind its sub-stream id) and DSI_GI from
// the DSI data. `where` names the stream and offset for the Error thrown
// when a packet is shorter than its general information.
NavPack ReadNavPack(std::span<const std::uint8_t> pci, std::span<const std::uint8_t> dsi, const std::string& where);

}  // namespace kestrova
