// The Content section of a Muxman script and the runs of Muxman: see
// content.h.
#include "muxman/content.h"

#include <cmath>
#include <memory>

#include "assets/asset_names.h"
#include "assets/asset_support.h"
#include "authoring/picture_helpers.h"
#include "authoring/scenario_helpers.h"
#include "dvd/stream_attributes.h"
#include "job/folders.h"
#include "job/log_writers.h"
#include "job/progress.h"
#include "job/timecode.h"
#include "job/tool_runner.h"
#include "muxman/command_translation.h"
#include "muxman/mxp_names.h"
#include "muxman/navigation.h"
#include "muxman/vob_merge.h"
#include "platform/error.h"
#include "platform/trace.h"

namespace kestrova {

namespace {

void Open(MuxmanRun& run, int depth, std::string_view statement) {
    WSF(run, depth, statement);
    WSF(run, depth, "{");
}

// Every time of a Muxman script has ":" in front of its frames.
std::string Colons(std::string_view time) {
    std::string text(time);
    for (char& c : text) {
        if (c == ';') c = ':';
    }
    return text;
}

int TargetRate(const JobContext& job) { return TargetIsPal(job) ? 25 : 30; }
// The frames a still stands for in a segment's running count.
int StillFrames(const JobContext& job) { return TargetIsPal(job) ? 12 : 15; }

// A frame count as a script time at a whole rate.
std::string TimeAt(const JobContext& job, std::int32_t frames, int rate) {
    return Colons(ConvertFrame2Time(job.Timing, frames, false, rate));
}

// Frames of a model time at a whole rate; a time the model never got
// counts none.
std::int32_t FramesAt(const JobContext& job, std::string_view time, int rate) {
    try {
        return Asset2Frames(job.Timing, time, rate);
    } catch (const Error&) {
        return 0;
    }
}

std::string DummyMenuSegment(int entry) {
    return entry <= 1 ? std::string("DummyVIDEOMenu") : "DummyVTS" + Dec(entry - 1) + "Menu";
}

// One segment being written, with the byte and frame totals of its size
// estimate.
class SegmentWriter {
public:
    SegmentWriter(JobContext& job, MuxmanRun& run, int entry, int v)
        : job_(job),
          run_(run),
          entry_(entry),
          v_(v),
          domain_(job.DiscModel.Item(static_cast<std::size_t>(entry))),
          vob_(domain_.Vob_Id.Item(static_cast<std::size_t>(v))),
          name_(CreateVOBName(v)) {}

    void Write() {
        Open(run_, 1, "Item=Segment");
        WSF(run_, 2, "Name=" + MuxmanSegmentName(entry_, v_));
        WSF(run_, 2, "Display Mode=" + GetAspect(job_, entry_));
        if (vob_.Dummy != 0) {
            DummyStreams();
        } else {
            VideoStream();
            AudioStreams();
            SubpictureStreams();
            HighlightStream();
            SceneList();
        }
        WSF(run_, 1, "}");
        AddSizeEstimate();
    }

private:
    bool Still(const CELL_ID_Properties& cell) const {
        return vob_.Vob_Type == "StillMenu" || cell.VobType == "StillMenu";
    }
    bool Slide(const CELL_ID_Properties& cell) const {
        return vob_.Vob_Type == "SlideShow" || cell.VobType == "SlideShow";
    }

    // The frames a cell of a VOB that is not "Video" takes in its segment:
    // a still its 12 or 15, a slide its duration, any other cell its frames.
    std::int32_t CellFrames(const CELL_ID_Properties& cell) const {
        if (Still(cell)) return StillFrames(job_);
        if (Slide(cell)) return FramesAt(job_, cell.Track_Duration, TargetRate(job_));
        return cell.Frames;
    }

    void AddFile(const std::string& path) {
        if (job_.Files.FileExists(path)) bytes_ += static_cast<std::int64_t>(job_.Files.FileSize(path));
    }

    void VideoPlay(const std::string& file, const std::string& duration) {
        Open(run_, 3, "Item=Video Play");
        WSF(run_, 4, "File=" + file);
        WSF(run_, 4, "Duration=" + duration);
        WSF(run_, 3, "}");
        AddFile(file);
    }

    void VideoStream() {
        Open(run_, 2, "Item=Video Stream");
        WSF(run_, 3, "Coding Mode=Mpeg - 2");
        WSF(run_, 3, TargetIsPal(job_) ? "Standard=PAL" : "Standard=NTSC");
        WSF(run_, 3, "CC Field 1=No");
        WSF(run_, 3, "CC Field 2=No");
        const std::string folder = domain_.OutputDir + "\\NEW_M2V\\";
        if (vob_.Vob_Type == "Video") {
            VideoPlay(folder + name_ + ".m2v", "Actual");
            frames_ = vob_.Frames;
        } else {
            for (std::size_t c = 1; c <= vob_.CELL_ID.Count(); ++c) {
                const CELL_ID_Properties& cell = vob_.CELL_ID.Item(c);
                std::string duration;
                if (Still(cell)) {
                    duration = "Default";
                } else if (Slide(cell)) {
                    duration = Colons(cell.Track_Duration);
                } else {
                    duration = Colons(cell.Data_End_Time);
                }
                VideoPlay(folder + name_ + "_" + CreateCellName(static_cast<int>(c)) + ".m2v", duration);
                frames_ += CellFrames(cell);
            }
        }
        WSF(run_, 2, "}");
    }

    void AudioPlay(const std::string& path) {
        if (!job_.Files.FileExists(path)) return;
        Open(run_, 3, "Item=Audio Play");
        WSF(run_, 4, "File=" + path);
        WSF(run_, 3, "}");
        AddFile(path);
    }

    // A stream per audio stream of the VOB; the whole VOB's file, or each
    // played cell's, where it exists. The IFO patch puts the source's
    // languages back, so every stream is "en" here.
    void AudioStreams() {
        if (vob_.Audio_Present == 0) return;
        const VobID_Properties* played = nullptr;
        if (domain_.Video.Count() > 0 && InRange(domain_.Video.Item(1).VobId.Count(), v_)) {
            played = &domain_.Video.Item(1).VobId.Item(static_cast<std::size_t>(v_));
        } else if (vob_.Vob_Type != "Video") {
            WLOG(job_, "\tVTS=" + Dec(entry_) + ", Vob=" + Dec(v_) +
                           " has no cells under the first Video entry: its audio streams stay empty");
        }
        for (int s = 1; s <= vob_.Audio_Stream_Quantity; ++s) {
            Open(run_, 2, "Item=Audio Stream");
            WSF(run_, 3, "Stream Number=" + Dec(s));
            WSF(run_, 3, "Language=en");
            WSF(run_, 3, "Language Extension=1");
            WSF(run_, 3, "Delay=0");
            if (vob_.Vob_Type == "Video") {
                AudioPlay(domain_.OutputDir + "\\DEMUXED\\" + Dec(s) + "-" + name_ + ".ac3");
            } else if (played != nullptr) {
                for (std::size_t c = 1; c <= played->CellId.Count(); ++c) {
                    if (played->CellId.Item(c).DummyCell != 0) continue;
                    AudioPlay(domain_.OutputDir + "\\DEMUXED_CELLID\\" + Dec(s) + "-" + name_ + "_" +
                              CreateCellName(static_cast<int>(c)) + ".ac3");
                }
            }
            WSF(run_, 2, "}");
        }
    }

    // Whether the subpictures of a detail entry are written: a cell the VOB
    // has, that is not a dummy, and that shows a subpicture.
    bool TakesDetail(int c) const {
        if (!InRange(vob_.CELL_ID.Count(), c)) {
            WLOG(job_, "\tVTS=" + Dec(entry_) + ", Vob=" + Dec(v_) + ": subpictures of cell " + Dec(c) +
                           ", which the VOB lacks - passed over");
            return false;
        }
        const CellID_Properties* played = FindPlayedCell(domain_, v_, c);
        if (played != nullptr && played->DummyCell != 0) return false;
        return vob_.CELL_ID.Item(static_cast<std::size_t>(c)).Cell_Sub_Present != 0;
    }

    std::string PlayStart(const BMP_Properties& bitmap) const {
        return vob_.Vob_Type == "StillMenu" ? std::string("00:00:00:00") : Colons(bitmap.Track_Start_Time_To_Video);
    }

    void SubpictureStreams() {
        const bool conversion = job_.Timing.Conversion == 1;
        int written = 0;
        for (const SUB_STREAM_Properties& stream : vob_.SUB_STREAM) {
            bool opened = false;
            for (std::size_t c = 1; c <= stream.CELL_DETAILS.Count(); ++c) {
                const int cell = static_cast<int>(c);
                if (!TakesDetail(cell)) continue;
                for (const BMP_Properties& b : stream.CELL_DETAILS.Item(c).bmp) {
                    if (b.Cell_FileName.empty()) continue;
                    if (!opened) {
                        Open(run_, 2, "Item=Sub-Picture Stream");
                        WSF(run_, 3, "Stream Number=" + Dec(++written));
                        WSF(run_, 3, "Language=" + (run_.Full ? b.Language : std::string("en")));
                        WSF(run_, 3, "Language Extension=0");
                        WSF(run_, 3, "Display Mode=" + GetSubAspect(b.Display_Mode));
                        opened = true;
                    }
                    const std::string start = PlayStart(b);
                    Open(run_, 3, "Item=Sub-Picture Play");
                    WSF(run_, 4, "File=" + b.FilePath);
                    WSF(run_, 4, "Start=" + start);
                    WSF(run_, 4, "Forced Start=" + b.ForcedStart);
                    WSF(run_, 4, TargetIsPal(job_) ? "Time Code=PAL" : "Time Code=NTSC non-drop");
                    WSF(run_, 4, "Duration=" + (b.EnableStop == 0
                                                    ? std::string("00:00:00:00")
                                                    : SubLength(job_, start, b.Track_Duration, entry_, v_, cell)));
                    WSF(run_, 4, "Origin=0,0");
                    const auto area = [](int x1, int y1, int x2, int y2) {
                        return Dec(x1) + "," + Dec(y1) + "," + Dec(x2) + "," + Dec(y2);
                    };
                    WSF(run_, 4, "Display Area=" + (conversion ? area(b.ConvertedDisplay_Area_X1,
                                                                      b.ConvertedDisplay_Area_Y1,
                                                                      b.ConvertedDisplay_Area_X2,
                                                                      b.ConvertedDisplay_Area_Y2)
                                                                : area(b.Display_Area_X1, b.Display_Area_Y1,
                                                                       b.Display_Area_X2, b.Display_Area_Y2)));
                    WSF(run_, 4, "Color 1(Pa)=ff0000 = = =");
                    WSF(run_, 4, "Color 2(E1)=000000 = = =");
                    WSF(run_, 4, "Color 3(E2)=ffffff = = =");
                    WSF(run_, 4, "Color=" + Dec(b.Color_E2) + " " + Dec(b.Color_E1) + " " + Dec(b.Color_P) + " " +
                                     Dec(b.Color_Bg));
                    WSF(run_, 4, "Contr=" + Dec(b.Contrast_E2) + " " + Dec(b.Contrast_E1) + " " +
                                     Dec(b.Contrast_P) + " " + Dec(b.Contrast_Bg));
                    WSF(run_, 3, "}");
                }
            }
            if (opened) WSF(run_, 2, "}");
        }
    }

    // The colour and contrast lines of one half (selection or action) of a
    // button colour group; with Equalize the three pattern contrasts share
    // their mean, the background's never changes.
    void ColourLines(const char* half, int colourE2, int colourE1, int colourP, int colourBg, int e2, int e1, int p,
                     int bg) {
        WSF(run_, 5, std::string(half) + " Color=" + Dec(colourE2 + 1) + " " + Dec(colourE1 + 1) + " " +
                         Dec(colourP + 1) + " " + Dec(colourBg + 1));
        if (job_.Options().Equalize == 1) e2 = e1 = p = (e2 + e1 + p) / 3;
        WSF(run_, 5, std::string(half) + " Contr=" + Dec(MuxContrast(job_, e2)) + " " + Dec(MuxContrast(job_, e1)) +
                         " " + Dec(MuxContrast(job_, p)) + " " + Dec(bg));
    }

    void HighlightPlay(const BMP_Properties& b, const HIGHLIGHT_STREAM_Properties& h, int cell) {
        const bool still = vob_.Vob_Type == "StillMenu";
        const std::string start = PlayStart(b);
        Open(run_, 3, "Item=Highlight Play");
        WSF(run_, 4, "Start=" + start);
        WSF(run_, 4, "Duration=" + SubLength(job_, start, b.Track_Duration, entry_, v_, cell));
        const std::string selectEnd = still ? SubEndTime(job_, "00:00:00:00", h.End_Time_Of_Select, entry_, v_, cell)
                                            : SubLength(job_, start, h.End_Time_Of_Select, entry_, v_, cell);
        WSF(run_, 4, "Select End Time=" + selectEnd);
        // The modes are the bitmap's first highlight's, as its buttons'
        // groups were read.
        const HIGHLIGHT_STREAM_Properties& first = b.HIGHLIGHT_STREAM.Item(1);
        const ButtonModes modes = ConvertButtonModeMuxman(first.ButtonMode_1, first.ButtonMode_2, first.ButtonMode_3);
        WSF(run_, 4, "Button Mode 1=" + modes.Mode1);
        WSF(run_, 4, "Button Mode 2=" + modes.Mode2);
        WSF(run_, 4, "Button Mode 3=" + modes.Mode3);
        WSF(run_, 4, "Offset=" + Dec(h.Button_Offset));
        WSF(run_, 4, "Numeric Selected Buttons=" + Dec(h.Numerical));
        const auto forced = [](std::int16_t number) {
            return number > 0 ? "Button" + Dec(number) : std::string("Nonexistent");
        };
        WSF(run_, 4, "Forced Selected Button=" + forced(h.Forced_Selected_Button));
        WSF(run_, 4, "Forced Activated Button=" + forced(h.Forced_Activated_Button));
        for (std::size_t g = 1; g <= h.COLOR_GROUP.Count(); ++g) {
            const COLOR_GROUP_Properties& group = h.COLOR_GROUP.Item(g);
            Open(run_, 4, "Item=Button Color " + Dec(static_cast<std::int64_t>(g)));
            ColourLines("Selection", group.Selection_Color_E2, group.Selection_Color_E1, group.Selection_Color_P,
                        group.Selection_Color_Bg, group.Selection_Contrast_E2, group.Selection_Contrast_E1,
                        group.Selection_Contrast_P, group.Selection_Contrast_Bg);
            ColourLines("Action", group.Action_Color_E2, group.Action_Color_E1, group.Action_Color_P,
                        group.Action_Color_Bg, group.Action_Contrast_E2, group.Action_Contrast_E1,
                        group.Action_Contrast_P, group.Action_Contrast_Bg);
            WSF(run_, 4, "}");
        }
        for (std::size_t n = 1; n <= h.BUTTON_DETAILS.Count(); ++n) {
            const BUTTON_DETAILS_Properties& button = h.BUTTON_DETAILS.Item(n);
            if (button.Dummy != 0) continue;
            Open(run_, 4, "Item=Button");
            WSF(run_, 5, "Name=Button" + Dec(static_cast<std::int64_t>(n)));
            WSF(run_, 5, "Color Index=" + Dec(button.Color_Index));
            WSF(run_, 5, button.Auto_Action != 0 ? "Auto Action Mode=Yes" : "Auto Action Mode=No");
            for (std::size_t a = 1; a <= 3; ++a) {
                std::string value;
                if (a <= button.HIGH_LIGHT_AREA.Count()) {
                    const HIGH_LIGHT_AREA_Properties& area = button.HIGH_LIGHT_AREA.Item(a);
                    value = Dec(area.X1) + "," + Dec(ConvertButtonY(job_, area.Y1)) + "," + Dec(area.X2) + "," +
                            Dec(ConvertButtonY(job_, area.Y2));
                }
                WSF(run_, 5, "Area " + Dec(static_cast<std::int64_t>(a)) + "=" + value);
            }
            WSF(run_, 5, "Left Button=Button" + Dec(button.Left));
            WSF(run_, 5, "Right Button=Button" + Dec(button.Right));
            WSF(run_, 5, "Up Button=Button" + Dec(button.Up));
            WSF(run_, 5, "Down Button=Button" + Dec(button.Down));
            WSF(run_, 4, "}");
        }
        WSF(run_, 3, "}");
    }

    // The highlights of the one subpicture stream that carries the buttons,
    // each with the buttons that stay.
    void HighlightStream() {
        if (vob_.SUB_STREAM.Count() == 0 || vob_.SubStreamUsed <= 0) return;
        if (!InRange(vob_.SUB_STREAM.Count(), vob_.SubStreamUsed)) {
            WLOG(job_, "\tVTS=" + Dec(entry_) + ", Vob=" + Dec(v_) + ": highlight stream " + Dec(vob_.SubStreamUsed) +
                           " is not among its subpicture streams - no highlights");
            return;
        }
        SUB_STREAM_Properties& stream = vob_.SUB_STREAM.Item(static_cast<std::size_t>(vob_.SubStreamUsed));
        bool opened = false;
        for (std::size_t c = 1; c <= stream.CELL_DETAILS.Count(); ++c) {
            const int cell = static_cast<int>(c);
            if (!TakesDetail(cell)) continue;
            for (BMP_Properties& b : stream.CELL_DETAILS.Item(c).bmp) {
                if (b.Cell_FileName.empty()) continue;
                for (HIGHLIGHT_STREAM_Properties& h : b.HIGHLIGHT_STREAM) {
                    if (CheckButtons(job_, run_, entry_, v_, h, cell) <= 0) continue;
                    if (!opened) Open(run_, 2, "Item=Highlight Stream");
                    opened = true;
                    HighlightPlay(b, h, cell);
                }
            }
        }
        if (opened) WSF(run_, 2, "}");
    }

    // A "Video" VOB's scenes start at their cells' times, moved to the
    // target's rate when the job converts; any other VOB's scenes follow
    // one another's frames.
    std::string SceneTime(std::size_t c, std::int32_t& running) const {
        const CELL_ID_Properties& cell = vob_.CELL_ID.Item(c);
        if (vob_.Vob_Type != "Video") {
            const std::string time = c == 1 ? std::string("00:00:00:00") : TimeAt(job_, running, TargetRate(job_));
            running += CellFrames(cell);
            return time;
        }
        std::string time = Colons(cell.Track_Scene_StartTime);
        if (time == "00:00:00:01") time = "00:00:00:00";
        if (job_.Timing.Conversion != 1) return time;
        if (job_.State().ConvertAudio != 0) {
            // The audio is stretched: the frames stay, counted at the
            // target's rate.
            const int sourceRate = TargetIsPal(job_) ? 30 : 25;
            return TimeAt(job_, FramesAt(job_, time, sourceRate), TargetRate(job_));
        }
        // The job's standard is the source's, so the other way is the
        // target's.
        return Colons(authoring::ConvertFrameTime(job_, time, true));
    }

    void SceneList() {
        Open(run_, 2, "Item=Scene List");
        std::int32_t running = 0;
        for (std::size_t c = 1; c <= vob_.CELL_ID.Count(); ++c) {
            Open(run_, 3, "Item=Scene");
            WSF(run_, 4, "Name=" + MuxmanSceneName(entry_, v_, static_cast<int>(c)));
            WSF(run_, 4, "Scene Time=" + SceneTime(c, running));
            if (job_.Options().Strip_UOP == 0) WSF(run_, 4, "Uop=" + vob_.CELL_ID.Item(c).UOPStringForMuxman);
            WSF(run_, 3, "}");
        }
        WSF(run_, 2, "}");
    }

    // A dummy VOB shows the domain's dummy still in each of its scenes.
    void DummyStreams() {
        Open(run_, 2, "Item=Video Stream");
        Open(run_, 3, "Item=Video Play");
        WSF(run_, 4, "File=" + domain_.OutputDir + "\\NEW_M2V\\Dummy.m2v");
        WSF(run_, 4, "Duration=Actual");
        WSF(run_, 3, "}");
        WSF(run_, 2, "}");
        Open(run_, 2, "Item=Scene List");
        const std::vector<std::string> times = GetCells(job_, entry_, v_);
        for (std::size_t i = 0; i < times.size(); ++i) {
            Open(run_, 3, "Item=Scene");
            WSF(run_, 4, "Name=" + MuxmanSceneName(entry_, v_, static_cast<int>(i) + 1));
            WSF(run_, 4, "Scene Time=" + times[i]);
            WSF(run_, 3, "}");
        }
        WSF(run_, 2, "}");
    }

    // Sectors of the segment: its bytes in 2012-byte payloads, and a
    // navigation pack per group of pictures (m x N frames).
    void AddSizeEstimate() {
        const auto& o = job_.Options();
        const std::int64_t bytes = bytes_ + 4096 * static_cast<std::int64_t>(vob_.TotalSubs);
        const int gop = o.m * o.N;
        const auto groups =
            static_cast<std::int64_t>(std::nearbyint(static_cast<double>(frames_) / (gop > 0 ? gop : 1)));
        domain_.Size += (bytes / 2012 + groups) * 2048;
    }

    JobContext& job_;
    MuxmanRun& run_;
    const int entry_;
    const int v_;
    VTS_Properties& domain_;
    VOB_ID_Properties& vob_;
    const std::string name_;  // the VOB in three digits
    std::int64_t bytes_ = 0;
    std::int32_t frames_ = 0;
};

// The segment a FULL script's dummy cells of a domain show.
void DummyMenuSegments(JobContext& job, MuxmanRun& run) {
    for (std::size_t e = 1; e <= job.DiscModel.Count(); ++e) {
        const VTS_Properties& domain = job.DiscModel.Item(e);
        if (domain.Video.Count() == 0) continue;
        const int entry = static_cast<int>(e);
        Open(run, 1, "Item=Segment");
        WSF(run, 2, "Name=" + DummyMenuSegment(entry));
        WSF(run, 2, "Display Mode=" + GetAspect(job, entry));
        Open(run, 2, "Item=Video Stream");
        Open(run, 3, "Item=Video Play");
        WSF(run, 4, "File=" + domain.OutputDir + "\\NEW_M2V\\Dummy.m2v");
        WSF(run, 4, "Duration=Actual");
        WSF(run, 3, "}");
        WSF(run, 2, "}");
        Open(run, 2, "Item=Scene List");
        Open(run, 3, "Item=Scene");
        WSF(run, 4, "Name=" + MuxmanDummyScene(entry));
        WSF(run, 4, "Scene Time=00:00:00:00");
        WSF(run, 3, "}");
        WSF(run, 2, "}");
        WSF(run, 1, "}");
    }
}

// Finishes a small script: the navigation around its segment, with the
// VMG skeleton a title set's VOB needs, then the file saved.
void WriteSmallNavigation(JobContext& job, MuxmanRun& run, int entry, int v) {
    const VTS_Properties& domain = job.DiscModel.Item(static_cast<std::size_t>(entry));
    const VOB_ID_Properties& vob = domain.Vob_Id.Item(static_cast<std::size_t>(v));
    const OwnSegment own{entry, v};
    WSF(run, 0, "}");
    GenerateFP(job, run);
    if (entry > 1) {
        GenerateVTS(job, run, 1, 1, true, 0, own);
        WSF(run, 1, "}");
    }
    GenerateVTS(job, run, entry, v, vob.Dummy != 0, entry == 1 ? 1 : 0, own);
    WSF(run, 1, "}");
    WSF(run, 0, "}");
    const std::string& path = run.File->Path();
    job.Files.MakeFolder(path.substr(0, path.rfind('\\')));
    run.File->Save(job.Files);
}

}  // namespace

void GenerateContent(JobContext& job, MuxmanRun& run) {
    platform::TraceFrame frame(job.Trace, "Muxman", "GenerateContent");
    UpdateProgress(job, 0, 0, "Authoring", true, false);
    WLOG(job, "Writing Muxman Scripts & Authoring, please wait....");
    if (run.Full) {
        WSF(run, 0, "Section=Content");
        WSF(run, 0, "{");
    }
    for (std::size_t e = 1; e <= job.DiscModel.Count(); ++e) {
        const int entry = static_cast<int>(e);
        const VTS_Properties& domain = job.DiscModel.Item(e);
        for (std::size_t v = 1; v <= domain.Vob_Id.Count(); ++v) {
            const int vob = static_cast<int>(v);
            std::string script;
            if (!run.Full) {
                script = domain.OutputDir + "\\MUXMAN\\Muxman" + CreateVOBName(vob) + ".MXP";
                // A script kept from an earlier run is authored as it stands.
                if (job.State().MuxScripts != 0 && job.Files.FileExists(script)) {
                    WLOG(job, "Starting Muxman.exe, script creation disabled");
                    if (RunMuxman(job, run, script, vob, entry)) {
                        run.MuxmanStopped = true;
                        return;
                    }
                    continue;
                }
                run.File = std::make_unique<ScriptFile>(script);
                job.Files.DeleteFile(script);
                GenerateSettings(job, run);
                WSF(run, 0, "Section=Content");
                WSF(run, 0, "{");
            }
            WLOG(job, "Generating Muxman Script for VTS=" + Dec(entry - 1) + " VOBID=" + CreateVOBName(vob));
            SegmentWriter(job, run, entry, vob).Write();
            if (run.Full) continue;
            WriteSmallNavigation(job, run, entry, vob);
            WLOG(job, "Starting Muxman.exe");
            if (RunMuxman(job, run, script, vob, entry)) {
                run.MuxmanStopped = true;
                return;
            }
        }
    }
    if (run.Full) {
        DummyMenuSegments(job, run);
        GenerateDummyTitle(job, run);
        WSF(run, 0, "}");
    } else {
        NewUpdateVOBs(job, run);
    }
}

bool RunMuxman(JobContext& job, MuxmanRun&, const std::string& scriptPath, int vob, int entry) {
    platform::TraceFrame frame(job.Trace, "Muxman", "RunMuxman");
    const VTS_Properties& domain = job.DiscModel.Item(static_cast<std::size_t>(entry));
    const std::string folder = domain.OutputDir + "\\MUXMAN\\" + CreateVOBName(vob);
    if (job.Files.FolderExists(folder)) DeleteFolder(job, folder);
    job.Files.MakeFolder(folder);
    RunOutsideTool(job,
                   CommandLinePath(job, job.ProgramFolder + "\\Muxman.exe") + " " + CommandLinePath(job, scriptPath) +
                       " -d " + CommandLinePath(job, folder) + " -l " + CommandLinePath(job, folder + "\\Muxman.log") +
                       " " + " -run",
                   kWindowMinimizedInactive);
    const std::string ifo = folder + "\\VIDEO_TS.IFO";
    if (job.Files.FileExists(ifo) && job.Files.FileSize(ifo) > 0) return false;
    WLOG(job, "\tMuxman.exe left no VIDEO_TS.IFO, or an empty one, in " + folder);
    return true;
}

std::vector<std::string> GetCells(const JobContext& job, int entry, int vob) {
    std::vector<std::string> times;
    if (!InRange(job.DiscModel.Count(), entry)) return times;
    const VTS_Properties& domain = job.DiscModel.Item(static_cast<std::size_t>(entry));
    if (!InRange(domain.Vob_Id.Count(), vob)) return times;
    const std::size_t cells = domain.Vob_Id.Item(static_cast<std::size_t>(vob)).CELL_ID.Count();
    std::int32_t frames = 0;
    for (std::size_t i = 0; i < cells; ++i) {
        times.push_back(TimeAt(job, frames, TargetRate(job)));
        frames += StillFrames(job);
    }
    return times;
}

namespace {

// The start and duration of a subpicture in frames at the target's rate,
// the duration cut where the pair runs past the cell's end.
std::pair<std::int32_t, std::int32_t> CutToCell(const JobContext& job, std::string_view start,
                                                std::string_view duration, int entry, int vob, int cell) {
    const int rate = TargetRate(job);
    const std::int32_t from = FramesAt(job, start, rate);
    std::int32_t length = FramesAt(job, duration, rate);
    const std::int32_t end = CellEndFrame(job, entry, vob, cell, rate);
    if (end > 0 && from + length >= end) length = end - from;
    return {from, length};
}

}  // namespace

std::string SubLength(const JobContext& job, std::string_view start, std::string_view duration, int entry, int vob,
                      int cell) {
    return TimeAt(job, CutToCell(job, start, duration, entry, vob, cell).second, TargetRate(job));
}

std::string SubEndTime(const JobContext& job, std::string_view start, std::string_view duration, int entry, int vob,
                       int cell) {
    const auto [from, length] = CutToCell(job, start, duration, entry, vob, cell);
    return TimeAt(job, from + length, TargetRate(job));
}

std::int32_t CellEndFrame(const JobContext& job, int entry, int vob, int cell, int rate) {
    if (!InRange(job.DiscModel.Count(), entry)) return 0;
    const VTS_Properties& domain = job.DiscModel.Item(static_cast<std::size_t>(entry));
    if (!InRange(domain.Vob_Id.Count(), vob)) return 0;
    const VOB_ID_Properties& record = domain.Vob_Id.Item(static_cast<std::size_t>(vob));
    const std::size_t count = record.CELL_ID.Count();
    const std::int64_t which = record.Vob_Type == "Video" ? static_cast<std::int64_t>(count) : cell;
    if (!InRange(count, which)) return 0;
    return FramesAt(job, record.CELL_ID.Item(static_cast<std::size_t>(which)).ActualSceneEndTimeWithOutDrop, rate);
}

int CheckButtons(JobContext& job, MuxmanRun& run, int entry, int vob, HIGHLIGHT_STREAM_Properties& highlight,
                 int cell) {
    auto& buttons = highlight.BUTTON_DETAILS;
    const int count = static_cast<int>(buttons.Count());
    const VTS_Properties& domain = job.DiscModel.Item(static_cast<std::size_t>(entry));

    // The PGCs that play the cell are where its buttons' commands are
    // translated.
    std::vector<CommandPlace> places;
    for (std::size_t l = 1; l <= domain.Language.Count(); ++l) {
        const Language_Properties& language = domain.Language.Item(l);
        for (std::size_t p = 1; p <= language.PGC_Number.Count(); ++p) {
            bool plays = false;
            for (const PG_Properties& pg : language.PGC_Number.Item(p).PG) {
                for (const Cell_Ref_Properties& ref : pg.cell_ref) {
                    plays = plays || (ref.Vob_Id == vob && ref.CELL_ID == cell);
                }
            }
            if (plays) {
                places.push_back({entry, static_cast<int>(l), MuxmanLanguage(job, entry, static_cast<int>(l)),
                                  static_cast<int>(p), vob, cell});
            }
        }
    }

    int removed = 0;
    for (BUTTON_DETAILS_Properties& button : buttons) {
        bool changed = false;
        for (const CommandPlace& place : places) {
            TranslateCommand(job, run, button.Button_Action, place, true);
            if (run.LinkChanged) {
                changed = true;
                break;
            }
        }
        if (!changed) continue;
        ++removed;
        if (job.Options().RemoveButton == 1) button.Dummy = -1;
    }

    const auto live = [&](int number) {
        return InRange(buttons.Count(), number) && buttons.Item(static_cast<std::size_t>(number)).Dummy == 0;
    };
    // The next live button from a removed one, searching one way round.
    const auto next = [&](std::int16_t& neighbour, int step) {
        if (!InRange(buttons.Count(), neighbour) || live(neighbour)) return;
        int at = neighbour;
        for (int tried = 0; tried < count; ++tried) {
            at += step;
            if (at < 1) at = count;
            if (at > count) at = 1;
            if (live(at)) {
                neighbour = static_cast<std::int16_t>(at);
                return;
            }
        }
    };
    int staying = 0;
    for (int n = 1; n <= count; ++n) {
        if (!live(n)) continue;
        ++staying;
        if (removed == 0) continue;
        BUTTON_DETAILS_Properties& button = buttons.Item(static_cast<std::size_t>(n));
        next(button.Up, -1);
        next(button.Left, -1);
        next(button.Down, 1);
        next(button.Right, 1);
    }
    const auto removedButton = [&](int number) {
        return InRange(buttons.Count(), number) && buttons.Item(static_cast<std::size_t>(number)).Dummy != 0;
    };
    if (removedButton(highlight.Forced_Activated_Button)) highlight.Forced_Activated_Button = 0;
    if (removedButton(highlight.Forced_Selected_Button)) highlight.Forced_Selected_Button = 0;
    if (highlight.Numerical > staying) highlight.Numerical = static_cast<std::int16_t>(staying);
    if (highlight.Number_Of_Buttons > staying) highlight.Number_Of_Buttons = static_cast<std::int16_t>(staying);
    return staying;
}

int MuxContrast(const JobContext& job, int value) {
    const int scaled = ScaleContrast(job, value);
    // A contrast is a nibble; anything else is taken at the nearer end.
    return scaled < 0 ? 0 : scaled > 15 ? 15 : scaled;
}

}  // namespace kestrova
