// Shared pieces of the subpicture list stages: see sst_support.h.
#include "subpicture/sst_support.h"

#include <algorithm>
#include <cmath>

#include "platform/error.h"
#include "platform/text.h"

namespace kestrova {

namespace {

std::string TwoDigits(std::int64_t value) {
    std::string text = std::to_string(value);
    return text.size() < 2 ? "0" + text : text;
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

}  // namespace

SstTiming SstTimingOf(const JobContext& job) {
    const bool ntscSource = job.Timing.VideoStandard == "NTSC";
    const bool converting = job.Settings.Item(1).Conversion == 1;
    const bool convertAudio = job.Temp_Settings.Item(1).ConvertAudio != 0;
    if (ntscSource && !converting) return {":", 20, 30};
    if (ntscSource) return {";", 16, convertAudio ? 25.0 : 30.0};
    if (!converting) return {";", 16, 25};
    return {":", 20, convertAudio ? 30.0 : 25.0};
}

TimeBase SstTimeBase(const JobContext& job) {
    TimeBase timeBase = job.Timing;
    timeBase.Conversion = job.Settings.Item(1).Conversion;
    return timeBase;
}

std::string SstFramesText(std::int32_t frames, double rate, const std::string& separator) {
    const std::int64_t whole = frames < 0 ? 0 : frames;
    const auto perSecond = static_cast<std::int64_t>(std::lround(rate));
    return TwoDigits(whole / (perSecond * 3600)) + ":" + TwoDigits(whole / (perSecond * 60) % 60) + ":" +
           TwoDigits(whole / perSecond % 60) + separator + TwoDigits(whole % perSecond);
}

SstLineKind ClassifySstLine(const std::string& line, std::size_t position) {
    const std::string_view head = std::string_view(line).substr(0, 5);
    if (head == "Tape_" || head == "Pixel" || head == "Displ" || head == "Contr") return SstLineKind::Setting;
    if (platform::Trim(line).empty() || position < kSstHeadLines) return SstLineKind::PassedOver;
    if (head == "Color") return SstLineKind::Setting;
    return SstLineKind::Event;
}

bool IsSstTime(std::string_view text) {
    if (text.size() != 11) return false;
    for (std::size_t at : {0, 3, 6, 9}) {
        if (!IsDigit(text[at]) || !IsDigit(text[at + 1])) return false;
    }
    return true;
}

VTS_Properties& SstDomain(JobContext& job) {
    if (job.DomainIndex < 1 || static_cast<std::size_t>(job.DomainIndex) > job.DiscModel.Count()) {
        throw Error("The subpicture lists were read for domain " + std::to_string(job.DomainIndex) +
                    ", but the model holds " + std::to_string(job.DiscModel.Count()) + " domains");
    }
    return job.DiscModel.Item(static_cast<std::size_t>(job.DomainIndex));
}

VOB_ID_Properties& SstVob(JobContext& job, std::int16_t vob) {
    auto& domain = SstDomain(job);
    if (vob < 1 || static_cast<std::size_t>(vob) > domain.Vob_Id.Count()) {
        throw Error("VOB id " + std::to_string(vob) + " is not one of the domain's " +
                    std::to_string(domain.Vob_Id.Count()) + " VOB ids");
    }
    return domain.Vob_Id.Item(static_cast<std::size_t>(vob));
}

CELL_ID_Properties& SstCell(JobContext& job, std::int16_t vob, std::int16_t cell) {
    auto& record = SstVob(job, vob);
    if (cell < 1 || static_cast<std::size_t>(cell) > record.CELL_ID.Count()) {
        throw Error("Cell " + std::to_string(cell) + " is not one of the " + std::to_string(record.CELL_ID.Count()) +
                    " cells of VOB id " + std::to_string(vob));
    }
    return record.CELL_ID.Item(static_cast<std::size_t>(cell));
}

std::int32_t SumOfEndFrames(const VOB_ID_Properties& vob, std::int16_t last) {
    std::int64_t sum = 0;
    for (std::size_t c = 1; c <= vob.CELL_ID.Count() && c <= static_cast<std::size_t>(last > 0 ? last : 0); ++c) {
        sum += vob.CELL_ID.Item(c).EndFrame;
    }
    return static_cast<std::int32_t>(sum);
}

CELL_DETAILS_Properties& StreamCell(VOB_ID_Properties& vob, std::int16_t stream, std::int16_t cell) {
    if (stream < 1 || cell < 1) {
        throw Error("Stream position " + std::to_string(stream) + ", cell " + std::to_string(cell) +
                    " cannot hold a bitmap");
    }
    while (vob.SUB_STREAM.Count() < static_cast<std::size_t>(stream)) vob.SUB_STREAM.Add();
    auto& cells = vob.SUB_STREAM.Item(static_cast<std::size_t>(stream)).CELL_DETAILS;
    const std::size_t wanted = std::max(static_cast<std::size_t>(cell), vob.CELL_ID.Count());
    while (cells.Count() < wanted) cells.Add();
    return cells.Item(static_cast<std::size_t>(cell));
}

BMP_Properties& CellBitmap(CELL_DETAILS_Properties& cell, std::int16_t index) {
    if (index < 1) throw Error("Bitmap position " + std::to_string(index) + " is not a position of a cell's bitmaps");
    while (cell.bmp.Count() < static_cast<std::size_t>(index)) cell.bmp.Add();
    return cell.bmp.Item(static_cast<std::size_t>(index));
}

}  // namespace kestrova
