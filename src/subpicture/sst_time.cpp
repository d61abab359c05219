// The time correction of the subpicture lists: starts kept clear of their
// cell's start, ends kept inside their cell and before the next bitmap,
// durations in the target's time code. See sst.h.
#include <string_view>

#include "job/log_writers.h"
#include "job/timecode.h"
#include "platform/trace.h"
#include "subpicture/sst.h"
#include "subpicture/sst_support.h"

namespace kestrova {

namespace {

constexpr const char* kOpenEnd = "99:99:99:99";

// A time of the source moved to the rate of the other standard: its frames
// scaled by the ratio of the rates, as the converted video is.
std::string ConvertFrames(const TimeBase& timeBase, const std::string& time, double rate) {
    return ConvertFrame2Time(timeBase, SST2Frames(timeBase, time, false, false, rate), false, rate, false, true, true);
}

bool EndsWith(std::string_view text, std::string_view tail) {
    return text.size() >= tail.size() && text.substr(text.size() - tail.size()) == tail;
}

// Whether the stream holds bitmaps in the cell, without adding to the model.
bool CellHasBitmaps(const VOB_ID_Properties& vob, std::int16_t stream, std::int16_t cell) {
    if (stream < 1 || static_cast<std::size_t>(stream) > vob.SUB_STREAM.Count()) return false;
    const auto& cells = vob.SUB_STREAM.Item(static_cast<std::size_t>(stream)).CELL_DETAILS;
    if (cell < 1 || static_cast<std::size_t>(cell) > cells.Count()) return false;
    return cells.Item(static_cast<std::size_t>(cell)).bmp.Count() > 0;
}

}  // namespace

std::string CheckSSTTime(JobContext& job, const std::string& time, std::string_view mode, std::int16_t vob,
                         std::int16_t cell, std::int16_t stream, std::int16_t bmpIndex, std::string& nextTime,
                         std::int16_t& enableStop) {
    platform::TraceFrame frame(job.Trace, "SST", "CheckSSTTime");
    const SstTiming timing = SstTimingOf(job);
    const TimeBase timeBase = SstTimeBase(job);
    if (mode == "S" && time.find('-') != std::string::npos) return "00:00:00" + timing.Separator + "00";

    auto& record = SstVob(job, vob);
    const auto& cellRecord = SstCell(job, vob, cell);
    const bool video = record.Vob_Type == "Video";
    const bool muxman = job.Options().Muxman == 1;
    const std::int32_t threshold = timing.Threshold;
    const std::int32_t previousFrames = SumOfEndFrames(record, static_cast<std::int16_t>(cell - 1));
    const auto framesOf = [&](const std::string& text) {
        return SST2Frames(timeBase, text, false, false, timing.Rate);
    };
    const auto textOf = [&](std::int32_t frames) { return SstFramesText(frames, timing.Rate, timing.Separator); };

    std::int32_t frames = framesOf(time);
    if (mode == "S") {
        WLOG(job, "StartTime[cTime] from SST = " + time);
        if (cell == 1) {
            if (frames < threshold) {
                frames = 0;
                WLOG(job, "< Threshold - Reset to " + textOf(frames));
            }
        } else if (!video) {
            // The list counts the times of a VOB's later cells from the VOB's
            // start; the authoring counts them from the cell's.
            if (time == "00:00:00:00") {
                WLOG(job, "*****Error in SST file, cell#" + std::to_string(cell) +
                              " has a 0 starttime - set to end of previous cell*****");
                frames = previousFrames + 1;
            } else {
                const std::int32_t asRead = frames;
                frames -= previousFrames;
                if (frames < 14) frames = 0;
                if (record.Vob_Type == "SlideShow" && asRead < previousFrames) {
                    WLOG(job, "Slideshow track for Muxman - correcting SST");
                    frames = previousFrames;
                }
            }
            WLOG(job, " > 1 Cell; NewCellStart = " + textOf(frames) + " PreviousFrames= " +
                          std::to_string(previousFrames));
        } else {
            const std::int32_t cellStart = cellRecord.StartFrame;
            const std::int32_t sceneStart =
                IsSstTime(cellRecord.Track_Scene_StartTime) ? framesOf(cellRecord.Track_Scene_StartTime) : 0;
            if (frames < sceneStart) {
                frames = cellStart;
            } else if (frames - sceneStart < threshold) {
                frames = bmpIndex == 1 ? cellStart : cellStart + threshold * 7 / 4;
            }
            const auto& previous = record.CELL_ID.Item(static_cast<std::size_t>(cell - 1));
            if (previous.EndFrame - previous.StartFrame <= 2 * threshold &&
                CellHasBitmaps(record, stream, static_cast<std::int16_t>(cell - 1)) && !muxman) {
                const std::int32_t added = threshold * 3 / 4;
                frames += added;
                WLOG(job, " PreviousCell < 2*Threshold - Adding " + std::to_string(added) + " frames to StartTime");
            }
            WLOG(job, "NewCheckTime = " + textOf(frames));
        }
    } else {
        WLOG(job, "EndTime[cTime] from SST = " + time);
        const auto& details = StreamCell(record, stream, cell);
        const bool last = bmpIndex >= static_cast<std::int16_t>(details.bmp.Count());
        // Without a next event the bitmap has nothing to end before but its cell.
        const bool hasNext = IsSstTime(nextTime);
        const std::int32_t cellEnd = muxman && !video ? SumOfEndFrames(record, cell) : cellRecord.EndFrame;
        const std::int32_t gap = cell > 1 && !video && !muxman ? previousFrames : 1;
        if (time == kOpenEnd && (last || !hasNext)) {
            frames = cellEnd;
            WLOG(job, "Either Last BMP or 1 only - EndTime = CellEnd = " + textOf(frames));
        } else if (time == kOpenEnd) {
            std::int32_t next = framesOf(nextTime);
            if (next - cellRecord.StartFrame < threshold) {
                next = cellRecord.StartFrame + threshold * 7 / 4;
                nextTime = textOf(next);
                WLOG(job, "Resetting Next BMP start time (under threshold)");
            }
            frames = next - gap;
            WLOG(job, "Not the last BMP; NOSTOP set; EndTime = NextBMP - 1 = " + textOf(frames));
        } else if (!last && hasNext) {
            enableStop = -1;
            const std::int32_t next = framesOf(nextTime);
            if (frames <= next - 1) {
                frames -= gap;
                WLOG(job, "CheckTime unchanged; EnableStop = True");
            } else {
                frames = next - gap;
                WLOG(job, "CheckTime over ran NextBMP; CheckTime = NextBMP-1; EnableStop = True");
            }
        }
        if (frames > cellEnd) {
            frames = cellEnd;
            enableStop = 0;
            WLOG(job, "CheckTime over ran CELLEND; Reset EnableStop = False");
        } else if (frames < cellEnd && cellEnd - frames <= 7) {
            frames = cellEnd;
            enableStop = 0;
            WLOG(job, "CheckTime has STOP but is within 7 frames of CELLEND; Reset EnableStop = False");
        }
    }

    const std::string result = textOf(frames);
    if (muxman) return result.substr(0, 8) + timing.Separator + result.substr(result.size() - 2);
    if (job.Options().Conversion == 1 && job.State().ConvertAudio == 0) {
        return GetModCheck(timeBase, ConvertFrames(timeBase, result, timing.Rate), false);
    }
    return GetModCheck(timeBase, result, false);
}

std::string SSTDuration(const JobContext& job, const std::string& start, const std::string& end, bool raw) {
    const TimeBase timeBase = SstTimeBase(job);
    const bool ntsc = NtscResult(timeBase);
    const double rate = ntsc ? 30 : 25;
    // In the target's rate and separator.
    const auto rebuild = [&](const std::string& time) {
        return ConvertFrame2Time(timeBase, SST2Frames(timeBase, time, false, false, rate), false, rate, false, true);
    };
    const std::string from = rebuild(start);
    std::string to = end;
    if (job.Temp_Settings.Item(1).ConvertAudio == 0 || timeBase.Conversion == 0) to = rebuild(end);
    // Frames 00 and 01 of a minute not divisible by 10 have no drop-frame label.
    if (SubMin(to) % 10 != 0 && (EndsWith(to, "00:02") || EndsWith(to, "00:01"))) to = to.substr(0, 9) + "00";

    std::int32_t frames = 0;
    if (job.ScenaristVersion != "3.0" && ntsc && EndsWith(to, "00:00") && SubMin(from) > 0) {
        frames = SST2Frames(timeBase, to, false, false, rate) - SST2Frames(timeBase, from, true, false, rate);
    } else {
        frames = SST2Frames(timeBase, to, !raw, false, rate) - SST2Frames(timeBase, from, !raw, false, rate);
    }
    return ConvertFrame2Time(timeBase, frames, !raw, rate, false, true);
}

}  // namespace kestrova
