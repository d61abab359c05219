// The run log ("Kestrova.LOG") and the recovery journal
// ("Kestrova_Recovery.LOG"): one Log object per file, opened and closed for
// every line so that a crash loses nothing already written.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "platform/files.h"

namespace kestrova {

class Log {
public:
    // Options bits: date and time in front, severity in front.
    static constexpr std::int32_t kDateTime = 1;
    static constexpr std::int32_t kSeverity = 2;

    explicit Log(const platform::FileSystem& files);

    // Appends a line: the message, with the date and time and the severity in
    // front as Options says, when the severity is not below SeverityLevel
    // (and SeverityLevel is not -1). A failed write turns the log off and
    // throws Error with source "Log::Output".
    void output(const std::string& message, std::int16_t severity);

    const std::string& File() const { return file_; }
    // Setting the file also makes the log active.
    void File(const std::string& path) {
        file_ = path;
        active_ = true;
    }
    bool Active() const { return active_; }
    void Active(bool active) { active_ = active; }
    std::int32_t Options() const { return options_; }
    void Options(std::int32_t options) { options_ = options; }
    std::int16_t SeverityLevel() const { return severityLevel_; }
    void SeverityLevel(std::int16_t level) { severityLevel_ = level; }

    // Deletes the file if it exists.
    void Reset();

    // Where the date and time in front come from (tests fix it).
    void SetClock(std::function<std::string()> now) { now_ = std::move(now); }

private:
    const platform::FileSystem& files_;
    std::string file_;
    bool active_ = false;
    std::int32_t options_ = kDateTime | kSeverity;
    std::int16_t severityLevel_ = 0;
    std::function<std::string()> now_;
};

// The banner of the run log: a rule of 52 hyphens, the title in upper case
// centred in 50 characters between "|", and the rule again.
std::string BannerTitle(const std::string& text);
inline const std::string kBannerRule(52, '-');

}  // namespace kestrova
