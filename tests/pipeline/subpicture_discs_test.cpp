// The subpicture stages over real discs: the cells the scan of the joined
// VOB finds are those of the menu's cell address table as libdvdread
// reads it.
#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <sstream>

#include "pipeline/pipeline.h"
#include "pipeline_fixture.h"

namespace kestrova {
namespace {

// First and last sector of each menu cell by domain (1 the VMG, n + 1
// title set n), VOB id and cell id.
using CellSectors = std::map<std::size_t, std::map<std::pair<int, int>, std::pair<int, int>>>;

CellSectors MenuCellSectors(const std::string& disc) {
    const std::string call = std::string(KESTROVA_DVDREAD_DUMP) + " '" + disc + "'";
    FILE* dump = popen(call.c_str(), "r");
    EXPECT_NE(dump, nullptr) << call;
    CellSectors sectors;
    std::size_t domain = 0;
    char line[512];
    while (dump != nullptr && std::fgets(line, sizeof line, dump) != nullptr) {
        std::istringstream fields(line);
        std::string word;
        int vob = 0, cell = 0, first = 0, last = 0;
        fields >> word;
        if (word == "IFO") ++domain;
        if (word == "CADT" && fields >> vob >> cell >> first >> last) sectors[domain][{vob, cell}] = {first, last};
    }
    EXPECT_EQ(dump == nullptr ? -1 : pclose(dump), 0) << call;
    return sectors;
}

TEST(SubpictureDiscs, TheScanFindsTheCellsOfTheMenusCellTable) {
    int compared = 0;
    for (const char* disc : {"pal-vmg-buttons", "ntsc-vts-menus-2lang", "pal-menu-cells-jumppad", "pal-menu-dummy-cells",
                             "pal-motion-menu-lpcm", "ntsc-wide-menus-subs"}) {
        SCOPED_TRACE(disc);
        test::PipelineFixture f(disc);
        std::map<std::size_t, Collection<VOB_ID_Properties>> scanned;
        f.view.OnServe = [&f, &scanned](int) {
            if (f.job.Stages.Current() != RunStage::FrameServing) return;
            const auto domain = static_cast<std::size_t>(f.job.DomainIndex);
            scanned[domain] = f.job.DiscModel.Item(domain).Vob_Id;
        };
        BeginRoutines(f.job);
        ASSERT_TRUE(f.job.Stages.Ended()) << f.job.Stages.FailureReason();

        const CellSectors table = MenuCellSectors(test::FixtureDisc(disc));
        ASSERT_EQ(scanned.size(), table.size());
        for (const auto& [domain, cells] : table) {
            const auto& vobs = scanned.at(domain);
            for (const auto& [id, sectors] : cells) {
                SCOPED_TRACE("domain " + std::to_string(domain) + " VOB id " + std::to_string(id.first) + " cell " +
                             std::to_string(id.second));
                const auto& cell = vobs.Item(id.first).CELL_ID.Item(id.second);
                EXPECT_EQ(cell.StartSector, sectors.first);
                // The last cell of the VOB is taken to end at the file's size in sectors.
                const bool last = id == cells.rbegin()->first;
                EXPECT_EQ(cell.EndSector, sectors.second + (last ? 1 : 0));
                ++compared;
            }
        }
    }
    // Every menu cell of the six discs.
    EXPECT_EQ(compared, 41);
}

// Frames of an SST time "HH:MM:SS:FF" at 30 labels a second.
int SstFrames(const std::string& time) {
    return ((std::stoi(time.substr(0, 2)) * 60 + std::stoi(time.substr(3, 2))) * 60 + std::stoi(time.substr(6, 2))) *
               30 +
           std::stoi(time.substr(9, 2));
}

TEST(SubpictureDiscs, TimedSubtitlesKeepTheTimesTheyWereMadeWith) {
    test::PipelineFixture f("ntsc-wide-menus-subs");
    BeginRoutines(f.job);
    ASSERT_TRUE(f.job.Stages.Ended()) << f.job.Stages.FailureReason();
    // Menu 2 is VOB id 2, three cells with one subtitle each, muxed at these
    // seconds from the start of its video; stream 0 of the one PGC.
    const double spans[][2] = {{0.2, 0.8}, {1.2, 1.7}, {2.2, 2.8}};
    std::vector<std::vector<std::string>> events;
    const auto lines = f.files.ReadLines("K:\\OUT\\D_VIDEO_TS\\SUBTITLES\\PGC_10x20.sst");
    for (std::size_t i = 16; i < lines.size(); ++i) {
        std::vector<std::string> fields;
        std::istringstream line(lines[i]);
        for (std::string field; std::getline(line, field, '\t');) fields.push_back(field);
        if (fields.size() >= 4 && fields[3].find("_V2_") != std::string::npos) events.push_back(fields);
    }
    ASSERT_EQ(events.size(), 3u);
    for (std::size_t k = 0; k < 3; ++k) {
        SCOPED_TRACE(events[k][3]);
        EXPECT_NE(events[k][3].find("_C" + std::to_string(k + 1) + ".bmp"), std::string::npos);
        EXPECT_NEAR(SstFrames(events[k][1]), spans[k][0] * 30000 / 1001, 1.0);
        EXPECT_NEAR(SstFrames(events[k][2]), spans[k][1] * 30000 / 1001, 1.0);
    }
}

// The buttons a bitmap's highlight took: per button its rectangle in each
// group, "x1:y1:x2:y2", groups joined by "/".
std::vector<std::string> Buttons(const VTS_Properties& domain, std::size_t vob, std::size_t cell) {
    std::vector<std::string> buttons;
    for (const auto& stream : domain.Vob_Id.Item(vob).SUB_STREAM) {
        if (cell > stream.CELL_DETAILS.Count()) continue;
        for (const auto& bitmap : stream.CELL_DETAILS.Item(cell).bmp) {
            for (const auto& highlight : bitmap.HIGHLIGHT_STREAM) {
                for (const auto& button : highlight.BUTTON_DETAILS) {
                    std::string areas;
                    for (const auto& a : button.HIGH_LIGHT_AREA) {
                        areas += (areas.empty() ? "" : "/") + std::to_string(a.X1) + ":" + std::to_string(a.Y1) +
                                 ":" + std::to_string(a.X2) + ":" + std::to_string(a.Y2);
                    }
                    EXPECT_EQ(button.Button_Action_String.size(), 16u) << areas;
                    EXPECT_FALSE(button.Button_Action.empty()) << areas;
                    buttons.push_back(areas);
                }
            }
        }
    }
    return buttons;
}

// The VMG's part of the model once the run has gone past its subpicture
// stage (the end of the run clears the model).
VTS_Properties RunForVmg(test::PipelineFixture& f) {
    VTS_Properties vmg;
    f.view.OnServe = [&f, &vmg](int) {
        if (f.job.Stages.Current() == RunStage::Encoding) vmg = f.job.DiscModel.Item(1);
    };
    BeginRoutines(f.job);
    EXPECT_TRUE(f.job.Stages.Ended()) << f.job.Stages.FailureReason();
    return vmg;
}

TEST(SubpictureDiscs, ButtonsComeFromTheNavPacksOfTheCellsHoldingTheirBitmaps) {
    using List = std::vector<std::string>;
    {
        test::PipelineFixture f("pal-menu-cells-jumppad");
        const VTS_Properties vmg = RunForVmg(f);
        ASSERT_EQ(vmg.Vob_Id.Count(), 3u);
        // Menu 1's intro (VOB 1) repeats the loop's buttons in its NAV packs
        // but holds no bitmap; menu 2 (VOB 3) has its bitmap in cell 1 only.
        EXPECT_EQ(Buttons(vmg, 1, 1), List{});
        EXPECT_EQ(Buttons(vmg, 2, 1), (List{"100:160:340:220", "380:160:620:220", "100:300:340:360", "380:300:620:360"}));
        EXPECT_EQ(Buttons(vmg, 3, 1), (List{"100:400:300:460", "420:400:620:460", "100:480:300:540", "420:480:620:540"}));
        EXPECT_EQ(Buttons(vmg, 3, 2), List{});
        EXPECT_EQ(vmg.Language.Item(1).PGC_Number.Item(1).Dummy, 0) << "a button menu is a real PGC";
        EXPECT_NE(vmg.Vob_Id.Item(2).IsMenu, 0);
    }
    {
        test::PipelineFixture f("ntsc-wide-menus-subs");
        const VTS_Properties vmg = RunForVmg(f);
        ASSERT_EQ(vmg.Vob_Id.Count(), 2u);
        // The widescreen and the letterbox group of each button, taken by the
        // highlight bitmap of stream id 0 and, from the next NAV pack, by
        // that of stream id 10.
        const List buttons{"120:120:340:200/120:150:340:210", "380:120:600:200/380:150:600:210",
                           "120:280:600:360/120:270:600:330"};
        List twice = buttons;
        twice.insert(twice.end(), buttons.begin(), buttons.end());
        EXPECT_EQ(Buttons(vmg, 1, 1), twice);
        EXPECT_EQ(vmg.Vob_Id.Item(1).SubStreamUsed, 11);
    }
}

// The caption disc's menu through the run: the captions of each of its two
// "Video" VOB ids go to that VOB's file, timed from its start and two
// frames later; the second VOB id starts 60 frames into the PGC.
TEST(SubpictureDiscs, MenuCaptionsGoToTheFileOfTheirVob) {
    test::PipelineFixture f("ntsc-menu-captions");
    const VTS_Properties vmg = RunForVmg(f);
    ASSERT_EQ(vmg.Vob_Id.Count(), 2u);
    const std::string folder = "K:\\OUT\\D_VIDEO_TS\\SUBTITLES\\";
    const std::string head = "Scenarist_SCC V1.0\r\n \r\n";
    EXPECT_EQ(f.files.ReadText(folder + "001.scc"),
              head + "00:00:00:02\t9420 9420 94ae 94ae 9452 9452 97a2 97a2 cb45 d354 524f d6c1 942f 942f\r\n \r\n" +
                  "00:00:01:08\t942c 942c\r\n");
    EXPECT_EQ(f.files.ReadText(folder + "002.scc"),
              head + "00:00:00:20\t9420 9420 94ae 94ae 9452 9452 cd45 ced5 942f 942f\r\n");
    for (std::size_t v = 1; v <= 2; ++v) {
        EXPECT_EQ(vmg.Vob_Id.Item(v).Vob_Type, "Video");
        EXPECT_EQ(vmg.Vob_Id.Item(v).Line_21_FilePath_1, folder + "00" + std::to_string(v) + ".scc");
        EXPECT_EQ(vmg.Vob_Id.Item(v).Line_21_Switch_1, -1);
    }
}

}  // namespace
}  // namespace kestrova
