// The Encoder Control List writer: see ecl_writer.h.
#include "video/ecl_writer.h"

#include <cmath>
#include <exception>
#include <vector>

#include "assets/asset_names.h"
#include "assets/asset_support.h"
#include "job/log_writers.h"
#include "job/timecode.h"
#include "platform/text.h"

namespace kestrova {

namespace {

// The dialects a line of the list is printed in.
constexpr unsigned k25 = 1u << 0;
constexpr unsigned k266 = 1u << 1;
constexpr unsigned k267 = 1u << 2;
constexpr unsigned k27 = 1u << 3;
constexpr unsigned kBasic = 1u << 4;
constexpr unsigned kAll = k25 | k266 | k267 | k27 | kBasic;

unsigned DialectBit(EclDialect dialect) {
    switch (dialect) {
    case EclDialect::Ecl25: return k25;
    case EclDialect::Ecl266: return k266;
    case EclDialect::Ecl267: return k267;
    case EclDialect::Ecl27: return k27;
    case EclDialect::EclBasic: return kBasic;
    }
    return 0;
}

// Rates come from the frame server as 25, 29.97 or 23.976, from a project
// file as 25000 or 23976.
bool IsRate(double rate, double value) { return std::fabs(rate - value) < 0.0005; }
bool FilmRate(double rate) { return IsRate(rate, 24) || IsRate(rate, 23.976) || IsRate(rate, 23976); }
bool PalRate(double rate) { return IsRate(rate, 25) || IsRate(rate, 25000); }

std::int32_t RoundFrames(double value) { return static_cast<std::int32_t>(std::nearbyint(value)); }

std::string Num(long long value) { return std::to_string(value); }

// The lines of one write, each kept when its dialects include the list's.
class EclLines {
public:
    explicit EclLines(EclDialect dialect) : dialect_(DialectBit(dialect)) {}
    void Add(unsigned dialects, std::string line) {
        if ((dialects & dialect_) != 0) lines_.push_back(std::move(line));
    }
    void Add(unsigned dialects, std::initializer_list<std::string> lines) {
        for (const auto& line : lines) Add(dialects, line);
    }
    // The lines joined by CR LF, without the last line's end.
    std::string Joined() const {
        std::string text;
        for (std::size_t i = 0; i < lines_.size(); ++i) text += (i > 0 ? "\r\n" : "") + lines_[i];
        return text;
    }

private:
    unsigned dialect_;
    std::vector<std::string> lines_;
};

// The quality block: seven values and the picture type of CCE Basic.
struct QualityBlock {
    int HFilter = 0, HFilterIdx = 8, UseFilter = 0, FilterVal = 4, Dither = 0, DitherMax = 12, Quality = 0,
        PictType = 0;
};

QualityBlock GetQuality(const Settings_Properties& o, EclDialect dialect) {
    QualityBlock q;
    q.Quality = o.Quantizer;
    if (o.Detailed != 1) return q;
    switch (o.CCE_Quality_Setting) {
    case 0: return {1, 8, 1, 4, 0, 8, 16, 0};
    case 1: return {1, 8, 1, 12, 1, 12, 3, 1};
    case 2: return {1, 8, 1, 4, 1, 12, 24, 2};
    case 3:
        q = {o.Low_Pass, o.Low_Pass_Filter, o.Vertical, o.Vertical_Filter, o.Dither, o.Dithered, o.Quantizer, 0};
        if (dialect == EclDialect::EclBasic) {
            // CCE Basic knows five picture qualities only.
            int rounded = 24;
            for (int step : {8, 12, 16, 20, 24}) {
                if (q.Quality <= step) {
                    rounded = step;
                    break;
                }
            }
            q.Quality = rounded;
        }
        return q;
    default: return q;
    }
}

struct RateRow {
    int FrameRateIdx = 4, Height = 480, DropFrame = 1, IsPal = 0;
    bool Film = false;
};

RateRow GetRateRow(double rate) {
    if (PalRate(rate)) return {3, 576, 0, 1, false};
    if (FilmRate(rate)) return {1, 480, 1, 0, true};
    return {};
}

int VideoModeOf(std::int16_t method, EclDialect dialect) {
    const bool firstColumn = dialect == EclDialect::Ecl25 || dialect == EclDialect::Ecl27;
    switch (method) {
    case 0: return 1;
    case 1: return firstColumn ? 0 : 2;
    default: return firstColumn ? 2 : 4;
    }
}

// Sets " -3_2" on the VOB id and cell of the domain in hand, where the model holds them.
void FlagPulldown(JobContext& job, std::int16_t VobId, std::int16_t CellId) {
    if (job.DomainIndex < 1 || static_cast<std::size_t>(job.DomainIndex) > job.DiscModel.Count()) return;
    auto& vobs = job.DiscModel.Item(static_cast<std::size_t>(job.DomainIndex)).Vob_Id;
    if (VobId < 1 || static_cast<std::size_t>(VobId) > vobs.Count()) return;
    auto& vob = vobs.Item(static_cast<std::size_t>(VobId));
    vob.PulldownType = " -3_2";
    if (CellId >= 1 && static_cast<std::size_t>(CellId) <= vob.CELL_ID.Count()) {
        vob.CELL_ID.Item(static_cast<std::size_t>(CellId)).PulldownType = " -3_2";
    }
}

// A frame count as the timecode CompareScenes compares: at 25 without drop,
// film through the 3:2 pulldown and then as NTSC, NTSC at 30 with drop.
std::string SceneTimeText(const JobContext& job, std::int32_t frames, double rate) {
    if (IsRate(rate, 25)) return ConvertFrame2Time(job.Timing, frames, false, 25);
    if (FilmRate(rate)) return ConvertFrame2Time(job.Timing, GetPullDown(frames, "F", ""), true, 30);
    return ConvertFrame2Time(job.Timing, frames, true, 30);
}

// The [item] section of one asset.
struct ItemValues {
    std::string P;
    int VideoMode = 0;
    RateRow Rate;
    std::int32_t CbrRate = 0, AvgRate = 0, MaxRate = 0;
    int QFactor = 0, Passes = 0, AspectRatio = 2;
    std::string PanScanLine;
    QualityBlock Quality;
    int FieldOrder = 0;
    bool Uscc = false;
};

void AddItem(EclLines& out, const Settings_Properties& o, const ItemValues& v) {
    const std::string& P = v.P;
    const unsigned notBasic = kAll & ~kBasic;
    const unsigned not25 = kAll & ~k25;
    const unsigned cce266 = k266 | k267;
    const QualityBlock& q = v.Quality;

    out.Add(kAll, {"[item]", "title=" + P + ".avs"});
    out.Add(notBasic, {"vid_out=1", "vaf_out=1"});
    out.Add(k27, {"i32_out=0", "i32_pulldown_prg_thres=80", "i32_pulldown_rpt_val_thres=6"});
    out.Add(kAll, "aud_out=0");
    out.Add(not25, "aud_mode=0");
    out.Add(kAll, "vid_file0=" + P + ".mpv");
    out.Add(notBasic, "vid_file1=" + P + ".mpv");
    out.Add(kAll, "vaf_file=" + P + ".vaf");
    out.Add(k27, "i32_file=" + P + ".i32");
    out.Add(kAll, {"aud_file=" + P + ".mpa", "file_focused=0"});
    out.Add(k27, {"xe_exec_mode=0", "ve_exec_mode=" + Num(v.VideoMode)});
    out.Add(k25, {"encode_mode=0", "vmode=" + Num(v.VideoMode)});
    out.Add(cce266 | kBasic, "video_type=" + Num(v.VideoMode));
    out.Add(kAll, {"width=720", "height=" + Num(v.Rate.Height)});
    out.Add(k27, {"ref_tc=0", "ref_frm=0"});
    out.Add(kBasic, {"tc_offset=0", "tc_ref_frm=0"});
    out.Add(k25 | cce266, "timecode=0x0000000");
    out.Add(cce266, "tc_ref_frm=0");
    out.Add(not25, "drop_frame=" + Num(v.Rate.DropFrame));
    out.Add(kAll, "cbr_brate=" + Num(v.CbrRate));
    out.Add(notBasic, {"opv_q_factor=" + Num(v.QFactor), "opv_brate_min=0", "opv_brate_max=" + Num(v.MaxRate)});
    out.Add(kAll, {"vbr_brate_avg=" + Num(v.AvgRate), "vbr_brate_min=0", "vbr_brate_max=" + Num(v.MaxRate)});
    out.Add(notBasic, {"vbr_bias=30", "vbr_pass=" + Num(v.Passes)});
    out.Add(cce266 | k27, "create_new_vaf=1");
    out.Add(not25, {"pulldown_detect=0", "letter_box=0"});
    if (!v.PanScanLine.empty()) out.Add(cce266 | k27, v.PanScanLine);
    out.Add(kAll, "aspect_ratio=" + Num(v.AspectRatio));
    out.Add(cce266, {"credits_tweak=0", "credits_start=0x00000", "credits_brate=1000"});
    out.Add(cce266 | k27, {"h_filter=" + Num(q.HFilter), "h_filter_idx=" + Num(q.HFilterIdx)});
    out.Add(cce266, {"use_filter=" + Num(q.UseFilter), "filter_val=" + Num(q.FilterVal), "dither=" + Num(q.Dither),
                     "dither_max=" + Num(q.DitherMax), "quality_prec=" + Num(q.Quality)});
    out.Add(k27, {"h_filter_strength=100", "h_filter_idx2=0", "h_filter_hpf=0", "h_filter_hpf_idx=5",
                  "h_filter_hpf_strength=25", "h_filter_hpf_idx2=0", "v_filter=" + Num(q.UseFilter),
                  "v_filter_val=" + Num(q.FilterVal), "dither=" + Num(q.Dither), "dither_Y_max=" + Num(q.DitherMax),
                  "dither_C_max=4", "q_char_f=" + Num(q.Quality)});
    out.Add(k25, {"quality_prec=" + Num(q.Quality), "use_filter=" + Num(q.UseFilter),
                  "filter_val=" + Num(q.FilterVal), "intra_dc_prec=-1"});
    const int intra = o.Intra - 8;
    out.Add(cce266 | kBasic, "intra_dc_prec=" + Num(intra));
    out.Add(k27, {std::string("intra_dc_precision_9_max=") + (intra == 0 ? "1" : "113"),
                  std::string("intra_dc_precision_10_max=") + (intra == 0 || intra == 1 ? "1" : "113")});
    out.Add(kAll, "alternate_scan=" + Num(o.ScanningFlag));
    out.Add(k25 | cce266, "non_linear=1");
    out.Add(kAll, {"progressive=" + Num(o.ProgressiveFlag), "gop_m=" + Num(o.m), "gop_nm=" + Num(o.N),
                   "gop_hdr=" + Num(GetGopHeader(o.m, o.N)), "seq_hdr=" + Num(o.Sequence), "seq_endcode=1"});
    out.Add(k25 | cce266, "dvd=" + Num(o.Compliant));
    out.Add(k27 | kBasic, "dvd=1");
    out.Add(kAll, {"all_closed_gop=" + Num(o.Close_Gops), "fix_gop_length=" + Num(o.Restrict_I_Frame)});
    out.Add(not25, "fix_vbv_delay=0");
    out.Add(k25 | k266, "top_first=" + Num(v.FieldOrder));
    out.Add(k27 | kBasic, {"top_first=1", "offset_line=" + Num(v.FieldOrder)});
    out.Add(k267, "offset_line=" + Num(v.FieldOrder));
    out.Add(kAll, {"half_width=0", "half_height=0"});
    out.Add(k267 | k27, v.Uscc ? "uscc=1" : "uscc=0");
    out.Add(k25 | k267 | k27, "fast_mode=0");
    out.Add(kAll, {"lum_level=1", "packet_size=2048", "frame_rate_idx=" + Num(v.Rate.FrameRateIdx)});
    out.Add(kBasic, "frame_rate_idx2=" + Num(v.Rate.FrameRateIdx));
    out.Add(cce266 | k27, "qmat_idx=" + Num(o.CCE_Matrix));
    out.Add(k267 | k27, {"blanking=0", "blank_top=0", "blank_bottom=0", "blank_left=0", "blank_right=0"});
    out.Add(k27, {"resize=0",
                  "interpolation=0",
                  "adjust_q_matrix=1",
                  "last_frame_should_be_I=1",
                  "24p_to_60i=0",
                  "411_to_422=0",
                  "pulldown_auto_rebuild=0",
                  "q_scale_type=1",
                  "pict_name=Natural 3",
                  "no_move=0",
                  "i32_32=0",
                  "force_black=0",
                  "force_monochrome=0",
                  "fill=0",
                  "fill_Y_val=16",
                  "fill_C_val=128",
                  "fill_lines_top=30",
                  "fill_lines_bottom=30",
                  "deinterlace=0",
                  "sde_custom_config=0"});
    out.Add(kBasic, {"deinterlace=0", "crop_enable=0", "crop_top=0", "crop_left=0", "crop_right=0", "crop_bottom=0",
                     "resize_enable=0", "resize_width=0", "resize_height=0", "resize_intplt=2", "remove_vaf=1",
                     "pict_type=" + Num(q.PictType), "pict_complexity=2", "pict_qchar=" + Num(q.Quality),
                     "filter_on=" + Num(o.Detailed), "is_pal=" + Num(v.Rate.IsPal)});
    out.Add(kAll & ~k27, {"mpeg1=0", "mpeg1_cps=0"});
    out.Add(k27, "ve_mpeg1=0");
    out.Add(kAll, {"brate_idx=7", "stereo=2"});
    out.Add(k25 | cce266, "samples_per_sec=44100");
    out.Add(k27 | kBasic, "samples_per_sec=48000");
    out.Add(kAll, "crc=1");
}

void AddFile(EclLines& out, const std::string& P, std::int32_t FrameCount, const std::vector<std::int32_t>& chapters) {
    out.Add(kAll & ~kBasic, {"", "[file]"});
    out.Add(kAll, "name=" + P + ".avs");
    out.Add(k27, "stream_no=0");
    out.Add(k25 | k266 | k267, "type=0");
    out.Add(kAll & ~k27, {"frame_first=0", "frame_last=" + Num(FrameCount)});
    out.Add(kAll, {"encode_first=0", "encode_last=" + Num(FrameCount)});
    for (std::int32_t chapter : chapters) out.Add(kAll, "chapter=" + Num(chapter) + ":");
}

// MakeECL's work; `list` names the file once it is chosen, for the error line.
void WriteEntry(JobContext& job, const std::string& BasePath, std::int16_t VobId, bool Still, std::int16_t CellId,
                std::string& list) {
    auto& o = job.Options();
    auto& s = job.State();
    auto& domain = CurrentDomain(job);
    auto& vob = domain.Vob_Id.Item(static_cast<std::size_t>(VobId));
    CELL_ID_Properties* cell = CellId > 0 ? &vob.CELL_ID.Item(static_cast<std::size_t>(CellId)) : nullptr;
    const bool ntsc = job.Timing.VideoStandard == "NTSC";

    const EclDialect dialect = GetEclDialect(job);
    if (!s.CCEVersion.empty()) WLOG(job, "\tCCEVersion = " + s.CCEVersion);

    ItemValues v;
    v.MaxRate = 9800;
    for (const auto& audio : vob.Audio) v.MaxRate -= audio.Bitrate;

    // The GOP, written back so that a correction holds for later assets.
    if (o.AutoGopSize == 0) {
        const int product = o.m * o.N;
        if (product < 6) {
            WLOG(job, "\tCorrecting Gop Length N*M=" + Num(product));
            o.m = 2;
            o.N = 3;
        }
    } else {
        o.m = 3;
        if (vob.PalOrFilm != 0) {
            o.N = 4;
            WLOG(job, "Setting AUTO GOPSize: M=3, N/M=4 for PAL/FILM");
        } else {
            o.N = 5;
            WLOG(job, "Setting AUTO GOPSize: M=3, N/M=5 for NTSC");
        }
    }

    v.Quality = GetQuality(o, dialect);

    const std::string displayMode = domain.Video.Count() > 0 ? domain.Video.Item(1).Display_Mode : std::string();
    if (displayMode == "4 : 3" || displayMode == "4 : 3 (Pan-scan)") {
        v.AspectRatio = 2;
        v.PanScanLine = "panscan=0";
    } else if (displayMode == "16 : 9" || displayMode == "16 : 9 (Pan-scan)") {
        v.AspectRatio = 3;
        v.PanScanLine = "panscan=0";
    }
    if (domain.Video.Count() > 0) {
        const auto& video = domain.Video.Item(1);
        v.Uscc = video.Line_21_Switch_1 != 0 || video.Line_21_Switch_2 != 0;
    }

    const double assetFps = cell != nullptr ? cell->Fps : vob.Fps;
    double rate = assetFps;
    if (o.Conversion == 1) rate = job.Timing.VideoStandard == "PAL" ? 29.97 : 25;
    v.Rate = GetRateRow(rate);
    if (v.Rate.Film && (dialect == EclDialect::Ecl27 || dialect == EclDialect::EclBasic)) vob.Pulldown = 0;

    if (s.Control != 0) o.CCE_Method = s.OnePass != 0 ? 1 : s.MultiPass != 0 ? 2 : 3;
    v.VideoMode = VideoModeOf(o.CCE_Method, dialect);
    WLOG(job, "\tCCE Method=" + Num(o.CCE_Method) + ", Video_Type=" + Num(v.VideoMode));
    if (Still) v.VideoMode = 1;

    std::int32_t frameCount = vob.Frames;
    if (vob.Vob_Type == "Combo" && cell != nullptr) {
        frameCount = cell->VobType == "StillMenu" || cell->VobType == "SlideShow" ? 1 : cell->Frames;
    } else if (vob.Vob_Type == "SlideShow" || vob.Vob_Type == "StillMenu") {
        frameCount = 1;
    }

    std::string P = BasePath;
    if (o.Conversion == 1) {
        if (s.ConvertAudio == 0) frameCount = ConvertFrameDuration(job, frameCount, assetFps, true);
        const double outRate = assetFps == 0 ? (ntsc ? 25 : 30) : IsRate(assetFps, 25) ? 30 : 25;
        CELL_ID_Properties* ending = nullptr;
        if (vob.Vob_Type == "Video" && vob.CELL_ID.Count() > 0) {
            ending = &vob.CELL_ID.Item(vob.CELL_ID.Count());
        } else if (vob.Vob_Type == "Combo" && cell != nullptr && cell->VobType == "Video") {
            ending = cell;
        }
        if (ending != nullptr) {
            ending->Data_End_Time = ConvertFrame2Time(job.Timing, frameCount - 1, false, outRate);
            ending->Track_Duration = ConvertFrame2Time(job.Timing, frameCount, false, outRate);
            ending->EndFrame = frameCount;
        }
        if (cell != nullptr && (vob.Vob_Type == "SlideShow" || cell->VobType == "SlideShow")) {
            std::int32_t length = SST2Frames(job.Timing, cell->Track_Duration);
            frameCount = 1;
            if (s.ConvertAudio != 0) {
                length = ConvertFrameDuration(job, length, assetFps, true);
                cell->EndFrame = length;
                cell->Data_End_Time = ConvertFrame2Time(job.Timing, length, false, outRate);
                cell->Track_Duration = ConvertFrame2Time(job.Timing, length, false, outRate);
            } else {
                cell->Data_End_Time = ConvertFrameTime(job, cell->Data_End_Time);
                cell->Track_Duration = ConvertFrameTime(job, cell->Track_Duration);
                cell->EndFrame = SST2Frames(job.Timing, cell->Track_Duration);
            }
        }
        P += ".Conversion";
    }
    v.P = P;

    if (dialect == EclDialect::EclBasic) {
        v.VideoMode = frameCount > 1 ? 8 : 2;
        WLOG(job, "CCE Basic");
    }

    const std::int32_t average = s.Control != 0 ? s.Ave_Bitrate : o.CCE_Average_Bitrate;
    v.CbrRate = frameCount > 1 ? average : 7500;
    v.AvgRate = average;
    v.QFactor = o.UseProcoder == 1 ? o.Procoder_CQ : o.CCE_Q_Factor;
    v.Passes = s.Control != 0 ? s.Passes : o.CCE_Passes;
    v.FieldOrder = cell != nullptr ? cell->Field_Order : vob.Field_Order;

    // Entry i is where cell i + 1 starts in the encoded stream, so the
    // chapter of cell i ends there; the entry behind the last cell is 0.
    std::vector<std::int32_t> chapters;
    if (vob.Vob_Type == "Video") {
        const std::size_t cells = vob.CELL_ID.Count();
        std::vector<std::int32_t> location(cells + 1, 0);
        for (std::size_t i = 1; i <= cells; ++i) {
            const auto& scene = vob.CELL_ID.Item(i);
            location[i - 1] = GetLocation(job, scene.StartFrame, vob.Fps, scene.ActualSceneTimeWithoutDrop, VobId,
                                          static_cast<std::int16_t>(i));
        }
        if (!Still && cells > 1) {
            for (std::size_t i = 1; i <= cells; ++i) {
                vob.CELL_ID.Item(i).ChapterPoint = location[i];
                if (location[i] > 0) chapters.push_back(location[i]);
            }
        }
    }

    // The batch list.
    std::int16_t listSize = o.ECL_Assets;
    const bool listPerAsset = o.UseProcoder == 1 || s.CCEBasic != 0;
    if (listPerAsset || listSize <= 0) listSize = 1;
    const std::string folder = job.JobRoot + "\\ECLs";
    if (!job.Files.FolderExists(folder)) job.Files.MakeFolder(folder);
    const bool newList = s.CCEBatch % listSize == 0 || s.CCEBatchPath.empty();
    if (newList) {
        s.CCEInstance = static_cast<std::int16_t>(s.CCEBatch == 0 ? 1 : s.CCEBatch / listSize + 1);
        if (listPerAsset) {
            s.CCEBatchPath = folder + "\\CCE.(VTS" + CreateVOBName(job.DomainIndex - 1) + ")" + CreateVOBName(VobId) +
                             (vob.Vob_Type != "Video" ? "_" + CreateCellName(CellId) : "") + ".ecl";
        } else {
            s.CCEBatchPath = folder + "\\CCE" + Num(s.CCEInstance) + ".ecl";
        }
    }
    list = s.CCEBatchPath;
    ++s.VideoCount;

    EclLines out(dialect);
    if (newList) {
        if (o.PreviewVOBS == 1) out.Add(kAll, "#000");
        out.Add(kAll, "; " + s.ProductName + " -- Encoder Control List");
    }
    out.Add(kAll, "");
    if (o.PreviewVOBS == 1) {
        out.Add(kAll, "#VTS" + CreateVOBName(job.DomainIndex - 1));
        out.Add(kAll, CellId > 0 ? "#CELL" + CreateVOBName(VobId) + "_" + CreateCellName(CellId)
                                 : "#VOB" + CreateVOBName(VobId));
    }
    AddItem(out, o, v);
    AddFile(out, P, frameCount, chapters);
    job.Files.AppendLine(list, out.Joined());
    // Counted once written, so a list whose header failed to be written
    // starts again with the next asset.
    ++s.CCEBatch;
}

}  // namespace

EclDialect GetEclDialect(const JobContext& job) {
    const auto& s = job.Temp_Settings.Item(1);
    if (job.Settings.Item(1).UseProcoder == 1) return EclDialect::Ecl25;
    const std::string& version = s.CCEVersion;
    if (version.empty()) return EclDialect::Ecl267;
    if (s.CCEBasic != 0) return EclDialect::EclBasic;
    const std::string head = version.substr(0, 3);
    if (head == "2.5") return EclDialect::Ecl25;
    if (head == "2.7") return EclDialect::Ecl27;
    if (version == "2.67") return EclDialect::Ecl267;
    return EclDialect::Ecl266;
}

void MakeECL(JobContext& job, const std::string& BasePath, std::int16_t VobId, bool Still, std::int16_t CellId) {
    platform::TraceFrame frame(job.Trace, "ECL", "MakeECL");
    std::string list = "the Encoder Control List of " + BasePath;
    try {
        WriteEntry(job, BasePath, VobId, Still, CellId, list);
    } catch (const std::exception& fault) {
        // The list may now be short of this item; the encode verification
        // finds its output missing.
        WLOG(job, "\tERROR WRITING ECL FILE " + list + ": " + fault.what());
    }
}

std::int32_t GetLocation(JobContext& job, std::int32_t Frame, double Fps, [[maybe_unused]] const std::string& SceneTime,
                         std::int16_t VobId, std::int16_t CellId) {
    if (job.Options().Conversion != 1) {
        if (FilmRate(Fps) && Frame > 0) return NewGetPulldown(job, Frame, "R", "2_3", VobId, CellId);
        return Frame;
    }
    if (job.State().ConvertAudio == 0) return ConvertFrameDuration(job, Frame, Fps, false);
    return Frame;
}

std::int32_t ConvertFrameDuration(const JobContext& job, std::int32_t Frames, double Fps, bool Direct) {
    double factor = 0.8341675;
    double newRate = 25;
    if (FilmRate(Fps)) {
        factor = 1.042709376;
    } else if (IsRate(Fps, 25)) {
        factor = 1.1988;
        newRate = 29.97;
    }
    if (Frames <= 1) return CompareScenes(job, Frames, Frames, Fps, newRate, Direct);
    const std::int32_t scaled = RoundFrames(Frames * factor);
    if (Direct) return scaled;
    return CompareScenes(job, Frames, scaled, Fps, newRate, Direct);
}

std::int32_t CompareScenes(const JobContext& job, std::int32_t Frames, std::int32_t NewFrames, double Rate,
                           double NewRate, bool Direct) {
    std::string input = SceneTimeText(job, Frames, Rate);
    if (!Direct) input = ConvertFrameTime(job, input);
    const std::string output = SceneTimeText(job, NewFrames, NewRate);
    if (input == output) return NewFrames;
    return NewFrames + Asset2Frames(job.Timing, input, NewRate) - Asset2Frames(job.Timing, output, NewRate);
}

std::string ConvertFrameTime(const JobContext& job, const std::string& Time) {
    if (Time.size() < 10) return Time;
    const std::int64_t frames = platform::LeadingWholeNumber(Time.substr(9));
    if (frames == 0) return Time;
    std::string scaled = Num(RoundFrames(static_cast<double>(frames) * 1.1988));
    if (scaled.size() < 2) scaled = "0" + scaled;
    return Time.substr(0, 8) + (job.Timing.VideoStandard == "NTSC" ? ";" : ":") + scaled;
}

std::int16_t GetGopHeader(std::int16_t M, std::int16_t NM) {
    static constexpr std::int16_t kTable[3][5] = {{15, 14, 15, 12, 15}, {14, 12, 12, 8, 10}, {15, 12, 9, 12, 15}};
    if (M >= 1 && M <= 3 && NM >= 1 && NM <= 5) return kTable[M - 1][NM - 1];
    return static_cast<std::int16_t>(M * NM);
}

std::int32_t NewGetPulldown(JobContext& job, std::int32_t Value, const std::string& Direction,
                            const std::string& Kind, std::int16_t VobId, std::int16_t CellId) {
    if (Direction == "F") {
        const std::int32_t quotient = Value / 4;
        const std::int32_t rest = Value - quotient * 4;
        std::int32_t result = quotient * 5;
        if (rest == 1) result += 1;
        if (rest == 2) result += Kind == "2_3" ? 2 : 3;
        if (rest == 3) result += 4;
        return result;
    }
    const std::int32_t quotient = Value / 5;
    const std::int32_t rest = Value - quotient * 5;
    std::int32_t result = quotient * 4;
    WLOG(job, "Frames=" + Num(Value) + ":CalcValue=" + Num(quotient) + ":Adjust=" + Num(result));
    const std::int16_t muxman = job.Options().Muxman;
    const std::string flagged = "Vob=" + Num(VobId) + ":Cellid=" + Num(CellId) + " flagged for -3_2 pulldown";
    if (rest == 1) {
        result += 1;
    } else if (rest == 2) {
        result += 2;
    } else if (rest == 3) {
        if (muxman == 0) {
            result += 2;
            FlagPulldown(job, VobId, CellId);
            WLOG(job, flagged);
        } else {
            result += 3;
        }
    } else if (rest == 4) {
        result += 3;
        if (muxman == 1) {
            FlagPulldown(job, VobId, CellId);
            WLOG(job, flagged + " [muxman requires it]");
        }
    }
    WLOG(job, "NewCalcValue=" + Num(result));
    return result;
}

void BlankClip(JobContext& job) {
    platform::TraceFrame frame(job.Trace, "ECL", "BlankClip");
    const std::string path = job.ProgramFolder + "\\SoftEncodeTest.ecl";
    const std::string B = job.ProgramFolder + "\\SoftEncodeTest";
    const std::vector<std::string> lines = {
        "; " + job.State().ProductName + " -- Encoder Control List",
        "",
        "[item]",
        "title=" + B + ".avs",
        "vid_out=0",
        "vaf_out=0",
        "aud_out=1",
        "aud_mode=0",
        "vid_file0=" + B + ".mpv",
        "vid_file1=" + B + ".mpv",
        "vaf_file=" + B + ".vaf",
        "aud_file=" + B + ".mpa",
        "file_focused=0",
        "video_type=1",
        "width=720",
        "height=576",
        "timecode=0x0000000",
        "tc_ref_frm=0",
        "drop_frame=0",
        "cbr_brate=3000",
        "opv_q_factor=60",
        "opv_brate_min=0",
        "opv_brate_max=9000",
        "vbr_brate_avg=6000",
        "vbr_brate_min=0",
        "vbr_brate_max=9000",
        "vbr_bias=30",
        "vbr_pass=3",
        "create_new_vaf=0",
        "pulldown_detect=0",
        "letter_box=0",
        "panscan=0",
        "aspect_ratio=2",
        "credits_tweak=0",
        "credits_start=0x00000",
        "credits_brate=1000",
        "h_filter=1",
        "h_filter_idx=8",
        "use_filter=1",
        "filter_val=4",
        "dither=0",
        "dither_max=8",
        "quality_prec=16",
        "intra_dc_prec=2",
        "alternate_scan=1",
        "non_linear=1",
        "progressive=0",
        "gop_m=3",
        "gop_nm=5",
        "gop_hdr=15",
        "seq_hdr=1",
        "seq_endcode=1",
        "dvd=0",
        "all_closed_gop=0",
        "fix_gop_length=0",
        "fix_vbv_delay=0",
        "offset_line=1",
        "half_width=0",
        "half_height=0",
        "uscc=0",
        "lum_level=1",
        "packet_size=2048",
        "frame_rate_idx=3",
        "qmat_idx=0",
        "mpeg1=0",
        "mpeg1_cps=0",
        "brate_idx=7",
        "stereo=2",
        "samples_per_sec=48000",
        "crc=1",
        "",
        "[file]",
        "name=" + B + ".avs",
        "type=0",
        "frame_first=1000",
        "frame_last=1000",
        "encode_first=0",
        "encode_last=1000",
    };
    std::string text;
    for (const auto& line : lines) text += line + "\r\n";
    try {
        job.Files.WriteText(path, text);
    } catch (const std::exception& fault) {
        WLOG(job, "\tERROR WRITING ECL FILE " + path + ": " + fault.what());
    }
}

}  // namespace kestrova
