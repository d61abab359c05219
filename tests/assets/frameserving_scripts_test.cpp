// The frame serving of an asset on real streams: the indexing stand-ins,
// the classification, the scripts and the frame server's count, as
// NewDVD2AVIProc runs them; and the scripts of each type against their
// golden text.
#include "assets/frameserving.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "asset_stage_fixture.h"
#include "assets/mpeg_test_streams.h"
#include "job/script_templates.h"
#include "job/tool_table.h"
#include "platform/text.h"

namespace kestrova {
namespace {

class FrameservingScripts : public test::AssetStageFixture {
public:
    FrameservingScripts() {
        job.Tools = ToolProfile::Native;
        job.AvisynthScripts = DefaultAvsScripts(job.ProgramFolder, "1.0");
        job.ConversionTemplates = DefaultConversionScripts(job.ProgramFolder, "1.0");
        auto& o = job.Options();
        o.Field = o.FrameType = o.Scanning = "Auto";
        o.Default_Encode = 40;
    }

    // A "Video" VOB id 1 whose M2V is the stream, indexed as the VOB typing
    // indexes it.
    VOB_ID_Properties& IndexedVob(const std::string& stream, const std::string& standard) {
        job.Timing.VideoStandard = standard;
        job.DvdFrameRate = standard == "PAL" ? 25 : 30;
        Domain().Vob_Id = {};
        Domain().Video.Item(1).VobId = {};
        auto& vob = AddVob({0});
        vob.Vob_Type = "Video";
        files.DeleteTree("K:\\Job\\D_VTS_01_0\\FRAMESERVING");
        files.MakeFolder("K:\\Job\\D_VTS_01_0\\FRAMESERVING");
        Put("Job/D_VTS_01_0/DEMUXED/001.M2V", test::MpegTestStreams::Get().Folder().Read(FileName(stream)));
        RunDVD2AVI(job, "K:\\Job\\D_VTS_01_0\\DEMUXED\\001.M2V", "001", false);
        RunDVD2AVI(job, "K:\\Job\\D_VTS_01_0\\DEMUXED\\001.M2V", "001", true);
        return vob;
    }

    static std::string FileName(const std::string& hostPath) { return hostPath.substr(hostPath.rfind('/') + 1); }
    std::vector<std::string> Lines(const std::string& relative) const {
        return files.ReadLines("K:\\" + relative);
    }
};

TEST_F(FrameservingScripts, RealStreamsTypeAsTheyAreAndServeEveryFrame) {
    KESTROVA_REQUIRE_FFMPEG();
    AddStandInTools(launcher, KESTROVA_HOST_PROGRAMS);
    auto& streams = test::MpegTestStreams::Get();
    streams.Film();
    streams.Folder().Write("telecine.m2v", test::SoftTelecine(streams.Folder().Read("film.m2v")));
    const struct { std::string Stream, Standard, Type; double Rate; } rows[] = {
        {streams.Progressive25(), "PAL", "pal_progressive", 25},
        {streams.InterlacedTff25(), "PAL", "pal_interlaced", 25},
        {streams.InterlacedTff30(), "NTSC", "ntsc_interlaced", 29.97},
        {streams.Host("telecine.m2v"), "NTSC", "ntsc_film", 23.976},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.Type);
        auto& vob = IndexedVob(row.Stream, row.Standard);
        NewDVD2AVIProc(job, {});
        EXPECT_EQ(job.VideoType, row.Type);
        // The coded frames, which for soft telecine are the film frames.
        EXPECT_EQ(vob.Frames, static_cast<std::int32_t>(test::ProbeFrames(row.Stream).size()));
        EXPECT_EQ(vob.Fps, row.Rate);
        EXPECT_EQ(vob.Pulldown != 0, row.Type == "ntsc_film");
        EXPECT_EQ(vob.CCE_Encoded != 0, vob.Frames > 40) << "above the threshold only";
        EXPECT_EQ(Lines("Job/D_VTS_01_0/FRAMESERVING/001.avs").back(), kAvsCompleted);
        const auto project = Lines("Job/D_VTS_01_0/FRAMESERVING/001.d2v");
        EXPECT_EQ(project.at(11) == "Frame_Rate=23976", row.Type == "ntsc_film") << "forced film";
    }
}

TEST_F(FrameservingScripts, AScriptTheFrameServerRefusesIsWrittenAgainInItsSafeForm) {
    KESTROVA_REQUIRE_FFMPEG();
    AddStandInTools(launcher, KESTROVA_HOST_PROGRAMS);
    job.AvisynthScripts.Avisynth_Interlaced = "LoadPlugin(\"K:\\Program\\new.avs\\missing.dll\")\r\nFieldDeinterlace()";
    auto& vob = IndexedVob(test::MpegTestStreams::Get().InterlacedTff30(), "NTSC");
    NewDVD2AVIProc(job, {});
    EXPECT_TRUE(Logged("\t*****ERROR IN AVS FILE RETURN*****"));
    EXPECT_TRUE(Logged("\tScript \"K:\\Job\\D_VTS_01_0\\FRAMESERVING\\001.avs\", line 4: LoadPlugin: unable to load "
                       "\"K:\\Program\\new.avs\\missing.dll\"."))
        << "the reason, with the script and its line";
    EXPECT_TRUE(Logged("\tCreating New AVS Script to correct AVS ERROR"));
    EXPECT_EQ(vob.Frames, 37);
    const auto script = Lines("Job/D_VTS_01_0/FRAMESERVING/001.avs");
    EXPECT_EQ(script.at(3), "LoadPlugin(\"K:\\Program\\new.avs\\decomb.dll\")");
    EXPECT_EQ(script.back(), kAvsCompleted);
}

// A project cut short and a log with a word for a number: each is named with
// its line, the defaults and the safe script follow, and nothing is written
// outside FRAMESERVING.
TEST_F(FrameservingScripts, ABrokenProjectAndLogAreNamedAndServedByTheirFallbacks) {
    KESTROVA_REQUIRE_FFMPEG();
    AddStandInTools(launcher, KESTROVA_HOST_PROGRAMS);
    auto& vob = IndexedVob(test::MpegTestStreams::Get().Progressive25(), "PAL");
    const std::string project = temp.Read("Job/D_VTS_01_0/FRAMESERVING/001.d2v");
    Put("Job/D_VTS_01_0/FRAMESERVING/001.d2v", project.substr(0, project.find("Field_Operation")));
    Put("Job/D_VTS_01_0/FRAMESERVING/001.log", "D2V=37\r\nPRO=all\r\n");
    NewDVD2AVIProc(job, {});

    const auto lines = LogLines();
    const auto has = [&lines](const std::string& part) {
        return std::any_of(lines.begin(), lines.end(),
                           [&part](const std::string& line) { return line.find(part) != std::string::npos; });
    };
    EXPECT_TRUE(has("001.d2v\" ends after ")) << "the project, where it ends";
    EXPECT_TRUE(has("001.log, line 2 (\"PRO=all\") has no number"));
    EXPECT_TRUE(Logged("\t*****ERROR IN AVS FILE RETURN*****"));
    EXPECT_TRUE(has("001.avs\", line 3: ")) << "the frame server's reason, at the source line";
    EXPECT_EQ(vob.Frames, 240) << "the error clip's length, as the frame server gives it";
    EXPECT_EQ(Names("K:\\Job\\D_VTS_01_0\\NEW_M2V"), std::vector<std::string>{});
    EXPECT_EQ(Names("K:\\Job\\D_VTS_01_0\\DEMUXED"), std::vector<std::string>{"001.M2V"});
}

// Every type's script, normal and safe, as WriteAVS and CorrectAVS leave it,
// then the edits of CCE Basic, DGDecode and a conversion.
TEST_F(FrameservingScripts, ScriptsOfEachTypeMatchTheirGoldenText) {
    const std::string path = "K:\\Job\\D_VTS_01_0\\FRAMESERVING\\001.avs";
    std::string all;
    const auto take = [&](const std::string& title) {
        all += "### " + title + "\n" + files.ReadText(path);
    };
    for (const char* type : {"ntsc_interlaced", "ntsc_hybrid", "ntsc_film", "ntsc_telecine", "pal_interlaced",
                             "pal_progressive"}) {
        const std::string name = type;
        const std::int16_t progressive = name == "ntsc_film" || name == "pal_progressive" ? 1 : 0;
        for (const bool errorMode : {false, true}) {
            WriteAVS(job, path, type, "001", errorMode, false, false);
            CorrectAVS(job, path, progressive, "");
            take(name + (errorMode ? " ErrorMode" : ""));
        }
    }

    // CCE Basic with IVTC: the templates themselves get the decimation back.
    job.State().CCEBasic = -1;
    CheckTelecineIVTC(job.AvisynthScripts, true);
    WriteAVS(job, path, "ntsc_telecine", "001", false, false, false);
    EXPECT_NE(job.AvisynthScripts.Avisynth_Telecine.find("Decimate(cycle=5)"), std::string::npos);
    EXPECT_TRUE(Logged("Correcting AVS script as CCEBasic is the default encoder"));
    job.State().CCEBasic = 0;

    // DGDecode's plug-in in the header; HC reads YV12; the Deinterlace box leaves a PAL still as it
    // is but gives it the progressive footer.
    job.Options().DGDecode = 1;
    job.Options().UseHC = 1;
    job.AvisynthScripts.Deinterlace = 1;
    job.AvisynthScripts.Avisynth_DeinterlaceScript = "FieldDeinterlace()";
    WriteAVS(job, path, "pal_interlaced", "001_002", false, false, true);
    CorrectAVS(job, path, 0, "");
    take("pal_interlaced still, DGDecode, HC, Deinterlace box");

    // A conversion of a bottom-field-first stream for QuEnc.
    job.Options() = {};
    job.Options().Conversion = 1;
    job.Options().UseQuenc = 1;
    // Each field order turns the other's Kernelbob order round.
    for (const auto& [field, from] : {std::pair{"BFF", "order=1"}, std::pair{"TFF", "order=0"}}) {
        job.ConversionTemplates.Conversion1 = DefaultConversionScripts(job.ProgramFolder, "1.0").Conversion1;
        platform::ReplaceAll(job.ConversionTemplates.Conversion1, "#Kernelbob(order=1", std::string("Kernelbob(") + from);
        WriteAVS(job, path, "pal_interlaced", "001", false, true, false);
        CorrectAVS(job, path, 0, field);
        take(std::string("pal_interlaced conversion ") + field + ", QuEnc");
    }

    const std::string golden = std::string(KESTROVA_TEST_SOURCE_DIR) + "/assets/golden/avs_scripts.txt";
    std::ifstream in(golden, std::ios::binary);
    std::stringstream expected;
    expected << in.rdbuf();
    if (expected.str() != all) {
        const std::string written = testing::TempDir() + "avs_scripts.txt";
        std::ofstream(written, std::ios::binary) << all;
        ADD_FAILURE() << "The scripts differ from " << golden << "; what was written is in " << written;
    }
}

}  // namespace
}  // namespace kestrova
