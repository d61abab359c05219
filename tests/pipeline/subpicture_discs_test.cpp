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

}  // namespace
}  // namespace kestrova
