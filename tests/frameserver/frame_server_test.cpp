// Frame server information: D2V project files of both indexing tools, the
// frames the decoder delivers from their picture flags, the scripts the job
// writes (plain, interlaced, telecine, hybrid, conversion), and the error
// clip for every way a script can fail, including damaged project files.
#include "frameserver/frame_server.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "frameserver/d2v_file.h"
#include "frameserver/mpeg_header.h"
#include "platform/error.h"
#include "support/temp_folder.h"

namespace kestrova {
namespace {

const char* const kD2vPath = "K:\\JOB\\FRAMESERVING\\001.d2v";
const char* const kM2vPath = "K:\\JOB\\DEMUXED\\001.M2V";

// Flag tokens of data lines, twelve pictures a line.
std::string DataLines(const std::string& lead, const std::vector<std::string>& flags, const std::string& end) {
    std::string text;
    for (std::size_t i = 0; i < flags.size(); i += 12) {
        text += lead;
        for (std::size_t j = i; j < i + 12 && j < flags.size(); ++j) text += " " + flags[j];
        if (i + 12 >= flags.size()) text += " " + end;
        text += "\r\n";
    }
    return text;
}

std::vector<std::string> Repeat(const std::vector<std::string>& pattern, std::size_t times) {
    std::vector<std::string> flags;
    for (std::size_t i = 0; i < times; ++i) flags.insert(flags.end(), pattern.begin(), pattern.end());
    return flags;
}

// The older tool: no picture size; five tokens before the flags; "9" ends.
std::string Dvd2aviProject(int fieldOperation, const std::string& rate, const std::vector<std::string>& flags) {
    return std::string("DVD2AVIProjectFile03\r\n1\r\n") + kM2vPath +
           "\r\n\r\nStream_Type=0,0,0\r\n"
           "iDCT_Algorithm=2 (1:32-bit MMX 2:32-bit SSEMMX 3:64-bit FPU 4:IEEE-1180 Reference)\r\n"
           "YUVRGB_Scale=1 (0:TVScale 1:PCScale)\r\nLuminance=128,0\r\nClipping=0,0,0,0\r\n"
           "Picture_Size=0,0,0,0,0,0\r\n"
           "Field_Operation=" + std::to_string(fieldOperation) + " (0:None 1:ForcedFILM 2:SwapOrder 3:RawFrames)\r\n"
           "Frame_Rate=" + rate + "\r\nLocation=0,0,0,2A2\r\n" +
           DataLines("7 0 0 1 1", flags, "9") + "\r\nFINISHED\r\n";
}

// The newer tool: picture size stated; six tokens before the flags; "ff" ends.
std::string DGIndexProject(int fieldOperation, const std::string& rate, const std::vector<std::string>& flags,
                           const std::string& size = "720x576") {
    return std::string("DGIndexProjectFile16\r\n1\r\n") + kM2vPath +
           "\r\n\r\nStream_Type=0\r\nMPEG_Type=2\r\niDCT_Algorithm=6 (1:MMX 2:SSEMMX 3:SSE2MMX 4:FPU 5:REF)\r\n"
           "YUVRGB_Scale=1\r\nLuminance_Filter=0,0\r\nClipping=0,0,0,0\r\nAspect_Ratio=4:3\r\n"
           "Picture_Size=" + size + "\r\nField_Operation=" + std::to_string(fieldOperation) +
           "\r\nFrame_Rate=" + rate + "\r\nLocation=0,0,0,1f\r\n\r\n" +
           DataLines("900 5 0 2048 1 1", flags, "ff") + "\r\nFINISHED  100.00% VIDEO\r\n";
}

// An elementary stream holding a sequence header of the given size.
std::string SequenceHeaderStream(int width, int height) {
    std::string bytes("\0\0\0\0\0\1\xB3", 7);  // stuffing before the start code
    bytes += {static_cast<char>(width >> 4), static_cast<char>(((width & 0x0F) << 4) | (height >> 8)),
              static_cast<char>(height & 0xFF)};
    return bytes + std::string("\x23\x05\x86\xE0\0\0\0\1\xB7", 9);
}

// Script lines as the job writes them: header, source, filters, footer, end mark.
std::string Script(const std::string& filters, const std::string& footer = "AddAudio()\r\nConvertToYUY2()") {
    return "import(\"C:\\Program Files\\Kestrova\\new.avs\\addaudio.avs\")\r\n"
           "LoadPlugin(\"C:\\Program Files\\Kestrova\\new.dvd2avi\\mpeg2dec3dg.dll\")\r\n"
           "Mpeg2Source(\"" + std::string(kD2vPath) + "\" ,Idct=0)\r\n" +
           filters + "\r\n" + footer + "\r\n#Completed - DO NOT ALTER THIS LINE!!!!!!\r\n";
}

const char* const kDecombLine = "LoadPlugin(\"C:\\Program Files\\Kestrova\\new.avs\\decomb.dll\")\r\n";

class FrameServerTest : public ::testing::Test {
protected:
    AviStreamInfo Run(const std::string& script) {
        folder_.Write("JOB/FRAMESERVING/001.avs", script);
        return ReadAviStreamInfo(files_, "K:\\JOB\\FRAMESERVING\\001.avs");
    }
    // "720x576 25/1 75", or the error for an error clip.
    std::string Shape(const std::string& script) {
        const AviStreamInfo info = Run(script);
        return info.ErrorClip ? "error: " + info.Error : Dims(info);
    }
    static std::string Dims(const AviStreamInfo& info) {
        return std::to_string(info.Width) + "x" + std::to_string(info.Height) + " " + std::to_string(info.Rate) +
               "/" + std::to_string(info.Scale) + " " + std::to_string(info.Length);
    }
    static void ExpectErrorClip(const AviStreamInfo& info, const std::string& mentions) {
        EXPECT_TRUE(info.ErrorClip);
        EXPECT_EQ(Dims(info), "640x480 24/1 240");
        EXPECT_NE(info.Error.find(mentions), std::string::npos) << info.Error;
    }
    void WriteD2v(const std::string& text) { folder_.Write("JOB/FRAMESERVING/001.d2v", text); }
    void WriteM2v(const std::string& bytes) { folder_.Write("JOB/DEMUXED/001.M2V", bytes); }

    test::TempFolder folder_;
    platform::PathSpace paths_ = folder_.Drives();
    platform::FileSystem files_{paths_};
};

TEST(D2vProject, FlagTokensFollowEachToolsRules) {
    EXPECT_EQ(FrameRateFromThousandths(29970), (FrameRate{30000, 1001}));
    EXPECT_EQ(FrameRateFromThousandths(12500), (FrameRate{25, 2}));
    // DGIndex: hex flags use their last digit; a "9" ends only its line; "ff" ends the stream.
    std::string text = DGIndexProject(0, "25000 (25/1)", {"b2", "b2", "92", "3", "b0", "b9", "b2"});
    text += "900 5 0 4096 1 1 b2 b1 ff b2 b2\r\n";
    D2vProject project = ParseD2vProject(text, "x.d2v");
    EXPECT_EQ(project.Variant, D2vVariant::DGIndex);
    EXPECT_EQ(project.FlagCounts, (std::array<std::int64_t, 4>{1, 1, 4, 1}));
    EXPECT_EQ(project.Pictures, 7);
    EXPECT_EQ(project.Width, 720);
    EXPECT_EQ(project.Rate, (FrameRate{25, 1}));
    EXPECT_EQ(project.Files, std::vector<std::string>{kM2vPath});
    // DVD2AVI: the size line is a clipping setting, not a picture size.
    project = ParseD2vProject(Dvd2aviProject(0, "23976", {"2", "2", "9", "2"}), "y.d2v");
    EXPECT_EQ(project.Variant, D2vVariant::Dvd2avi);
    EXPECT_EQ(project.Pictures, 2);
    EXPECT_EQ(project.Width, 0);
    EXPECT_EQ(project.Rate, (FrameRate{24000, 1001}));
}

TEST(D2vProject, FramesFollowTheFieldOperation) {
    // 3:2 pulldown: four pictures carry ten fields.
    const auto film = Repeat({"3", "0", "1", "2"}, 10);
    EXPECT_EQ(ParseD2vProject(Dvd2aviProject(0, "29970", film), "a").Frames, 50);
    EXPECT_EQ(ParseD2vProject(Dvd2aviProject(3, "29970", film), "a").Frames, 40);  // raw frames
    EXPECT_EQ(ParseD2vProject(DGIndexProject(2, "29970", film), "a").Frames, 40);  // raw frames
    const D2vProject forced = ParseD2vProject(Dvd2aviProject(1, "23976", film), "a");
    EXPECT_EQ(forced.Frames, 40);
    EXPECT_EQ(forced.Operation, FieldOperation::ForceFilm);
    // Force film on pictures without repeats drops one in five; before the cadence is found, the third.
    EXPECT_EQ(ParseD2vProject(DGIndexProject(1, "29970 (30000/1001)", Repeat({"2"}, 40)), "b").Frames, 32);
    EXPECT_EQ(ParseD2vProject(DGIndexProject(0, "29970 (30000/1001)", Repeat({"2"}, 40)), "b").Frames, 40);
    EXPECT_EQ(ParseD2vProject(DGIndexProject(1, "29970", Repeat({"2"}, 3)), "c").Frames, 2);
}

TEST(D2vProject, DamagedFilesAreRefusedWithTheLine) {
    const std::string good = Dvd2aviProject(0, "25000", Repeat({"2"}, 5));
    const auto replaced = [&good](const std::string& from, const std::string& to) {
        std::string text = good;
        return text.replace(text.find(from), from.size(), to);
    };
    const std::pair<std::string, const char*> cases[] = {
        {replaced("Frame_Rate=25000", "Frame_Rate=0"), "line 11"},
        {replaced("Field_Operation=0", "Field_Operation=7"), "line 10"},
        {replaced("\n1\r", "\n0\r"), "line 1"},
        {Dvd2aviProject(0, "25000", {"7", "8"}), "no pictures"},
        {DGIndexProject(0, "29970 (30000/", {"2"}), "fraction"},
        {"DVD2AVIProjectFile03\r\n1\r\n", "ends after 2 lines"},
        {"", "empty"},
    };
    for (const auto& [text, mentions] : cases) {
        try {
            ParseD2vProject(text, "bad.d2v");
            ADD_FAILURE() << "accepted, expected " << mentions;
        } catch (const Error& e) {
            EXPECT_NE(std::string(e.what()).find(mentions), std::string::npos) << e.what();
        }
    }
}

TEST_F(FrameServerTest, ProjectsOfBothToolsAndFilmScriptsGiveSizeRateAndLength) {
    WriteD2v(DGIndexProject(0, "25000 (25/1)", Repeat({"b2"}, 75)));
    EXPECT_EQ(Shape(Script("")), "720x576 25/1 75");
    // The source is named without regard to case, with named arguments, or relative to the script's folder.
    EXPECT_EQ(Shape("MPEG2SOURCE(d2v=\"" + std::string(kD2vPath) + "\", idct=0, cpu=4) # source\r\n"),
              "720x576 25/1 75");
    EXPECT_EQ(Shape("Mpeg2Source(\"001.d2v\")\r\n"), "720x576 25/1 75");

    // The older tool's project takes the size from the video file.
    WriteD2v(Dvd2aviProject(0, "29970", Repeat({"2"}, 30)));
    WriteM2v(SequenceHeaderStream(704, 480));
    EXPECT_EQ(Shape(Script(std::string(kDecombLine) + "FieldDeinterlace()",
                           "AddAudio()\r\nConvertToYUY2(interlaced=true)")),
              "704x480 30000/1001 30");

    // Film: telecide and decimate; the hybrid mode blends the duplicate instead of dropping it.
    WriteM2v(SequenceHeaderStream(720, 480));
    const std::string telecine = std::string(kDecombLine) + "Telecide()\r\n";
    EXPECT_EQ(Shape(Script(telecine + "Decimate()")), "720x480 24000/1001 24");
    EXPECT_EQ(Shape(Script(telecine + "Decimate(mode=1,threshold=3)")), "720x480 30000/1001 30");
    WriteD2v(Dvd2aviProject(1, "23976", Repeat({"3", "0", "1", "2"}, 12)));
    EXPECT_EQ(Shape(Script("")), "720x480 24000/1001 48");
}

TEST_F(FrameServerTest, ConversionScriptsChangeSizeRateAndLength) {
    WriteD2v(DGIndexProject(0, "25000 (25/1)", Repeat({"2"}, 25)));
    const std::string stretch = "LanczosResize(720,480)\r\nConvertToYUY2()\r\nAssumeFPS(29.97)\r\n#SeparateFields()\r\n"
                                "#SelectEvery(4,0,3)\r\n#Weave()\r\nAddAudio()";
    EXPECT_EQ(Shape(Script(stretch, "")), "720x480 30000/1001 25");
    // Audio kept: bob to fields, convert the rate, weave back.
    const std::string keep = "LoadPlugin(\"C:\\Kestrova\\new.avs\\kerneldeint.dll\")\r\n"
                             "Kernelbob(order=1, sharp=true, twoway=true, threshold=0)\r\nLanczosResize(720,480)\r\n"
                             "ConvertToYUY2(interlaced=true)\r\nConvertFPS(59.94)\r\nSeparateFields()\r\n"
                             "SelectEvery(4,0,3)\r\nWeave()\r\nAddAudio()";
    EXPECT_EQ(Shape(Script(keep, "")), "720x480 30000/1001 30");

    // Several SelectEvery offsets interleave, the shorter selections padded to the longer.
    WriteD2v(DGIndexProject(0, "29970 (30000/1001)", Repeat({"2"}, 30), "720x480"));
    const std::pair<const char*, const char*> cases[] = {
        {"LanczosResize(720,576)\r\nAssumeFPS(25)", "720x576 25/1 30"},
        {"ChangeFPS(25)", "720x480 25/1 25"},
        {"BicubicResize(352,240).Trim(0,9)", "352x240 30000/1001 10"},
        {"Trim(5,0)\r\nCrop(8,0,-8,0)\r\nAddBorders(8,0,8,0)", "720x480 30000/1001 25"},
        {"Trim(2,-3)\r\nBilinearResize(640,480)", "640x480 30000/1001 3"},
        {"Trim(0,6)\r\nSelectEvery(4,3,0)", "720x480 15000/1001 4"},
        {"AssumeFPS(25.0)", "720x480 25/1 30"},
        {"AssumeFPS(12.5)", "720x480 25/2 30"},
        {"AssumeFPS(30000, 1001)", "720x480 30000/1001 30"},
        {"AssumeFPS(24, 2)", "720x480 12/1 30"},
        {"AssumeFPS(\"ntsc_film\")", "720x480 24000/1001 30"},
    };
    for (const auto& [filters, shape] : cases) EXPECT_EQ(Shape(Script(filters)), shape) << filters;
}

TEST_F(FrameServerTest, FailuresGiveTheErrorClipWithTheirCause) {
    const AviStreamInfo noProject = Run(Script(""));
    ExpectErrorClip(noProject, "001.d2v");
    EXPECT_NE(noProject.Error.find("line 3"), std::string::npos) << noProject.Error;
    WriteD2v(Dvd2aviProject(0, "25000", Repeat({"2"}, 25)));
    ExpectErrorClip(Run(Script("")), "001.M2V");  // the older tool's project needs the video file for the size
    WriteM2v(std::string("\0\0\1\xB3\x2D", 5));
    ExpectErrorClip(Run(Script("")), "cut short");
    WriteM2v(SequenceHeaderStream(720, 576));
    EXPECT_EQ(Shape(Script("")), "720x576 25/1 25");

    const std::pair<const char*, const char*> cases[] = {
        {"Foo()", "no function named \"Foo\""},
        {"Telecide(", "expected a value"},
        {"LanczosResize(720)", "LanczosResize"},
        {"LanczosResize(720.5,480)", "whole number"},
        {"AssumeFPS(0)", "above 0"},
        {"AssumeFPS(\"ntsc_fast\")", "preset"},
        {"SeparateFields(1)", "too many"},
        {"Decimate(cycle=1)", "2 to 25"},
        {"ConvertToYUY2(interlaced=yes)", "yes"},
        {"Crop(0,0,800,0)", "outside"},
        {"import(C:\\addaudio.avs)", "is not a number"},
        {"Weave() Weave()", "end of the line"},
        {"LoadPlugin(\"unclosed)", "not closed"},
    };
    for (const auto& [filters, mentions] : cases) ExpectErrorClip(Run(Script(filters)), mentions);
    ExpectErrorClip(Run("Telecide()\r\n" + Script("")), "source line must come first");
    ExpectErrorClip(Run("# nothing but a comment\r\n\r\n"), "not a video clip");
    ExpectErrorClip(ReadAviStreamInfo(files_, "K:\\none.avs"), "none.avs");
    ExpectErrorClip(Run("Mpeg2Source(\"Q:\\001.d2v\")"), "Q:");  // drive not mapped
}

// The plan behind the shape: the project's files as drive paths (a relative
// one from the project's folder), and each step as it was applied.
TEST_F(FrameServerTest, ThePlanListsTheSourceFilesAndEachStepAsApplied) {
    std::string project = DGIndexProject(1, "29970 (30000/1001)", Repeat({"2"}, 30), "720x480");
    const std::string list = "\r\n1\r\n" + std::string(kM2vPath) + "\r\n\r\n";
    project.replace(project.find(list), list.size(), "\r\n2\r\n" + std::string(kM2vPath) + "\r\n002.M2V\r\n");
    WriteD2v(project);
    const AviStreamInfo info = Run(Script(kDecombLine + std::string(
        "Telecide()\r\nDecimate(cycle=5)\r\nTrim(2,100)\r\nCrop(8,0,-8,0).AddBorders(8,0,8,0)\r\n"
        "Kernelbob(order=0)\r\nLanczosResize(720,576)\r\nAssumeFPS(50)\r\nSeparateFields()\r\n"
        "SelectEvery(4,0,3)\r\nWeave()\r\nDecimate(mode=1)")));
    ASSERT_FALSE(info.ErrorClip) << info.Error;
    EXPECT_EQ(Dims(info), "720x576 25/1 17");
    const ClipPlan& plan = info.Plan;
    EXPECT_EQ(plan.SourceFiles, (std::vector<std::string>{kM2vPath, "K:\\JOB\\FRAMESERVING\\002.M2V"}));
    EXPECT_EQ(plan.Operation, FieldOperation::ForceFilm);
    EXPECT_EQ(plan.SourceRate, (FrameRate{24000, 1001}));
    EXPECT_EQ(plan.SourceFrames, 24);
    // Each step as "Function:values".
    std::vector<std::string> steps;
    for (const ClipStep& step : plan.Steps) {
        std::string text = step.Function + ":";
        switch (step.Kind) {
            case ClipStepKind::Trim: text += std::to_string(step.First) + "-" + std::to_string(step.Last); break;
            case ClipStepKind::Crop:
            case ClipStepKind::AddBorders:
                for (auto v : {step.Left, step.Top, step.Right, step.Bottom, step.Width, step.Height}) {
                    text += std::to_string(v) + ",";
                }
                break;
            case ClipStepKind::Resize: text += std::to_string(step.Width) + "x" + std::to_string(step.Height); break;
            case ClipStepKind::AssumeFps: text += std::to_string(step.Rate.Numerator); break;
            case ClipStepKind::SelectEvery:
                text += std::to_string(step.Cycle) + "/" + std::to_string(step.Offsets.back());
                break;
            case ClipStepKind::Decimate: text += std::to_string(step.Cycle); break;
            case ClipStepKind::Kernelbob: text += step.TopFieldFirst ? "top" : "bottom"; break;
            default: break;
        }
        steps.push_back(text);
    }
    EXPECT_EQ(steps, (std::vector<std::string>{"Telecide:", "Decimate:5", "Trim:2-18", "Crop:8,0,0,0,704,480,",
                                               "AddBorders:8,0,8,0,0,0,", "Kernelbob:bottom", "LanczosResize:720x576",
                                               "AssumeFPS:50", "SeparateFields:", "SelectEvery:4/3", "Weave:",
                                               "Decimate:"}));
    EXPECT_TRUE(Run("# no clip\r\n").Plan.Steps.empty());
}

// The templates' plugins are built in with the native tools, and must be
// files with the Windows tools; any other plugin or import must be a file.
TEST_F(FrameServerTest, PluginsAndImportsAreBuiltInOrFiles) {
    WriteD2v(DGIndexProject(0, "25000 (25/1)", Repeat({"2"}, 25)));
    const std::string script = Script(kDecombLine + std::string("Telecide()"));
    EXPECT_EQ(Shape(script), "720x576 25/1 25");
    const auto windows = [this](const std::string& text) {
        folder_.Write("JOB/FRAMESERVING/001.avs", text);
        return ReadAviStreamInfo(files_, "K:\\JOB\\FRAMESERVING\\001.avs", PluginFiles::MustExist);
    };
    ExpectErrorClip(windows(script), "Import: couldn't open \"C:\\Program Files\\Kestrova\\new.avs\\addaudio.avs\"");
    ExpectErrorClip(Run(Script("LoadPlugin(\"other.dll\")")), "line 4: LoadPlugin: unable to load \"other.dll\"");
    // Present files load in either way, a relative name from the script's folder.
    folder_.Write("JOB/FRAMESERVING/other.dll", "");
    folder_.Write("C/addaudio.avs", "function AddAudio(clip c) { return c }\r\n");
    folder_.Write("C/mpeg2dec3dg.dll", "");
    EXPECT_EQ(Shape(Script("LoadPlugin(\"other.dll\")")), "720x576 25/1 25");
    EXPECT_EQ(Dims(windows("import(\"K:\\C\\addaudio.avs\")\r\nLoadPlugin(\"K:\\C\\mpeg2dec3dg.dll\")\r\n"
                           "Mpeg2Source(\"001.d2v\")\r\nAddAudio()\r\n")),
              "720x576 25/1 25");
}

TEST_F(FrameServerTest, DamagedProjectFilesNeverCrash) {
    const std::string good = Dvd2aviProject(0, "25000", Repeat({"2", "0", "2", "1"}, 20));
    WriteM2v(SequenceHeaderStream(720, 576));
    WriteD2v(good);
    const AviStreamInfo whole = Run(Script(""));
    ASSERT_FALSE(whole.ErrorClip) << whole.Error;

    // Every truncation: either the error clip or a shorter clip of the same picture.
    int opened = 0;
    for (std::size_t size = 0; size < good.size(); ++size) {
        WriteD2v(good.substr(0, size));
        const AviStreamInfo info = Run(Script(""));
        opened += info.ErrorClip ? 0 : 1;
        EXPECT_TRUE(info.ErrorClip ? info.Length == 240 : info.Width == 720 && info.Length >= 1 &&
                                                              info.Length <= whole.Length)
            << size << ": " << Dims(info);
    }
    EXPECT_GT(opened, 0);

    // Random damage with a fixed seed.
    std::mt19937 random(20240511);
    for (int round = 0; round < 300; ++round) {
        std::string text = good;
        for (int i = 1 + static_cast<int>(random() % 8); i > 0; --i) {
            text[random() % text.size()] = static_cast<char>(random() % 256);
        }
        WriteD2v(text);
        const AviStreamInfo info = Run(Script(""));
        EXPECT_TRUE(info.ErrorClip || (info.Width > 0 && info.Length >= 0)) << round;
    }
}

// The aspect check reads the first header only when its start code lies in the first 2048 bytes.
TEST_F(FrameServerTest, TheFirstSequenceHeaderIsLookedForInTheSearchedBytes) {
    const auto headerAt = [this](std::size_t offset) {
        WriteM2v(std::string(offset, '\xFF') + SequenceHeaderStream(720, 576).substr(3) + std::string(200, '\xFF'));
        return ReadFirstSequenceHeader(files_, kM2vPath, 2048);
    };
    const auto header = headerAt(2044);
    EXPECT_EQ(header.AspectRatioCode, 2);
    EXPECT_EQ(header.Offset, 2044u);
    EXPECT_THROW(headerAt(2045), Error);
}

}  // namespace
}  // namespace kestrova
