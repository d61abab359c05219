// Running a tool inside a job: the log line, progress from the wait, and a
// stop that ends the tool and starts nothing after it.
#include "job/tool_runner.h"

#include <gtest/gtest.h>

#include <csignal>

#include "job/log_writers.h"
#include "platform/stop_signals.h"
#include "support/job_fixture.h"

namespace kestrova {
namespace {

std::string StandIn(const test::JobFixture& f) { return "\"" + f.paths.ToWindows(KESTROVA_STANDIN_PATH) + "\""; }

TEST(ToolRunner, EachStartIsLoggedAndTheWaitMovesTheDemuxBar) {
    test::JobFixture f;
    f.job.Options().Default_Enable_Log = 1;
    f.job.RunLog.File("K:\\Kestrova.LOG");
    auto& state = f.job.State();
    state.Demuxing = -1;
    state.CurrentFolder = "K:\\OUT";
    state.FolderSize = 100;
    f.temp.Write("OUT/half", std::string(50, 'x'));

    const std::string command = StandIn(f) + " --tool touch \"K:\\OUT\\made by tool\"";
    ShellAndWait(f.job, command, 2);
    EXPECT_TRUE(f.temp.Exists("OUT/made by tool"));
    EXPECT_NE(f.temp.Read("Kestrova.LOG").find("\tShellandWait commandline: " + command + "\r\n"), std::string::npos);
    EXPECT_EQ(f.view.Caption, "Demuxing");
    EXPECT_EQ(f.view.StageValue, 50);
}

TEST(ToolRunner, AStopDuringAToolEndsItAndNoNewToolStarts) {
    test::JobFixture f;
    f.view.OnServe = [&f](int served) {
        if (served == 3) f.job.StopRequested = -1;  // the user confirms stop
    };
    ShellAndWait(f.job, StandIn(f) + " --tool sleep 20000 K:\\late", 0);
    ASSERT_EQ(f.runner.History().size(), 1u);
    EXPECT_TRUE(f.runner.History()[0].Stopped);
    EXPECT_FALSE(f.temp.Exists("late"));

    ShellAndWait(f.job, StandIn(f) + " --tool touch K:\\never", 0);
    EXPECT_EQ(f.runner.History().size(), 1u);
    EXPECT_FALSE(f.temp.Exists("never"));
}

TEST(ToolRunner, AStopSignalToTheProcessStopsTheJobAndItsTool) {
    test::JobFixture f;
    f.job.Options().Default_Enable_Log = 1;
    f.job.RunLog.File("K:\\Kestrova.LOG");
    platform::StopSignals signals;
    f.view.OnServe = [](int served) {
        if (served == 3) std::raise(SIGTERM);  // as kill or timeout sends it
    };
    ShellAndWait(f.job, StandIn(f) + " --tool sleep 20000 K:\\late", 0);
    ASSERT_EQ(f.runner.History().size(), 1u);
    EXPECT_TRUE(f.runner.History()[0].Stopped);
    EXPECT_EQ(f.job.StopRequested, -1);
    EXPECT_TRUE(f.runner.StopRequested()) << "nothing new starts";
    const std::string log = f.temp.Read("Kestrova.LOG");
    EXPECT_NE(log.find("\tSIGTERM received\r\n"), std::string::npos) << log;
    EXPECT_NE(log.find("\tJob Stopped\r\n"), std::string::npos) << log;
    EXPECT_EQ(platform::TakeStopSignal(), 0) << "taken once";
}

TEST(ToolRunner, AMissingProgramIsNamed) {
    test::JobFixture f;
    try {
        ShellAndWait(f.job, "\"K:\\Program\\PGCDemux.exe\" -m 1", 2);
        FAIL() << "a missing program must not pass silently";
    } catch (const Error& failure) {
        EXPECT_NE(std::string(failure.what()).find("PGCDemux.exe"), std::string::npos);
    }
}

}  // namespace
}  // namespace kestrova
