// The scene times of the cells (EnableScenes, declared in frameserving.h):
// where each cell starts and ends in the frames of its VOB id, and the same
// as timecodes, from the playback times the IFO gives. The authoring scripts
// place their scenes, chapters and subpicture ends by them.
#include <charconv>
#include <cstdint>
#include <string>

#include "assets/asset_support.h"
#include "assets/frameserving.h"
#include "job/log_writers.h"
#include "platform/error.h"

namespace kestrova {

namespace {

// A cell a motion VOB id shows for this many frames or fewer is too short
// to author as a scene of its own; it is widened to this length.
constexpr std::int64_t kShortestScene = 15;

// BCDToFrames's "start_length_end" of a cell. For a "Video" or "Combo" VOB
// id the start is the running start and Length is counted from the VOB
// id's beginning, so that it equals RunningEnd.
struct CellFrames {
    std::int64_t Start = 0;
    std::int64_t Length = 0;
    std::int64_t RunningEnd = 0;
};

CellFrames SplitCellFrames(const std::string& text) {
    std::int64_t parts[3] = {0, 0, 0};
    const char* at = text.data();
    const char* const end = text.data() + text.size();
    for (std::int64_t& part : parts) {
        const auto [next, fault] = std::from_chars(at, end, part);
        if (fault != std::errc{} || (next != end && *next != '_')) {
            throw Error("BCDToFrames gave \"" + text + "\", which is not three frame numbers joined by \"_\"");
        }
        at = next == end ? end : next + 1;
    }
    return {parts[0], parts[1], parts[2]};
}

// The cell as played, or none when the model lists the cell as a scene of
// its VOB id but has no playback entry for it.
const CellID_Properties* FindPlayedCell(const VTS_Properties& domain, std::size_t vob, std::size_t cell) {
    if (domain.Video.Count() < 1) return nullptr;
    const auto& vobs = domain.Video.Item(1).VobId;
    if (vob > vobs.Count() || cell > vobs.Item(vob).CellId.Count()) return nullptr;
    return &vobs.Item(vob).CellId.Item(cell);
}

// Frame numbers as script timecodes at the standard's whole rate.
struct SceneClock {
    const TimeBase& Timing;
    double Rate;

    std::string Time(std::int64_t frames) const {
        return ConvertFrame2Time(Timing, static_cast<std::int32_t>(frames), false, Rate);
    }
    std::string DropTime(std::int64_t frames) const {
        return Time(GetDropFrame(Timing, static_cast<std::int32_t>(frames)));
    }
};

void SetStartTimes(CELL_ID_Properties& scene, const SceneClock& clock) {
    scene.Track_Scene_StartTime = clock.Time(scene.StartFrame);
    scene.ActualSceneTimeWithDrop = clock.DropTime(scene.StartFrame);
    scene.ActualSceneTimeWithoutDrop = clock.Time(scene.StartFrame);
}

}  // namespace

void EnableScenes(JobContext& job) {
    platform::TraceFrame frame(job.Trace, "Frameserving", "EnableScenes");
    auto& domain = CurrentDomain(job);
    const SceneClock clock{job.Timing, job.Timing.VideoStandard == "NTSC" ? 30.0 : 25.0};

    // Total and Offset run over the VOB ids of the domain, Previous (the
    // running end of the cell before) over the cells of one VOB id.
    CellFrames a;
    std::int64_t offset = 0;
    std::int64_t total = 0;
    for (std::size_t v = 1; v <= domain.Vob_Id.Count(); ++v) {
        auto& vob = domain.Vob_Id.Item(v);
        std::int64_t previous = 0;
        if (total > 0) {
            offset = (a.Length - a.Start) + total + 1;
            total = 0;
        }
        for (std::size_t c = 1; c <= vob.CELL_ID.Count(); ++c) {
            const CellID_Properties* played = FindPlayedCell(domain, v, c);
            if (played == nullptr) {
                WLOG(job, "EnableScenes: VOB id " + std::to_string(v) + " cell " + std::to_string(c) +
                              " has no playback time in the model - its scene times are not set");
                continue;
            }
            a = SplitCellFrames(BCDToFrames(job.Timing, static_cast<std::int32_t>(previous), BcdTime{played->BCD},
                                            vob.Vob_Type));
            auto& scene = vob.CELL_ID.Item(c);

            if (vob.Vob_Type != "Video") {
                scene.StartFrame = 0;
                scene.EndFrame = static_cast<std::int32_t>(a.Length + 1);
                scene.Data_End_Time = clock.Time(a.Length);
                scene.Track_Duration = clock.Time(a.Length + 1);
                scene.ActualSceneTimeWithDrop = scene.ActualSceneTimeWithoutDrop = clock.Time(0);
                scene.ActualSceneEndTimeWithDrop = clock.DropTime(a.Length);
                scene.ActualSceneEndTimeWithOutDrop = clock.Time(a.Length);
                total = c == 1 ? offset : vob.CELL_ID.Item(c - 1).EndFrame + total;
                scene.TotalFrames = static_cast<std::int32_t>(total);
                continue;
            }

            // The first cell of the VOB id starts at its frame 0; a later
            // one on the frame after the running end of the one before.
            const bool first = previous == 0;
            scene.EndFrame = static_cast<std::int32_t>(a.Length + 1);
            scene.StartFrame = static_cast<std::int32_t>(first ? a.Start : a.Start + 1);
            SetStartTimes(scene, clock);
            scene.ActualSceneEndTimeWithDrop = clock.DropTime(a.RunningEnd + 1);
            scene.ActualSceneEndTimeWithOutDrop = clock.Time(a.RunningEnd + 1);

            const std::int64_t shown = scene.EndFrame - scene.StartFrame;
            if (!first && shown <= kShortestScene) {
                // Taken from the end of the cell before, which then ends
                // one frame before this one starts.
                scene.StartFrame -= static_cast<std::int32_t>(kShortestScene - shown);
                vob.CELL_ID.Item(c - 1).EndFrame = scene.StartFrame - 1;
                SetStartTimes(scene, clock);
            }

            scene.Data_End_Time = clock.Time(a.Length);
            scene.Track_Duration = clock.Time(a.RunningEnd + 1);
            previous = a.RunningEnd;
            total = a.Start + offset;
            scene.TotalFrames = static_cast<std::int32_t>(total);
        }
    }
}

}  // namespace kestrova
