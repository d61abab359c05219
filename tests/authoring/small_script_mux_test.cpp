// The mux of a small script on real streams ffmpeg makes: a video segment
// and a segment of stills authored by ffmpeg and dvdauthor, checked with
// libdvdread (cells, VOB id, cell times) and ffprobe (the audio), and the
// faults of a script that stop the mux before any IFO is left.
#include <gtest/gtest.h>

#include <dvdread/dvd_reader.h>
#include <dvdread/ifo_read.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "assets/mpeg_test_streams.h"
#include "authoring/small_script_mux.h"
#include "platform/files.h"
#include "platform/launcher.h"
#include "platform/process.h"
#include "support/temp_folder.h"

namespace kestrova {
namespace {

bool HaveDvdauthor() {
    static const bool have = std::system("dvdauthor -h >/dev/null 2>&1; command -v dvdauthor >/dev/null") == 0;
    return have;
}

struct MuxFixture {
    MuxFixture() : paths(temp.Drives()), files(paths), launcher(paths), runner(launcher) {
        RegisterMuxPrograms(launcher);
    }

    // ffmpeg with these arguments, writing `name` in the temp folder.
    void Make(const std::string& name, const std::string& arguments) {
        const std::string command =
            "ffmpeg -nostdin -loglevel error -y " + arguments + " '" + temp.Host(name) + "'";
        ASSERT_EQ(std::system(command.c_str()), 0) << command;
    }

    test::TempFolder temp;
    platform::PathSpace paths;
    platform::FileSystem files;
    platform::Launcher launcher;
    platform::ProcessRunner runner;
};

ScriptPlay Play(std::uint32_t line, const std::string& file, const std::string& duration = {}) {
    ScriptPlay play;
    play.Place = {0, line};
    play.File = file;
    play.Duration = duration;
    return play;
}

ScriptScene Scene(std::uint32_t line, const std::string& name, const std::string& time) {
    ScriptScene scene;
    scene.Place = {0, line};
    scene.Name = name;
    scene.SceneTime = time;
    return scene;
}

ScriptModel SmallScript(ScriptTrack segment, ScriptDomainKind domain) {
    ScriptModel model;
    model.Dialect = ScriptDialect::Muxman;
    model.Files = {"Muxman001.MXP"};
    model.TrackFolders.push_back({{0, 4}, "Content", {std::move(segment)}});
    model.Scenario.Domains.push_back({});
    model.Scenario.Domains.back().Kind = ScriptDomainKind::VideoManager;
    if (domain == ScriptDomainKind::TitleSet) {
        model.Scenario.Domains.push_back({});
        model.Scenario.Domains.back().Kind = ScriptDomainKind::TitleSet;
    }
    return model;
}

// What libdvdread reads of title set 1's one PGC: per cell its VOB id, cell
// id and start in frames (the playback times before it added up).
struct TitleCell {
    int VobId = 0, CellId = 0;
    long StartFrame = 0;
};

std::vector<TitleCell> ReadTitleCells(const std::string& folder, int rate) {
    std::unique_ptr<dvd_reader_t, void (*)(dvd_reader_t*)> dvd(DVDOpen(folder.c_str()), DVDClose);
    if (!dvd) return {};
    std::unique_ptr<ifo_handle_t, void (*)(ifo_handle_t*)> ifo(ifoOpen(dvd.get(), 1), ifoClose);
    if (!ifo || ifo->vts_pgcit == nullptr || ifo->vts_pgcit->nr_of_pgci_srp != 1) return {};
    const pgc_t* pgc = ifo->vts_pgcit->pgci_srp[0].pgc;
    std::vector<TitleCell> cells;
    long start = 0;
    auto bcd = [](std::uint8_t value) { return (value >> 4) * 10 + (value & 15); };
    for (int c = 0; c < pgc->nr_of_cells; ++c) {
        cells.push_back({pgc->cell_position[c].vob_id_nr, pgc->cell_position[c].cell_nr, start});
        const dvd_time_t& time = pgc->cell_playback[c].playback_time;
        start += ((bcd(time.hour) * 60L + bcd(time.minute)) * 60 + bcd(time.second)) * rate + bcd(time.frame_u & 0x3F);
    }
    return cells;
}

// The codec of each audio stream ffprobe finds in a file.
std::string AudioCodecs(const std::string& hostPath) {
    return test::CaptureCommand("ffprobe -v error -select_streams a -show_entries stream=codec_name -of csv=p=0 '" +
                                hostPath + "'");
}

TEST(SmallScriptMux, AVideoSegmentBecomesOneVobIdCutAtItsScenes) {
    KESTROVA_REQUIRE_FFMPEG();
    if (!HaveDvdauthor()) GTEST_SKIP() << "dvdauthor is not installed";
    MuxFixture f;
    // 3 s of PAL video, a group every 6 frames (0.24 s): each starts a VOBU.
    f.Make("001.m2v", "-f lavfi -i testsrc=size=720x576:rate=25:duration=3 -c:v mpeg2video -g 6 -bf 0 "
                      "-aspect 16:9 -f mpeg2video");
    f.Make("1-001.ac3", "-f lavfi -i sine=frequency=440:sample_rate=48000:duration=3 -c:a ac3 -b:a 192k");
    ScriptTrack segment;
    segment.Place = {0, 5};
    segment.Name = "VTS1_VOBID1";
    segment.Standard = "PAL";
    segment.DisplayMode = "Only Letterbox";
    segment.VideoPlays = {Play(12, "K:\\001.m2v", "Actual")};
    segment.AudioStreams.push_back({{0, 15}, 1, "en", 1, 0, "", {Play(20, "K:\\1-001.ac3")}});
    // The second scene starts a group 0.72 s in; the third is no VOBU start: its cut moves to frame 48.
    segment.Scenes = {Scene(30, "VTS1_001_Scene_001", "00:00:00:00"), Scene(35, "VTS1_001_Scene_002", "00:00:00;18"),
                      Scene(40, "VTS1_001_Scene_003", "00:00:02:00")};
    const ScriptModel model = SmallScript(segment, ScriptDomainKind::TitleSet);

    const SmallScriptMux result = MuxSmallScript(model, "K:\\OUT", f.files, f.runner);
    EXPECT_FALSE(result.VideoManager);
    EXPECT_EQ(result.Cells, 3);
    ASSERT_EQ(result.Messages.size(), 1u);
    EXPECT_EQ(FormatMuxMessage(model, result.Messages[0].Level, result.Messages[0].Place, result.Messages[0].Text),
              "Muxman001.MXP:40: warning: The scene \"VTS1_001_Scene_003\" at 00:00:02:00 is no VOBU start: its cell "
              "starts at 00:00:01:23");

    // Flat in the destination, nothing else left there.
    EXPECT_EQ(f.files.List("K:\\OUT", "*", platform::ListKind::Files),
              (std::vector<std::string>{"VIDEO_TS.BUP", "VIDEO_TS.IFO", "VTS_01_0.BUP", "VTS_01_0.IFO", "VTS_01_1.VOB"}));
    EXPECT_TRUE(f.files.List("K:\\OUT", "*", platform::ListKind::Folders).empty());
    const std::vector<TitleCell> cells = ReadTitleCells(f.temp.Host("OUT"), 25);
    ASSERT_EQ(cells.size(), 3u);
    const long starts[] = {0, 18, 48};
    for (std::size_t c = 0; c < cells.size(); ++c) {
        EXPECT_EQ(cells[c].VobId, 1) << "cell " << c + 1;
        EXPECT_EQ(cells[c].CellId, static_cast<int>(c + 1));
        EXPECT_NEAR(cells[c].StartFrame, starts[c], 1) << "cell " << c + 1;
    }
    EXPECT_EQ(AudioCodecs(f.temp.Host("OUT/VTS_01_1.VOB")), "ac3\n");
}

TEST(SmallScriptMux, StillsAreHeldAndTheirAudioCutOrFilledToThem) {
    KESTROVA_REQUIRE_FFMPEG();
    if (!HaveDvdauthor()) GTEST_SKIP() << "dvdauthor is not installed";
    MuxFixture f;
    for (const char* cell : {"1", "2", "3"}) {
        f.Make(std::string("002_00") + cell + ".m2v",
               std::string("-f lavfi -i color=c=0x20") + cell + "040:size=720x480:rate=30000/1001 -frames:v 1 "
               "-c:v mpeg2video -f mpeg2video");
    }
    // The second still's user data holds what ffmpeg's probe takes for transport stream packets.
    std::vector<std::uint8_t> still = f.files.ReadBytes("K:\\002_002.m2v");
    std::string userData = std::string("\0\0\1\xB2", 4);
    for (int packet = 0; packet < 8; ++packet) userData += "\x47\x1F\xFF\x10" + std::string(184, '\xFF');
    const std::uint8_t group[] = {0, 0, 1, 0xB8};
    const auto at = std::search(still.begin(), still.end(), std::begin(group), std::end(group));
    ASSERT_NE(at, still.end());
    still.insert(at, userData.begin(), userData.end());
    f.temp.Write("002_002.m2v", std::string(still.begin(), still.end()));
    // 5.1 audio of 2 s under the first still (cut), none under the second (silence, LFE and all), 0.2 s under
    // the third (filled).
    f.Make("1-002_001.ac3", "-f lavfi -i sine=frequency=440:sample_rate=48000:duration=2 -ac 6 -c:a ac3 -b:a 448k");
    f.Make("1-002_003.ac3", "-f lavfi -i sine=frequency=550:sample_rate=48000:duration=0.2 -ac 6 -c:a ac3 -b:a 448k");
    f.temp.Write("OUT/VIDEO_TS.IFO", "an earlier result");
    ScriptTrack segment;
    segment.Place = {0, 5};
    segment.Name = "VMG_VOBID2";
    segment.Standard = "NTSC";
    segment.VideoPlays = {Play(10, "K:\\002_001.m2v", "Default"), Play(14, "K:\\002_002.m2v", "Default"),
                          Play(18, "K:\\002_003.m2v", "Default")};
    // Named after their stills, in another order than the video plays.
    segment.AudioStreams.push_back({{0, 22}, 1, "en", 1, 0, "", {Play(27, "K:\\1-002_003.ac3"), Play(24, "K:\\1-002_001.ac3")}});
    segment.SubpictureStreams.push_back({{0, 30}, 1, "en", 0, 0, "Normal", {Play(32, "K:\\menu.bmp")}});
    segment.Scenes = {Scene(40, "VMG_002_Scene_001", "00:00:00:00"), Scene(44, "VMG_002_Scene_002", "00:00:00:15"),
                      Scene(48, "VMG_002_Scene_003", "00:00:01:00")};
    const ScriptModel model = SmallScript(segment, ScriptDomainKind::VideoManager);

    const SmallScriptMux result = MuxSmallScript(model, "K:\\OUT", f.files, f.runner);
    EXPECT_TRUE(result.VideoManager);
    ASSERT_EQ(result.Messages.size(), 1u);
    EXPECT_EQ(result.Messages[0].Place.Line, 32u);
    EXPECT_EQ(result.Messages[0].Text, "The sub-picture play \"K:\\menu.bmp\" is not muxed in this version");
    const std::vector<TitleCell> cells = ReadTitleCells(f.temp.Host("OUT"), 30);
    ASSERT_EQ(cells.size(), 3u);
    for (std::size_t c = 0; c < cells.size(); ++c) {
        EXPECT_EQ(cells[c].VobId, 1);
        EXPECT_EQ(cells[c].CellId, static_cast<int>(c + 1));
        EXPECT_NEAR(cells[c].StartFrame, 15 * static_cast<long>(c), 1) << "cell " << c + 1;
    }
    // 45 frames of 1001/30000 s: the audio ends with the video, within an AC3 frame.
    const std::string vob = f.temp.Host("OUT/VTS_01_1.VOB");
    EXPECT_EQ(AudioCodecs(vob), "ac3\n");
    const std::string audio = test::CaptureCommand("ffprobe -v error -select_streams a -show_entries packet=pts_time "
                                                   "-of csv=p=0 '" + vob + "' | sort -n | sed -n '1p;$p'");
    double first = 0, last = 0;
    ASSERT_EQ(std::sscanf(audio.c_str(), "%lf %lf", &first, &last), 2) << audio;
    EXPECT_NEAR(last + 0.032 - first, 45 * 1001 / 30000.0, 0.032);
}

TEST(SmallScriptMux, AScriptItCannotMuxNamesItsLineAndLeavesNoIfo) {
    KESTROVA_REQUIRE_FFMPEG();
    if (!HaveDvdauthor()) GTEST_SKIP() << "dvdauthor is not installed";
    MuxFixture f;
    f.Make("pal.m2v", "-f lavfi -i testsrc=size=720x576:rate=25:duration=1 -c:v mpeg2video -f mpeg2video");
    f.Make("ntsc.m2v", "-f lavfi -i testsrc=size=720x480:rate=30000/1001:duration=1 -c:v mpeg2video -f mpeg2video");
    struct Case {
        const char* File;
        const char* SecondScene;
        std::uint32_t Line;
        const char* Text;
    };
    const Case cases[] = {
        {"K:\\none.m2v", "00:00:00:12", 12, "The video play's file \"K:\\none.m2v\" does not exist"},
        {"K:\\ntsc.m2v", "00:00:00:12", 12,
         "The video play's file \"K:\\ntsc.m2v\" is MPEG-2 at 30000/1001 frames a second; a PAL segment holds "
         "MPEG-2 at 25/1"},
        {"K:\\pal.m2v", "00:00:01:00", 35,
         "The scene \"B\" starts at 00:00:01:00, past the end of the segment's video at 00:00:01:00"},
    };
    for (const Case& c : cases) {
        f.temp.Write("OUT/VTS_01_0.IFO", "an earlier result");
        ScriptTrack segment;
        segment.Standard = "PAL";
        segment.VideoPlays = {Play(12, c.File, "Actual")};
        segment.Scenes = {Scene(30, "A", "00:00:00:00"), Scene(35, "B", c.SecondScene)};
        try {
            MuxSmallScript(SmallScript(segment, ScriptDomainKind::TitleSet), "K:\\OUT", f.files, f.runner);
            ADD_FAILURE() << c.Text;
        } catch (const MuxError& fault) {
            EXPECT_EQ(fault.Place.Line, c.Line);
            EXPECT_EQ(std::string(fault.what()), c.Text);
        }
        EXPECT_TRUE(f.files.List("K:\\OUT", "*", platform::ListKind::Files).empty()) << c.Text;
    }
}

}  // namespace
}  // namespace kestrova
