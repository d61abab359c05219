// Log objects and the banner layout: see run_log.h.
#include "job/run_log.h"

#include "platform/clock.h"
#include "platform/error.h"

namespace kestrova {

Log::Log(const platform::FileSystem& files) : files_(files), now_(platform::LocalDateTimeText) {}

void Log::output(const std::string& message, std::int16_t severity) {
    if (!active_) return;
    std::string line = message;
    if ((options_ & kDateTime) != 0) line = now_() + "\t" + line;
    if ((options_ & kSeverity) != 0) line = std::to_string(severity) + "\t" + line;
    if (severityLevel_ == -1 || severity < severityLevel_) return;
    try {
        files_.AppendLine(file_, line);
    } catch (const Error& failure) {
        active_ = false;
        throw Error(std::string("Log::Output: ") + failure.what());
    }
}

void Log::Reset() {
    if (!file_.empty() && files_.FileExists(file_)) files_.DeleteFile(file_);
}

std::string BannerTitle(const std::string& text) {
    std::string upper = text;
    for (auto& c : upper) {
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    }
    if (upper.size() >= 50) return "|" + upper + "|";
    const int n = 25 - static_cast<int>(upper.size() / 2);
    std::string field(static_cast<std::size_t>(n - 1), ' ');
    field += upper;
    field.resize(50, ' ');
    return "|" + field + "|";
}

}  // namespace kestrova
