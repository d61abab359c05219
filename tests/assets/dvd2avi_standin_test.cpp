// The indexing stand-ins run as the job runs them: the command lines of
// RunDVD2AVI and RunDGDecode through the launcher, on real streams. Their
// project files are read back by the D2V reader and, through an Avisynth
// script, by the frame server; their logs are checked line by line. (The
// picture flags the job does not read are not checked.)
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "assets/mpeg_test_streams.h"
#include "frameserver/d2v_file.h"
#include "frameserver/frame_server.h"
#include "job/tool_table.h"
#include "platform/launcher.h"
#include "platform/process.h"
#include "support/temp_folder.h"

namespace kestrova {
namespace {

using test::MpegTestStreams;

const char* const kM2vPath = "K:\\work dir\\DEMUXED\\001.M2V";
const char* const kOutputPath = "K:\\work dir\\FRAMESERVING\\001";

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    for (std::size_t start = 0, end; start < text.size(); start = end + 2) {
        end = std::min(text.find("\r\n", start), text.size());
        lines.push_back(text.substr(start, end - start));
    }
    return lines;
}

// The command line the job builds for each tool.
std::string IndexCommand(const std::string& tool, const std::string& input = kM2vPath) {
    const std::string clip = tool == "DGIndex" ? "" : " -Cs=2";
    return "K:\\PROG\\new.dvd2avi\\" + tool + ".exe -IA=1 -FO=0" + clip + " -YR=1 -TN=1 -IF=[" + input +
           "] -DRC=0 -OF=[" + kOutputPath + "] -exit";
}

std::string ReadAll(const std::string& hostPath) {
    const std::string folder = MpegTestStreams::Get().Folder().Host();
    return MpegTestStreams::Get().Folder().Read(hostPath.substr(folder.size() + 1));
}

// A job folder on K: with one M2V, and the tools as the stand-ins of the tool table.
struct IndexFixture {
    explicit IndexFixture(const std::string& streamHostPath) {
        temp.Write("work dir/DEMUXED/001.M2V", ReadAll(streamHostPath));
        temp.Write("work dir/FRAMESERVING/keep", "");
        AddStandInTools(launcher, KESTROVA_HOST_PROGRAMS);
        runner.SetChildOutput([this](const std::string& line) { output += line + "\n"; });
    }

    int Run(const std::string& commandLine) {
        runner.ShellAndWait(commandLine, 6);
        return runner.History().back().ExitCode;
    }

    std::string Project() const { return temp.Read("work dir/FRAMESERVING/001.d2v"); }
    std::string Log() const { return temp.Read("work dir/FRAMESERVING/001.log"); }

    AviStreamInfo ServeScript() const {
        temp.Write("work dir/FRAMESERVING/001.avs", "Mpeg2Source(\"001.d2v\")\r\n");
        return ReadAviStreamInfo(platform::FileSystem(paths), "K:\\work dir\\FRAMESERVING\\001.avs");
    }

    test::TempFolder temp;
    platform::PathSpace paths = temp.Drives();
    platform::Launcher launcher{paths};
    platform::ProcessRunner runner{launcher};
    std::string output;
};

// Where each tool's project file puts what the job reads.
struct ToolLayout {
    const char *Tool, *FirstLine;
    std::size_t FieldOperationLine, FrameRateLine;
    const char* FrameRate;
};
constexpr ToolLayout kLayouts[] = {
    {"dvd2avirb", "DVD2AVIProjectFile03", 10, 11, "Frame_Rate=25000"},
    {"DGIndex", "DGIndexProjectFile16", 12, 13, "Frame_Rate=25000 (25/1)"},
};

// The project's lines the job and the frame server read, its log, and what the frame server serves from it.
TEST(Dvd2aviStandin, EachToolIndexesAProgressiveStreamAtTheLinesTheJobReads) {
    KESTROVA_REQUIRE_FFMPEG();
    const std::string stream = MpegTestStreams::Get().Progressive25();
    for (const ToolLayout& layout : kLayouts) {
        SCOPED_TRACE(layout.Tool);
        IndexFixture f(stream);
        ASSERT_EQ(f.Run(IndexCommand(layout.Tool)), 0) << f.output;
        const std::vector<std::string> lines = Lines(f.Project());
        ASSERT_GT(lines.size(), layout.FrameRateLine);
        EXPECT_EQ(lines[0], layout.FirstLine);
        EXPECT_EQ(lines[1], "1");
        EXPECT_EQ(lines[2], kM2vPath);
        EXPECT_EQ(lines[layout.FieldOperationLine].rfind("Field_Operation=0", 0), 0u);
        EXPECT_EQ(lines[layout.FrameRateLine], layout.FrameRate);
        EXPECT_EQ(lines.back().substr(lines.back().size() - 3), " ff") << "the end mark";
        EXPECT_EQ(f.Log(), "D2V=37\r\nPRO=37\r\nTFF=0\r\nZIG=37\r\nPER=0\r\n");

        // Read back as the frame server reads it.
        const D2vProject project = ParseD2vProject(f.Project(), "001.d2v");
        EXPECT_EQ(project.Files, std::vector<std::string>{kM2vPath});
        EXPECT_EQ(project.Operation, FieldOperation::None);
        EXPECT_EQ(project.Rate, (FrameRate{25, 1}));
        EXPECT_EQ(project.FlagCounts[0], 37);
        const AviStreamInfo info = f.ServeScript();
        ASSERT_FALSE(info.ErrorClip) << info.Error;
        EXPECT_EQ(info.Length, 37);
        EXPECT_EQ(info.Width, 720);  // from the project, or for the older tool from the stream's sequence header
        EXPECT_EQ(info.Height, 576);
        EXPECT_EQ(info.Rate, 25 * info.Scale);
    }
}

// The flags each project counts are the field order and repeats ffprobe sees.
TEST(Dvd2aviStandin, InterlacedTelecineAndStillStreamsGiveTheirFlagsAndCounts) {
    KESTROVA_REQUIRE_FFMPEG();
    auto& streams = MpegTestStreams::Get();
    streams.Film();
    streams.Folder().Write("telecine.m2v", test::SoftTelecine(streams.Folder().Read("film.m2v")));
    // The 3:2 pattern over 37 frames: 19 top field first, 19 repeated fields, so 93 fields.
    const std::string pulldown = "D2V=37\r\nPRO=37\r\nTFF=19\r\nZIG=37\r\nPER=100\r\n";
    // Name, stream, tool, its log, its frame rate line, the frames served (the repeated fields make whole frames).
    const struct {
        const char* Name;
        std::string Stream;
        const char* Tool;
        std::string Log;
        std::size_t RateLine;
        std::string Rate;
        int Served;
    } rows[] = {
        {"interlaced", streams.InterlacedTff25(), "dvd2avidg", "D2V=37\r\nPRO=0\r\nTFF=37\r\nZIG=37\r\nPER=0\r\n",
         11, "Frame_Rate=25000", 37},
        {"soft telecine", streams.Host("telecine.m2v"), "DGIndex", pulldown, 13, "Frame_Rate=29970 (30000/1001)", 46},
        {"still", streams.Still(), "dvd2avirb", "D2V=1\r\nPRO=1\r\nTFF=0\r\nZIG=1\r\nPER=0\r\n", 11,
         "Frame_Rate=29970", 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.Name);
        IndexFixture f(row.Stream);
        ASSERT_EQ(f.Run(IndexCommand(row.Tool)), 0) << f.output;
        EXPECT_EQ(f.Log(), row.Log);
        EXPECT_EQ(Lines(f.Project()).at(row.RateLine), row.Rate);
        std::array<std::int64_t, 4> flags{};
        for (const auto& frame : test::ProbeFrames(row.Stream)) {
            ++flags[(frame.TopFieldFirst ? 2 : 0) + frame.RepeatPict];
        }
        EXPECT_EQ(ParseD2vProject(f.Project(), "001.d2v").FlagCounts, flags);
        const AviStreamInfo info = f.ServeScript();
        ASSERT_FALSE(info.ErrorClip) << info.Error;
        EXPECT_EQ(info.Length, row.Served);
    }
}

// The tools read their command line as written: a run of blanks or a
// trailing blank inside the brackets is part of the path.
TEST(Dvd2aviStandin, BracketedPathsReachTheFileByteForByte) {
    KESTROVA_REQUIRE_FFMPEG();
    for (const std::string input : {"K:\\work  dir\\001.M2V", "K:\\work dir\\001.M2V "}) {
        IndexFixture f(MpegTestStreams::Get().Still());
        std::string relative = input.substr(3);
        std::replace(relative.begin(), relative.end(), '\\', '/');
        f.temp.Write(relative, f.temp.Read("work dir/DEMUXED/001.M2V"));
        ASSERT_EQ(f.Run(IndexCommand("DGIndex", input)), 0) << f.output;
        EXPECT_EQ(Lines(f.Project()).at(2), input);
    }
}

TEST(Dvd2aviStandin, BadCommandLinesBrokenStreamsAndAskedFailuresLeaveNoProject) {
    KESTROVA_REQUIRE_FFMPEG();
    auto& streams = MpegTestStreams::Get();
    const std::string stream = streams.Progressive25();
    const std::string bytes = ReadAll(stream);
    streams.Folder().Write("cut.m2v", bytes.substr(0, bytes.size() * 2 / 3));
    const std::string rb = IndexCommand("dvd2avirb");
    const std::string dg = IndexCommand("DGIndex");
    // Name, command line, stream, what the tool's message says.
    const struct { const char* Name; std::string CommandLine, Stream, Message; } cases[] = {
        {"no -exit", rb.substr(0, rb.size() - 6), stream, "-exit is missing"},
        {"-Cs on DGIndex", dg.substr(0, dg.find(" -YR")) + " -Cs=2" + dg.substr(dg.find(" -YR")), stream, "-Cs is not"},
        {"unclosed path", "K:\\PROG\\dvd2avidg.exe -OF=[K:\\b] -exit -IF=[K:\\a.m2v", stream, "has no \"]\""},
        {"field operation out of range", "K:\\PROG\\DGIndex.exe -FO=3 -IF=[K:\\a.m2v] -OF=[K:\\b] -exit", stream,
         "-FO=3"},
        {"missing video", IndexCommand("DGIndex", "K:\\work dir\\DEMUXED\\002.M2V"), stream, "there is no such file"},
        {"cut inside a picture", dg, streams.Host("cut.m2v"), "001.M2V\" at offset "},
    };
    for (const auto& c : cases) {
        IndexFixture f(c.Stream);
        EXPECT_EQ(f.Run(c.CommandLine), 1) << c.Name;
        EXPECT_NE(f.output.find(c.Message), std::string::npos) << c.Name << ": " << f.output;
        EXPECT_FALSE(f.temp.Exists("work dir/FRAMESERVING/001.d2v")) << c.Name;
        EXPECT_FALSE(f.temp.Exists("work dir/FRAMESERVING/001.log")) << c.Name;
    }

    // Asked to die mid-run: half a project file without its end, and no log.
    IndexFixture f(stream);
    f.launcher.SetEnvironment("KESTROVA_STANDIN_FAIL", "dvd2avirb=partial");
    EXPECT_EQ(f.Run(rb), 1);
    ASSERT_TRUE(f.temp.Exists("work dir/FRAMESERVING/001.d2v"));
    EXPECT_EQ(f.Project().find(" ff"), std::string::npos);
    EXPECT_FALSE(f.temp.Exists("work dir/FRAMESERVING/001.log"));
    EXPECT_TRUE(f.ServeScript().ErrorClip);
}

}  // namespace
}  // namespace kestrova
