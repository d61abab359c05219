// What a running job shows: the log list, the stage bar, the job bar and
// the caption. The Qt window, the console of kestrova-cli and tests each
// implement it; ServeMessages is the point where a click on stop gets to
// run while the job is busy.
#pragma once

#include <string>

namespace kestrova {

class JobView {
public:
    virtual ~JobView() = default;

    // One line at the end of the log list, which scrolls to it.
    virtual void AddListLine(const std::string& line) = 0;
    virtual void ShowStageBar(int value, int maximum) = 0;
    virtual void ShowJobBar(int value, int maximum) = 0;
    virtual void ShowCaption(const std::string& caption) = 0;
    // One pass over pending user input (stop button, close box).
    virtual void ServeMessages() = 0;
    // The window's controls closed (running) or opened for a run; the
    // finished button reads "Stop" or "GoodBye".
    virtual void SetRunning(bool running) { static_cast<void>(running); }
    // The window minimised or restored.
    virtual void SetMinimized(bool minimized) { static_cast<void>(minimized); }
    // Opens the VOB preview modally, where the user marks the VOB ids to
    // strip; it writes the strip list when it closes. False when this view
    // has no preview.
    virtual bool PreviewVobs() { return false; }
};

// A view that shows nothing, for jobs nobody watches.
class SilentView : public JobView {
public:
    void AddListLine(const std::string&) override {}
    void ShowStageBar(int, int) override {}
    void ShowJobBar(int, int) override {}
    void ShowCaption(const std::string&) override {}
    void ServeMessages() override {}
};

}  // namespace kestrova
