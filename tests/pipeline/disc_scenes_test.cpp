// The frame serving over real discs: after the run has read the IFOs and
// typed the VOBs, each motion cell starts and ends where the playback times
// libdvdread reads put it, and every asset's script serves the frames
// ffprobe counts in its video.
#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <sstream>

#include "assets/mpeg_test_streams.h"
#include "frameserver/avi_info.h"
#include "pipeline/pipeline.h"
#include "pipeline_fixture.h"

namespace kestrova {
namespace {

// Frames of each menu cell at 25 a second, as libdvdread reads its playback
// time, by domain (1 the VMG, n + 1 title set n), VOB id and cell id.
using CellFrames = std::map<std::size_t, std::map<std::size_t, std::map<std::size_t, int>>>;

int Bcd(const std::string& hex, std::size_t at, int mask = 0xFF) {
    const int value = std::stoi(hex.substr(at, 2), nullptr, 16) & mask;
    return value / 16 * 10 + value % 16;
}

CellFrames MenuCellFrames(const std::string& disc) {
    const std::string call = std::string(KESTROVA_DVDREAD_DUMP) + " '" + disc + "'";
    FILE* dump = popen(call.c_str(), "r");
    EXPECT_NE(dump, nullptr) << call;
    CellFrames frames;
    std::size_t domain = 0;
    char line[512];
    while (dump != nullptr && std::fgets(line, sizeof line, dump) != nullptr) {
        std::istringstream fields(line);
        std::string word, pgc, vobWord, cellWord, time;
        std::size_t number = 0, vob = 0, cell = 0;
        fields >> word;
        if (word == "IFO") ++domain;
        // Menu PGCs are "unit.pgc"; the first-play and title PGCs are not menus.
        if (word != "CELL" || !(fields >> pgc >> number >> vobWord >> vob >> cellWord >> cell) ||
            pgc.find('.') == std::string::npos) {
            continue;
        }
        while (fields >> word && word != "TIME") {}
        fields >> time;
        frames[domain][vob][cell] = ((Bcd(time, 0) * 60 + Bcd(time, 2)) * 60 + Bcd(time, 4)) * 25 + Bcd(time, 6, 0x3F);
    }
    EXPECT_EQ(dump == nullptr ? -1 : pclose(dump), 0) << call;
    return frames;
}

TEST(DiscScenes, MotionCellsStartAndEndWhereTheirPlaybackTimesPutThem) {
    const std::string disc = "pal-menu-cells-jumppad";
    test::PipelineFixture f(disc);
    // The cells of each domain as the frame serving stage sees them, after EnableScenes.
    std::map<std::size_t, Collection<VOB_ID_Properties>> scenes;
    f.view.OnServe = [&f, &scenes](int) {
        if (f.job.Stages.Current() != RunStage::FrameServing) return;
        const auto domain = static_cast<std::size_t>(f.job.DomainIndex);
        scenes[domain] = f.job.DiscModel.Item(domain).Vob_Id;
    };
    BeginRoutines(f.job);
    ASSERT_TRUE(f.job.Stages.Ended()) << f.job.Stages.FailureReason();

    const CellFrames played = MenuCellFrames(test::FixtureDisc(disc));
    int motionCells = 0, otherVobs = 0;
    for (const auto& [domain, vobs] : scenes) {
        for (std::size_t v = 1; v <= vobs.Count(); ++v) {
            const auto& vob = vobs.Item(v);
            if (vob.Vob_Type != "Video") {
                ++otherVobs;
                continue;
            }
            // Cells follow one another; one of 15 frames or fewer after the
            // first takes the rest of 15 from the end of the one before,
            // which then ends a frame before it starts.
            std::vector<int> starts, ends;
            int end = 0;
            for (std::size_t c = 1; c <= vob.CELL_ID.Count(); ++c) {
                const int frames = played.at(domain).at(v).at(c);
                starts.push_back(end);
                ends.push_back(end += frames);
                if (c > 1 && frames <= 15) {
                    starts.back() = end - 15;
                    ends[c - 2] = starts.back() - 1;
                }
            }
            for (std::size_t c = 1; c <= vob.CELL_ID.Count(); ++c, ++motionCells) {
                const auto& cell = vob.CELL_ID.Item(c);
                EXPECT_EQ(cell.StartFrame, starts[c - 1]) << "domain " << domain << " VOB id " << v << " cell " << c;
                EXPECT_EQ(cell.EndFrame, ends[c - 1]) << "domain " << domain << " VOB id " << v << " cell " << c;
            }
        }
    }
    // The VMG's two VOB ids of one cell and one of three; the title set's
    // still root menu, two of one cell and one of three.
    EXPECT_EQ(scenes.size(), 2u);
    EXPECT_EQ(motionCells, 10);
    EXPECT_EQ(otherVobs, 1);
}

TEST(DiscScenes, EveryAssetsScriptServesTheFramesOfItsVideo) {
    KESTROVA_REQUIRE_FFMPEG();
    for (const char* disc : {"pal-vmg-buttons", "ntsc-vts-menus-2lang", "pal-menu-cells-jumppad",
                             "pal-menu-dummy-cells"}) {
        SCOPED_TRACE(disc);
        test::PipelineFixture f(disc);
        f.job.Tools = ToolProfile::Native;
        BeginRoutines(f.job);
        ASSERT_TRUE(f.job.Stages.Ended()) << f.job.Stages.FailureReason();
        int scripts = 0;
        for (const auto& domain : f.files.List("K:\\OUT", "D_*", platform::ListKind::Folders)) {
            const std::string work = "K:\\OUT\\" + domain;
            for (const auto& avs : f.files.List(work + "\\FRAMESERVING", "*.avs", platform::ListKind::Files)) {
                const std::string name = avs.substr(0, avs.size() - 4);
                const std::string base = work + "\\FRAMESERVING\\" + name;
                EXPECT_TRUE(f.files.FileExists(base + ".d2v") && f.files.FileExists(base + ".log")) << base;
                const std::string m2v =
                    work + (name.size() > 3 ? "\\DEMUXED_CELLID\\" : "\\DEMUXED\\") + name + ".M2V";
                const auto probed = test::ProbeFrames(f.files.ToHost(m2v)).size();
                EXPECT_EQ(GetFrames(f.job, base + ".avs", false).Frames, static_cast<std::int32_t>(probed)) << base;
                ++scripts;
            }
        }
        EXPECT_GT(scripts, 2);
    }
}

}  // namespace
}  // namespace kestrova
