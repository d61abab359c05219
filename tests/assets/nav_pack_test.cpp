// The highlight of a NAV pack: its bit fields on hand-made PCI bytes, the
// buttons of real menus against what spumux was given, and hostile packs
// that must be reported and passed over.
#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <iterator>
#include <map>

#include "assets/memory_streams.h"
#include "assets/nav_pack.h"
#include "assets/pack_builder.h"
#include "assets/program_stream.h"
#include "support/fixtures.h"

namespace kestrova {
namespace {

using test::Bytes;

constexpr std::size_t kPciBytes = 979;
constexpr std::size_t kButtonTableAt = 187 - 45;  // sector byte 187, in the PCI data
const Bytes kNoDsi(1017, 0x00);

// Colour index 1, X1 720 (2D 00 under the colour bits), X2 719,
// auto-action, Y1 100, Y2 575, neighbours 1 2 3 4, JumpTT 1.
const Bytes kEntry{0x6D, 0x02, 0xCF, 0x46, 0x42, 0x3F, 1, 2, 3, 4, 0x30, 0x02, 0, 0, 0, 1, 0, 0};

// PCI data with a new highlight: button mode bytes, button count, and the
// entry above for button 1 at `base` bytes into the button table.
Bytes HighlightPci(std::uint8_t modeHigh, std::uint8_t modeLow, std::uint8_t buttons, std::size_t base) {
    Bytes pci(kPciBytes, 0x00);
    pci[141 - 45 + 1] = 0x01;  // status: new
    pci[155 - 45] = modeHigh;
    pci[156 - 45] = modeLow;
    pci[158 - 45] = buttons;
    std::copy(kEntry.begin(), kEntry.end(), pci.begin() + static_cast<std::ptrdiff_t>(kButtonTableAt + base));
    return pci;
}

TEST(NavPackHighlight, BitFieldsOfTheButtonModeEntriesAndColours) {
    const struct {
        std::uint8_t ModeHigh, ModeLow;
        std::size_t Group, Base;
        const char* Display;  // of that group
    } rows[] = {
        {0x10, 0x00, 1, 0, "Normal"},
        {0x13, 0x00, 1, 0, "Wide, Letter"},
        {0x20, 0x50, 2, 324, "Wide, Pan"},
        {0x30, 0x63, 2, 216, "Letter, Pan"},
        {0x37, 0x07, 3, 432, "Wide, Letter, Pan"},
        {0x31, 0x24, 3, 432, "Pan"},
    };
    for (const auto& row : rows) {
        const std::string where = "groups " + std::to_string(row.ModeHigh >> 4) + ", group " + std::to_string(row.Group);
        const NavPack nav = ReadNavPack(HighlightPci(row.ModeHigh, row.ModeLow, 1, row.Base), kNoDsi, where);
        ASSERT_TRUE(nav.HasHighlight) << where << ": " << nav.HighlightFault;
        ASSERT_EQ(nav.Hli.Groups.size(), static_cast<std::size_t>(row.ModeHigh >> 4)) << where;
        const ButtonEntry& entry = nav.Hli.Groups[row.Group - 1].at(0);
        EXPECT_EQ(entry.X1, 720) << where;
        EXPECT_EQ(entry.X2, 719) << where;
        EXPECT_EQ(entry.Y1, 100) << where;
        EXPECT_EQ(entry.Y2, 575) << where;
        EXPECT_EQ(entry.Color_Index, 1) << where;
        EXPECT_TRUE(entry.Auto_Action) << where;
        EXPECT_EQ(entry.Right, 4) << where;
        EXPECT_EQ(entry.Command[1], 0x02) << where;
        for (std::size_t g = 0; g < nav.Hli.Groups.size(); ++g) {
            if (g + 1 != row.Group) {
                EXPECT_EQ(nav.Hli.Groups[g].at(0), ButtonEntry{}) << where << ", group " << g + 1;
            }
        }
        const std::uint8_t modeByte = row.Group == 1 ? nav.Hli.ButtonModeHigh : nav.Hli.ButtonModeLow;
        EXPECT_EQ(ButtonGroupDisplay(modeByte, static_cast<int>(row.Group)), row.Display) << where;
    }

    Bytes pci = HighlightPci(0x10, 0x00, 1, 0);
    const Bytes colours{0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC, 0xDE, 0xF0};
    std::copy(colours.begin(), colours.end(), pci.begin() + (163 - 45) + 16);  // colour group 3
    const NavPack coloured = ReadNavPack(pci, kNoDsi, "colours");
    const ButtonColourGroup& c = coloured.Hli.ColourGroups[2];
    const int read[] = {c.Selection_Color_E2,    c.Selection_Color_E1,    c.Selection_Color_P,
                        c.Selection_Color_Bg,    c.Selection_Contrast_E2, c.Selection_Contrast_E1,
                        c.Selection_Contrast_P,  c.Selection_Contrast_Bg, c.Action_Color_E2,
                        c.Action_Color_E1,       c.Action_Color_P,        c.Action_Color_Bg,
                        c.Action_Contrast_E2,    c.Action_Contrast_E1,    c.Action_Contrast_P,
                        c.Action_Contrast_Bg};
    for (int i = 0; i < 16; ++i) EXPECT_EQ(read[i], (i + 1) % 16) << "nibble " << i;
    EXPECT_THROW(GetCoordinate(0x2D, 0x00, "X3"), Error);
}

Bytes Cut(Bytes bytes, std::size_t size) {
    bytes.resize(size);
    return bytes;
}

TEST(NavPackHighlight, HostilePacksAreReportedAndPassedOverAndOddButtonsWarned) {
    const struct {
        const char* Name;
        Bytes Pci;
        const char* Words;
    } cases[] = {
        {"no groups", HighlightPci(0x00, 0x00, 1, 0), "names 0 button groups, 1 to 3 were expected"},
        {"four groups", HighlightPci(0x40, 0x00, 1, 0), "names 4 button groups"},
        {"40 buttons", HighlightPci(0x10, 0x00, 40, 0), "holds 40 buttons in 1 groups, at most 36 fit"},
        {"13 buttons in 3 groups", HighlightPci(0x30, 0x00, 13, 0), "at most 12 fit"},
        {"cut in the button table", Cut(HighlightPci(0x20, 0x00, 18, 0), 400),
         "its PCI holds 400 bytes, a button table of 18 buttons in 2 groups needs 790"},
        {"cut before the colours", Cut(HighlightPci(0x10, 0x00, 1, 0), 120), "its PCI holds 120 bytes"},
    };
    for (const auto& hostile : cases) {
        // The hostile pack is the second of the stream, behind a good one.
        const Bytes stream = test::Join({test::PackBuilder().Nav(1, 1).Bytes(),
                                         test::PackBuilder().Nav(2, 3, hostile.Pci).Bytes()});
        test::MemoryReader input(stream, "K:\\HOSTILE.VOB");
        ProgramStreamReader reader(input);
        ASSERT_NE(reader.Next(), nullptr) << hostile.Name;
        const Pack* pack = reader.Next();
        ASSERT_NE(pack, nullptr) << hostile.Name;
        ASSERT_TRUE(pack->HasNav) << hostile.Name << ": " << pack->NavFault;
        EXPECT_EQ(pack->Nav.CellId, 3) << hostile.Name;
        EXPECT_FALSE(pack->Nav.HasHighlight) << hostile.Name;
        EXPECT_TRUE(CheckButtons(pack->Nav, 576).empty()) << hostile.Name;
        const std::string& fault = pack->Nav.HighlightFault;
        EXPECT_NE(fault.find("\"K:\\HOSTILE.VOB\" NAV pack at byte 2048 (sector 1)"), std::string::npos)
            << hostile.Name << ": " << fault;
        EXPECT_NE(fault.find(hostile.Words), std::string::npos) << hostile.Name << ": " << fault;
        EXPECT_EQ(reader.Next(), nullptr) << hostile.Name;
    }

    // One button whose X1 of 720 lies outside the frame and beyond its X2,
    // whose Y2 of 575 is outside an NTSC frame, with neighbours 2-4 of 1:
    // warned, kept as read.
    const NavPack odd = ReadNavPack(HighlightPci(0x10, 0x00, 1, 0), kNoDsi, "\"K:\\ODD.VOB\" sector 7");
    ASSERT_TRUE(odd.HasHighlight);
    const auto warnings = CheckButtons(odd, 480);
    const std::string all = testing::PrintToString(warnings);
    ASSERT_EQ(warnings.size(), 5u) << all;
    EXPECT_NE(warnings[0].find("sector 7: button 1 of group 1 lies outside the 720x480 frame (x 720-719, y 100-575)"),
              std::string::npos) << all;
    EXPECT_NE(all.find("first coordinate beyond its last"), std::string::npos) << all;
    EXPECT_NE(all.find("neighbour right 4, beyond the 1 buttons"), std::string::npos) << all;
    EXPECT_EQ(CheckButtons(odd, 576).size(), 5u) << "X1 720 is outside whatever the height";
}

// A button as spumux was given it: x0, y0, x1, y1.
struct Rectangle {
    int X1, Y1, X2, Y2;
    bool operator==(const Rectangle&) const = default;
};

Bytes ReadVob(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw std::runtime_error("cannot open " + path);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// The first highlight of each VOB id of a VOB file, its faults and warnings.
struct VobHighlights {
    std::map<int, Highlight> ByVob;
    std::vector<std::string> Faults;
};

VobHighlights ReadHighlights(const std::string& path, int frameHeight) {
    test::MemoryReader input(ReadVob(path), path);
    ProgramStreamReader reader(input);
    VobHighlights result;
    while (const Pack* pack = reader.Next()) {
        if (pack->Kind != PackKind::Nav) continue;
        if (!pack->HasNav) result.Faults.push_back(pack->NavFault);
        if (!pack->Nav.HighlightFault.empty()) result.Faults.push_back(pack->Nav.HighlightFault);
        for (const std::string& warning : CheckButtons(pack->Nav, frameHeight)) result.Faults.push_back(warning);
        if (pack->Nav.HasHighlight) result.ByVob.emplace(pack->Nav.VobId, pack->Nav.Hli);
    }
    return result;
}

std::vector<Rectangle> Rectangles(const std::vector<ButtonEntry>& group) {
    std::vector<Rectangle> rectangles;
    for (const ButtonEntry& b : group) rectangles.push_back({b.X1, b.Y1, b.X2, b.Y2});
    return rectangles;
}

TEST(NavPackHighlight, ButtonsOfTheFixtureMenusAreWhatSpumuxWasGiven) {
    const std::string jumppad = test::FixtureDisc("pal-menu-cells-jumppad");
    // Title 2 of VTS 1: 16:9, three groups with the same two buttons.
    const VobHighlights title = ReadHighlights(jumppad + "/VTS_01_1.VOB", 576);
    EXPECT_TRUE(title.Faults.empty()) << testing::PrintToString(title.Faults);
    ASSERT_EQ(title.ByVob.count(2), 1u);
    const Highlight& wide = title.ByVob.at(2);
    ASSERT_EQ(wide.ButtonGroups, 3);
    EXPECT_EQ(ButtonGroupDisplay(wide.ButtonModeHigh, 1), "Wide");
    EXPECT_EQ(ButtonGroupDisplay(wide.ButtonModeLow, 2), "Letter");
    EXPECT_EQ(ButtonGroupDisplay(wide.ButtonModeLow, 3), "Pan");
    for (const auto& group : wide.Groups) {
        EXPECT_EQ(Rectangles(group), (std::vector<Rectangle>{{40, 480, 240, 540}, {480, 480, 680, 540}}));
    }

    // VMG menus: the loop VOB (id 2) and the cells VOB (id 3), 4 buttons each.
    const VobHighlights menus = ReadHighlights(jumppad + "/VIDEO_TS.VOB", 576);
    EXPECT_TRUE(menus.Faults.empty()) << testing::PrintToString(menus.Faults);
    ASSERT_EQ(menus.ByVob.count(2) + menus.ByVob.count(3), 2u);
    EXPECT_EQ(Rectangles(menus.ByVob.at(2).Groups.at(0)),
              (std::vector<Rectangle>{{100, 160, 340, 220}, {380, 160, 620, 220}, {100, 300, 340, 360},
                                      {380, 300, 620, 360}}));
    EXPECT_EQ(Rectangles(menus.ByVob.at(3).Groups.at(0)),
              (std::vector<Rectangle>{{100, 400, 300, 460}, {420, 400, 620, 460}, {100, 480, 300, 540},
                                      {420, 480, 620, 540}}));

    // The menu whose buttons are in subpicture stream 1, with the
    // neighbours the script gave (a button without one names itself).
    const VobHighlights stream1 = ReadHighlights(test::FixtureDisc("pal-menu-buttons-stream1") + "/VIDEO_TS.VOB", 576);
    EXPECT_TRUE(stream1.Faults.empty()) << testing::PrintToString(stream1.Faults);
    ASSERT_EQ(stream1.ByVob.size(), 1u);
    const Highlight& grid = stream1.ByVob.begin()->second;
    EXPECT_EQ(grid.Status, kHighlightNew);
    ASSERT_EQ(grid.ButtonGroups, 1);
    EXPECT_EQ(grid.Number_Of_Buttons, 4);
    EXPECT_EQ(Rectangles(grid.Groups[0]), (std::vector<Rectangle>{{80, 100, 320, 160}, {400, 100, 640, 160},
                                                                  {80, 420, 320, 480}, {400, 420, 640, 480}}));
    std::vector<std::array<int, 4>> neighbours;  // up, down, left, right
    for (const ButtonEntry& b : grid.Groups[0]) neighbours.push_back({b.Up, b.Down, b.Left, b.Right});
    EXPECT_EQ(neighbours, (std::vector<std::array<int, 4>>{{1, 3, 1, 2}, {2, 4, 1, 2}, {1, 3, 3, 4}, {2, 4, 3, 4}}));

    // Every menu and title VOB of every disc: no highlight fault, no warning.
    for (const std::string& disc : test::FixtureDiscs()) {
        const int height = disc.find("ntsc-") != std::string::npos ? 480 : 576;
        for (const char* vob : {"/VIDEO_TS.VOB", "/VTS_01_0.VOB", "/VTS_01_1.VOB"}) {
            if (!std::ifstream(disc + vob)) continue;
            const VobHighlights read = ReadHighlights(disc + vob, height);
            EXPECT_TRUE(read.Faults.empty()) << disc << vob << ": " << testing::PrintToString(read.Faults);
        }
    }
}

}  // namespace
}  // namespace kestrova
