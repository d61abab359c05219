// Closed captions: the vsrip and vobsub2scc stand-ins on the caption
// fixture menu against what ffmpeg reads of it, cut caption data named by
// file and offset, and ProcessCC cutting a PGC's caption file along the
// cells.
#include "subpicture/closed_captions.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <iterator>
#include <sstream>

#include "assets/asset_stage_fixture.h"
#include "assets/mpeg_test_streams.h"
#include "assets/program_stream.h"
#include "dvd/disc_reading.h"
#include "job/folders.h"
#include "job/tool_table.h"
#include "subpicture/extraction.h"
#include "subpicture/sst.h"
#include "support/fixtures.h"
#include "support/job_fixture.h"

namespace kestrova {
namespace {

constexpr const char* kSubtitles = "K:\\Job\\D_VIDEO_TS\\SUBTITLES";

std::string ReadHost(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

// The caption fixture's VMG menu in the work folder of a job whose tools
// are the stand-ins, ripped by CreateIFO and converted by NewConvert_SUBS.
struct CaptionJob : test::JobFixture {
    explicit CaptionJob(const std::string& vob = {}) {
        AddStandInTools(launcher, KESTROVA_HOST_PROGRAMS);
        runner.SetChildOutput([this](const std::string& line) { childOutput += line + "\n"; });
        job.RecoveryJournal.File("K:\\Kestrova_Recovery.LOG");
        job.JobRoot = job.OutputFolder = "K:\\Job";
        job.WorkFolder = "K:\\Job\\D_VIDEO_TS";
        MakeWorkFolders(job, job.WorkFolder);
        const std::string disc = test::FixtureDisc("ntsc-menu-captions");
        test::ReadDisc(job, disc);
        job.DomainIndex = 1;
        files.WriteText(Path("VTS_01_0.VOB"), vob.empty() ? ReadHost(disc + "/VIDEO_TS.VOB") : vob);
    }
    std::string Path(const std::string& name) const { return std::string(kSubtitles) + "\\" + name; }
    bool Rip() {
        if (CreateIFO(job) != 1) return false;
        NewConvert_SUBS(job, 1);
        return true;
    }
    std::string childOutput;
};

// A caption line: its frame of 1/29.97 s and its words.
struct Caption {
    int Frame = 0;
    std::vector<std::string> Words;
};

// The caption lines of an SCC text. Ours count labels at 30 a second;
// ffmpeg writes wall-clock time, its last field milliseconds / 33.
std::vector<Caption> ReadScc(const std::string& text, bool wallClock) {
    std::vector<Caption> captions;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        const auto tab = line.find('\t');
        if (tab == std::string::npos) continue;
        const int seconds =
            std::stoi(line.substr(0, 2)) * 3600 + std::stoi(line.substr(3, 2)) * 60 + std::stoi(line.substr(6, 2));
        const int last = std::stoi(line.substr(9, 2));
        Caption caption;
        caption.Frame = wallClock ? static_cast<int>(std::lround((seconds + last * 0.033) * 30000 / 1001))
                                  : seconds * 30 + last;
        std::istringstream words(line.substr(tab + 1));
        for (std::string word; words >> word;) caption.Words.push_back(word);
        captions.push_back(caption);
    }
    return captions;
}

// ffmpeg's captions of the video of one VOB id (its sectors cut out of
// the VOB), its frames shifted by `shift`; `frames` gets ffprobe's count.
std::vector<Caption> FfmpegCaptions(const std::string& host, const std::string& bytes, int shift, int& frames) {
    std::ofstream(host, std::ios::binary) << bytes;
    const std::string scc = test::CaptureCommand("ffmpeg -nostdin -v error -f lavfi -i 'movie=" + host +
                                           "[out0+subcc]' -map 0:1 -c copy -f scc -");
    frames = std::atoi(test::CaptureCommand("ffprobe -v error -count_frames -select_streams v -show_entries "
                                      "stream=nb_read_frames -of csv=p=0 '" + host + "'")
                           .c_str());
    std::vector<Caption> captions = ReadScc(scc, true);
    for (Caption& caption : captions) caption.Frame += shift;
    return captions;
}

// The fixture menu's two VOB ids, one with captions in its group user
// data, one in its picture user data: vobsub2scc's caption file holds the
// words ffmpeg reads from each VOB id, each caption on the frame ffmpeg
// shows its first word (ffmpeg times each group's or picture's words
// together, so only first words are compared), the second VOB id's
// frames following the first's on the PGC's time line.
TEST(ClosedCaptionStandIns, TheFixtureMenusCaptionsAreThoseFfmpegReads) {
    KESTROVA_REQUIRE_FFMPEG();
    CaptionJob f;
    ASSERT_TRUE(f.Rip()) << f.childOutput;
    EXPECT_EQ(f.childOutput, "");
    EXPECT_FALSE(f.files.FileExists(f.Path("PGC_1.cc.raw"))) << "renamed for vobsub2scc";
    ASSERT_TRUE(f.files.FileExists(f.Path("PGC_1.scc")));
    const std::string text = f.files.ReadText(f.Path("PGC_1.scc"));
    EXPECT_EQ(text.substr(0, 23), "Scenarist_SCC V1.0\r\n \r\n");
    const std::vector<Caption> ours = ReadScc(text, false);
    ASSERT_EQ(ours.size(), 3u) << text;

    const std::string vob = f.files.ReadText(f.Path("VTS_01_0.VOB"));
    const auto& vobs = f.job.DiscModel.Item(1).Vob_Id;
    ASSERT_EQ(vobs.Count(), 2u);
    std::vector<Caption> theirs;
    int shift = 0;
    for (std::size_t v = 1; v <= 2; ++v) {
        const auto& cells = vobs.Item(v).CELL_ID;
        const std::size_t first = static_cast<std::size_t>(cells.Item(1).StartSector) * kPackSize;
        const std::size_t end = std::min<std::size_t>(
            (static_cast<std::size_t>(cells.Item(cells.Count()).EndSector) + 1) * kPackSize, vob.size());
        int frames = 0;
        const auto part = FfmpegCaptions(f.temp.Host("vob" + std::to_string(v) + ".vob"),
                                         vob.substr(first, end - first), shift, frames);
        theirs.insert(theirs.end(), part.begin(), part.end());
        shift += frames;
    }

    std::vector<std::string> ourWords, theirWords;
    std::vector<int> theirFrames;  // of each word's line
    for (const Caption& caption : theirs) {
        theirWords.insert(theirWords.end(), caption.Words.begin(), caption.Words.end());
        theirFrames.insert(theirFrames.end(), caption.Words.size(), caption.Frame);
    }
    for (const Caption& caption : ours) {
        ASSERT_LT(ourWords.size(), theirFrames.size());
        EXPECT_NEAR(caption.Frame, theirFrames[ourWords.size()], 1) << caption.Words.front();
        ourWords.insert(ourWords.end(), caption.Words.begin(), caption.Words.end());
    }
    EXPECT_EQ(ourWords, theirWords);
}

// A caption block whose flags announce more frames than it holds, and a
// raw caption file cut inside its last record: each is named by file and
// offset, and no caption file comes of it.
TEST(ClosedCaptionStandIns, CutCaptionDataIsNamedWithItsOffset) {
    CaptionJob good;
    ASSERT_TRUE(good.Rip()) << good.childOutput;
    const std::string raw = good.Path("PGC_1.sub.cc.raw");
    const std::string records = good.files.ReadText(raw);
    ASSERT_EQ(records.size() % 6, 0u);
    good.files.WriteText(raw, records.substr(0, records.size() - 2));
    good.runner.ShellAndWait("K:\\Program\\vobsub2scc.exe " + raw, 0);
    EXPECT_EQ(good.runner.History().back().ExitCode, 1);
    EXPECT_NE(good.childOutput.find("\"" + raw + "\" at byte " + std::to_string(records.size() - 6) +
                                    ": the record is cut short (4 of its 6 bytes)"),
              std::string::npos)
        << good.childOutput;
    EXPECT_FALSE(good.files.FileExists(good.Path("PGC_1.scc")));

    std::string vob = ReadHost(test::FixtureDisc("ntsc-menu-captions") + "/VIDEO_TS.VOB");
    const std::size_t block = vob.find(std::string("\0\0\1\xB2" "CC\x01\xF8", 8));
    ASSERT_NE(block, std::string::npos);
    vob[block + 8] = static_cast<char>(0x80 | 31 << 1);  // 31 frames announced, 18 held
    CaptionJob cut(vob);
    cut.Rip();
    EXPECT_NE(cut.childOutput.find("\"" + cut.Path("VTS_01_0.VOB") + "\" at byte " + std::to_string(block) +
                                   ": the caption user data holds 113 bytes"),
              std::string::npos)
        << cut.childOutput;
    EXPECT_TRUE(cut.files.FileExists(cut.Path("PGC_1.idx"))) << "the subpicture rip comes first";
    EXPECT_FALSE(cut.files.FileExists(cut.Path("PGC_1.sub.cc.raw")));
    EXPECT_FALSE(cut.files.FileExists(cut.Path("PGC_1.scc")));
}

// ProcessCC at the end of ProcessSST, on a domain of a "Video" VOB of two
// cells, a "Combo" VOB of two cells and a "Video" VOB whose first cell
// starts where the Combo's second does (a non-"Video" row takes the
// running total, so rows need not rise, and the later row wins).
class ClosedCaptions : public test::AssetStageFixture {
public:
    ClosedCaptions() {
        auto& first = AddVob({91, 100});
        first.Vob_Type = "Video";
        first.CELL_ID.Item(1).StartFrame = 10, first.CELL_ID.Item(1).EndFrame = 100;
        first.CELL_ID.Item(2).StartFrame = 101, first.CELL_ID.Item(2).EndFrame = 200;
        auto& combo = AddVob({60, 60});
        combo.Vob_Type = "Combo";
        combo.CELL_ID.Item(1).TotalFrames = 200, combo.CELL_ID.Item(2).TotalFrames = 260;
        auto& last = AddVob({90});
        last.Vob_Type = "Video";
        last.CELL_ID.Item(1).EndFrame = 90;
    }
    std::string Subtitles(const std::string& name) const { return "K:\\Job\\D_VTS_01_0\\SUBTITLES\\" + name; }
    std::string Text(const std::string& name) const { return files.ReadText(Subtitles(name)); }
};

TEST_F(ClosedCaptions, EachCaptionGoesToItsAssetsFileAndAPalTargetWritesNone) {
    const std::string scc = Subtitles("PGC_1.scc");
    files.WriteText(scc,
                    "Scenarist_SCC V1.0\r\n \r\n"
                    "00:00:00:05\t9420 9420\r\n \r\n"          // before the first row: dropped
                    "00:00:00:10\t9420 94ae\r\n \r\n"          // VOB 1 at 0 + 2
                    "00:00:03:00\t942c 942c\r\n \r\n"          // VOB 1 at 80 + 2
                    "00:00:07:00\tcb45 d354\r\n \r\n"          // VOB 2 cell 1 at 10, then written anew:
                    "00:00:08:00\t524f d6c1\r\n"               // at 40
                    "9420 9420\r\n99:99:99:99\t9420\r\n00:00:08:10\t94zz\r\n \r\n"
                    "00:00:09:00\t942f 942f\r\n");             // VOB 3 at 10 + 2, not VOB 2 cell 2
    files.WriteText(Subtitles("001_001.scc"), "old");
    files.WriteText(Subtitles("002_002.scc"), "old");

    // A PAL target leaves everything as it is.
    ProcessSST(job, 2, 0);
    EXPECT_EQ(Text("002_002.scc"), "old");
    EXPECT_FALSE(Has("Job/D_VTS_01_0/SUBTITLES/001.scc"));

    job.Timing.VideoStandard = "NTSC";
    ProcessSST(job, 2, 0);
    const std::string head = "Scenarist_SCC V1.0\r\n \r\n";
    EXPECT_EQ(Text("001.scc"), head + "00:00:00:02\t9420 94ae\r\n \r\n00:00:02:22\t942c 942c\r\n");
    EXPECT_EQ(Text("002_001.scc"), head + "00:00:01:10\t524f d6c1\r\n");
    EXPECT_EQ(Text("003.scc"), head + "00:00:00:12\t942f 942f\r\n");
    for (const char* gone : {"001_001.scc", "002_002.scc"}) EXPECT_FALSE(files.FileExists(Subtitles(gone))) << gone;

    EXPECT_EQ(Domain().Vob_Id.Item(1).Line_21_FilePath_1, Subtitles("001.scc"));
    EXPECT_EQ(Domain().Vob_Id.Item(1).Line_21_Switch_1, -1);
    EXPECT_EQ(Domain().Vob_Id.Item(2).CELL_ID.Item(1).Line_21_FilePath_1, Subtitles("002_001.scc"));
    EXPECT_EQ(Domain().Vob_Id.Item(2).CELL_ID.Item(1).Line_21_Switch_1, -1);
    EXPECT_EQ(Domain().Vob_Id.Item(2).Line_21_Switch_1, 0);

    const std::vector<std::string> expected = {
        "PGC-1",
        "NewSccFile[ Vobid=1, Cellid=2 ]=" + Subtitles("001.scc"),
        "NewSccFile[ Vobid=1, Cellid=2 ]=" + Subtitles("001.scc"),
        "NewSccFile[ Vobid=2, Cellid=1 ]=" + Subtitles("002_001.scc"),
        "NewSccFile[ Vobid=2, Cellid=1 ]=" + Subtitles("002_001.scc"),
        "\tWARNING: " + scc + " line 12: no tab between the time code and the words; passed over",
        "\tWARNING: " + scc + " line 13: the time code \"99:99:99:99\" is not HH:MM:SS:FF at 30 frames a second; "
        "passed over",
        "\tWARNING: " + scc + " line 14: \"94zz\" is not a word of four hexadecimal digits; passed over",
        "NewSccFile[ Vobid=3, Cellid=1 ]=" + Subtitles("003.scc"),
    };
    std::vector<std::string> logged;
    for (const std::string& line : LogLines()) {
        if (line.rfind("PGC-", 0) == 0 || line.rfind("NewSccFile", 0) == 0 || line.find(scc) != std::string::npos) {
            logged.push_back(line);
        }
    }
    EXPECT_EQ(logged, expected);
}

}  // namespace
}  // namespace kestrova
