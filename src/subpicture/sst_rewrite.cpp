// The rewriter of the subpicture lists: a run of bitmaps each shown too
// briefly for a player to follow is lengthened and thinned, the events
// left out commented away with "#". See sst.h.
#include <utility>

#include "job/log_writers.h"
#include "job/timecode.h"
#include "platform/error.h"
#include "platform/trace.h"
#include "subpicture/sst.h"
#include "subpicture/sst_support.h"

namespace kestrova {

namespace {

constexpr const char* kOpenEnd = "99:99:99:99";

// What a cell's run of events has come to.
struct CellRun {
    std::int32_t Count = 0;       // bitmaps of the cell so far
    std::int32_t Length = 0;      // A: the run length
    std::int32_t Pushed = 0;      // B: frames pushed
    std::int32_t Lengthened = 0;  // N: events lengthened
};

// Reads every event of a list, checked; a fault names the file and line.
bool ReadEvents(JobContext& job, const std::string& path, const std::vector<std::string>& lines,
                std::vector<std::pair<std::size_t, SstEvent>>& events, std::string& fault) {
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (ClassifySstLine(lines[i], i) != SstLineKind::Event || lines[i][0] == '#') continue;
        SstEvent event;
        std::string what;
        if (ParseSstEvent(lines[i], event, what)) {
            try {
                SstCell(job, event.Vob, event.Cell);
            } catch (const Error& missing) {
                what = missing.what();
            }
        }
        if (!what.empty()) {
            fault = "the subpicture list " + path + ", line " + std::to_string(i + 1) + " (\"" + lines[i].substr(0, 80) +
                    "\"): " + what;
            return false;
        }
        events.emplace_back(i, event);
    }
    return true;
}

// The list thinned; false (with the fault) when a line is not well formed.
bool RewriteList(JobContext& job, const std::string& path, const std::vector<std::string>& lines,
                 std::vector<std::string>& rewritten, std::string& fault) {
    const auto& o = job.Options();
    const bool pal = job.Timing.VideoStandard == "PAL";
    const std::int32_t limit = o.Default_SSTThreshold > 0 ? o.Default_SSTThreshold : (pal ? 51 : 61);
    const double rate = pal ? 25 : 30;
    const std::int32_t single = o.Default_SSTSingle;
    const TimeBase timeBase = SstTimeBase(job);
    const auto framesOf = [&](const std::string& time) { return SST2Frames(timeBase, time, false, false, rate); };
    const auto textOf = [&](std::int32_t frames) { return SstFramesText(frames, rate, ":"); };

    std::vector<std::pair<std::size_t, SstEvent>> events;
    if (!ReadEvents(job, path, lines, events, fault)) return false;

    rewritten = lines;
    CellRun run;
    std::pair<std::int16_t, std::int16_t> previous{0, 0};
    for (std::size_t e = 0; e < events.size(); ++e) {
        const auto& [at, event] = events[e];
        const std::pair<std::int16_t, std::int16_t> here{event.Vob, event.Cell};
        if (here != previous) run = CellRun{};
        previous = here;
        ++run.Count;

        const auto& vob = SstVob(job, event.Vob);
        const auto& cell = SstCell(job, event.Vob, event.Cell);
        const std::int32_t cellEnd =
            vob.Vob_Type == "Video" || event.Cell == 1 ? cell.EndFrame : SumOfEndFrames(vob, event.Cell);
        const bool open = event.End == kOpenEnd;
        std::int32_t start = framesOf(event.Start) + run.Pushed;
        std::int32_t end = open ? 0 : framesOf(event.End);
        std::int32_t length = end - start;
        if (open) {
            // To the next event of the cell, pushed alike, or else to the cell's end.
            const bool nextInCell = e + 1 < events.size() && events[e + 1].second.Vob == event.Vob &&
                                    events[e + 1].second.Cell == event.Cell;
            length = nextInCell ? framesOf(events[e + 1].second.Start) + run.Pushed - start : cellEnd - start;
        }
        if (length < single) run.Pushed += single - length;
        if (length + run.Length < limit && run.Count > 1) {
            const std::int32_t added = limit - run.Length - length;
            if (open) {
                start += added;
            } else {
                end += added;
            }
            run.Length = length + added;
            run.Pushed += added;
            ++run.Lengthened;
        } else {
            run.Length = length;
        }

        const bool pushedOk = run.Pushed < rate;
        const bool lengthenedOk = run.Lengthened <= (limit - 1) / 2;
        const bool kept = run.Count == 1 || vob.Vob_Type == "StillMenu" ||
                          (cellEnd - start >= single && pushedOk && lengthenedOk);
        // The fields behind the name (a highlight mark) stay with the event.
        const std::string text = event.Number + "\t" + textOf(start) + "\t" + (open ? kOpenEnd : textOf(end)) + "\t" +
                                 event.FileName + event.Rest;
        rewritten[at] = kept ? text : "#" + text;
        if (!kept && (!pushedOk || !lengthenedOk)) run = CellRun{run.Count, 0, 0, 0};
    }
    return true;
}

}  // namespace

void CheckSSTFor2SecondBMP(JobContext& job, std::int16_t pgcCount, std::int16_t streamCount) {
    platform::TraceFrame frame(job.Trace, "SST", "CheckSSTFor2SecondBMP");
    static_cast<void>(streamCount);  // every stream id with a list is rewritten
    for (int i = 1; i <= pgcCount; ++i) {
        for (int s = 0; s < 32; ++s) {
            const std::string path = SstPath(job, i, s);
            const std::string original = path + ".Original.sst";
            if (!job.Files.FileExists(path)) continue;
            const bool saved = job.Files.FileExists(original);
            const std::vector<std::string> lines = job.Files.ReadLines(saved ? original : path);
            std::vector<std::string> rewritten;
            std::string fault;
            if (!RewriteList(job, saved ? original : path, lines, rewritten, fault)) {
                StageFailed(job, RunStage::Subpictures, fault);
                return;
            }
            std::string text;
            for (std::size_t at = 0; at < rewritten.size(); ++at) {
                if (at < kSstHeadLines || !rewritten[at].empty()) text += rewritten[at] + "\r\n";
            }
            if (!saved) job.Files.MoveFile(path, original);
            job.Files.WriteText(path, text);
        }
    }
}

}  // namespace kestrova
