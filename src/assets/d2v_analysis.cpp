// Classifying an indexed asset: see d2v_analysis.h.
#include "assets/d2v_analysis.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

#include "assets/frameserving.h"
#include "frameserver/d2v_file.h"
#include "job/log_writers.h"
#include "platform/error.h"
#include "platform/text.h"

namespace kestrova {

namespace {

// The share of interlaced pictures at or above which a stream counts as
// interlaced, by the number of pictures: below 10, below 20, ... below 90,
// and from 90 on.
double InterlaceThreshold(std::int64_t pictures) {
    static constexpr double kThresholds[] = {0.90, 0.91, 0.92, 0.93, 0.94, 0.95, 0.96, 0.97, 0.98, 0.99};
    return kThresholds[std::min<std::int64_t>(pictures / 10, 9)];
}

std::string Joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const auto& line : lines) text += line + "\r\n";
    return text;
}

double Ratio(std::int64_t part, std::int64_t whole) {
    return part > 0 && whole > 0 ? static_cast<double>(part) / static_cast<double>(whole) : 0.0;
}

// Lines are counted from 0: the project's signature is line 0.
void Rewrite(JobContext& job, std::vector<std::string>& lines, std::size_t index, const std::string& text,
             const std::string& D2vPath) {
    if (index < lines.size()) {
        lines[index] = text;
    } else {
        WLOG(job, "The project file " + D2vPath + " has no line " + std::to_string(index) + " for \"" + text + "\"");
    }
}

}  // namespace

std::string AnalyzeD2V(JobContext& job, const std::string& D2vPath, const std::string& LogPath) {
    platform::TraceFrame frame(job.Trace, "Frameserving", "AnalyzeD2V");
    std::vector<std::string> lines;
    try {
        lines = job.Files.ReadLines(D2vPath);
    } catch (const Error& failure) {
        WLOG(job, failure.what());
    }
    // DVD2AVI's projects have their own signature; any other is DGIndex's.
    const bool dgIndex = !lines.empty() && lines.front() != "DVD2AVIProjectFile03";

    // The frame rate as the number in front of its value: "25000 (25/1)" is
    // 25000. A project without one is given the disc's.
    bool isPal = false;
    for (std::string& line : lines) {
        if (!platform::StartsWithIgnoreCase(line, "Frame_Rate")) continue;
        const auto equals = line.find('=');
        const double rate = platform::LeadingNumber(equals == std::string::npos ? "" : line.substr(equals + 1));
        if (rate == 25000) isPal = true;
        if (rate == 0) line = job.DvdFrameRate == 25 ? "Frame_Rate=25000" : "Frame_Rate=29970";
        break;
    }

    std::array<std::int64_t, 4> c{};
    if (!lines.empty()) {
        try {
            c = ParseD2vProject(Joined(lines), D2vPath).FlagCounts;
        } catch (const Error& failure) {
            WLOG(job, failure.what());
        }
    }
    const std::int64_t total = c[0] + c[1] + c[2] + c[3];
    const double ratioA = Ratio(c[1], c[0]);
    const double ratioB = Ratio(c[3], c[2]);
    const double ratioI = std::min(Ratio(c[2], total), 0.99);
    const double threshold = InterlaceThreshold(total);

    std::string type;
    bool forceFilm = false;
    if (ParseLog(job, LogPath, "FILM") == 1) {
        type = "ntsc_film";
        forceFilm = true;
    } else if (isPal) {
        type = ratioI >= threshold ? "pal_interlaced" : "pal_progressive";
    } else if (ratioA > 0.95 && ratioB > 0.95) {
        type = "ntsc_film";
        forceFilm = true;
    } else if (ratioI >= threshold) {
        type = "ntsc_interlaced";
    } else if (c[2] >= c[0] && c[2] >= c[1] && c[2] >= c[3]) {
        type = "ntsc_hybrid";
    } else if (c[0] >= c[1] && c[0] >= c[2] && c[0] >= c[3]) {
        type = "ntsc_hybrid";
    } else {
        type = "ntsc_telecine";
    }

    if (forceFilm) {
        if (dgIndex) {
            Rewrite(job, lines, 12, "Field_Operation=1", D2vPath);
            Rewrite(job, lines, 13, "Frame_Rate=23976", D2vPath);
        } else {
            Rewrite(job, lines, 11, "Frame_Rate=23976", D2vPath);
            Rewrite(job, lines, 10, "Field_Operation=1 (0:None 1:ForcedFILM 2:SwapOrder 3:RawFrames)", D2vPath);
        }
    }
    if (!lines.empty()) job.Files.WriteText(D2vPath, Joined(lines));
    return type;
}

}  // namespace kestrova
