// The Avisynth scripts of the assets and the flags each asset leaves for
// the list writer: see frameserving.h.
#include "assets/frameserving.h"

#include <cmath>

#include "assets/asset_names.h"
#include "assets/asset_support.h"
#include "assets/d2v_analysis.h"
#include "frameserver/avi_info.h"
#include "job/log_writers.h"
#include "platform/text.h"

namespace kestrova {

namespace {

std::string Quoted(const std::string& text) { return "\"" + text + "\""; }

std::string DecombPluginLine(const JobContext& job) {
    return "LoadPlugin(" + Quoted(job.ProgramFolder + "\\new.avs\\decomb.dll") + ")";
}

bool PalStandard(const JobContext& job) { return job.Timing.VideoStandard == "PAL"; }

// The conversion's script for a source of this type.
const std::string& ConversionScript(const JobContext& job, const std::string& VideoType) {
    const auto& scripts = job.ConversionTemplates;
    if (VideoType == "pal_interlaced") return scripts.Conversion1;
    if (VideoType == "pal_progressive") return scripts.Conversion2;
    if (VideoType == "ntsc_film") return scripts.Conversion4;
    return scripts.Conversion3;
}

// The filter lines of a script without conversion; none for a PAL
// interlaced stream that is not deinterlaced.
std::vector<std::string> FilterLines(JobContext& job, const std::string& VideoType, bool ErrorMode, bool Still) {
    auto& avs = job.AvisynthScripts;
    if (!ErrorMode && job.State().CCEBasic != 0 && (avs.TelecineIVTC == 1 || avs.HybridIVTC == 1)) {
        // CCE Basic takes the IVTC'd stream only at the decimation it was
        // made for; the templates keep the correction.
        platform::ReplaceAll(avs.Avisynth_Hybrid, "Decimate()", "Decimate(mode=1,threshold=3)");
        platform::ReplaceAll(avs.Avisynth_Telecine, "Decimate()", "Decimate(cycle=5)");
        WLOG(job, "Correcting AVS script as CCEBasic is the default encoder");
    }
    if (VideoType == "ntsc_interlaced") {
        if (!ErrorMode) return {avs.Avisynth_Interlaced};
        return {DecombPluginLine(job) + "\r\n" + "FieldDeinterlace()"};
    }
    if (VideoType == "ntsc_hybrid") {
        if (!ErrorMode) return {avs.Avisynth_Hybrid};
        return {DecombPluginLine(job) + "\r\n" + "Telecide()" + "\r\n" + "Decimate(mode=1,threshold=3)"};
    }
    if (VideoType == "ntsc_telecine") {
        if (!ErrorMode) return {avs.Avisynth_Telecine};
        return {DecombPluginLine(job) + "\r\n" + "Telecide()" + "\r\n" + "Decimate(cycle=5)"};
    }
    if (VideoType == "ntsc_film") return {ErrorMode ? std::string() : avs.Avisynth_Normal};
    if (VideoType == "pal_interlaced") {
        if ((avs.Deinterlace == 1 && !Still) || job.State().Deinterlace != 0) return {avs.Avisynth_DeinterlaceScript};
        return {};
    }
    if (VideoType == "pal_progressive") return {avs.Avisynth_Normal};
    // A type the classification never gives: the source alone is served.
    WLOG(job, "\tNo filter lines for the video type \"" + VideoType + "\"");
    return {};
}

// The asset's record: the VOB id's, or its cell's when CellId is above 0.
template <typename Change>
void OnAsset(JobContext& job, std::int16_t VobId, std::int16_t CellId, Change change) {
    auto& vob = CurrentDomain(job).Vob_Id.Item(static_cast<std::size_t>(VobId));
    if (CellId > 0) {
        change(vob.CELL_ID.Item(static_cast<std::size_t>(CellId)));
    } else {
        change(vob);
    }
}

// A DVD carries 25 or 29.97 frames a second. With the audio kept, the
// conversion templates convert to the field rate (50 or 59.94) and make
// interlaced frames of pairs of fields again; the film template has no
// field steps, so its "ConvertFPS(50)" would reach the encoder at 50. A
// script that serves twice the target's rate keeps every other frame: the
// frames at the times the rate step would have chosen at the target rate,
// progressive as a film source is encoded.
void KeepToDvdRate(JobContext& job, const std::string& AvsPath) {
    const AviFrames served = GetFrames(job, AvsPath, false);
    if (!served.Error.empty()) return;  // left as it is: its encode fails and says why
    const bool toNtsc = PalStandard(job);
    if (std::fabs(served.Rate - (toNtsc ? 59.94 : 50)) > 0.01) return;
    job.Files.AppendLine(AvsPath, "SelectEvery(2,0)");
    WLOG(job, std::string("\tThe conversion script serves ") + (toNtsc ? "59.94" : "50") +
                  " frames a second, which a DVD cannot carry: every other frame is kept");
}

}  // namespace

void WriteAVS(JobContext& job, const std::string& AvsPath, const std::string& VideoType, const std::string& Name,
              bool ErrorMode, bool Conversion, bool Still) {
    platform::TraceFrame frame(job.Trace, "Frameserving", "WriteAVS");
    WLOG(job, ErrorMode ? "\tCreating New AVS Script to correct AVS ERROR" : "\tCreating " + AvsPath);
    const auto& avs = job.AvisynthScripts;

    std::string header = avs.Avisynth_Header;
    if (job.Options().DGDecode != 0) platform::ReplaceAll(header, "mpeg2dec3dg.dll", "DGDecode.dll");
    std::string source = "Mpeg2Source(" + Quoted(job.WorkFolder + "\\FRAMESERVING\\" + Name + ".d2v");
    if (!avs.Avisynth_MpegSwitch.empty()) source += " ," + avs.Avisynth_MpegSwitch;
    source += ")";

    std::string text = header + "\r\n" + source + "\r\n";
    if (Conversion) {
        text += ConversionScript(job, VideoType) + "\r\n";
    } else {
        for (const auto& line : FilterLines(job, VideoType, ErrorMode, Still)) text += line + "\r\n";
    }
    job.Files.WriteText(AvsPath, text);
}

void CorrectAVS(JobContext& job, const std::string& AvsPath, std::int16_t Progressive, const std::string& Field) {
    platform::TraceFrame frame(job.Trace, "Frameserving", "CorrectAVS");
    const auto& o = job.Options();
    std::string progressive = job.AvisynthScripts.Avisynth_Footer_Progressive;
    std::string interlaced = job.AvisynthScripts.Avisynth_Footer_Interlaced;
    if (o.UseHC == 1 || o.UseQuenc == 1) {
        // These encoders read 4:2:0 only.
        platform::ReplaceAll(progressive, "ConvertToYUY2", "ConvertToYV12");
        platform::ReplaceAll(interlaced, "ConvertToYUY2", "ConvertToYV12");
    }
    if (o.Conversion == 0) {
        const bool deinterlaced =
            PalStandard(job) && (job.AvisynthScripts.Deinterlace == 1 || job.State().Deinterlace != 0);
        job.Files.AppendLine(AvsPath, Progressive == 1 || deinterlaced ? progressive : interlaced);
        job.Files.AppendLine(AvsPath, kAvsCompleted);
        return;
    }
    std::string text;
    for (std::string line : job.Files.ReadLines(AvsPath)) {
        if (o.UseQuenc == 1) platform::ReplaceAll(line, "ConvertToYUY2", "ConvertToYV12");
        if (line.find("Kernelbob(order=1") != std::string::npos && Field == "BFF") {
            platform::ReplaceAll(line, "order=1", "order=0");
        } else if (line.find("Kernelbob(order=0") != std::string::npos && Field == "TFF") {
            platform::ReplaceAll(line, "order=0", "order=1");
        }
        text += line + "\r\n";
    }
    job.Files.WriteText(AvsPath, text);
    KeepToDvdRate(job, AvsPath);
}

void SetStreamFlags(JobContext& job, std::int16_t VobId, std::int16_t CellId) {
    platform::TraceFrame frame(job.Trace, "Frameserving", "SetStreamFlags");
    auto& o = job.Options();
    const std::string log = job.WorkFolder + "\\FRAMESERVING\\" + CreateVOBName(VobId) + ".log";
    if (!job.Files.FileExists(log)) return;

    std::int16_t fieldOrder = 1;
    if (o.Field == "Auto") {
        ParseLog(job, log, "FIELD", &job.FieldType);
        fieldOrder = job.FieldType == "TFF" ? 0 : 1;
        WLOG(job, "\tAuto-FieldType = " + job.FieldType);
    } else if (o.Field == "TFF") {
        fieldOrder = 0;
        WLOG(job, "Manual-Field Type=TFF");
    } else {
        WLOG(job, "Manual-Field Type=BFF");
    }

    std::string quencProg;
    if (o.FrameType == "Auto") {
        quencProg = o.ProgressiveFlag == 0 ? " -interlaced" : " -nointerlaced";
    } else if (o.FrameType == "Interlaced") {
        o.ProgressiveFlag = 0;
        quencProg = " -interlaced";
    } else {
        o.ProgressiveFlag = 1;
        quencProg = " -nointerlaced";
    }

    if (o.Scanning == "Auto") {
        o.ScanningFlag = o.ProgressiveFlag == 1 ? 0 : 1;
    } else {
        o.ScanningFlag = o.Scanning == "Alternate" ? 1 : 0;
    }

    OnAsset(job, VobId, CellId, [&](auto& asset) {
        asset.Field_Order = fieldOrder;
        asset.QuencProg = quencProg;
    });
}

AviFrames ProcessVideo(JobContext& job, const std::string& D2vPath, const std::string& VobName, std::int16_t CellId,
                       bool Still) {
    platform::TraceFrame frame(job.Trace, "Frameserving", "ProcessVideo");
    auto& o = job.Options();
    const auto& avs = job.AvisynthScripts;
    const auto vobId = static_cast<std::int16_t>(platform::LeadingWholeNumber(VobName));
    const std::string name = CellId > 0 ? VobName + "_" + CreateCellName(CellId) : VobName;
    const std::string folder = job.WorkFolder + "\\FRAMESERVING\\";

    bool ivtc = false;
    bool palOrFilm = false;
    std::string note;
    if (!Still) {
        job.VideoType = AnalyzeD2V(job, D2vPath, folder + VobName + ".log");
        const std::string& type = job.VideoType;
        if ((type == "ntsc_telecine" && avs.TelecineIVTC == 1) || (type == "ntsc_hybrid" && avs.HybridIVTC == 1)) {
            ivtc = true;
            note = " Flagged for IVTC";
            o.ProgressiveFlag = 1;
            palOrFilm = true;
        } else if (type == "ntsc_film" || type == "pal_progressive") {
            o.ProgressiveFlag = 1;
            palOrFilm = true;
        } else if (type == "ntsc_interlaced" && avs.Avisynth_Interlaced.find("FieldDeinterlace()") != std::string::npos) {
            o.ProgressiveFlag = 1;
        } else if (type == "pal_interlaced" && !avs.Avisynth_DeinterlaceScript.empty() && avs.Deinterlace == 0) {
            // The box tested for 0 here and for 1 by WriteAVS: the stream is
            // taken as progressive exactly when its deinterlacing script is
            // left out.
            o.ProgressiveFlag = 1;
            palOrFilm = true;
        } else {
            o.ProgressiveFlag = 0;
        }
    } else {
        job.VideoType = job.Timing.VideoStandard == "NTSC" ? "ntsc_interlaced" : "pal_interlaced";
        palOrFilm = job.VideoType == "pal_interlaced";
        o.ProgressiveFlag = 0;
    }
    if (palOrFilm) OnAsset(job, vobId, CellId, [](auto& asset) { asset.PalOrFilm = -1; });

    SetStreamFlags(job, vobId, CellId);
    if (!Still) {
        LogWindow(job, "Video Stream " + name + " is judged to be of type : " + platform::ToUpperAscii(job.VideoType) +
                           note);
    }

    const std::string script = folder + name + ".avs";
    const std::string conversion = folder + name + ".Conversion.avs";
    const std::int16_t progressive = Still ? 0 : o.ProgressiveFlag;
    const auto writeScripts = [&](bool errorMode) {
        WriteAVS(job, script, job.VideoType, name, errorMode, false, Still);
        if (o.Conversion != 0) WriteAVS(job, conversion, job.VideoType, name, errorMode, true, Still);
    };
    const auto correctScripts = [&] {
        if (o.Conversion == 0) {
            CorrectAVS(job, script, progressive, "");
        } else {
            CorrectAVS(job, conversion, progressive, job.FieldType);
        }
    };
    writeScripts(false);
    correctScripts();
    if (Still) return AviFrames{1, 0, ""};

    AviFrames served = GetFrames(job, script, ivtc);
    // The frame server's error clip is 240 frames at 24; an IVTC'd asset
    // is reported at 23.976 whatever it gave, so its failure is asked too.
    if ((served.Frames == 240 && served.Rate == 24) || !served.Error.empty()) {
        WLOG(job, "\t*****ERROR IN AVS FILE RETURN*****");
        if (!served.Error.empty()) WLOG(job, "\t" + served.Error);
        writeScripts(true);
        served = GetFrames(job, script, false);
        if (!served.Error.empty()) WLOG(job, "\t" + served.Error);
        correctScripts();
    }
    return served;
}

}  // namespace kestrova
