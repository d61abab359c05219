// The fields of a DVD NAV pack that the demultiplexer, the scanners and the
// button pass use: the general information of the presentation control
// packet (PCI_GI) and of the data search packet (DSI_GI), and the
// highlight information of the PCI (HLI): the buttons of a menu, their
// rectangles, colours, neighbours and commands. A NAV pack starts each VOBU
// and names the VOB id and cell id that the VOBU belongs to.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kestrova {

// HLI layout. Offsets here count from the first byte of the PCI data, which
// is byte 45 of the sector (behind the pack header, the system header, the
// PES header and the sub-stream id), so sector byte 141 is PCI byte 96.
inline constexpr std::size_t kPciSectorOffset = 45;
inline constexpr std::size_t kButtonEntryBytes = 18;  // one BTN_IT entry
inline constexpr std::size_t kMaxButtons = 36;        // one group; two hold 18 each, three 12
inline constexpr int kMaxButtonGroups = 3;
inline constexpr std::size_t kButtonColourGroups = 3;  // BTN_COLIT
// PCI bytes up to the end of the colour table: what a pack must hold to
// have its highlight read at all.
inline constexpr std::size_t kHighlightHeadBytes = 142;

// HLI status (hli_ss, low two bits).
inline constexpr std::uint8_t kHighlightNone = 0;
inline constexpr std::uint8_t kHighlightNew = 1;
inline constexpr std::uint8_t kHighlightSame = 2;
inline constexpr std::uint8_t kHighlightSameNewCommands = 3;

// One entry of the button table (BTN_IT), as read. Coordinates are the
// first and last pixel of the rectangle.
struct ButtonEntry {
    std::uint8_t Color_Index = 0;  // colour group 1-3; 0 none
    std::uint16_t X1 = 0, X2 = 0, Y1 = 0, Y2 = 0;
    bool Auto_Action = false;      // the auto-action bits are 1
    // The neighbours are 6-bit fields under two reserved bits; the whole
    // bytes are kept, so damage in the reserved bits shows as a neighbour
    // beyond the button count.
    std::uint8_t Up = 0, Down = 0, Left = 0, Right = 0;
    std::array<std::uint8_t, 8> Command{};
    bool operator==(const ButtonEntry&) const = default;
};
static_assert(kButtonEntryBytes == 3 + 3 + 4 + 8, "BTN_IT entry: X, Y, four neighbours, one command");

// One colour group of BTN_COLIT: palette entries (0-15) and contrasts (0-15)
// for the selection state, then the same for the action state.
struct ButtonColourGroup {
    std::uint8_t Selection_Color_E2 = 0, Selection_Color_E1 = 0, Selection_Color_P = 0, Selection_Color_Bg = 0;
    std::uint8_t Selection_Contrast_E2 = 0, Selection_Contrast_E1 = 0, Selection_Contrast_P = 0,
                 Selection_Contrast_Bg = 0;
    std::uint8_t Action_Color_E2 = 0, Action_Color_E1 = 0, Action_Color_P = 0, Action_Color_Bg = 0;
    std::uint8_t Action_Contrast_E2 = 0, Action_Contrast_E1 = 0, Action_Contrast_P = 0, Action_Contrast_Bg = 0;
    bool operator==(const ButtonColourGroup&) const = default;
};

// HLI: its general information (HL_GI), the colour table and the button
// table.
struct Highlight {
    std::uint8_t Status = kHighlightNone;  // hli_ss
    std::uint32_t StartPtm = 0;            // hli_s_ptm, 90 kHz
    std::uint32_t EndPtm = 0;              // hli_e_ptm
    std::uint32_t ButtonSelectEndPtm = 0;  // btn_se_e_ptm
    // btn_md: the high byte holds the group count and group 1's display
    // type, the low byte the display types of groups 2 and 3
    // (`ButtonGroupDisplay` names them).
    std::uint8_t ButtonModeHigh = 0;
    std::uint8_t ButtonModeLow = 0;
    int ButtonGroups = 0;
    std::uint8_t Button_Offset = 0;
    std::uint8_t Number_Of_Buttons = 0;
    std::uint8_t Numerical = 0;  // numerically selectable buttons
    std::uint8_t Forced_Selected_Button = 0;
    std::uint8_t Forced_Activated_Button = 0;
    std::array<ButtonColourGroup, kButtonColourGroups> ColourGroups{};
    // One list per button group, Number_Of_Buttons entries each.
    std::vector<std::vector<ButtonEntry>> Groups;
    bool operator==(const Highlight&) const = default;
};

// PCI_GI and DSI_GI, as far as read; the two packets' data follow their
// sub-stream id byte (0x00 PCI, 0x01 DSI) in private stream 2. The
// highlight is read when the HLI status is not 0.
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
    // The pack as the reader names it in messages (stream, byte, sector).
    std::string Where;
    // True when Hli holds a highlight: its status is not 0 and it could be
    // read whole.
    bool HasHighlight = false;
    Highlight Hli;
    // For a highlight that cannot be read (a PCI cut short, a group count
    // outside 1-3, more buttons than the groups hold): why, in one sentence
    // naming the pack. The rest of the pack is read as usual.
    std::string HighlightFault;
};

// Bytes of PCI_GI and DSI_GI read here.
inline constexpr std::size_t kPciGeneralBytes = 60;
inline constexpr std::size_t kDsiGeneralBytes = 32;

// Reads PCI_GI from the PCI data (behind its sub-stream id), DSI_GI from
// the DSI data, and the highlight of the PCI. `where` names the stream and
// pack in messages: the Error thrown when a packet is shorter than its
// general information, and the HighlightFault of a highlight passed over.
NavPack ReadNavPack(std::span<const std::uint8_t> pci, std::span<const std::uint8_t> dsi, const std::string& where);

// A coordinate of a button entry from two adjacent bytes: for "X1" and
// "Y1" the low 6 bits of the first byte and the top 4 bits of the second;
// for "X2" and "Y2" the low 2 bits of the first and all 8 of the second.
// X1 comes from entry bytes 0-1, X2 from 1-2, Y1 from 3-4, Y2 from 4-5.
// Throws Error for another name.
std::uint16_t GetCoordinate(std::uint8_t first, std::uint8_t second, std::string_view name);

// The display modes of button group 1-3 from a byte of btn_md (the high
// byte for group 1, the low byte for groups 2 and 3): "Normal", "Wide",
// "Letter", "Wide, Letter", "Pan", "Wide, Pan", "Letter, Pan" or
// "Wide, Letter, Pan". Throws Error for another group.
std::string ButtonGroupDisplay(std::uint8_t byte, int group);

// Where group `group` (1-3) of `groups` begins in the button table, in
// bytes from its first entry.
std::size_t ButtonGroupBase(int group, int groups);

// What is odd in a highlight read whole, one sentence each naming the pack,
// the group and the button: a rectangle outside the 720-pixel-wide frame of
// `frameHeight` lines, a first coordinate beyond the last, a neighbour
// beyond the button count. The values stay as read; empty for a pack
// without a highlight.
std::vector<std::string> CheckButtons(const NavPack& nav, int frameHeight);

}  // namespace kestrova
