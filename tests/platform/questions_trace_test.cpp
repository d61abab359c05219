// Questions on the console, scripted answers, and the trace facility.
#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

#include "platform/questions.h"
#include "platform/trace.h"

namespace kestrova::platform {
namespace {

TEST(Questions, ConsoleAsksUntilAnsweredAndUnattendedTakesTheGivenAnswer) {
    std::istringstream in("maybe\nY\n\nno\n");
    std::ostringstream out;
    ConsoleQuestions console(in, out, false);
    EXPECT_TRUE(console.AskYesNo("Delete existing folder?", "Kestrova", false));
    EXPECT_FALSE(console.AskYesNo("Continue anyway?", "ReBuilder Error", true));
    EXPECT_NE(out.str().find("[ReBuilder Error] Continue anyway? (y/n)"), std::string::npos);
    EXPECT_TRUE(console.AskYesNo("Again?", "Quit?", true)) << "input closed: the unattended answer";

    std::istringstream no("n\n");
    std::vector<std::string> notes;
    ConsoleQuestions unattended(no, out, true, [&notes](const std::string& note) { notes.push_back(note); });
    EXPECT_TRUE(unattended.AskYesNo("Switch to Muxman?", "Vob Count Error", true));
    unattended.ShowMessage("SOMETHING WENT WRONG - ABORTING", "Kestrova", MessageKind::Critical);
    EXPECT_EQ(unattended.ChooseFolder("Output"), "");
    ASSERT_EQ(notes.size(), 2u);
    EXPECT_EQ(notes[0], "Question \"Vob Count Error\": Switch to Muxman? - answered Yes (unattended)");
    EXPECT_NE(out.str().find("Error [Kestrova]: SOMETHING WENT WRONG - ABORTING"), std::string::npos);
}

TEST(Questions, ScriptedAnswersInOrderThenTheUnattendedOne) {
    ScriptedQuestions scripted;
    scripted.AnswerNo();
    scripted.AnswerPath("K:\\JOB\\Kestrova_Recovery.LOG");
    EXPECT_FALSE(scripted.AskYesNo("a", "t", true));
    EXPECT_EQ(scripted.ChooseFile("Browse", "Kestrova_Recovery|*.LOG"), "K:\\JOB\\Kestrova_Recovery.LOG");
    EXPECT_TRUE(scripted.AskYesNo("b", "t", true));
    scripted.ShowMessage("told", "t", MessageKind::Information);
    ASSERT_EQ(scripted.History().size(), 4u);
    EXPECT_FALSE(scripted.History()[3].WasQuestion);
}

TEST(Trace, AReportSaysWhereAndHowItGotThere) {
    Trace trace;
    std::vector<std::string> sink;
    trace.SetSink([&sink](const std::string& line) { sink.push_back(line); });
    try {
        TraceFrame outer(trace, "modMain", "StartKestrova");
        TraceFrame inner(trace, "modDemux", "EnableDemuxing");
        throw std::runtime_error("unwinds");
    } catch (const std::runtime_error&) {
        // Caught outside the frames, the report still says where it was thrown.
        trace.ReportUnwound("File not found", "modCli", "RunFromCommandLine");
    }
    EXPECT_TRUE(trace.Stack().empty()) << "frames are left as the exception passes";
    trace.ReportUnwound("Disk full", "modCli", "RunFromCommandLine");
    ASSERT_EQ(sink.size(), 2u);
    EXPECT_EQ(sink[0], "Error in modDemux.EnableDemuxing at line 0: File not found (1); call stack: "
                       "modMain.StartKestrova modDemux.EnableDemuxing");
    EXPECT_EQ(sink[1], "Error in modCli.RunFromCommandLine at line 0: Disk full (1)");
    trace.SetVerbose(true);
    { TraceFrame frame(trace, "modLog", "WLF"); }
    EXPECT_EQ(sink.back(), "leave modLog.WLF");
}

}  // namespace
}  // namespace kestrova::platform
