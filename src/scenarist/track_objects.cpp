// The track folder of a script: see track_objects.h.
#include "scenarist/track_objects.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "assets/asset_names.h"
#include "audio/audio_inspection.h"
#include "authoring/scenario_helpers.h"
#include "job/log_writers.h"
#include "scenarist/script_driver.h"

namespace kestrova {

namespace {

std::string DropLine(bool drop) { return drop ? "Drop Type=Drop frame" : "Drop Type=Non-drop frame"; }

bool IsDummyCell(const VTS_Properties& domain, int vob, int cell) {
    const CellID_Properties* played = FindPlayedCell(domain, vob, cell);
    return played != nullptr && played->DummyCell != 0;
}

std::string DisplayMode(const Video_Properties& video) {
    const bool letterbox = video.Display_LetterBoxed != 0;
    const bool panScan = video.Display_Pan_Scan != 0;
    if (letterbox && panScan) return "Both Panscan and Letterbox";
    if (panScan) return "Only Panscan";
    if (letterbox || video.Aspect_Ratio == "16 : 9") return "Only Letterbox";
    return "Not Specified";
}

// The display mode of a domain's tracks; a domain without video has the
// pan-scan mode its dummy still is made for.
std::string DomainDisplayMode(const VTS_Properties& domain) {
    return domain.Video.Count() > 0 ? DisplayMode(domain.Video.Item(1)) : std::string("Only Panscan");
}

void ScreenSize(const ScenaristRun& run, ScriptFile& file, int depth) {
    file.Open(depth, "Screen Size=Size");
    file.Line(depth + 1, "X=720");
    file.Line(depth + 1, run.TargetStandard == "NTSC" ? "Y=480" : "Y=576");
    file.Close(depth);
}

// A colour block of a highlight: the palette indices one up, as the
// authoring tool counts them from 1.
void ColourBlock(ScriptFile& file, int depth, std::string_view heading, int e2, int e1, int p, int bg) {
    file.Open(depth, heading);
    file.Line(depth + 1, "Color 1(E2)", Dec(e2 + 1));
    file.Line(depth + 1, "Color 2(E1)", Dec(e1 + 1));
    file.Line(depth + 1, "Color 3(P)", Dec(p + 1));
    file.Line(depth + 1, "Color 4(Bg)", Dec(bg + 1));
    file.Close(depth);
}

// A contrast block in percent. With Equalize the three pattern contrasts
// share their mean; the background never changes.
void ContrastBlock(JobContext& job, ScriptFile& file, int depth, std::string_view heading, int e2, int e1, int p,
                   int bg) {
    if (job.Options().Equalize == 1) e2 = e1 = p = (e2 + e1 + p) / 3;
    const auto percent = [&](int value, bool keep) { return Dec(ContrastToPercent(job, value, keep)) + " %"; };
    file.Open(depth, heading);
    file.Line(depth + 1, "Color 1(E2)", percent(e2, false));
    file.Line(depth + 1, "Color 2(E1)", percent(e1, false));
    file.Line(depth + 1, "Color 3(P)", percent(p, false));
    file.Line(depth + 1, "Color 4(Bg)", percent(bg, true));
    file.Close(depth);
}

// --- Palette pass ---------------------------------------------------------

struct CellUse {
    int vob = 0;
    int cell = 0;
    int ordinal = 0;  // the PGC's place over all languages of the domain, from 1
};

// Whether a cell named by a cell_ref shows a subpicture: the VOB's flag for
// a "Video" VOB, the cell's own otherwise.
bool ShowsSubpicture(JobContext& job, const VTS_Properties& domain, int entry, int vob, int cell) {
    if (!InRange(domain.Vob_Id.Count(), vob)) {
        WLOG(job, "\tVTS=" + Dec(entry) + ": a cell_ref names VOB " + Dec(vob) + ", which the domain lacks");
        return false;
    }
    const VOB_ID_Properties& record = domain.Vob_Id.Item(static_cast<std::size_t>(vob));
    if (record.Vob_Type == "Video") return record.Sub_Present != 0;
    if (!InRange(record.CELL_ID.Count(), cell)) {
        WLOG(job, "\tVTS=" + Dec(entry) + ": a cell_ref names cell " + Dec(cell) + " of VOB " + Dec(vob) +
                      ", which the VOB lacks");
        return false;
    }
    return record.CELL_ID.Item(static_cast<std::size_t>(cell)).Cell_Sub_Present != 0;
}

// Each PGC of a domain with its ordinal over all languages, in the order
// language, PGC.
template <typename Domain, typename Visit>
void ForEachPgc(Domain& domain, Visit visit) {
    int ordinal = 0;
    for (auto& language : domain.Language) {
        for (auto& pgc : language.PGC_Number) visit(pgc, ++ordinal);
    }
}

template <typename Domain, typename Visit>
void ForEachCellRef(Domain& domain, Visit visit) {
    ForEachPgc(domain, [&](auto& pgc, int ordinal) {
        for (const PG_Properties& pg : pgc.PG) {
            for (const Cell_Ref_Properties& ref : pg.cell_ref) visit(pgc, ordinal, ref);
        }
    });
}

// A cell several PGCs share can carry one palette only: PGCs that share a
// cell without showing a subpicture take the palette of the first sharer,
// and a shared cell still left with two palettes puts the whole domain on
// the default palette.
void PalettePass(JobContext& job, VTS_Properties& domain, int entry) {
    std::vector<CellUse> uses;
    std::vector<bool> showsSubpicture{false};  // by ordinal
    ForEachPgc(domain, [&](PGC_Number_Properties&, int) { showsSubpicture.push_back(false); });
    ForEachCellRef(domain, [&](PGC_Number_Properties&, int ordinal, const Cell_Ref_Properties& ref) {
        uses.push_back({ref.Vob_Id, ref.CELL_ID, ordinal});
        showsSubpicture[static_cast<std::size_t>(ordinal)] =
            ShowsSubpicture(job, domain, entry, ref.Vob_Id, ref.CELL_ID);
    });

    std::vector<CellUse> shared;
    for (const CellUse& use : uses) {
        const auto sharers = std::count_if(uses.begin(), uses.end(), [&](const CellUse& other) {
            return other.vob == use.vob && other.cell == use.cell;
        });
        if (sharers > 1) shared.push_back(use);
    }
    // The ordinal serves as a PGC number within each language.
    for (std::size_t k = 1; k < shared.size(); ++k) {
        const int target = shared[k].ordinal;
        const int source = shared.front().ordinal;
        if (showsSubpicture[static_cast<std::size_t>(target)]) continue;
        for (std::size_t l = 1; l <= domain.Language.Count(); ++l) {
            auto& pgcs = domain.Language.Item(l).PGC_Number;
            if (!InRange(pgcs.Count(), target) || !InRange(pgcs.Count(), source)) {
                WLOG(job, "\tVTS=" + Dec(entry) + ": language " + Dec(static_cast<std::int64_t>(l)) + " has no PGC " +
                              Dec(InRange(pgcs.Count(), target) ? source : target) + " - palette left as it was");
                continue;
            }
            pgcs.Item(static_cast<std::size_t>(target)).Palette_Number =
                pgcs.Item(static_cast<std::size_t>(source)).Palette_Number;
        }
    }

    bool reset = false;
    if (domain.Video.Count() > 0) {
        const auto& vobs = domain.Video.Item(1).VobId;
        for (std::size_t v = 1; v <= vobs.Count() && !reset; ++v) {
            const auto& cells = vobs.Item(v).CellId;
            for (std::size_t c = 1; c <= cells.Count() && !reset; ++c) {
                if (cells.Item(c).PGC_Number.Count() <= 1) continue;
                std::int16_t kept = 0;
                ForEachCellRef(domain, [&](PGC_Number_Properties& pgc, int, const Cell_Ref_Properties& ref) {
                    if (reset || ref.Vob_Id != static_cast<int>(v) || ref.CELL_ID != static_cast<int>(c)) return;
                    if (kept == 0) {
                        kept = pgc.Palette_Number;
                    } else if (pgc.Palette_Number != kept) {
                        reset = true;
                    }
                });
            }
        }
    }
    if (reset) WLOG(job, "Palette reset to default");
    if (reset || domain.ForcedStrip != 0) {
        ForEachPgc(domain, [](PGC_Number_Properties& pgc, int) { pgc.Palette_Number = 0; });
        domain.VTS_Type = "Default";
    }
}

// --- A track --------------------------------------------------------------

enum class TrackKind { Video, SlideShow, StillMenu };

// One track being written: a whole VOB of type "Video" (cell 0), or one
// cell of any other VOB.
struct Track {
    JobContext& job;
    ScenaristRun& run;
    ScriptFile& file;
    const VTS_Properties& domain;
    int entry;
    int vob;
    const VOB_ID_Properties& record;
    int cell;
    std::string V;  // the VOB in three digits
    std::string X;  // "_" and the cell in three digits, or empty
    TrackKind kind = TrackKind::StillMenu;
    bool stillLike = false;
    std::string D;  // the drop line of every timed item of the track

    // "VID_001_002", "VTS_1_001": the track's asset and the base of its names.
    std::string Base() const { return DomainPrefix(entry) + V + X; }
    std::string Zero() const { return run.ZeroTime(); }
};

Track MakeTrack(JobContext& job, ScenaristRun& run, ScriptFile& file, const VTS_Properties& domain, int entry,
                int vob, int cell) {
    const VOB_ID_Properties& record = domain.Vob_Id.Item(static_cast<std::size_t>(vob));
    Track track{job, run, file, domain, entry, vob, record, cell, CreateVOBName(vob), "", TrackKind::StillMenu,
                false, ""};
    const std::string& type = record.Vob_Type;
    const std::string cellType =
        InRange(record.CELL_ID.Count(), cell) ? record.CELL_ID.Item(static_cast<std::size_t>(cell)).VobType : "";
    if (cell > 0) track.X = "_" + CreateCellName(cell);
    if (type == "SlideShow") {
        track.kind = TrackKind::SlideShow;
    } else if (type == "StillMenu") {
        track.kind = TrackKind::StillMenu;
    } else if (type == "Video" || cellType == "Video") {
        track.kind = TrackKind::Video;
    } else if (cellType == "SlideShow") {
        track.kind = TrackKind::SlideShow;
    }
    track.stillLike = type == "StillMenu" || (type == "Combo" && cellType == "StillMenu");
    track.D = DropLine(track.kind == TrackKind::Video && run.TargetStandard == "NTSC");
    return track;
}

void WriteAudioStreams(const Track& t) {
    ScriptFile& f = t.file;
    f.Open(5, "Audio Streams=List");
    const std::string language = t.domain.Audio.Count() > 0 ? t.domain.Audio.Item(1).Language : std::string();
    for (int s = 1; s <= t.record.Audio_Stream_Quantity; ++s) {
        const std::string path = t.record.Vob_Type == "Video"
                                     ? t.domain.OutputDir + "\\DEMUXED\\" + Dec(s) + "-" + t.V + ".ac3"
                                     : t.domain.OutputDir + "\\DEMUXED_CELLID\\" + Dec(s) + "-" + t.V + t.X + ".ac3";
        if (!t.job.Files.FileExists(path)) continue;
        const AudioFacts facts = CheckAudioSource(t.job, path, false);
        std::string duration = facts[4];
        if (t.run.TargetStandard != "NTSC" && t.job.Timing.VideoStandard == "PAL" && t.job.Timing.Conversion == 1) {
            duration = CorrectTime(t.job, duration, "", 0, 0, 0);
        }
        f.Open(6, "Item=Audio Stream");
        f.Open(7, "Item=Audio Play");
        f.Line(8, "Data", DomainPrefix(t.entry) + Dec(s) + "_" + t.V + t.X + "_" + Dec(s + 79));
        f.Line(8, "Start Time To Video", t.Zero());
        f.Line(8, "Resolution", t.run.TargetStandard);
        f.Line(8, "Start Time", t.Zero());
        f.Line(8, t.job.Timing.VideoStandard == "NTSC" && t.record.Vob_Type == "SlideShow" ? DropLine(true) : t.D);
        f.Line(8, "Duration", duration);
        f.Close(7);
        f.Line(7, "Stream Number", Dec(s));
        f.Line(7, "Language", language);
        f.Line(7, "Synchronization=Yes");
        f.Close(6);
    }
    f.Close(5);
}

// Whether the track takes the subpictures of a detail entry: every cell of
// a "Video" VOB, only its own cell otherwise; never a dummy cell or one
// without a subpicture.
bool TakesDetail(const Track& t, int cell) {
    if (t.record.Vob_Type != "Video" && cell != t.cell) return false;
    if (IsDummyCell(t.domain, t.vob, cell)) return false;
    if (!InRange(t.record.CELL_ID.Count(), cell)) {
        WLOG(t.job, "\tVTS=" + Dec(t.entry) + ", Vob=" + Dec(t.vob) + ": subpictures of cell " + Dec(cell) +
                        ", which the VOB lacks - passed over");
        return false;
    }
    return t.record.CELL_ID.Item(static_cast<std::size_t>(cell)).Cell_Sub_Present != 0;
}

// Streams are numbered from 1 over those that have bitmaps.
void WriteSubpictureStreams(const Track& t) {
    ScriptFile& f = t.file;
    f.Open(5, "Sub-Picture Streams=List");
    int written = 0;
    for (const SUB_STREAM_Properties& stream : t.record.SUB_STREAM) {
        bool opened = false;
        std::string mode;
        std::string language;
        for (std::size_t c = 1; c <= stream.CELL_DETAILS.Count(); ++c) {
            if (!TakesDetail(t, static_cast<int>(c))) continue;
            for (const BMP_Properties& bitmap : stream.CELL_DETAILS.Item(c).bmp) {
                if (bitmap.Cell_FileName.empty()) continue;
                if (!opened) {
                    f.Open(6, "Item=Sub-Picture Stream");
                    opened = true;
                    ++written;
                }
                mode = bitmap.Display_Mode;
                language = t.job.LanguageTable.priv_LangCodeToLangName(bitmap.Language);
                f.Open(7, "Item=Sub-Picture Play");
                f.Line(8, "Data", bitmap.Cell_FileName);
                f.Line(8, "Start Time To Video",
                       t.record.Vob_Type == "StillMenu"
                           ? t.Zero()
                           : CorrectTime(t.job, bitmap.Track_Start_Time_To_Video, "SUB", 0, 0, 0));
                f.Line(8, "Resolution", t.run.TargetStandard);
                f.Line(8, t.D);
                f.Line(8, "Duration",
                       t.stillLike ? t.run.OneFrame() : CorrectTime(t.job, bitmap.Track_Duration, "FRAMEPAD", 0, 0, 0));
                f.Line(8, "Start Time", t.Zero());
                f.Line(8, "Subpicture Repeat=No");
                f.Line(8, "Repeat Interval=2");
                f.Close(7);
            }
        }
        if (opened) {
            f.Line(7, "Stream Number", Dec(written));
            f.Line(7, "Display Mode", mode);
            f.Line(7, "Language", language);
            f.Close(6);
        }
    }
    f.Close(5);
}

// The three button mode lines, from the first highlight of a bitmap.
void WriteButtonModes(ScriptFile& file, const HIGHLIGHT_STREAM_Properties& first) {
    file.Line(7, "Button Mode 1", ConvertButtonMode(first.ButtonMode_1));
    file.Line(7, "Button Mode 2", ConvertButtonMode(first.ButtonMode_2));
    file.Line(7, "Button Mode 3", ConvertButtonMode(first.ButtonMode_3));
}

void WriteButtons(const Track& t, const HIGHLIGHT_STREAM_Properties& highlight, const std::string& buttonBase) {
    ScriptFile& f = t.file;
    const auto& buttons = highlight.BUTTON_DETAILS;
    f.Open(7, "Buttons=List");
    for (std::size_t b = 1; b <= buttons.Count(); ++b) {
        const BUTTON_DETAILS_Properties& button = buttons.Item(b);
        const std::string name = buttonBase + Dec(static_cast<std::int64_t>(b));
        f.Open(8, "Item=Button");
        f.Line(9, "Name", name);
        f.Line(9, "Button Number", Dec(static_cast<std::int64_t>(b)));
        f.Line(9, "Color Index", Dec(button.Color_Index));
        f.Line(9, button.Auto_Action != 0 ? "Auto Action Mode=Yes" : "Auto Action Mode=No");
        // Three areas always; a button with fewer repeats its last.
        const auto& areas = button.HIGH_LIGHT_AREA;
        if (areas.Count() == 0) WLOG(t.job, "\tButton " + name + " has no highlight area - written as 0, 0, 0, 0");
        for (std::size_t n = 1; n <= 3; ++n) {
            const HIGH_LIGHT_AREA_Properties area =
                areas.Count() == 0 ? HIGH_LIGHT_AREA_Properties{} : areas.Item(std::min(n, areas.Count()));
            f.Open(9, "Highlight Area No." + Dec(static_cast<std::int64_t>(n)) + "=Rectangle");
            f.Line(10, "X1", Dec(area.X1));
            f.Line(10, "Y1", Dec(ConvertButtonY(t.job, area.Y1)));
            f.Line(10, "X2", Dec(area.X2));
            f.Line(10, "Y2", Dec(ConvertButtonY(t.job, area.Y2)));
            f.Close(9);
        }
        const std::pair<const char*, std::int16_t> neighbours[] = {
            {"Left Button", button.Left}, {"Right Button", button.Right}, {"Up Button", button.Up},
            {"Down Button", button.Down}};
        for (const auto& [key, number] : neighbours) {
            if (!InRange(buttons.Count(), number)) {
                WLOG(t.job, "\tButton " + name + ": " + key + " " + Dec(number) + " names no button of its bitmap");
            }
            f.Line(9, key, buttonBase + Dec(number));
        }
        f.Close(8);
    }
    f.Close(7);
}

void WriteHighlightPlay(const Track& t, const BMP_Properties& bitmap, const HIGHLIGHT_STREAM_Properties& highlight,
                        const std::string& buttonBase) {
    ScriptFile& f = t.file;
    f.Open(6, "Item=Highlight Play");
    f.Line(7, "Data=");
    f.Line(7, "Start Time To Video",
           t.stillLike ? t.Zero() : CorrectTime(t.job, bitmap.Track_Start_Time_To_Video, "SUB", 0, 0, 0));
    f.Line(7, "Resolution", t.run.TargetStandard);
    f.Line(7, t.D);
    f.Line(7, "Duration",
           t.stillLike ? t.run.OneFrame() : CorrectTime(t.job, bitmap.Track_Duration, "FRAMEPAD", 0, 0, 0));
    f.Line(7, "Start Time", t.Zero());
    WriteButtonModes(f, bitmap.HIGHLIGHT_STREAM.Item(1));
    for (std::size_t g = 1; g <= highlight.COLOR_GROUP.Count(); ++g) {
        const COLOR_GROUP_Properties& group = highlight.COLOR_GROUP.Item(g);
        f.Open(7, "Button Color " + Dec(static_cast<std::int64_t>(g)) + "=Button Color");
        ColourBlock(f, 8, "Selection Color=Color", group.Selection_Color_E2, group.Selection_Color_E1,
                    group.Selection_Color_P, group.Selection_Color_Bg);
        ContrastBlock(t.job, f, 8, "Selection Contrast=Contrast", group.Selection_Contrast_E2,
                      group.Selection_Contrast_E1, group.Selection_Contrast_P, group.Selection_Contrast_Bg);
        ColourBlock(f, 8, "Action Color=Color", group.Action_Color_E2, group.Action_Color_E1, group.Action_Color_P,
                    group.Action_Color_Bg);
        ContrastBlock(t.job, f, 8, "Action Contrast=Contrast", group.Action_Contrast_E2, group.Action_Contrast_E1,
                      group.Action_Contrast_P, group.Action_Contrast_Bg);
        f.Close(7);
    }
    WriteButtons(t, highlight, buttonBase);
    ScreenSize(t.run, f, 7);
    f.Line(7, "End Time of Select", t.Zero());
    f.Line(7, "Offset Number", Dec(highlight.Button_Offset));
    f.Line(7, "# of Numerical Select Buttons", Dec(highlight.Numerical));
    const auto forced = [](std::int16_t number) { return number == 0 ? std::string("Nonexistent") : Dec(number); };
    f.Line(7, "Forced Selected Button #", forced(highlight.Forced_Selected_Button));
    f.Line(7, "Forced Activated Button #", forced(highlight.Forced_Activated_Button));
    f.Close(6);
}

// The highlights of the one subpicture stream that carries the buttons.
void WriteHighlightStream(const Track& t) {
    const VOB_ID_Properties& record = t.record;
    if (record.SUB_STREAM.Count() == 0 || record.SubStreamUsed <= 0) return;
    if (!InRange(record.SUB_STREAM.Count(), record.SubStreamUsed)) {
        WLOG(t.job, "\tVTS=" + Dec(t.entry) + ", Vob=" + Dec(t.vob) + ": highlight stream " +
                        Dec(record.SubStreamUsed) + " is not among its subpicture streams - no highlights");
        return;
    }
    const SUB_STREAM_Properties& stream = record.SUB_STREAM.Item(static_cast<std::size_t>(record.SubStreamUsed));
    bool opened = false;
    const auto open = [&] {
        if (!opened) t.file.Open(5, "Highlight Stream=Highlight Stream");
        opened = true;
    };
    for (std::size_t c = 1; c <= stream.CELL_DETAILS.Count(); ++c) {
        if (!TakesDetail(t, static_cast<int>(c))) continue;
        const auto& bitmaps = stream.CELL_DETAILS.Item(c).bmp;
        for (std::size_t k = 1; k <= bitmaps.Count(); ++k) {
            const BMP_Properties& bitmap = bitmaps.Item(k);
            if (bitmap.Cell_FileName.empty()) continue;
            const std::string buttonBase = DomainPrefix(t.entry) + t.V + "_" + CreateCellName(static_cast<int>(c)) +
                                           "_btn_" + Dec(static_cast<std::int64_t>(k));
            for (const HIGHLIGHT_STREAM_Properties& highlight : bitmap.HIGHLIGHT_STREAM) {
                open();
                WriteHighlightPlay(t, bitmap, highlight, buttonBase + "_");
            }
            if (record.Vob_Type == "Video" && bitmap.HIGHLIGHT_STREAM.Count() == 0 && record.HighLight_Present != 0) {
                open();
                GenerateDummyHighLight(t.job, t.run, t.file, record.Vob_Type, bitmap, buttonBase);
            }
        }
    }
    if (opened) {
        t.file.Line(6, "Stream Number=0");
        t.file.Close(5);
    }
}

// The palette of the last PGC whose cell_ref names the VOB and the cell;
// 0 when none does.
std::int16_t ScenePalette(const VTS_Properties& domain, int vob, int cell) {
    std::int16_t palette = 0;
    ForEachCellRef(domain, [&](const PGC_Number_Properties& pgc, int, const Cell_Ref_Properties& ref) {
        if (ref.Vob_Id == vob && ref.CELL_ID == cell) palette = pgc.Palette_Number;
    });
    return palette;
}

void WriteScenes(const Track& t) {
    ScriptFile& f = t.file;
    const bool video = t.record.Vob_Type == "Video";
    const int scenes = video ? static_cast<int>(t.record.CELL_ID.Count()) : 1;
    f.Open(5, "Scenes=List");
    for (int s = 1; s <= scenes; ++s) {
        f.Open(6, "Item=Scene");
        f.Line(7, "Name", t.Base() + "_t_scn_" + Dec(s));
        // The cell compared is the scene's number, 1 for a one-cell track.
        const std::int16_t palette = ScenePalette(t.domain, t.vob, s);
        if (palette == 0) {
            f.Line(7, "Color Palette=DefaultPalette");
            WLOG(t.job, "Palette=Default");
        } else {
            if (!InRange(t.job.PalettePool.Count(), palette)) {
                WLOG(t.job, "\tVTS=" + Dec(t.entry) + ", Vob=" + Dec(t.vob) + ": palette " + Dec(palette) +
                                " is not in the palette list");
            }
            f.Line(7, "Color Palette", "Palette_" + Dec(palette));
            WLOG(t.job, "Palette=" + Dec(palette));
        }
        f.Line(7, "Angle Type=Seamless");
        const CELL_ID_Properties* cell =
            InRange(t.record.CELL_ID.Count(), s) ? &t.record.CELL_ID.Item(static_cast<std::size_t>(s)) : nullptr;
        f.Line(7, "Scene Time",
               video && s > 1 ? CorrectTime(t.job, cell->Track_Scene_StartTime, "SCN", t.entry, t.vob, s) : t.Zero());
        if (t.job.Options().Strip_UOP == 0 && cell != nullptr && cell->UOPs.Count() > 0) {
            f.Open(7, "UOP=");
            for (const UOPs_Properties& uop : cell->UOPs) f.Line(8, uop.Command);
            f.Close(7);
        }
        GenerateSceneExtra(f);
    }
    f.Close(5);
}

void WritePictureStream(const Track& t) {
    ScriptFile& f = t.file;
    switch (t.kind) {
    case TrackKind::SlideShow: f.Open(5, "Still Stream=Slide Show Stream"); f.Open(6, "Item=Slide Show Play"); break;
    case TrackKind::StillMenu: f.Open(5, "Still Stream=Slide Menu Stream"); f.Open(6, "Item=Still Menu Play"); break;
    case TrackKind::Video: f.Open(5, "Video Stream=Main Video Stream"); f.Open(6, "Item=Main Video Play"); break;
    }
    f.Line(7, "Data", t.Base());
    f.Line(7, "Start Time To Video", t.Zero());
    f.Line(7, "Resolution", t.run.TargetStandard);
    f.Line(7, t.D);
    f.Line(7, "Start Time", t.Zero());
    const auto& cells = t.record.CELL_ID;
    std::string duration;
    if (t.record.Vob_Type == "StillMenu") {
        duration = t.run.OneFrame();
    } else if (t.record.Vob_Type == "Video") {
        if (cells.Count() > 0) {
            duration = CorrectTime(t.job, cells.Item(cells.Count()).Track_Duration, "D", 0, 0, 0);
        } else {
            WLOG(t.job, "\tVTS=" + Dec(t.entry) + ", Vob=" + Dec(t.vob) + " has no cells - its duration is zero");
            duration = t.Zero();
        }
    } else {
        duration = CorrectTime(t.job, cells.Item(static_cast<std::size_t>(t.cell)).Track_Duration, "D", 0, 0, 0);
    }
    f.Line(7, "Duration", duration);
    f.Close(6);
    f.Line(6, "Stream Number=0");
    f.Close(5);
}

void WriteTrack(const Track& t) {
    ScriptFile& f = t.file;
    switch (t.kind) {
    case TrackKind::SlideShow: f.Open(4, "Item=Slide Show Track"); break;
    case TrackKind::StillMenu: f.Open(4, "Item=Still Menu Track"); break;
    case TrackKind::Video: f.Open(4, "Item=Video Track"); break;
    }
    f.Line(5, "Name", t.Base() + "_t");
    if (t.domain.Video.Count() == 0) WLOG(t.job, "\tVTS=" + Dec(t.entry) + " has no video attributes");
    f.Line(5, "Display Mode", DomainDisplayMode(t.domain));
    WriteAudioStreams(t);
    WriteSubpictureStreams(t);
    WriteHighlightStream(t);
    WriteScenes(t);
    WritePictureStream(t);
    f.Close(4);
}

// A track of one still that stands for missing content.
void WriteDummyStill(const ScenaristRun& run, ScriptFile& file, const std::string& name, const std::string& mode,
                     const std::string& data) {
    file.Open(4, "Item=Still Menu Track");
    file.Line(5, "Name", name);
    file.Line(5, "Display Mode", mode);
    file.Empty(5, "Audio Streams=List");
    file.Empty(5, "Sub-Picture Streams=List");
    file.Open(5, "Scenes=List");
    file.Open(6, "Item=Scene");
    file.Line(7, "Name", name + "_scn");
    file.Line(7, "Color Palette=DefaultPalette");
    file.Line(7, "Angle Type=Seamless");
    file.Line(7, "Scene Time", run.ZeroTime());
    GenerateSceneExtra(file);
    file.Close(5);
    file.Open(5, "Still Stream=Slide Menu Stream");
    file.Open(6, "Item=Still Menu Play");
    file.Line(7, "Data", data);
    file.Line(7, "Start Time To Video", run.ZeroTime());
    file.Line(7, "Resolution", run.TargetStandard);
    file.Line(7, DropLine(false));
    file.Line(7, "Start Time", run.ZeroTime());
    file.Line(7, "Duration", run.OneFrame());
    file.Close(6);
    file.Line(6, "Stream Number=0");
    file.Close(5);
    file.Close(4);
}

}  // namespace

void GenerateTrackData(JobContext& job, ScenaristRun& run, ScriptFile& file) {
    WLOG(job, "Generating TrackData");
    file.Open(0, "Object=Track Folder");
    file.Line(1, "Name=Tracks");
    file.Open(1, "Tracks=List");
    for (std::size_t i = 1; i <= job.DiscModel.Count(); ++i) {
        const int entry = static_cast<int>(i);
        if (!run.InBatch(entry)) continue;
        VTS_Properties& domain = job.DiscModel.Item(i);
        PalettePass(job, domain, entry);
        if (domain.Vob_Id.Count() == 0) continue;
        file.Open(2, "Item=Track Folder");
        file.Line(3, i == 1 ? std::string("Name=VMG Tracks") : "Name=VTS_" + Dec(entry - 1) + " Tracks");
        file.Open(3, "Tracks=List");
        for (std::size_t v = 1; v <= domain.Vob_Id.Count(); ++v) {
            const VOB_ID_Properties& record = domain.Vob_Id.Item(v);
            if (record.Dummy != 0) continue;
            const int vob = static_cast<int>(v);
            WLOG(job, "\tVTS=" + Dec(entry) + ", Vob=" + Dec(vob));
            if (record.Vob_Type == "Video") {
                WriteTrack(MakeTrack(job, run, file, domain, entry, vob, 0));
                continue;
            }
            for (std::size_t c = 1; c <= record.CELL_ID.Count(); ++c) {
                const int cell = static_cast<int>(c);
                if (IsDummyCell(domain, vob, cell)) continue;
                WriteTrack(MakeTrack(job, run, file, domain, entry, vob, cell));
            }
        }
        file.Close(3);
        file.Close(2);
    }
    file.Open(2, "Item=Track Folder");
    file.Line(3, "Name=Dummy Tracks");
    file.Open(3, "Tracks=List");
    GenerateDummyTrack(job, run, file);
    file.Close(3);
    file.Close(2);
    file.Close(1);
    file.Close(0);
}

void GenerateDummyTrack(JobContext& job, ScenaristRun& run, ScriptFile& file) {
    run.Titles = GetTitleArray(job);
    // A still per program of the titles the menus reach, as far as the
    // furthest chapter reached.
    for (std::size_t i = 2; i <= job.DiscModel.Count(); ++i) {
        const int set = static_cast<int>(i) - 1;
        if (!InRange(job.TitleMap.Count(), set)) {
            WLOG(job, "\tVTS# " + Dec(set) + " has no entry in the title map - no dummy title tracks");
            continue;
        }
        const auto& titles = job.TitleMap.Item(static_cast<std::size_t>(set)).TITLES;
        for (std::size_t t = 1; t <= titles.Count(); ++t) {
            const auto& pgcs = titles.Item(t).PGC_Number;
            for (const auto& row : run.Titles.Rows) {
                if (row[TitleArray::Vts] != set || row[TitleArray::Ttn] != static_cast<int>(t)) continue;
                for (std::size_t p = 1; p <= pgcs.Count() && static_cast<int>(p) <= row[TitleArray::Pgc]; ++p) {
                    const auto& pgs = pgcs.Item(p).PG;
                    for (std::size_t g = 1; g <= pgs.Count() && static_cast<int>(g) <= row[TitleArray::Pg]; ++g) {
                        const std::string where = Dec(set) + " ; Title# " + Dec(static_cast<std::int64_t>(t)) +
                                                  " ; PGC# " + Dec(static_cast<std::int64_t>(p)) + " ; PG# " +
                                                  Dec(static_cast<std::int64_t>(g));
                        WLOG(job, "Writing DummyTrack for VTS# " + where);
                        WriteDummyStill(run, file,
                                        "Dummy_VTS_" + Dec(set) + "_T_" + Dec(static_cast<std::int64_t>(t)) + "_P_" +
                                            Dec(static_cast<std::int64_t>(p)) + "_G_" +
                                            Dec(static_cast<std::int64_t>(g)),
                                        "Only Panscan", "Title_Dummy");
                    }
                }
            }
        }
    }
    // A still per domain for a menu that has nothing to show.
    for (std::size_t i = 1; i <= job.DiscModel.Count(); ++i) {
        const std::string prefix = i == 1 ? std::string("VID") : "VTS" + Dec(static_cast<std::int64_t>(i) - 1);
        WriteDummyStill(run, file, prefix + "_Dummy_Menu_t", DomainDisplayMode(job.DiscModel.Item(i)),
                        prefix + "_Dummy");
    }
}

void GenerateSceneExtra(ScriptFile& file) { file.Close(6); }

void GenerateDummyHighLight(JobContext& job, const ScenaristRun& run, ScriptFile& file, const std::string& vobType,
                            const BMP_Properties& bitmap, const std::string& buttonName) {
    WLOG(job, "Generating Dummy Highlight");
    if (bitmap.Track_Start_Time_To_Video.empty()) return;
    const bool still = vobType == "StillMenu";
    file.Open(6, "Item=Highlight Play");
    file.Line(7, "Data=");
    file.Line(7, "Start Time To Video",
              still ? run.ZeroTime() : CorrectTime(job, bitmap.Track_Start_Time_To_Video, "SUBSV", 0, 0, 0));
    file.Line(7, "Resolution", run.TargetStandard);
    file.Line(7, DropLine((vobType == "Combo" || vobType == "Video") && run.TargetStandard == "NTSC"));
    file.Line(7, "Start Time", run.ZeroTime());
    file.Line(7, "Duration", still ? run.OneFrame() : CorrectTime(job, bitmap.Track_Duration, "SUBD", 0, 0, 0));
    file.Line(7, "Button Mode 1=");
    file.Line(7, "Button Mode 2=");
    file.Line(7, "Button Mode 3=");
    for (int g = 1; g <= 3; ++g) {
        file.Open(7, "Button Color " + Dec(g) + "=Button Color");
        for (const char* part : {"Selection", "Action"}) {
            file.Open(8, std::string(part) + " Color=Color");
            for (const char* key : {"Color 1(E2)=1", "Color 2(E1)=1", "Color 3(P)=1", "Color 4(Bg)=1"}) {
                file.Line(9, key);
            }
            file.Close(8);
            file.Open(8, std::string(part) + " Contrast=Contrast");
            for (const char* key : {"Color 1(E2)=0 %", "Color 2(E1)=0 %", "Color 3(P)=0 %", "Color 4(Bg)=0 %"}) {
                file.Line(9, key);
            }
            file.Close(8);
        }
        file.Close(7);
    }
    file.Open(7, "Buttons=List");
    file.Open(8, "Item=Button");
    file.Line(9, "Name", buttonName);
    file.Line(9, "Button Number=1");
    file.Line(9, "Color Index=1");
    file.Line(9, "Auto Action Mode=No");
    for (int n = 1; n <= 3; ++n) {
        file.Open(9, "Highlight Area No." + Dec(n) + "=Rectangle");
        file.Line(10, "X1=3");
        file.Line(10, "Y1=3");
        file.Line(10, "X2=5");
        file.Line(10, "Y2=5");
        file.Close(9);
    }
    for (const char* key : {"Left Button", "Right Button", "Up Button", "Down Button"}) {
        file.Line(9, key, buttonName);
    }
    file.Close(8);
    file.Close(7);
    ScreenSize(run, file, 7);
    file.Line(7, "End Time of Select", run.ZeroTime());
    file.Line(7, "Offset Number=0");
    file.Line(7, "# of Numerical Select Buttons=1");
    file.Line(7, "Forced Selected Button #=Nonexistent");
    file.Line(7, "Forced Activated Button #=Nonexistent");
    file.Close(6);
}

}  // namespace kestrova
