// The batch interpreter on the lines the job writes: Copy /b, Call with
// arguments, program lines through the launcher, regedit, failing lines.
#include "platform/batch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

#include "platform/error.h"
#include "support/temp_folder.h"

namespace kestrova::platform {
namespace {

// A batch interpreter over a temporary K: drive; the stand-in is "copytool.exe", "touchtool.exe" and
// "sleeptool.exe", every call recorded in calls.txt.
struct BatchFixture {
    BatchFixture() {
        launcher.AddOverride("copytool.exe", {{KESTROVA_STANDIN_PATH, "--tool", "copy"}, ""});
        launcher.AddOverride("touchtool.exe", {{KESTROVA_STANDIN_PATH, "--tool", "touch"}, ""});
        launcher.AddOverride("sleeptool.exe", {{KESTROVA_STANDIN_PATH, "--tool", "sleep"}, ""});
        launcher.SetEnvironment("KESTROVA_STANDIN_CALLS", temp.Host("calls.txt"));
        runner.SetLog([this](const std::string& line) { log.push_back(line); });
    }

    // Writes a batch file with CR LF line ends and runs it by ShellAndWait.
    void RunBatch(const std::string& relative, const std::string& lines, const ProcessRunner::Pump& pump = {}) {
        Write(relative, lines);
        std::string windows = "K:\\" + relative;
        for (auto& c : windows) c = c == '/' ? '\\' : c;
        runner.ShellAndWait("\"" + windows + "\"", 0, pump);
    }

    void Write(const std::string& relative, const std::string& lines) {
        std::string text;
        for (char c : lines) text += c == '\n' ? std::string("\r\n") : std::string(1, c);
        temp.Write(relative, text);
    }

    test::TempFolder temp;
    PathSpace paths = temp.Drives();
    FileSystem files{paths};
    Launcher launcher{paths};
    ProcessRunner runner{launcher};
    std::vector<std::string> imported;
    BatchInterpreter batch{runner, files, [this](const std::string& regFile) {
                               imported.push_back(regFile);
                               return std::string("imported ") + regFile;
                           }};
    std::vector<std::string> log;
};

TEST(Batch, CopyJoinsSourcesAndWildcardMatchesInNameOrder) {
    BatchFixture f;
    const std::pair<const char*, const char*> files[] = {
        {"D_VTS_01/DEMUXED/b.vob", "B"}, {"D_VTS_01/DEMUXED/A.VOB", "A"}, {"D_VTS_01/DEMUXED/c.Vob", "C"},
        {"D_VTS_01/DEMUXED/note.txt", "N"}, {"D_VTS_01/SUBTITLES/keep.txt", ""},
        {"FRAMESERVING/001_NTSC.pt.002.mpv", "2"}, {"FRAMESERVING/001_NTSC.pt.001.mpv", "1"},
        {"FRAMESERVING/002_NTSC.pt.001.mpv", "x"}, {"one file.txt", "one "}, {"two.txt", "two"},
        {"log.txt", "start "}, {"src/x.m2v", "X"}, {"src/y.M2V", "Y"}, {"dst/old.txt", ""}};
    for (const auto& [name, bytes] : files) f.temp.Write(name, bytes);
    f.RunBatch("job.bat",
               "@echo off\n"
               "Copy /b K:\\D_VTS_01\\DEMUXED\\*.VOB K:\\D_VTS_01\\SUBTITLES\\VTS_01_0.VOB\n"
               "COPY /B K:\\FRAMESERVING\\*001_NTSC.pt.*.mpv K:\\FRAMESERVING\\001_NTSC.mpv\n"
               "copy /b \"K:\\one file.txt\" + K:\\two.txt \"K:\\joined file.txt\"\n"
               "copy /b k:\\LOG.txt+K:\\two.txt K:\\log.txt\n"
               "copy /b K:\\src\\*.m2v K:\\dst\n"
               "copy /b K:\\two.txt K:\\dst\\\n");
    EXPECT_EQ(f.temp.Read("D_VTS_01/SUBTITLES/VTS_01_0.VOB"), "ABC");
    EXPECT_EQ(f.temp.Read("FRAMESERVING/001_NTSC.mpv"), "12");
    EXPECT_EQ(f.temp.Read("joined file.txt"), "one two");
    EXPECT_EQ(f.temp.Read("log.txt"), "start two") << "a target that is the first source is appended to";
    EXPECT_EQ(f.temp.Read("dst/x.m2v") + f.temp.Read("dst/y.M2V") + f.temp.Read("dst/two.txt"), "XYtwo");
    EXPECT_EQ(f.log, std::vector<std::string>{"ShellandWait commandline: \"K:\\job.bat\""}) << "no line failed";
}

TEST(Batch, CallPassesArgumentsAsPercentOneToNine) {
    BatchFixture f;
    f.Write("FRAMESERVING/Inner.bat", "touchtool.exe \"K:\\%~1\" K:\\%2 K:\\%9\n"
                                      "touchtool.exe \"K:\\%~1.txt\" K:\\100%%\n");
    f.Write("FRAMESERVING/Soft.bat", "copytool.exe %1 %2\n");
    f.temp.Write("a.wav", "audio a");
    f.RunBatch("SoftEncode.bat",
               "Call \"K:\\FRAMESERVING\\Soft.bat\" K:\\a.wav K:\\a.ac3\n"
               "call K:\\FRAMESERVING\\inner.BAT \"x y\" b c d e f g h i j\n");
    EXPECT_EQ(f.temp.Read("a.ac3"), "audio a");
    EXPECT_EQ(f.temp.Read("calls.txt"), "copy\tK:\\a.wav K:\\a.ac3\n"
                                        "touch\t\"K:\\x y\" K:\\b K:\\i\n"
                                        "touch\t\"K:\\x y.txt\" K:\\100%\n");

    EXPECT_EQ(ExpandBatchLine("x %1 %~1 %2 %3 %0 %* %% %x", "K:\\s.bat", {"\"a b\"", "c"}),
              "x \"a b\" a b c  K:\\s.bat \"a b\" c % %x");
    EXPECT_EQ(SplitBatchArguments("  \"K:\\a b.bat\"  x \"y z\"w "),
              (std::vector<std::string>{"\"K:\\a b.bat\"", "x", "\"y z\"w"}));
}

TEST(Batch, ProgramLinesRunThroughTheLauncherAndRegeditGoesToTheImport) {
    BatchFixture f;
    f.temp.Write("in.txt", "bytes");
    f.RunBatch("Tools Dir/run.bat",
               "rem a comment\n"
               ":: another\n"
               "\n"
               "   \"K:\\Tools Dir\\copytool.exe\" \"K:\\in.txt\" \"K:\\out one.txt\"\n"
               "@K:\\Tools\\copytool.exe K:\\in.txt K:\\out2.txt\n"
               "C:\\WINDOWS\\regedit.exe /S \"K:\\D_VTS_01\\FRAMESERVING\\SoftEncode.reg\"\n"
               "regedit /S \"K:\\RegEdit Fix.reg\"\n");
    EXPECT_EQ(f.temp.Read("out one.txt") + f.temp.Read("out2.txt"), "bytesbytes");
    EXPECT_EQ(f.imported,
              (std::vector<std::string>{"K:\\D_VTS_01\\FRAMESERVING\\SoftEncode.reg", "K:\\RegEdit Fix.reg"}));
    EXPECT_NE(std::find(f.log.begin(), f.log.end(), "imported K:\\D_VTS_01\\FRAMESERVING\\SoftEncode.reg"), f.log.end())
        << "the import's answer is logged";
    ASSERT_EQ(f.runner.History().size(), 3u) << "regedit lines are no starts";
    EXPECT_EQ(f.runner.History()[0].Kind, LaunchKind::Batch);
}

TEST(Batch, AFailingLineIsLoggedAndTheBatchGoesOn) {
    BatchFixture f;
    f.temp.Write("a.txt", "a");
    f.Write("loop.bat", "Call K:\\loop.bat\n");
    f.RunBatch("bad.bat",
               "\"K:\\Missing Tool\\tool.exe\" x\n"
               "Copy /b K:\\nothing\\*.vob K:\\all.vob\n"
               "Copy /b K:\\a.txt\n"
               "Call \"K:\\no such.bat\" 1\n"
               "regedit /S\n"
               "Call K:\\loop.bat\n"
               "touchtool.exe K:\\reached.txt\n");
    EXPECT_TRUE(f.temp.Exists("reached.txt"));
    EXPECT_FALSE(f.temp.Exists("all.vob"));
    std::vector<std::string> failures;
    for (const auto& line : f.log) {
        if (line.find("failed:") != std::string::npos) failures.push_back(line);
    }
    ASSERT_EQ(failures.size(), 6u);
    EXPECT_NE(failures[0].find("K:\\Missing Tool\\tool.exe"), std::string::npos) << failures[0];
    EXPECT_NE(failures[1].find("K:\\nothing\\*.vob"), std::string::npos) << failures[1];
    EXPECT_NE(failures[3].find("no such.bat"), std::string::npos) << failures[3];
    EXPECT_NE(failures[5].find("levels deep"), std::string::npos) << "a call loop is cut off";
}

TEST(Batch, AStopRequestEndsTheBatchAndAClosedWindowOnlyItsTool) {
    BatchFixture f;
    int pumps = 0;
    const auto start = std::chrono::steady_clock::now();
    f.RunBatch("long.bat", "sleeptool.exe 3000 K:\\slept.txt\ntouchtool.exe K:\\after.txt\n", [&] {
        if (++pumps == 3) f.runner.RequestStop();
    });
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1500));
    EXPECT_FALSE(f.temp.Exists("slept.txt"));
    EXPECT_FALSE(f.temp.Exists("after.txt"));

    f.runner.ResetStop();
    f.launcher.AddOverride("vsrip.exe", {{KESTROVA_STANDIN_PATH, "--tool", "sleep"}, ""});
    f.RunBatch("rip.bat", "vsrip.exe 3000 K:\\ripped.txt\ntouchtool.exe K:\\after.txt\n",
               [&] { f.runner.CloseWindow("VobSub Ripper Wizard"); });
    EXPECT_FALSE(f.temp.Exists("ripped.txt"));
    EXPECT_TRUE(f.temp.Exists("after.txt"));
}

}  // namespace
}  // namespace kestrova::platform
