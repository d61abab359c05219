// The encoder runs: see encoder_drivers.h.
#include "video/encoder_drivers.h"

#include <algorithm>
#include <array>

#include "assets/asset_names.h"
#include "assets/frameserving.h"
#include "job/log_writers.h"
#include "job/progress.h"
#include "job/tool_profile.h"
#include "job/tool_runner.h"
#include "platform/error.h"
#include "frameserver/avi_info.h"
#include "platform/text.h"
#include "video/encode_retry.h"
#include "video/quant_matrices.h"

namespace kestrova {

using platform::WithoutExtension;

namespace {

std::string Short(const JobContext& job, const std::string& path) { return job.Files.Paths().GetShortPath(path); }

std::string Quoted(const std::string& text) { return "\"" + text + "\""; }

std::string Root(const JobContext& job) { return job.DiscModel.Item(1).Root; }

// ".Conversion" in the names of a format conversion's scripts and parts.
std::string Conv(JobContext& job) { return job.Options().Conversion == 1 ? ".Conversion" : ""; }

// The highest bitrate the video may take beside the VOB id's audio.
std::int32_t MaxVideoRate(const VOB_ID_Properties& vob) {
    std::int32_t rate = 9800;
    for (const auto& audio : vob.Audio) rate -= audio.Bitrate;
    return rate;
}

std::int32_t AverageBitrate(JobContext& job) {
    return job.State().Control != 0 ? job.State().Ave_Bitrate : job.Options().CCE_Average_Bitrate;
}

// The script of an asset that is to be encoded: its QuencAVS with the
// conversion's name part; "" when the asset has none or it is gone.
std::string EncodableScript(JobContext& job, std::int16_t encoded, const std::string& quencAvs) {
    if (encoded == 0 || quencAvs.empty()) return {};
    const std::string script = WithoutExtension(quencAvs) + Conv(job) + ".avs";
    return job.Files.FileExists(script) ? script : std::string();
}

// The first frame and last frame of part `cell` of a "Video" VOB id: the
// chapter points are where the next cell starts; the last part runs to the
// end of the clip (Last 0).
std::pair<std::int32_t, std::int32_t> ChapterRange(const VOB_ID_Properties& vob, std::size_t cell) {
    const std::int32_t point = vob.CELL_ID.Item(cell).ChapterPoint;
    const std::int32_t last = point > 0 ? point - 1 : 0;
    const std::int32_t first = cell > 1 ? vob.CELL_ID.Item(cell - 1).ChapterPoint : 0;
    return {first, last};
}

// Writes and runs "JoinM2V.bat", which joins the parts of a VOB id into
// one stream of the name the encoders leave.
void JoinParts(JobContext& job, const VTS_Properties& domain, std::int16_t v, const std::string& partExtension) {
    const std::string folder = Short(job, domain.OutputDir) + "\\FRAMESERVING\\";
    const std::string stem = CreateVOBName(v) + Conv(job);
    const std::string batch = domain.OutputDir + "\\FRAMESERVING\\JoinM2V.bat";
    job.Files.WriteText(batch, "Copy /b " + folder + "*" + stem + ".pt.*" + partExtension + " " + folder + stem +
                                   ".mpv\r\n");
    ShellAndWait(job, Short(job, batch), kWindowHidden);
}

bool Skipped(const VTS_Properties& domain, const VOB_ID_Properties& vob) {
    return domain.Abort != 0 || vob.Dummy != 0;
}

bool StillType(const std::string& type) { return type == "StillMenu" || type == "SlideShow"; }

// What an encoder that is not checked afterwards should leave: each output
// with the frames its asset holds, measured before the encoder runs (the
// per-chapter runs trim the scripts).
struct ExpectedOutput {
    std::string Path;
    std::int32_t Frames = 0;
};

std::vector<ExpectedOutput> ExpectedOutputs(JobContext& job) {
    const auto& o = job.Options();
    std::vector<ExpectedOutput> outputs;
    const bool listed = o.UseCCE == 1 || o.UseProcoder == 1;  // an ECL caps a still at one frame
    const auto scripted = [&](const std::string& script, bool still, const std::string& output) {
        std::int32_t frames = GetFrames(job, script, false).Frames;
        if (still && listed) frames = std::min(frames, 1);
        outputs.push_back({output, frames});
    };
    for (const auto& domain : job.DiscModel) {
        if (domain.Abort != 0) continue;
        const std::string frameserving = domain.OutputDir + "\\FRAMESERVING\\";
        for (std::size_t v = 1; v <= domain.Vob_Id.Count(); ++v) {
            const auto& vob = domain.Vob_Id.Item(v);
            if (vob.Dummy != 0) continue;
            if (job.RejigMode != 0) {
                const auto rejig = [&](std::int16_t encoded, const std::string& stem) {
                    if (encoded != 0) outputs.push_back({stem + ".mpv", CountEncodedFrames(job, stem + ".M2V", nullptr, false)});
                };
                if (vob.Vob_Type == "Video") rejig(vob.Rejig_Encoded, vob.Rejig_File_Path);
                if (vob.Vob_Type == "Combo") {
                    for (const auto& cell : vob.CELL_ID) rejig(cell.Rejig_Encoded, cell.Rejig_File_Path);
                }
                continue;
            }
            const std::string name = CreateVOBName(static_cast<int>(v));
            if (vob.Vob_Type == "Video") {
                const std::string script = EncodableScript(job, vob.CCE_Encoded, vob.QuencAVS);
                if (script.empty()) continue;
                scripted(script, false,
                         o.UseHC == 1 ? WithoutExtension(vob.QuencAVS) + ".mpv" : frameserving + name + Conv(job) + ".mpv");
                continue;
            }
            for (std::size_t c = 1; c <= vob.CELL_ID.Count(); ++c) {
                const auto& cell = vob.CELL_ID.Item(c);
                const std::string script = EncodableScript(job, cell.CCE_Encoded, cell.QuencAVS);
                if (script.empty()) continue;
                std::string output = frameserving + name + "_" + CreateCellName(static_cast<int>(c)) + Conv(job) + ".mpv";
                if (o.UseQuenc == 1) output = WithoutExtension(cell.QuencAVS) + Conv(job) + ".m2v";
                if (o.UseHC == 1) output = WithoutExtension(cell.QuencAVS) + ".mpv";
                scripted(script, StillType(vob.Vob_Type) || StillType(cell.VobType), output);
            }
        }
    }
    return outputs;
}

void LogEncodedOutputs(JobContext& job, const std::vector<ExpectedOutput>& outputs) {
    for (const auto& output : outputs) {
        std::string why;
        // A requantised stream keeps its source's ending, which may lack
        // the sequence end code: the frames tell what came out.
        const std::int32_t found = CountEncodedFrames(job, output.Path, &why, false);
        WLOG(job, "\tEncoded " + output.Path + ": " + std::to_string(output.Frames) + " frames expected, " +
                      (found < 0 ? "none found (" + why + ")" : std::to_string(found) + " found"));
    }
}

}  // namespace

void EnableRejig(JobContext& job) {
    if (job.State().Rejig == 0 && job.Options().UseRejig != 1) return;
    if (ToolPresent(job, job.ProgramFolder + "\\Rejig.exe")) {
        job.RejigMode = -1;
        return;
    }
    job.RejigMode = 0;
    LogWindow(job, "Rejig not found - Defaulting to CCE");
    job.Options().UseCCE = 1;
    WLOG(job, "REJIG NOT FOUND - DEFAULTING TO CCE");
}

void EnableVideoEncoding(JobContext& job) {
    const auto& o = job.Options();
    WLOG(job, "Enabling VIDEO Encoding");
    if (o.No_ReEncode != 0 || job.State().TemporaryOriginal != 0) {
        LogWindow(job, "ReEncoding Skipped");
        LogWindow(job, " ");
        WLOG(job, "Encoding skipped");
        return;
    }
    // CCE's lists are checked and retried afterwards; what the other
    // encoders leave is only told in the run log.
    const bool checkedLater = o.UseCCE == 1 && job.State().CCEBasic == 0;
    const std::vector<ExpectedOutput> expected = checkedLater ? std::vector<ExpectedOutput>() : ExpectedOutputs(job);
    bool ran = true;
    if (o.UseCCE == 1) {
        LogWindow(job, "Starting CCE via EclCCE (Minimized to system tray)");
        WLOG(job, "Encoding with CCE");
        if (job.State().CCEBasic != 0) {
            EnableEncodingProcess(job, o.CCEPath);
        } else {
            EnableCCEProcess(job);
        }
    } else if (o.UseProcoder == 1) {
        LogWindow(job, "Starting Procoder via EclPro");
        EnableEncodingProcess(job, o.ProcoderPath);
    } else if (o.UseQuenc == 1) {
        LogWindow(job, "Starting Quenc");
        EnableQuenc(job);
    } else if (o.UseRejig == 1) {
        LogWindow(job, "Starting Rejig");
        EnableRejigProcess(job);
    } else if (o.UseHC == 1) {
        LogWindow(job, "Starting HC Encoder");
        EnableHCProcess(job);
    } else {
        ran = false;
    }
    if (ran) {
        LogWindow(job, "Encoding Complete");
        LogWindow(job, " ");
        LogEncodedOutputs(job, expected);
    }
    ResetProgress(job);
}

void EnableCCEProcess(JobContext& job) {
    auto& s = job.State();
    s.Encoding = -1;
    for (std::int16_t i = 1; i <= s.CCEInstance; ++i) {
        const std::string list = Root(job) + "\\ECLs\\CCE" + std::to_string(i) + ".ecl";
        if (!job.Files.FileExists(list)) continue;
        if (s.CCEVersion.rfind("2.7", 0) == 0 || s.CCEBasic != 0) {
            ShellAndWait(job, Short(job, s.CCEPath) + " -ecl " + Quoted(list) + " -batch", kWindowMinimizedInactive);
        } else {
            ShellAndWait(job,
                         Short(job, job.ProgramFolder) + "\\EclCCE.exe -ecl " + Quoted(list) +
                             " -batch -nocancel -hideshutdown",
                         kWindowMinimizedInactive);
        }
    }
    s.Encoding = 0;
}

void EnableEncodingProcess(JobContext& job, const std::string& EncoderPath) {
    job.State().Encoding = -1;
    const std::string encoder = Short(job, EncoderPath);
    for (std::size_t d = 1; d <= job.DiscModel.Count(); ++d) {
        const auto& domain = job.DiscModel.Item(d);
        const std::string listStem = Root(job) + "\\ECLs\\CCE.(VTS" + CreateVOBName(static_cast<int>(d) - 1) + ")";
        for (std::size_t vobItem = 1; vobItem <= domain.Vob_Id.Count(); ++vobItem) {
            auto& vob = job.DiscModel.Item(d).Vob_Id.Item(vobItem);
            if (Skipped(domain, vob)) continue;
            const auto v = static_cast<std::int16_t>(vobItem);
            const std::string frameserving = domain.OutputDir + "\\FRAMESERVING\\";
            if (vob.Vob_Type == "Video") {
                const std::string script = EncodableScript(job, vob.CCE_Encoded, vob.QuencAVS);
                if (script.empty()) continue;
                const std::string list = listStem + CreateVOBName(v) + ".ecl";
                const std::string whole = frameserving + CreateVOBName(v) + Conv(job) + ".mpv";
                for (std::size_t cell = 1; cell <= vob.CELL_ID.Count(); ++cell) {
                    const auto [first, last] = ChapterRange(vob, cell);
                    TrimAVS(job, script, first, last);
                    ShellAndWait(job, encoder + " -ecl " + Quoted(list) + " -batch", kWindowMinimizedInactive);
                    const std::string part = frameserving + CreateVOBName(v) + Conv(job) + ".pt." +
                                             CreateCellName(static_cast<int>(cell)) + ".mpv";
                    if (job.Files.FileExists(part)) job.Files.DeleteFile(part);
                    if (job.Files.FileExists(whole)) job.Files.MoveFile(whole, part);
                }
                JoinParts(job, domain, v, ".mpv");
                continue;
            }
            for (std::size_t cell = 1; cell <= vob.CELL_ID.Count(); ++cell) {
                const auto& record = vob.CELL_ID.Item(cell);
                if (EncodableScript(job, record.CCE_Encoded, record.QuencAVS).empty()) continue;
                const std::string list = listStem + CreateVOBName(v) + "_" + CreateCellName(static_cast<int>(cell)) + ".ecl";
                ShellAndWait(job, encoder + " -ecl " + Quoted(list) + " -batch", kWindowMinimizedInactive);
            }
        }
    }
    job.State().Encoding = 0;
}

void TrimAVS(JobContext& job, const std::string& AvsPath, std::int32_t First, std::int32_t Last) {
    WLOG(job, "\tTrimming AVS file: " + AvsPath);
    try {
        std::string text;
        for (const std::string& line : job.Files.ReadLines(AvsPath)) {
            if (line.find("Trim") != std::string::npos || line.empty()) continue;
            // "Audio" as written: the header's "addaudio.avs" import must not match.
            if (line.find("Audio") != std::string::npos) {
                text += "Trim(" + std::to_string(First) + "," + std::to_string(Last) + ")\r\n";
            }
            text += line + "\r\n";
        }
        job.Files.WriteText(AvsPath, text);
    } catch (const Error& error) {
        WLOG(job, "\tERROR WITH TRIM AVS FILE, AVS=: " + AvsPath);
        WLOG(job, std::string("\t") + error.what());
    }
}

void EnableQuenc(JobContext& job) {
    const auto& o = job.Options();
    auto& s = job.State();
    const std::string bitrate = " -b " + std::to_string(AverageBitrate(job));
    std::string pass;
    if (s.Control != 0) {
        pass = s.OnePass != 0 ? " -1" : " -2";
    } else {
        pass = o.CCE_Method < 2 ? " -1" : " -2";
    }
    const std::string extreme = o.Extreme == 1 ? " -extreme" : " -noextreme";
    const std::string trellis = o.Trellis == 1 ? " -trell" : " -notrell";
    const std::string closedGop = o.Close_Gops == 0 ? " -nocgop" : " -cgop";
    const std::string dc = " -dc " + std::to_string(o.Intra);
    const std::string gopSize = " -gopsize " + std::to_string(o.N * o.m);

    s.Encoding = -1;
    for (std::size_t d = 1; d <= job.DiscModel.Count(); ++d) {
        const auto& domain = job.DiscModel.Item(d);
        if (domain.Vob_Id.Count() == 0 || domain.Abort != 0) continue;
        std::string aspect;
        const std::string mode = domain.Video.Count() > 0 ? domain.Video.Item(1).Display_Mode : std::string();
        if (mode == "4 : 3" || mode == "4 : 3 (Pan-scan)") aspect = " -aspectratio 4:3";
        if (mode == "16 : 9" || mode == "16 : 9 (Pan-scan)") aspect = " -aspectratio 16:9";
        for (std::size_t vobItem = 1; vobItem <= domain.Vob_Id.Count(); ++vobItem) {
            const auto& vob = domain.Vob_Id.Item(vobItem);
            if (vob.Dummy != 0) continue;
            const auto v = static_cast<std::int16_t>(vobItem);
            const std::string maxRate = " -maxbitrate " + std::to_string(MaxVideoRate(vob));
            const std::string field = vob.Field_Order == 0 ? " -tff" : " -bff";
            const auto run = [&](const std::string& input, const std::string& output, const std::string& rate) {
                const std::string tail = rate + pass + closedGop + aspect + field + dc + gopSize + extreme +
                                         trellis + " -mpeg2mux nomux -maxbframes 2 -vbr -mpeg2 -hq -scene -auto -close";
                ShellAndWait(job,
                             Short(job, o.QuencPath) + " -i " + Quoted(input) + " -o " + Quoted(output) + field +
                                 maxRate + vob.QuencProg + tail,
                             kWindowMinimized);
            };
            if (vob.Vob_Type == "Video") {
                const std::string script = EncodableScript(job, vob.CCE_Encoded, vob.QuencAVS);
                if (script.empty()) continue;
                for (std::size_t cell = 1; cell <= vob.CELL_ID.Count(); ++cell) {
                    const auto [first, last] = ChapterRange(vob, cell);
                    TrimAVS(job, script, first, last);
                    run(Short(job, script),
                        WithoutExtension(vob.QuencAVS) + Conv(job) + ".pt." + CreateCellName(static_cast<int>(cell)) +
                            ".m2v",
                        bitrate);
                }
                JoinParts(job, domain, v, ".m2v");
                continue;
            }
            // A still or slide show: one picture at the still rate.
            const std::string rate = vob.Vob_Type == "Combo" ? bitrate : " -b 7500";
            for (std::size_t cell = 1; cell <= vob.CELL_ID.Count(); ++cell) {
                const auto& record = vob.CELL_ID.Item(cell);
                const std::string script = EncodableScript(job, record.CCE_Encoded, record.QuencAVS);
                if (script.empty()) continue;
                run(Short(job, script), WithoutExtension(record.QuencAVS) + Conv(job) + ".m2v", rate);
            }
        }
    }
    s.Encoding = 0;
}

void EnableRejigProcess(JobContext& job) {
    const auto& o = job.Options();
    const auto& s = job.State();
    const std::string folder = Root(job) + "\\ECLs";
    if (!job.Files.FolderExists(folder)) job.Files.MakeFolder(folder);
    const std::string level = "-level " + std::to_string(s.Control != 0 ? s.Rejig_Compression : o.Rejig_Quality);
    std::string list;
    for (std::size_t d = 1; d <= job.DiscModel.Count(); ++d) {
        const auto& domain = job.DiscModel.Item(d);
        if (domain.Abort != 0) continue;
        for (const auto& vob : domain.Vob_Id) {
            if (vob.Vob_Type == "Video" && vob.Rejig_Encoded != 0) {
                list += level + " -i" + Quoted(Short(job, vob.Rejig_File_Path + ".M2V")) + "\r\n";
            } else if (vob.Vob_Type == "Combo") {
                for (const auto& cell : vob.CELL_ID) {
                    if (cell.Rejig_Encoded == 0) continue;
                    list += level + " -i" + Quoted(Short(job, cell.Rejig_File_Path + ".M2V")) + "\r\n";
                }
            }
        }
    }
    job.Files.WriteText(folder + "\\Rejig.txt", list);
    ShellAndWait(job,
                 Short(job, job.ProgramFolder) + "\\Rejig.exe -i " + Short(job, Root(job)) +
                     "\\ECLs\\Rejig.txt -auto -close -quiet",
                 kFrameServerWindowStyle);
}

void EnableHCProcess(JobContext& job) {
    const auto& o = job.Options();
    auto& s = job.State();
    s.Encoding = -1;
    for (std::size_t d = 1; d <= job.DiscModel.Count(); ++d) {
        const auto& domain = job.DiscModel.Item(d);
        if (domain.Abort != 0) continue;
        const std::string vts = "VTS# " + std::to_string(d - 1);
        for (std::size_t vobItem = 1; vobItem <= domain.Vob_Id.Count(); ++vobItem) {
            const auto& vob = domain.Vob_Id.Item(vobItem);
            if (vob.Dummy != 0) continue;
            const auto v = static_cast<std::int16_t>(vobItem);
            const auto run = [&](std::int16_t cell, const std::string& label) {
                const std::string ini =
                    WriteHCIni(job, static_cast<std::int16_t>(d), v, v, static_cast<std::int16_t>(d - 1), cell, cell);
                LogWindow(job, " *Encoding: " + vts + ", VOB# " + std::to_string(v) + label);
                ShellAndWait(job, Short(job, o.HCPath) + " -ini " + ini, kWindowNormal);
            };
            if (vob.Vob_Type == "Video") {
                if (!EncodableScript(job, vob.CCE_Encoded, vob.QuencAVS).empty()) run(0, "");
                continue;
            }
            for (std::size_t cell = 1; cell <= vob.CELL_ID.Count(); ++cell) {
                const auto& record = vob.CELL_ID.Item(cell);
                if (EncodableScript(job, record.CCE_Encoded, record.QuencAVS).empty()) continue;
                run(static_cast<std::int16_t>(cell), ", CELL# " + std::to_string(cell));
            }
        }
    }
    s.Encoding = 0;
}

std::string WriteHCIni(JobContext& job, std::int16_t Domain, std::int16_t VobItem, std::int16_t VobId,
                       std::int16_t VtsIndex, std::int16_t CellItem, std::int16_t CellId) {
    const auto& o = job.Options();
    const auto& domain = job.DiscModel.Item(static_cast<std::size_t>(Domain));
    const auto& vob = domain.Vob_Id.Item(static_cast<std::size_t>(VobItem));
    const bool forCell = CellItem > 0;
    const CELL_ID_Properties* cell = forCell ? &vob.CELL_ID.Item(static_cast<std::size_t>(CellItem)) : nullptr;

    std::int32_t maxRate = MaxVideoRate(vob);
    const std::string quencAvs = forCell ? cell->QuencAVS : vob.QuencAVS;
    const std::string in = WithoutExtension(quencAvs) + Conv(job) + ".avs";
    const std::string out = WithoutExtension(quencAvs) + ".mpv";
    const std::int32_t frames = forCell ? cell->Frames : vob.Frames;
    const std::string name = CreateVOBName(VobId) + (forCell ? "_" + CreateCellName(CellId) : "");
    const std::string source = domain.OutputDir + (forCell ? "\\DEMUXED_CELLID\\" : "\\DEMUXED\\") + name + ".m2v";
    const std::string matrixStem = Root(job) + "\\ECLs\\" + CreateVOBName(VtsIndex) + "_" + name;
    const std::string intraFile = matrixStem + ".Intra.mtx";
    const std::string nonIntraFile = matrixStem + ".NonIntra.mtx";
    if (o.HCOriginal == 1) {
        std::string label = "VTS# " + std::to_string(VtsIndex) + ", VOB# " + std::to_string(VobId);
        if (forCell) label += ", CELL# " + std::to_string(CellId);
        QuantDump(job, source, matrixStem + ".mtx", intraFile, nonIntraFile, label);
    }

    const std::string mode = domain.Video.Count() > 0 ? domain.Video.Item(1).Display_Mode : std::string();
    std::string text = mode.find("4 : 3") != std::string::npos ? "*ASPECT 4:3\r\n" : "*ASPECT 16:9\r\n";
    const std::string prog = forCell ? cell->QuencProg : vob.QuencProg;
    const std::int16_t fieldOrder = forCell ? cell->Field_Order : vob.Field_Order;
    if (prog == " -interlaced") text += std::string("*INTERLACED\r\n") + (fieldOrder == 0 ? "*TFF\r\n" : "*BFF\r\n");
    if (frames > 1) {
        text += "*BITRATE " + std::to_string(AverageBitrate(job)) + "\r\n";
    } else {
        text += "*BITRATE 7500\r\n";
        maxRate = 8000;
    }
    if (o.Close_Gops == 1) text += "*CLOSEDGOPS\r\n";
    text += "*DC_PREC " + std::to_string(o.Intra) + "\r\n";
    text += "*INFILE " + in + "\r\n";
    text += "*MAXBITRATE " + std::to_string(maxRate) + "\r\n";
    text += "*OUTFILE " + out + "\r\n";
    text += "*BIAS 30\r\n*LASTIFRAME\r\n";
    text += "*LOGFILE " + job.OutputFolder + "\\ECLs\\HCEncoder.log\r\n";

    const auto appendLines = [&](const std::string& path) {
        for (const std::string& line : job.Files.ReadLines(path)) text += line + "\r\n";
    };
    if (o.HCOriginal == 1) {
        if (job.Files.FileExists(intraFile) && job.Files.FileExists(nonIntraFile)) {
            text += "*CUSTOMMATRIX\r\n";
            appendLines(intraFile);
            text += " \r\n";
            appendLines(nonIntraFile);
        } else {
            text += "*MATRIX MPEG\r\n";
        }
    } else if (o.HCMatrix < 10) {
        static constexpr std::array<const char*, 10> kMatrices = {"MPEG",  "HC",       "NOTCH",   "QLB",       "BACH1",
                                                                  "JAWOR1CD", "HVSGOOD", "HVSBETTER", "HVSBEST", "AUTOQ2"};
        text += std::string("*MATRIX ") + kMatrices[static_cast<std::size_t>(std::max<std::int16_t>(o.HCMatrix, 0))] +
                "\r\n";
    } else {
        // The user's own pair, kept beside the program by the matrix window.
        text += "*CUSTOMMATRIX\r\n";
        if (job.Files.FileExists(job.ProgramFolder + "\\Intra.mtx")) appendLines(job.ProgramFolder + "\\Intra.mtx");
        text += "\r\n";
        if (job.Files.FileExists(job.ProgramFolder + "\\NonIntra.mtx")) appendLines(job.ProgramFolder + "\\NonIntra.mtx");
    }
    static constexpr std::array<const char*, 3> kProfiles = {"Fast", "Normal", "Best"};
    text += std::string("*PROFILE ") + kProfiles[static_cast<std::size_t>(std::clamp<std::int16_t>(o.HCProfile, 0, 2))] +
            "\r\n*WAIT 0\r\n";
    if (!forCell && vob.CELL_ID.Count() > 1) {
        text += "*CHAPTER " + std::to_string(vob.CELL_ID.Count() - 1) + "\r\n";
        for (const auto& record : vob.CELL_ID) {
            if (record.ChapterPoint + 1 > 1) text += std::to_string(record.ChapterPoint + 1) + "\r\n";
        }
    }
    const std::string iniPath = Root(job) + "\\ECLs\\" + name + ".ini";
    if (!job.Files.FolderExists(Root(job) + "\\ECLs")) job.Files.MakeFolder(Root(job) + "\\ECLs");
    job.Files.WriteText(iniPath, text);
    return Short(job, iniPath);
}

}  // namespace kestrova
