// The console's view of a job: see console_view.h.
#include "console_view.h"

#include <algorithm>

namespace kestrova {

namespace {

constexpr int kBarWidth = 20;
// A longer caption is cut, so the live line stays within one terminal line.
constexpr std::size_t kCaptionWidth = 20;
// Carriage return, then erase to the end of the line.
constexpr const char* kLineStart = "\r\x1b[K";

int Percent(int value, int maximum) {
    if (maximum <= 0) return 0;
    return std::clamp(value * 100 / maximum, 0, 100);
}

std::string Bar(int percent) {
    const int filled = percent * kBarWidth / 100;
    return "[" + std::string(static_cast<std::size_t>(filled), '#') +
           std::string(static_cast<std::size_t>(kBarWidth - filled), '.') + "]";
}

// The percentage right-aligned in five places, so the line keeps its length.
std::string Figure(int percent) {
    const std::string text = std::to_string(percent) + "%";
    return std::string(text.size() < 5 ? 5 - text.size() : 0, ' ') + text;
}

}  // namespace

ConsoleView::ConsoleView(bool live, std::ostream& lines, std::ostream& bars)
    : live_(live), lines_(lines), bars_(bars) {}

ConsoleView::~ConsoleView() { Clear(); }

void ConsoleView::AddListLine(const std::string& line) {
    Clear();
    lines_ << line << '\n' << std::flush;
    Draw();
}

void ConsoleView::ShowStageBar(int value, int maximum) {
    stage_ = value;
    stageMaximum_ = maximum;
    Draw();
}

void ConsoleView::ShowJobBar(int value, int maximum) {
    job_ = value;
    jobMaximum_ = maximum;
    if (!live_ && Percent(job_, jobMaximum_) != jobWritten_) {
        jobWritten_ = Percent(job_, jobMaximum_);
        bars_ << "job " << jobWritten_ << "%\n" << std::flush;
    }
    Draw();
}

void ConsoleView::ShowCaption(const std::string& caption) {
    caption_ = caption;
    Draw();
}

std::string ConsoleView::LiveLine() const {
    std::string caption = caption_.empty() ? std::string("stage") : caption_.substr(0, kCaptionWidth);
    caption.resize(kCaptionWidth, ' ');
    const int job = Percent(job_, jobMaximum_);
    const int stage = Percent(stage_, stageMaximum_);
    return "job " + Bar(job) + Figure(job) + "  " + caption + " " + Bar(stage) + Figure(stage);
}

void ConsoleView::Draw() {
    if (!live_) return;
    const std::string line = LiveLine();
    if (line == drawn_) return;
    bars_ << kLineStart << line << std::flush;
    drawn_ = line;
}

void ConsoleView::Clear() {
    if (!live_ || drawn_.empty()) return;
    bars_ << kLineStart << std::flush;
    drawn_.clear();
}

}  // namespace kestrova
