// PCI_GI, DSI_GI and the highlight of a NAV pack: see nav_pack.h.
#include "assets/nav_pack.h"

#include <algorithm>
#include <utility>

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
// HL_GI (sector bytes 141-162): hli_ss, hli_s_ptm, hli_e_ptm, btn_se_e_ptm,
// btn_md, btn_ofn, btn_ns, nsl_btn_ns, a reserved byte, fosl_btnn,
// foac_btnn; then BTN_COLIT (163) and BTN_IT (187).
constexpr std::int64_t kHliStatus = 141 - kPciSectorOffset;
constexpr std::int64_t kHliStartPtm = 143 - kPciSectorOffset;
constexpr std::int64_t kHliEndPtm = 147 - kPciSectorOffset;
constexpr std::int64_t kButtonSelectEndPtm = 151 - kPciSectorOffset;
constexpr std::int64_t kButtonMode = 155 - kPciSectorOffset;
constexpr std::int64_t kButtonOffset = 157 - kPciSectorOffset;
constexpr std::int64_t kButtonCount = 158 - kPciSectorOffset;
constexpr std::int64_t kNumerical = 159 - kPciSectorOffset;
constexpr std::int64_t kForcedSelected = 161 - kPciSectorOffset;
constexpr std::int64_t kForcedActivated = 162 - kPciSectorOffset;
constexpr std::int64_t kColourTable = 163 - kPciSectorOffset;
constexpr std::int64_t kColourGroupBytes = 8;
constexpr std::int64_t kButtonTable = 187 - kPciSectorOffset;
static_assert(kButtonTable == kHighlightHeadBytes);
static_assert(kColourTable + kColourGroupBytes * kButtonColourGroups == kButtonTable);
// DSI_GI: nv_pck_scr, nv_pck_lbn, vobu_ea, three reference end addresses,
// vobu_vob_idn, a reserved byte, vobu_c_idn, c_eltm.
constexpr std::int64_t kDsiScr = 0;
constexpr std::int64_t kDsiLbn = 4;
constexpr std::int64_t kDsiVobuEnd = 8;
constexpr std::int64_t kDsiVobId = 24;
constexpr std::int64_t kDsiCellId = 27;
constexpr std::int64_t kDsiCellElapsed = 28;

constexpr int kFrameWidth = 720;

void RequireSize(std::span<const std::uint8_t> data, std::size_t size, const char* table, const std::string& where) {
    if (data.size() < size) {
        throw Error(where + ": its " + table + " holds " + std::to_string(data.size()) + " bytes, " +
                    std::to_string(size) + " were expected");
    }
}

std::uint8_t High(std::uint8_t byte) { return static_cast<std::uint8_t>(byte >> 4); }
std::uint8_t Low(std::uint8_t byte) { return static_cast<std::uint8_t>(byte & 0x0F); }

ButtonColourGroup ReadColourGroup(const ByteSource& p, std::int64_t at) {
    const auto b = CheckedBytes(p, at, kColourGroupBytes);
    ButtonColourGroup group;
    group.Selection_Color_E2 = High(b[0]);
    group.Selection_Color_E1 = Low(b[0]);
    group.Selection_Color_P = High(b[1]);
    group.Selection_Color_Bg = Low(b[1]);
    group.Selection_Contrast_E2 = High(b[2]);
    group.Selection_Contrast_E1 = Low(b[2]);
    group.Selection_Contrast_P = High(b[3]);
    group.Selection_Contrast_Bg = Low(b[3]);
    group.Action_Color_E2 = High(b[4]);
    group.Action_Color_E1 = Low(b[4]);
    group.Action_Color_P = High(b[5]);
    group.Action_Color_Bg = Low(b[5]);
    group.Action_Contrast_E2 = High(b[6]);
    group.Action_Contrast_E1 = Low(b[6]);
    group.Action_Contrast_P = High(b[7]);
    group.Action_Contrast_Bg = Low(b[7]);
    return group;
}

ButtonEntry ReadButtonEntry(const ByteSource& p, std::int64_t at) {
    const auto b = CheckedBytes(p, at, kButtonEntryBytes);
    ButtonEntry entry;
    entry.Color_Index = static_cast<std::uint8_t>(b[0] >> 6);
    entry.X1 = GetCoordinate(b[0], b[1], "X1");
    entry.X2 = GetCoordinate(b[1], b[2], "X2");
    entry.Auto_Action = (b[3] >> 6) == 1;
    entry.Y1 = GetCoordinate(b[3], b[4], "Y1");
    entry.Y2 = GetCoordinate(b[4], b[5], "Y2");
    entry.Up = b[6];
    entry.Down = b[7];
    entry.Left = b[8];
    entry.Right = b[9];
    std::copy(b.begin() + 10, b.end(), entry.Command.begin());
    return entry;
}

// Reads the highlight into nav.Hli; a highlight that cannot be read leaves
// HasHighlight false and says why in HighlightFault.
void ReadHighlight(NavPack& nav, std::span<const std::uint8_t> pci) {
    const std::string& where = nav.Where;
    const std::string passedOver = "; the highlight is passed over";
    const auto cutShort = [&](std::size_t needed, const std::string& what) {
        nav.HighlightFault = where + ": its PCI holds " + std::to_string(pci.size()) + " bytes, " + what +
                             " needs " + std::to_string(needed) + passedOver;
    };
    const ByteSource p{pci, where + " HLI"};
    Highlight& hli = nav.Hli;
    constexpr auto kStatusEnd = static_cast<std::size_t>(kHliStatus + 2);
    if (pci.size() < kStatusEnd) return cutShort(kStatusEnd, "the highlight status");
    hli.Status = static_cast<std::uint8_t>(ByteHandleD(p, kHliStatus, 2) & 0x03);
    if (hli.Status == kHighlightNone) return;
    if (pci.size() < kHighlightHeadBytes) return cutShort(kHighlightHeadBytes, "the highlight up to its button table");
    hli.StartPtm = static_cast<std::uint32_t>(ByteHandleD(p, kHliStartPtm));
    hli.EndPtm = static_cast<std::uint32_t>(ByteHandleD(p, kHliEndPtm));
    hli.ButtonSelectEndPtm = static_cast<std::uint32_t>(ByteHandleD(p, kButtonSelectEndPtm));
    hli.ButtonModeHigh = ByteAt(p, kButtonMode);
    hli.ButtonModeLow = ByteAt(p, kButtonMode + 1);
    // The count is two bits under two reserved ones; reading all four lets
    // damage in the reserved bits show as a count above 3 instead of
    // passing as a valid one.
    hli.ButtonGroups = hli.ButtonModeHigh >> 4;
    hli.Button_Offset = ByteAt(p, kButtonOffset);
    hli.Number_Of_Buttons = ByteAt(p, kButtonCount);
    hli.Numerical = ByteAt(p, kNumerical);
    hli.Forced_Selected_Button = ByteAt(p, kForcedSelected);
    hli.Forced_Activated_Button = ByteAt(p, kForcedActivated);
    for (std::size_t k = 0; k < kButtonColourGroups; ++k) {
        hli.ColourGroups[k] = ReadColourGroup(p, kColourTable + kColourGroupBytes * static_cast<std::int64_t>(k));
    }

    if (hli.ButtonGroups < 1 || hli.ButtonGroups > kMaxButtonGroups) {
        nav.HighlightFault = where + ": its highlight (byte " + std::to_string(kPciSectorOffset + kButtonMode) +
                             " " + Pad_Byte(hli.ButtonModeHigh) + ") names " + std::to_string(hli.ButtonGroups) +
                             " button groups, 1 to 3 were expected" + passedOver;
        return;
    }
    const std::size_t fit = kMaxButtons / static_cast<std::size_t>(hli.ButtonGroups);
    if (hli.Number_Of_Buttons > fit) {
        nav.HighlightFault = where + ": its highlight holds " + std::to_string(hli.Number_Of_Buttons) +
                             " buttons in " + std::to_string(hli.ButtonGroups) + " groups, at most " +
                             std::to_string(fit) + " fit" + passedOver;
        return;
    }
    const std::size_t needed = kHighlightHeadBytes + ButtonGroupBase(hli.ButtonGroups, hli.ButtonGroups) +
                               kButtonEntryBytes * hli.Number_Of_Buttons;
    if (pci.size() < needed) {
        return cutShort(needed, "a button table of " + std::to_string(hli.Number_Of_Buttons) + " buttons in " +
                                    std::to_string(hli.ButtonGroups) + " groups");
    }
    hli.Groups.resize(static_cast<std::size_t>(hli.ButtonGroups));
    for (int g = 1; g <= hli.ButtonGroups; ++g) {
        const auto base = static_cast<std::int64_t>(kHighlightHeadBytes + ButtonGroupBase(g, hli.ButtonGroups));
        for (std::int64_t n = 0; n < hli.Number_Of_Buttons; ++n) {
            hli.Groups[static_cast<std::size_t>(g - 1)].push_back(
                ReadButtonEntry(p, base + static_cast<std::int64_t>(kButtonEntryBytes) * n));
        }
    }
    nav.HasHighlight = true;
}

}  // namespace

NavPack ReadNavPack(std::span<const std::uint8_t> pci, std::span<const std::uint8_t> dsi, const std::string& where) {
    RequireSize(pci, kPciGeneralBytes, "PCI_GI", where);
    RequireSize(dsi, kDsiGeneralBytes, "DSI_GI", where);
    const ByteSource p{pci, where + " PCI_GI"};
    const ByteSource d{dsi, where + " DSI_GI"};
    NavPack nav;
    nav.Where = where;
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
    ReadHighlight(nav, pci);
    return nav;
}

std::uint16_t GetCoordinate(std::uint8_t first, std::uint8_t second, std::string_view name) {
    if (name == "X1" || name == "Y1") return static_cast<std::uint16_t>(((first & 0x3F) << 4) | (second >> 4));
    if (name == "X2" || name == "Y2") return static_cast<std::uint16_t>(((first & 0x03) << 8) | second);
    throw Error("GetCoordinate reads X1, X2, Y1 or Y2, not \"" + std::string(name) + "\"");
}

std::string ButtonGroupDisplay(std::uint8_t byte, int group) {
    static const char* const kModes[] = {"Normal", "Wide",      "Letter",      "Wide, Letter",
                                         "Pan",    "Wide, Pan", "Letter, Pan", "Wide, Letter, Pan"};
    if (group == 1 || group == 3) return kModes[byte & 0x07];
    if (group == 2) return kModes[(byte >> 4) & 0x07];
    throw Error("ButtonGroupDisplay takes button group 1, 2 or 3, not " + std::to_string(group));
}

std::size_t ButtonGroupBase(int group, int groups) {
    if (group <= 1) return 0;
    if (group == 2) return groups == 2 ? 324 : 216;
    return 432;
}

std::vector<std::string> CheckButtons(const NavPack& nav, int frameHeight) {
    std::vector<std::string> warnings;
    if (!nav.HasHighlight) return warnings;
    const Highlight& hli = nav.Hli;
    const std::string frame = std::to_string(kFrameWidth) + "x" + std::to_string(frameHeight);
    for (std::size_t g = 0; g < hli.Groups.size(); ++g) {
        for (std::size_t n = 0; n < hli.Groups[g].size(); ++n) {
            const ButtonEntry& b = hli.Groups[g][n];
            const std::string button = nav.Where + ": button " + std::to_string(n + 1) + " of group " +
                                       std::to_string(g + 1) + " ";
            const std::string rectangle = "x " + std::to_string(b.X1) + "-" + std::to_string(b.X2) + ", y " +
                                          std::to_string(b.Y1) + "-" + std::to_string(b.Y2);
            if (b.X1 >= kFrameWidth || b.X2 >= kFrameWidth || b.Y1 >= frameHeight || b.Y2 >= frameHeight) {
                warnings.push_back(button + "lies outside the " + frame + " frame (" + rectangle + ")");
            }
            if (b.X1 > b.X2 || b.Y1 > b.Y2) {
                warnings.push_back(button + "has a first coordinate beyond its last (" + rectangle + ")");
            }
            const std::pair<const char*, std::uint8_t> neighbours[] = {
                {"up", b.Up}, {"down", b.Down}, {"left", b.Left}, {"right", b.Right}};
            for (const auto& [side, to] : neighbours) {
                if (to > hli.Number_Of_Buttons) {
                    warnings.push_back(button + "has neighbour " + side + " " + std::to_string(to) +
                                       ", beyond the " + std::to_string(hli.Number_Of_Buttons) + " buttons");
                }
            }
        }
    }
    return warnings;
}

}  // namespace kestrova
