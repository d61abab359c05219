// The console's view of a job. The log list's lines go to one stream
// (standard output) as they come; the bars go to another (standard error).
// On a terminal the bars are one live line, redrawn in place as they move:
// the job bar, the stage's caption and the stage bar. Anywhere else (a
// pipe, a file) nothing is redrawn: each new position of the job bar is
// one plain line. (The caption is left out there: it names the last stage
// that moved the stage bar, which a plain line would show long after.)
#pragma once

#include <iostream>
#include <string>

#include "job/job_view.h"

namespace kestrova {

class ConsoleView : public JobView {
public:
    explicit ConsoleView(bool live, std::ostream& lines = std::cout, std::ostream& bars = std::cerr);
    ~ConsoleView() override;
    ConsoleView(const ConsoleView&) = delete;
    ConsoleView& operator=(const ConsoleView&) = delete;

    void AddListLine(const std::string& line) override;
    void ShowStageBar(int value, int maximum) override;
    void ShowJobBar(int value, int maximum) override;
    void ShowCaption(const std::string& caption) override;
    // The console's input, a stop signal, is taken by the job itself.
    void ServeMessages() override {}

private:
    std::string LiveLine() const;
    void Draw();
    void Clear();

    bool live_;
    std::ostream& lines_;
    std::ostream& bars_;
    std::string drawn_;  // the live line on the screen; empty when none is
    int stage_ = 0;
    int stageMaximum_ = 100;
    int job_ = 0;
    int jobMaximum_ = 100;
    int jobWritten_ = -1;  // the job bar's last plain line
    std::string caption_;
};

}  // namespace kestrova
