// The data folder of a script: see data_objects.h.
#include "scenarist/data_objects.h"

#include <array>
#include <string>

#include "assets/asset_names.h"
#include "authoring/scenario_helpers.h"
#include "audio/audio_inspection.h"
#include "job/log_writers.h"
#include "job/tool_runner.h"
#include "platform/trace.h"
#include "scenarist/script_driver.h"

namespace kestrova {

namespace {

bool PlaceHolders(JobContext& job) { return job.State().PlaceHolderTest != 0; }

// The first Video entry of a domain, whose attributes every asset of the
// domain shares; an empty record (logged) for a domain that has none.
const Video_Properties& FirstVideo(JobContext& job, const VTS_Properties& domain, std::size_t entry) {
    static const Video_Properties kNone;
    if (domain.Video.Count() > 0) return domain.Video.Item(1);
    WLOG(job, "\tVTS entry " + std::to_string(entry) + " has no Video entry: its assets get empty attributes");
    return kNone;
}

// "VID_001", "VTS_2_001_003": the name of a video asset (cell 0: the whole VOB).
std::string VideoName(std::size_t entry, std::size_t vob, std::size_t cell) {
    std::string name = DomainPrefix(static_cast<int>(entry)) + CreateVOBName(static_cast<int>(vob));
    if (cell > 0) name += "_" + CreateCellName(static_cast<int>(cell));
    return name;
}

std::string DummyName(std::size_t entry) {
    return entry == 1 ? "VID_Dummy" : "VTS" + std::to_string(entry - 1) + "_Dummy";
}

// "VID_1_001_80", "VTS_2_1_001_003_80".
std::string AudioName(std::size_t entry, int stream, std::size_t vob, std::size_t cell) {
    std::string name = DomainPrefix(static_cast<int>(entry)) + std::to_string(stream) + "_" +
                       CreateVOBName(static_cast<int>(vob));
    if (cell > 0) name += "_" + CreateCellName(static_cast<int>(cell));
    return name + "_" + std::to_string(stream + 79);
}

void OpenAssetFolder(ScriptFile& file, const char* name) {
    file.Open(2, "Item=Data Folder");
    file.Line(3, "Name", name);
    file.Open(3, "Data=List");
}

void CloseAssetFolder(ScriptFile& file) {
    file.Close(3);
    file.Close(2);
}

// --- Video ---------------------------------------------------------------

enum class VideoAsset { WholeVob, VideoCell, ComboStill, Still };

void Line21Lines(JobContext& job, ScriptFile& file, const Video_Properties& video, const std::string& path) {
    const bool rejigNtsc = job.Timing.VideoStandard == "NTSC" && job.RejigMode != 0;
    if (video.Line_21_Switch_1 != 0) {
        file.Line(5, "Line21 Switch1=Yes");
        file.Line(5, "Line21 File1", path);
    } else {
        file.Line(5, rejigNtsc ? "Line21 Switch1=Yes" : "Line21 Switch1=No");
        file.Line(5, "Line21 File1=");
    }
    file.Line(5, video.Line_21_Switch_2 != 0 || rejigNtsc ? "Line21 Switch2=Yes" : "Line21 Switch2=No");
    file.Line(5, "Line21 File2=");
}

void WriteVideoItem(JobContext& job, const ScenaristRun& run, ScriptFile& file, std::size_t entry, std::size_t v,
                    std::size_t c, VideoAsset asset) {
    const VTS_Properties& domain = job.DiscModel.Item(entry);
    const VOB_ID_Properties& vob = domain.Vob_Id.Item(v);
    const Video_Properties& video = FirstVideo(job, domain, entry);
    const bool ntscTarget = run.TargetStandard == "NTSC";
    const bool ntsc = job.Timing.VideoStandard == "NTSC";
    const bool still = asset == VideoAsset::ComboStill || asset == VideoAsset::Still;

    file.Open(4, still ? "Item=Encoded Still" : "Item=Video");
    file.Line(5, PlaceHolders(job) ? "Place Holder=Yes" : "Place Holder=No");
    file.Line(5, "Comment=");
    file.Line(5, "Name", VideoName(entry, v, c));
    file.Line(5, "Resolution", run.TargetStandard);
    file.Line(5, ntscTarget && !still ? "Drop Type=Drop frame" : "Drop Type=Non-drop frame");
    file.Line(5, "Data Start Time", run.ZeroTime());
    if (still) {
        file.Line(5, ntscTarget ? "Data End Time=00:00:09:29" : "Data End Time=00:00:09;24");
    } else if (asset == VideoAsset::VideoCell) {
        file.Line(5, "Data End Time",
                  CorrectTime(job, vob.CELL_ID.Item(c).Data_End_Time, "DET", static_cast<int>(entry),
                              static_cast<int>(v), static_cast<int>(c)));
    } else if (vob.CELL_ID.Count() > 0) {
        file.Line(5, "Data End Time",
                  CorrectTime(job, vob.CELL_ID.Item(vob.CELL_ID.Count()).Data_End_Time, "DET",
                              static_cast<int>(entry), static_cast<int>(v), 0));
    } else {
        WLOG(job, "\tVTS=" + std::to_string(entry) + ", Vob=" + std::to_string(v) +
                      " has no cell to end its video: the zero time serves");
        file.Line(5, "Data End Time", run.ZeroTime());
    }
    std::string name = CreateVOBName(static_cast<int>(v));
    if (c > 0) name += "_" + CreateCellName(static_cast<int>(c));
    file.Line(5, "File", domain.OutputDir + "\\NEW_M2V\\" + name + ".m2v");
    file.Line(5, "Width", video.Size.substr(0, 3));
    file.Line(5, ntsc ? "Height=480" : "Height=576");
    file.Line(5, "Is Encoded=Yes");
    file.Line(5, "Encode Type", video.Mpeg_Type);
    file.Line(5, ntsc ? "Size=720 x 480" : "Size=720 x 576");
    file.Line(5, "Aspect Ratio", video.Display_Mode);
    file.Line(5, "Picture Structure=Frame Structure");
    file.Line(5, "GOP Size=15 frames");
    file.Line(5, "GOP Structure=N/A");
    switch (asset) {
        case VideoAsset::WholeVob:
            file.Line(5, "Bit rate=9800000");
            file.Line(5, "Average Bitrate=6000000");
            file.Line(5, "Minimum Bitrate=4000000");
            break;
        case VideoAsset::VideoCell:
            file.Line(5, "Average Bitrate=6000000");
            file.Line(5, "Minimum Bitrate=4000000");
            file.Line(5, "Bit rate=9800000");
            break;
        case VideoAsset::ComboStill:
            file.Line(5, "Average Bitrate=6000000");
            file.Line(5, "Minimum Bitrate=4000000");
            file.Line(5, "Bit rate=4587200");
            break;
        case VideoAsset::Still:
            file.Line(5, "Bit rate=4587200");
            file.Line(5, "Average Bitrate=6000000");
            file.Line(5, "Minimum Bitrate=4000000");
            break;
    }
    if (!still) {
        file.Line(5, "Bitrate Type=Variable");
        file.Line(5, "Icon Time", run.ZeroTime());
        Line21Lines(job, file, video,
                    asset == VideoAsset::WholeVob ? vob.Line_21_FilePath_1 : vob.CELL_ID.Item(c).Line_21_FilePath_1);
    }
    file.Close(4);
}

// A still of nine seconds standing for a domain's dummy cells, or for the
// titles the menus reach (Title_Dummy).
void WriteDummyStill(const ScenaristRun& run, ScriptFile& file, const std::string& name, const std::string& path,
                     const std::string& aspect) {
    const bool ntsc = run.TargetStandard == "NTSC";
    file.Open(4, "Item=Encoded Still");
    file.Line(5, "Place Holder=No");
    file.Line(5, "Comment=");
    file.Line(5, "Name", name);
    file.Line(5, "File", path);
    file.Line(5, "Aspect Ratio", aspect);
    file.Line(5, "Resolution", run.TargetStandard);
    file.Line(5, "Drop Type=Non-drop frame");
    file.Line(5, ntsc ? "Data Start Time=00:00:00:00" : "Data Start Time=00:00:00;00");
    file.Line(5, ntsc ? "Data End Time=00:00:09:29" : "Data End Time=00:00:09;24");
    file.Line(5, "Width=720");
    file.Line(5, ntsc ? "Height=480" : "Height=576");
    file.Line(5, "Is Encoded=Yes");
    file.Line(5, "Encode Type=MPEG 2");
    file.Line(5, ntsc ? "Size=720 x 480" : "Size=720 x 576");
    file.Line(5, "Picture Structure=Frame Structure");
    file.Line(5, "GOP Size=15 frames");
    file.Line(5, "GOP Structure=N/A");
    file.Line(5, "Bit rate=4587200");
    file.Line(5, "Average Bitrate=6000000");
    file.Line(5, "Minimum Bitrate=4000000");
    file.Close(4);
}

// --- Audio ---------------------------------------------------------------

// What the first good stream of a domain says, shown by all its items.
struct KeptAudio {
    std::string Channels;
    int Kbps = 0;
    bool Lfe = false;
};

int LeadingNumber(const std::string& text) {
    int value = 0;
    for (const char digit : text) {
        if (digit < '0' || digit > '9' || value > 100000) break;
        value = value * 10 + (digit - '0');
    }
    return value;
}

// A stream whose first frame header reads as nothing AC3 can be goes
// through ac3fix; its repair takes the stream's name only when ac3fix left
// one, and the file is read again either way.
AudioFacts InspectAudio(JobContext& job, const std::string& path) {
    AudioFacts facts = CheckAudioSource(job, path, false);
    if (facts[2] != "reserved" && LeadingNumber(facts[1]) != 0) return facts;
    WLOG(job, "Corrupt ac3 stream found - fixing " + path);
    const std::string base = path.substr(0, path.size() - 4);
    const std::string fixed = base + ".fix";
    ShellAndWait(job, job.Files.Paths().GetShortPath(job.ProgramFolder) + "\\AC3\\ac3fix.exe " + path + " " + fixed,
                 kWindowHidden);
    if (job.Files.FileExists(fixed)) {
        if (job.Files.FileExists(path)) job.Files.MoveFile(path, base + ".broken");
        job.Files.MoveFile(fixed, path);
    } else {
        WLOG(job, "\tac3fix left no " + fixed + ": " + path + " stays as it was");
    }
    return CheckAudioSource(job, path, false);
}

void WriteAudioItem(JobContext& job, const ScenaristRun& run, ScriptFile& file, const std::string& name,
                    const std::string& path, const AudioFacts& facts, const KeptAudio& kept) {
    const bool ntscTarget = run.TargetStandard == "NTSC";
    std::string length = facts[4];
    if (!ntscTarget && job.Timing.VideoStandard == "PAL" && job.Timing.Conversion == 1) {
        length = CorrectTime(job, length, "", 0, 0, 0);
    }
    file.Open(4, "Item=AC3 Audio");
    file.Line(5, PlaceHolders(job) ? "Place Holder=Yes" : "Place Holder=No");
    file.Line(5, "Comment=");
    file.Line(5, "Name", name);
    file.Line(5, "Resolution", run.TargetStandard);
    file.Line(5, ntscTarget ? "Drop Type=Drop frame" : "Drop Type=Non-Drop frame");
    file.Line(5, "Data Start Time", run.ZeroTime());
    file.Line(5, "Data End Time", length);
    file.Line(5, "File", path);
    file.Line(5, "Audio Type=AC3");
    file.Line(5, "Bit rate", std::to_string(static_cast<long long>(kept.Kbps) * 1000));
    file.Line(5, "Channel", kept.Channels);
    file.Line(5, kept.Lfe ? "LFE On=Yes" : "LFE On=No");
    file.Close(4);
}

// --- Subpictures ----------------------------------------------------------

void WriteSubItem(JobContext& job, const ScenaristRun& run, ScriptFile& file, const VOB_ID_Properties& vob,
                  const CellID_Properties* played, const BMP_Properties& b) {
    const bool ntscTarget = run.TargetStandard == "NTSC";
    const bool conv = job.Timing.Conversion != 0;
    const bool timed = vob.Vob_Type == "Video" && b.EnableStop != 0;
    const char* dropType = ntscTarget ? "Drop Type=Drop frame" : "Drop Type=Non-drop frame";
    const auto number = [](int value) { return std::to_string(value); };

    file.Open(4, "Item=Sub-Picture");
    file.Line(5, PlaceHolders(job) ? "Place Holder=Yes" : "Place Holder=No");
    file.Line(5, "Comment=");
    file.Line(5, "Name", b.Cell_FileName);
    file.Line(5, "Resolution", b.Resolution);
    file.Line(5, dropType);
    file.Line(5, "Data Start Time", run.ZeroTime());
    file.Line(5, "Data End Time", timed ? CorrectTime(job, b.Data_Duration, "DT", 0, 0, 0) : run.ZeroTime());
    file.Line(5, "File", b.FilePath);
    file.Line(5, "Width", number(conv ? b.ConvertedSubSizeX : b.Width));
    file.Line(5, "Height", number(conv ? b.ConvertedSubSizeY : b.Height));
    file.Line(5, "Is Encoded=No");
    file.Open(5, "Screen Size=Size");
    if (conv) {
        file.Line(6, "X", number(b.ConvertedWidth));
        file.Line(6, "Y", number(b.ConvertedHeight));
    } else {
        file.Line(6, "X=720");
        file.Line(6, ntscTarget ? "Y=480" : "Y=576");
    }
    file.Close(5);
    WriteConversionRule(file, 5, "Conversion Rule=Conversion Rule",
                        {Rgb{0, 0, 255}, Rgb{255, 0, 0}, Rgb{0, 0, 0}, Rgb{255, 255, 255}});

    file.Open(5, "Data Stream=DCS Stream");
    file.Open(6, "Item=Display Start");
    file.Line(7, "Data=");
    file.Line(7, "Start Time To Video", run.ZeroTime());
    file.Line(7, "Resolution", run.TargetStandard);
    file.Line(7, dropType);
    file.Line(7, "Start Time", run.ZeroTime());
    file.Line(7, "Duration", run.OneFrame());
    file.Line(7, "Forced Start", b.ForcedStart);
    const auto area = [&](const char* statement, int x1, int y1, int x2, int y2) {
        file.Open(7, statement);
        file.Line(8, "X1", number(x1));
        file.Line(8, "Y1", number(y1));
        file.Line(8, "X2", number(x2));
        file.Line(8, "Y2", number(y2));
        file.Close(7);
    };
    if (conv) {
        area("Image Area=Image Area", b.ConvertedOriginX, b.ConvertedOriginY,
             b.ConvertedSubSizeX + b.ConvertedOriginX - 1, b.ConvertedSubSizeY + b.ConvertedOriginY - 1);
        area("Display Area=Display Area", b.ConvertedDisplay_Area_X1, b.ConvertedDisplay_Area_Y1,
             b.ConvertedDisplay_Area_X2, b.ConvertedDisplay_Area_Y2);
    } else {
        for (const char* statement : {"Image Area=Image Area", "Display Area=Display Area"}) {
            area(statement, b.Display_Area_X1, b.Display_Area_Y1, b.Display_Area_X2, b.Display_Area_Y2);
        }
    }
    file.Open(7, "Pixel Area=Pixel Area");
    file.Line(8, "Top", number(conv ? b.ConvertedPixel_Area_Top : b.Pixel_Area_Top));
    file.Line(8, "Bottom", number(conv ? b.ConvertedPixel_Area_Bottom : b.Pixel_Area_Bottom));
    file.Close(7);
    WriteFourColours(file, 7, "Color=Color",
                     {number(b.Color_E2), number(b.Color_E1), number(b.Color_P), number(b.Color_Bg)});
    const auto percent = [&](int contrast) { return number(ContrastToPercent(job, contrast, true)) + " %"; };
    WriteFourColours(file, 7, "Contrast=Contrast",
                     {percent(b.Contrast_E2), percent(b.Contrast_E1), percent(b.Contrast_P), percent(b.Contrast_Bg)});
    file.Close(6);
    if (timed && played != nullptr && played->CellPause == 0) {
        file.Open(6, "Item=Display Stop");
        file.Line(7, "Data=");
        file.Line(7, "Start Time To Video", CorrectTime(job, b.Stop_Time_To_Video, "SV", 0, 0, 0));
        file.Line(7, "Resolution", run.TargetStandard);
        file.Line(7, dropType);
        file.Line(7, "Start Time", run.ZeroTime());
        file.Line(7, "Duration", CorrectTime(job, b.Stop_Duration, "SD", 0, 0, 0));
        file.Close(6);
    }
    file.Close(5);
    file.Line(5, ntscTarget ? "Size Type=720 x 480" : "Size Type=720 x 576");
    file.Line(5, "Type=menu");
    file.Line(5, "Image Type=Image");
    file.Close(4);
}

void LogVob(JobContext& job, std::size_t entry, std::size_t v) {
    WLOG(job, "\tVTS=" + std::to_string(entry) + ", Vob=" + std::to_string(v));
}

}  // namespace

void GenerateVideoData(JobContext& job, ScenaristRun& run, ScriptFile& file) {
    platform::TraceFrame frame(job.Trace, "Scenarist", "GenerateVideoData");
    WLOG(job, "Generating VideoData");
    file.Open(0, "Object=Data Folder");
    file.Line(1, "Name=Data");
    file.Open(1, "Data=List");
    OpenAssetFolder(file, "Video Assets");
    for (std::size_t i = 1; i <= job.DiscModel.Count(); ++i) {
        if (!run.InBatch(static_cast<int>(i))) continue;
        const VTS_Properties& domain = job.DiscModel.Item(i);
        for (std::size_t v = 1; v <= domain.Vob_Id.Count(); ++v) {
            const VOB_ID_Properties& vob = domain.Vob_Id.Item(v);
            if (vob.Dummy != 0) continue;
            LogVob(job, i, v);
            if (vob.Vob_Type == "Video") {
                WriteVideoItem(job, run, file, i, v, 0, VideoAsset::WholeVob);
                continue;
            }
            const bool combo = vob.Vob_Type == "Combo";
            for (std::size_t c = 1; c <= vob.CELL_ID.Count(); ++c) {
                if (!combo) {
                    WriteVideoItem(job, run, file, i, v, c, VideoAsset::Still);
                    continue;
                }
                WLOG(job, "\t\tCellId=" + std::to_string(c));
                const bool video = vob.CELL_ID.Item(c).VobType == "Video";
                WriteVideoItem(job, run, file, i, v, c, video ? VideoAsset::VideoCell : VideoAsset::ComboStill);
            }
        }
    }
    // Every script names the dummy stills of all domains, so the names are
    // the same whichever batch a track of another script was in.
    for (std::size_t i = 1; i <= job.DiscModel.Count(); ++i) {
        const VTS_Properties& domain = job.DiscModel.Item(i);
        if (domain.Video.Count() == 0) {
            WriteDummyStill(run, file, DummyName(i), job.JobRoot + "\\Title_Dummy.m2v", "4 : 3 (Pan-scan)");
            continue;
        }
        const std::string& mode = domain.Video.Item(1).Display_Mode;
        const std::string aspect = mode == "4 : 3 (Pan-scan)" || mode == "4 : 3" ? mode : "16 : 9";
        WriteDummyStill(run, file, DummyName(i), domain.OutputDir + "\\NEW_M2V\\Dummy.m2v", aspect);
    }
    WriteDummyStill(run, file, "Title_Dummy", job.JobRoot + "\\Title_Dummy.m2v", "4 : 3 (Pan-scan)");
    CloseAssetFolder(file);
}

void GenerateAudioData(JobContext& job, ScenaristRun& run, ScriptFile& file) {
    platform::TraceFrame frame(job.Trace, "Scenarist", "GenerateAudioData");
    WLOG(job, "Generating AudioData");
    OpenAssetFolder(file, "Audio Assets");
    for (std::size_t i = 1; i <= job.DiscModel.Count(); ++i) {
        if (!run.InBatch(static_cast<int>(i))) continue;
        const VTS_Properties& domain = job.DiscModel.Item(i);
        KeptAudio kept;
        const auto item = [&](const std::string& name, const std::string& path) {
            if (!job.Files.FileExists(path)) return;
            const AudioFacts facts = InspectAudio(job, path);
            if (kept.Channels.empty()) {
                kept.Channels = facts[2];
                kept.Kbps = LeadingNumber(facts[1]);
                kept.Lfe = facts[3] == "True";
            }
            WriteAudioItem(job, run, file, name, path, facts, kept);
        };
        for (std::size_t v = 1; v <= domain.Vob_Id.Count(); ++v) {
            const VOB_ID_Properties& vob = domain.Vob_Id.Item(v);
            if (vob.Dummy != 0 || vob.Audio_Present == 0) continue;
            LogVob(job, i, v);
            const std::string name = CreateVOBName(static_cast<int>(v));
            if (vob.Vob_Type == "Video") {
                for (int s = 1; s <= vob.Audio_Stream_Quantity; ++s) {
                    item(AudioName(i, s, v, 0),
                         domain.OutputDir + "\\DEMUXED\\" + std::to_string(s) + "-" + name + ".ac3");
                }
                continue;
            }
            const bool known = domain.Video.Count() > 0 && v <= domain.Video.Item(1).VobId.Count();
            if (!known) {
                WLOG(job, "\tVTS=" + std::to_string(i) + ", Vob=" + std::to_string(v) +
                              " has no cells under the first Video entry: no audio items");
                continue;
            }
            const auto& cells = domain.Video.Item(1).VobId.Item(v).CellId;
            for (int s = 1; s <= vob.Audio_Stream_Quantity; ++s) {
                for (std::size_t c = 1; c <= cells.Count(); ++c) {
                    if (cells.Item(c).DummyCell != 0) continue;
                    item(AudioName(i, s, v, c), domain.OutputDir + "\\DEMUXED_CELLID\\" + std::to_string(s) + "-" +
                                                    name + "_" + CreateCellName(static_cast<int>(c)) + ".ac3");
                }
            }
        }
    }
    CloseAssetFolder(file);
}

void GenerateSubData(JobContext& job, ScenaristRun& run, ScriptFile& file) {
    platform::TraceFrame frame(job.Trace, "Scenarist", "GenerateSubData");
    WLOG(job, "Generating SubData");
    OpenAssetFolder(file, "SubPicture Assets");
    for (std::size_t i = 1; i <= job.DiscModel.Count(); ++i) {
        if (!run.InBatch(static_cast<int>(i))) continue;
        const VTS_Properties& domain = job.DiscModel.Item(i);
        for (std::size_t v = 1; v <= domain.Vob_Id.Count(); ++v) {
            const VOB_ID_Properties& vob = domain.Vob_Id.Item(v);
            if (vob.Dummy != 0) continue;
            LogVob(job, i, v);
            for (const SUB_STREAM_Properties& stream : vob.SUB_STREAM) {
                for (std::size_t c = 1; c <= stream.CELL_DETAILS.Count(); ++c) {
                    const CellID_Properties* played = FindPlayedCell(domain, v, c);
                    if (played == nullptr) {
                        WLOG(job, "\tVTS=" + std::to_string(i) + ", Vob=" + std::to_string(v) + ", cell " +
                                      std::to_string(c) + " is not under the first Video entry");
                    } else if (played->DummyCell != 0) {
                        continue;
                    }
                    for (const BMP_Properties& bitmap : stream.CELL_DETAILS.Item(c).bmp) {
                        if (bitmap.Cell_FileName.empty()) continue;
                        WriteSubItem(job, run, file, vob, played, bitmap);
                    }
                }
            }
        }
    }
    CloseAssetFolder(file);
    file.Close(1);
    file.Close(0);
}

}  // namespace kestrova
