// The tool runner: starts through the launcher, pumping waits, stops that
// end a whole process group, children known by window title.
#include "platform/process.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include "platform/error.h"
#include "support/temp_folder.h"

namespace kestrova::platform {
namespace {

using Clock = std::chrono::steady_clock;

long MsSince(Clock::time_point start) {
    return static_cast<long>(std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count());
}

// A runner over a temporary K: drive, the stand-in being "sleep.exe", "touch.exe" and "copytool.exe".
struct RunnerFixture {
    RunnerFixture() {
        launcher.AddOverride("sleep.exe", {{KESTROVA_STANDIN_PATH, "--tool", "sleep"}, ""});
        launcher.AddOverride("touch.exe", {{KESTROVA_STANDIN_PATH, "--tool", "touch"}, ""});
        launcher.AddOverride("copytool.exe", {{KESTROVA_STANDIN_PATH, "--tool", "copy"}, ""});
        launcher.SetEnvironment("KESTROVA_STANDIN_CALLS", temp.Host("calls.txt"));
        runner.SetLog([this](const std::string& line) { log.push_back(line); });
    }

    test::TempFolder temp;
    PathSpace paths = temp.Drives();
    Launcher launcher{paths};
    ProcessRunner runner{launcher};
    std::vector<std::string> log;
};

TEST(ProcessRunner, AChildThatEndsAtOnceReturnsAtTheFirstPass) {
    RunnerFixture f;
    int pumps = 0;
    f.runner.ShellAndWait("touch.exe K:\\made.txt", 0, [&] { ++pumps; });
    EXPECT_TRUE(f.temp.Exists("made.txt"));
    ASSERT_EQ(f.runner.History().size(), 1u);
    EXPECT_EQ(f.runner.History()[0].ExitCode, 0);
    EXPECT_FALSE(f.runner.History()[0].Stopped);
    EXPECT_GE(pumps, 1);

    // A child that has already ended: one pass, no waiting, not a time-out.
    const auto child = ChildProcess::Spawn(f.launcher.Plan("touch.exe K:\\again.txt"), false);
    while (!child->Ended()) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    pumps = 0;
    const auto start = Clock::now();
    ChildProcess* const handles[] = {child.get()};
    EXPECT_EQ(f.runner.MsgWaitObj(5000, handles), 0);
    EXPECT_LT(MsSince(start), 50);
    EXPECT_EQ(pumps, 0) << "the pump given to ShellAndWait is gone with it";
}

TEST(ProcessRunner, ThePumpIsServedAboutEvery100MsWhileWaiting) {
    RunnerFixture f;
    std::vector<long> pumpTimes;
    const auto start = Clock::now();
    f.runner.SetPump([&] { pumpTimes.push_back(MsSince(start)); });
    f.runner.ShellAndWait("sleep.exe 450 K:\\slept.txt", 2);
    const long total = MsSince(start);
    EXPECT_TRUE(f.temp.Exists("slept.txt"));
    EXPECT_GE(total, 450);
    EXPECT_GE(f.runner.History().back().WallMs, 450u);
    EXPECT_LE(f.runner.History().back().WallMs, static_cast<std::uint32_t>(total));
    ASSERT_GE(pumpTimes.size(), 4u);
    EXPECT_LE(pumpTimes.size(), static_cast<std::size_t>(total / 90 + 1));
    EXPECT_LT(pumpTimes[0], 50) << "served at the first pass";
    for (std::size_t i = 1; i < pumpTimes.size(); ++i) EXPECT_GE(pumpTimes[i] - pumpTimes[i - 1], 95);

    // A plain timed wait with nothing to wait for times out, pump alive: at 0, 100 and 200 ms, give or take.
    pumpTimes.clear();
    const auto pauseStart = Clock::now();
    f.runner.pause250();
    EXPECT_GE(MsSince(pauseStart), 249);  // the counter counts whole milliseconds
    EXPECT_LT(MsSince(pauseStart), 400);
    EXPECT_GE(pumpTimes.size(), 2u);
    EXPECT_LE(pumpTimes.size(), 3u);
    EXPECT_EQ(f.runner.MsgWaitObj(0), ProcessRunner::kWaitTimeout);
    EXPECT_THROW(f.runner.MsgWaitObj(-1), Error);
}

TEST(ProcessRunner, AChildsProcessorTimeCountsWhatItWaitedFor) {
    RunnerFixture f;
    // A shell that waits for a busy shell of its own.
    f.launcher.AddOverride("busy.exe", {{"/bin/sh", "-c", "sh -c 'i=0; while [ $i -lt 300000 ]; do i=$((i+1)); done'"}, ""});
    f.runner.ShellAndWait("busy.exe", 0);
    const auto& record = f.runner.History().back();
    EXPECT_GE(record.CpuMs, 30u);
    EXPECT_LE(record.CpuMs, record.WallMs + 20u);
}

TEST(ProcessRunner, AStopFromThePumpEndsTheChildAndItsWholeGroup) {
    RunnerFixture f;
    // A shell that leaves a grandchild behind and becomes a sleeping child.
    const std::string standin = KESTROVA_STANDIN_PATH;
    const std::string script =
        "'" + standin + "' --tool sleep 500 \"$1\" & exec '" + standin + "' --tool sleep 500 \"$2\"";
    f.launcher.AddOverride("group.exe", {{"/bin/sh", "-c", script, "group"}, ""});
    int pumps = 0;
    const auto start = Clock::now();
    f.runner.ShellAndWait("group.exe K:\\grandchild.txt K:\\child.txt", 0, [&] {
        if (++pumps == 2) f.runner.RequestStop();
    });
    EXPECT_LT(MsSince(start), 400);
    ASSERT_EQ(f.runner.History().size(), 1u);
    EXPECT_TRUE(f.runner.History()[0].Stopped);

    // While stopped nothing starts: no file, no record.
    f.runner.ShellAndWait("touch.exe K:\\after.txt", 0);
    EXPECT_FALSE(f.temp.Exists("after.txt"));
    EXPECT_EQ(f.runner.History().size(), 1u);
    // Past the sleepers' time neither has written its file.
    EXPECT_EQ(f.runner.MsgWaitObj(700), ProcessRunner::kWaitTimeout);
    EXPECT_FALSE(f.temp.Exists("child.txt"));
    EXPECT_FALSE(f.temp.Exists("grandchild.txt"));
    f.runner.ResetStop();
    f.runner.ShellAndWait("touch.exe K:\\after.txt", 0);
    EXPECT_TRUE(f.temp.Exists("after.txt"));
}

// The pids a "tree" stand-in wrote, one per level.
std::vector<int> PidsIn(const std::string& hostFile) {
    std::vector<int> pids;
    std::ifstream in(hostFile);
    for (int pid; in >> pid;) pids.push_back(pid);
    return pids;
}

// Gone or a zombie: a grandchild whose parent died is reaped by whoever
// adopts it, which may take a moment or never happen.
bool ProcessIsGone(int pid) {
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string text;
    if (!std::getline(stat, text)) return true;
    const auto close = text.rfind(')');
    return close != std::string::npos && text.compare(close + 1, 3, " Z ") == 0;
}

TEST(ProcessRunner, AStopOrAFailureEndsEverythingTheToolStarted) {
    const std::function<void(ProcessRunner&)> ends[] = {
        [](ProcessRunner& runner) { runner.RequestStop(); },
        [](ProcessRunner&) { throw Error("a stage failed while the tool ran"); },
    };
    for (const auto& end : ends) {
        RunnerFixture f;
        f.launcher.AddOverride("tree.exe", {{KESTROVA_STANDIN_PATH, "--tool", "tree"}, ""});
        const std::string pidFile = f.temp.Host("pids.txt");
        // A tool that started a tool that started a long wait.
        const auto start = Clock::now();
        try {
            f.runner.ShellAndWait("tree.exe 2 20000 \"" + pidFile + "\"", 0, [&] {
                if (PidsIn(pidFile).size() == 3) end(f.runner);
            });
        } catch (const Error&) {
        }
        EXPECT_LT(MsSince(start), 5000);
        const std::vector<int> pids = PidsIn(pidFile);
        ASSERT_EQ(pids.size(), 3u);
        for (int pid : pids) {
            for (int tries = 0; tries < 100 && !ProcessIsGone(pid); ++tries) {
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
            }
            EXPECT_TRUE(ProcessIsGone(pid)) << "pid " << pid << " outlived the end of the tree";
        }
    }
}

TEST(ProcessRunner, ChildrenAreKnownAndClosedByTheirWindowTitle) {
    RunnerFixture f;
    f.launcher.AddOverride("vsrip.exe", {{KESTROVA_STANDIN_PATH, "--tool", "sleep"}, ""});
    std::vector<std::string> seen;
    bool closed = false;
    f.runner.ShellAndWait("\"K:\\Prog\\vsrip.exe\" 3000 K:\\ripped.txt", 6, [&] {
        if (f.runner.WindowExists("VobSub Ripper Wizard")) seen.push_back("vsrip");
        if (f.runner.WindowExists("DVD Decrypter")) seen.push_back("decrypter");
        if (!closed) closed = f.runner.CloseWindow("vobsub ripper WIZARD");
    });
    EXPECT_TRUE(closed);
    EXPECT_EQ(seen, std::vector<std::string>{"vsrip"});
    EXPECT_TRUE(f.runner.History().back().Stopped);
    EXPECT_FALSE(f.runner.StopRequested()) << "closing a window is not a stop of the job";
    EXPECT_FALSE(f.runner.CloseWindow("VobSub Ripper Wizard"));
    f.runner.ShellAndWait("touch.exe K:\\next.txt", 0);
    EXPECT_TRUE(f.temp.Exists("next.txt")) << "the next start runs normally";
}

TEST(ProcessRunner, HostAndWindowsProgramsGetTheirArgumentsWhole) {
    RunnerFixture f;
    namespace fs = std::filesystem;
    // The stand-in under a tool's own name in a folder with a blank and an umlaut, run as a host program.
    fs::create_directories(f.temp.Host("Tools Ü"));
    fs::create_symlink(KESTROVA_STANDIN_PATH, f.temp.Host("Tools Ü/Copy.exe"));
    f.temp.Write("Data Ä/in file.bin", std::string("\x00\x01\xff bytes", 9));
    const std::string line = "\"k:\\tools Ü\\COPY.EXE\" \"K:\\data Ä\\IN FILE.bin\" \"K:\\Data Ä\\out ü.bin\"";
    f.runner.ShellAndWait(line, 1);
    EXPECT_EQ(f.runner.History().back().Kind, LaunchKind::Host);
    EXPECT_EQ(f.temp.Read("Data Ä/out ü.bin"), std::string("\x00\x01\xff bytes", 9));
    EXPECT_EQ(f.temp.Read("calls.txt"), "copy\t\"K:\\data Ä\\IN FILE.bin\" \"K:\\Data Ä\\out ü.bin\"\n");

    // A Windows program runs under Wine, with the drive map in its environment.
    f.temp.Write("Prog Dir/Tool.exe", "MZ not really");
    f.temp.Write("wine", "#!/bin/sh\nfor a in \"$@\"; do printf '[%s]' \"$a\"; done > \"$OUT\"\n"
                         "printf '%s' \"$KESTROVA_DRIVES\" > \"$OUT.drives\"\n");
    fs::permissions(f.temp.Host("wine"), fs::perms::owner_all);
    f.launcher.SetWineProgram(f.temp.Host("wine"));
    f.launcher.SetEnvironment("OUT", f.temp.Host("wine.txt"));
    f.runner.ShellAndWait("\"K:\\Prog Dir\\Tool.exe\" -i \"K:\\a b\\x.vob\" -o", 2);
    EXPECT_EQ(f.temp.Read("wine.txt"), "[" + f.temp.Host("Prog Dir/Tool.exe") + "][-i][K:\\a b\\x.vob][-o]");
    EXPECT_EQ(f.temp.Read("wine.txt.drives"), f.paths.DriveList());
}

TEST(ProcessRunner, FailuresToStartNameTheProgramAndFailingToolsAreRecorded) {
    RunnerFixture f;
    try {
        f.runner.ShellAndWait("\"K:\\No Such\\tool.exe\" x", 0);
        FAIL() << "a missing program started";
    } catch (const Error& error) {
        EXPECT_NE(std::string(error.what()).find(f.temp.Host("No Such/tool.exe")), std::string::npos) << error.what();
    }
    EXPECT_EQ(f.log.back(), "ShellandWait commandline: \"K:\\No Such\\tool.exe\" x") << "logged before the start";
    f.launcher.AddOverride("gone.exe", {{f.temp.Host("not-there")}, ""});
    EXPECT_THROW(f.runner.ShellAndWait("gone.exe", 0), Error);

    // Failing tools: stderr reaches the output sink, the exit code is recorded, ShellAndWait does not fail. A
    // partial failure leaves the first half of the output; a tool without a partial output leaves nothing.
    std::vector<std::string> output;
    f.runner.SetChildOutput([&](const std::string& line) { output.push_back(line); });
    f.launcher.SetEnvironment("KESTROVA_STANDIN_FAIL", "sleep,COPY=partial,touch=partial");
    f.temp.Write("in.bin", "0123456789");
    f.runner.ShellAndWait("copytool.exe K:\\in.bin K:\\half.bin", 0);
    f.runner.ShellAndWait("touch.exe K:\\t.txt", 0);
    f.runner.ShellAndWait("sleep.exe 0 K:\\s.txt", 0);
    EXPECT_EQ(f.temp.Read("half.bin"), "01234");
    EXPECT_FALSE(f.temp.Exists("t.txt"));
    EXPECT_FALSE(f.temp.Exists("s.txt"));
    EXPECT_EQ(output, (std::vector<std::string>{"touch: failing as asked by KESTROVA_STANDIN_FAIL",
                                                "sleep: failing as asked by KESTROVA_STANDIN_FAIL"}));
    const auto& history = f.runner.History();
    ASSERT_GE(history.size(), 3u);
    for (auto record = history.end() - 3; record != history.end(); ++record) EXPECT_EQ(record->ExitCode, 1);
    EXPECT_EQ(f.temp.Read("calls.txt"), "copy\tK:\\in.bin K:\\half.bin\ntouch\tK:\\t.txt\nsleep\t0 K:\\s.txt\n");
}

}  // namespace
}  // namespace kestrova::platform
