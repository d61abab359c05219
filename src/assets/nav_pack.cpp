// PCI_GI and DSI_GI of a NAV pack: see nav_pack.h.
#include "assets/nav_pack.h"

#include "job/bits.h"
#include "platform/error.h"

namespace kestrova {

namespace {

// PCI_GI: nv_pck_lbn, vobu_cat, 2 reserved, vobu_uop_ctl, vobu_s_ptm,
// vobu_e_ptm, vobu_se_e_ptm, e_eltm, vobu_isrc.
constexpr std::int64_t kPciLbn = 0;
constexpr std::int64_t kPciCategory = 4;
constexpr std::int64_t kPciUserOperations = 8;
constexpr std::int64_t kPciStartPtm = 12;
constexpr std::int64_t kPciEndPtm = 16;
// DSI_GI: nv_pck_scr, nv_pck_lbn, vobu_ea, three reference end addresses,
// vobu_vob_idn, a reserved byte, vobu_c_idn, c_eltm.
constexpr std::int64_t kDsiScr = 0;
constexpr std::int64_t kDsiLbn = 4;
constexpr std::int64_t kDsiVobuEnd = 8;
constexpr std::int64_t kDsiVobId = 24;
constexpr std::int64_t kDsiCellId = 27;
constexpr std::int64_t kDsiCellElapsed = 28;

void RequireSize(std::span<const std::uint8_t> data, std::size_t size, const char* table, const std::string& where) {
    if (data.size() < size) {
        throw Error(where + ": its " + table + " holds " + std::to_string(data.size()) + " bytes, " +
                    std::to_string(size) + " were expected");
    }
}

}  // namespace

NavPack ReadNavPack(std::span<const std::uint8_t> pci, std::span<const std::uint8_t> dsi, const std::string& where) {
    RequireSize(pci, kPciGeneralBytes, "PCI_GI", where);
    RequireSize(dsi, kDsiGeneralBytes, "DSI_GI", where);
    const ByteSource p{pci, where + " PCI_GI"};
    const ByteSource d{dsi, where + " DSI_GI"};
    NavPack nav;
    nav.PciLbn = static_cast<std::uint32_t>(ByteHandleD(p, kPciLbn));
    nav.VobuCategory = static_cast<std::uint16_t>(ByteHandleD(p, kPciCategory, 2));
    nav.UserOperations = static_cast<std::uint32_t>(ByteHandleD(p, kPciUserOperations));
    nav.VobuStartPtm = static_cast<std::uint32_t>(ByteHandleD(p, kPciStartPtm));
    nav.VobuEndPtm = static_cast<std::uint32_t>(ByteHandleD(p, kPciEndPtm));
    nav.Scr = static_cast<std::uint32_t>(ByteHandleD(d, kDsiScr));
    nav.DsiLbn = static_cast<std::uint32_t>(ByteHandleD(d, kDsiLbn));
    nav.VobuEndAddress = static_cast<std::uint32_t>(ByteHandleD(d, kDsiVobuEnd));
    nav.VobId = static_cast<std::uint16_t>(ByteHandleD(d, kDsiVobId, 2));
    nav.CellId = static_cast<std::uint8_t>(ByteHandleD(d, kDsiCellId, 1));
    nav.CellElapsed = static_cast<std::uint32_t>(ByteHandleD(d, kDsiCellElapsed));
    return nav;
}

}  // namespace kestrova
