// kestrova-cli's view: a live line redrawn in place on a terminal, plain
// lines anywhere else.
#include "console_view.h"

#include <gtest/gtest.h>

#include <sstream>

namespace kestrova {
namespace {

// A stage moving, a log-list line in between, the job bar moving twice.
void Show(ConsoleView& view) {
    view.ShowCaption("Demuxing");
    view.ShowStageBar(30, 100);
    view.ShowJobBar(45, 100);
    view.AddListLine("08:00:00 Analysing IFOs");
    view.ShowJobBar(45, 100);
    view.ShowJobBar(50, 100);
}

TEST(ConsoleView, OnATerminalTheBarsAreOneLiveLineElsewherePlainLines) {
    std::ostringstream lines, bars;
    {
        ConsoleView view(true, lines, bars);
        Show(view);
    }
    EXPECT_EQ(lines.str(), "08:00:00 Analysing IFOs\n");
    const std::string drawn = bars.str();
    EXPECT_EQ(drawn.find('\n'), std::string::npos) << "the live line never scrolls";
    EXPECT_EQ(drawn.rfind("\r\x1b[K", 0), 0u);
    EXPECT_NE(drawn.find("job [##########..........]  50%  Demuxing             [######..............]  30%"),
              std::string::npos)
        << drawn;
    EXPECT_EQ(drawn.substr(drawn.size() - 4), "\r\x1b[K") << "cleared at the end";

    std::ostringstream plainLines, plainBars;
    {
        ConsoleView view(false, plainLines, plainBars);
        Show(view);
    }
    EXPECT_EQ(plainLines.str(), "08:00:00 Analysing IFOs\n");
    EXPECT_EQ(plainBars.str(), "job 45%\njob 50%\n");
}

}  // namespace
}  // namespace kestrova
