// A job view that keeps everything it was shown, for tests.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "job/job_view.h"

namespace kestrova::test {

class RecordingView : public JobView {
public:
    void AddListLine(const std::string& line) override { Lines.push_back(line); }
    void ShowStageBar(int value, int maximum) override {
        StageValue = value;
        StageMaximum = maximum;
    }
    void ShowJobBar(int value, int maximum) override {
        JobValue = value;
        JobMaximum = maximum;
        JobValues.push_back(value);
    }
    void ShowCaption(const std::string& caption) override { Caption = caption; }
    void SetRunning(bool running) override { Running = running; }
    void SetMinimized(bool minimized) override { Minimized = minimized; }
    void ServeMessages() override {
        ++Served;
        if (OnServe) OnServe(Served);
    }

    std::vector<std::string> Lines;
    int StageValue = 0, StageMaximum = 100, JobValue = 0, JobMaximum = 100, Served = 0;
    std::vector<int> JobValues;  // every position the job bar was shown at
    std::string Caption;
    bool Running = false;
    bool Minimized = false;
    // Runs at each serve: where a test clicks stop.
    std::function<void(int)> OnServe;
};

}  // namespace kestrova::test
