// Audio conversion of a menu domain: see audio_conversion.h.
#include "audio/audio_conversion.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "assets/asset_names.h"
#include "audio/audio_inspection.h"
#include "job/log_writers.h"
#include "job/progress.h"
#include "job/timecode.h"
#include "job/tool_runner.h"
#include "platform/error.h"
#include "platform/text.h"

namespace kestrova {

using platform::WithoutExtension;

namespace {

// The text with every `from` replaced.
std::string Replaced(std::string text, std::string_view from, std::string_view to) {
    platform::ReplaceAll(text, from, to);
    return text;
}

std::string Quoted(const std::string& text) { return "\"" + text + "\""; }

std::string Short(const JobContext& job, const std::string& path) { return job.Files.Paths().GetShortPath(path); }

// A path the batch lines pass unquoted, where Windows hands them short
// names without blanks. Here names are long: a path holding a blank is
// quoted, so that it stays one argument.
std::string Argument(const std::string& path) { return path.find(' ') == std::string::npos ? path : Quoted(path); }

std::string Batch(const JobContext& job, const char* name) { return job.WorkFolder + "\\FRAMESERVING\\" + name; }

std::string BeSweet(const JobContext& job, bool shortFolder) {
    return Quoted((shortFolder ? Short(job, job.ProgramFolder) : job.ProgramFolder) + "\\AC3\\BeSweet.exe");
}

bool AudioConverted(JobContext& job) { return job.Options().Conversion == 1 && job.State().ConvertAudio != 0; }

// BeSweet's rate switch for the asset's frame rate; "" for any other rate.
std::string RateSwitch(double rate) {
    const auto is = [rate](double value) { return std::fabs(rate - value) < 0.0005; };
    if (is(25) || is(25000)) return "-r 25000 29970";
    if (is(30) || is(29.97) || is(29970)) return "-r 29970 25000";
    if (is(23976) || is(23.976)) return "-r 23976 25000";
    return {};
}

// The delay text between "[" and "]" of a demultiplexed file's name.
std::string DelayOf(const std::string& source) {
    const auto open = source.rfind('[');
    const auto close = source.rfind(']');
    if (open == std::string::npos || close == std::string::npos || close < open) return "0";
    return source.substr(open + 1, close - open - 1);
}

// The number of a delay text without its sign.
std::int32_t Magnitude(const std::string& delay) {
    return static_cast<std::int32_t>(std::llabs(platform::LeadingWholeNumber(delay)));
}

// A frame difference as whole milliseconds at the standard's rate.
std::int32_t FramesToMs(const JobContext& job, std::int32_t frames) {
    const double rate = job.Timing.VideoStandard == "NTSC" ? 29.97 : 25.0;
    return static_cast<std::int32_t>(std::fabs(std::trunc(frames / rate * 1000)));
}

// The frames of the asset's video (the last cell's end, or the cell's) and
// of the audio file's length, as a rate change or padding compares them.
std::pair<std::int32_t, std::int32_t> VideoAndAudioFrames(JobContext& job, const std::string& VobName,
                                                          std::int16_t CellId, const std::string& Source,
                                                          AudioFacts* factsOut) {
    auto& domain = job.DiscModel.Item(static_cast<std::size_t>(job.DomainIndex));
    const int v = std::atoi(VobName.c_str());
    std::int32_t video = 0;
    if (v >= 1 && static_cast<std::size_t>(v) <= domain.Vob_Id.Count()) {
        const auto& cells = domain.Vob_Id.Item(static_cast<std::size_t>(v)).CELL_ID;
        const std::size_t cell = CellId > 0 ? static_cast<std::size_t>(CellId) : cells.Count();
        if (cell >= 1 && cell <= cells.Count() && !cells.Item(cell).Data_End_Time.empty()) {
            video = GetDropFrame(job.Timing, SST2Frames(job.Timing, cells.Item(cell).Data_End_Time));
        }
    }
    const AudioFacts facts = CheckAudioSource(job, Source, false);
    if (factsOut != nullptr) *factsOut = facts;
    const std::int32_t audio = facts[4].size() >= 11 ? SST2Frames(job.Timing, facts[4]) : 0;
    return {video, audio};
}

// Runs a batch of the menu when it is there, hidden unless asked.
bool RunBatch(JobContext& job, const char* name, const char* told, std::int16_t style = kWindowHidden) {
    const std::string batch = Batch(job, name);
    if (!job.Files.FileExists(batch)) return false;
    WLOG(job, told);
    job.State().AudioEncoding = -1;
    ShellAndWait(job, Argument(Short(job, batch)), style);
    job.State().AudioEncoding = 0;
    return true;
}

// The AC3 files BeSweet wrote under a WAV name, moved to their finished
// names.
void MoveBeSweetAc3(JobContext& job) {
    for (const auto& [written, finished] : job.AudioMoves) {
        if (!job.Files.FileExists(written)) continue;
        job.Files.MoveFile(written, finished);
        WLOG(job, "\t" + written + " Renamed to = " + finished);
    }
}

void RenameEncoded(JobContext& job, bool fixed) {
    WLOG(job, "Renaming Encoded Audio Files");
    AudioRename(job, job.WorkFolder + "\\DEMUXED", fixed);
    AudioRename(job, job.WorkFolder + "\\DEMUXED_CELLID", fixed);
}

}  // namespace

std::string ConvertedWavName(const std::string& Target) {
    // The "-" go from the name only: the folder keeps its own.
    const std::string wav = WithoutExtension(Target) + ".WAV";
    const std::string name = platform::FileNameOf(wav);
    return wav.substr(0, wav.size() - name.size()) + Replaced(name, "-", "");
}

void EnableAudioProcess(JobContext& job) {
    const auto& domain = job.DiscModel.Item(static_cast<std::size_t>(job.DomainIndex));
    if (domain.Audio.Count() == 0) {
        WLOG(job, "No audio to process");
        job.State().AudioCount = 0;
        return;
    }
    WLOG(job, "Processing Audio");
    const bool mpeg1 = domain.Audio.Item(1).Audio_Type == "Mpeg1";
    if (!mpeg1 && !AudioConverted(job)) {
        if (RunBatch(job, "SoftEncode.bat", "Converting WAV files to AC3 with SoftEncode")) RenameEncoded(job, false);
        RunBatch(job, "BeSweetEncoder.bat", "Converting WAV files to AC3 with BeSweet");
        if (RunBatch(job, "DelayCorrector.bat", "Correcting Audio Delay and/or CRC errors")) RenameEncoded(job, true);
    } else {
        if (RunBatch(job, "BeSweet.Conversion.bat", "PreProcessing AC3/WAV files with BeSweet", kWindowNormal)) {
            MsgWaitObj(job, 1000);
            MoveBeSweetAc3(job);
        }
        RunBatch(job, "BeSweetEncoder.bat", "Converting WAV files to AC3 with BeSweet");
        if (RunBatch(job, "SoftEncode.bat", "Processing Dolby Digital WAV files with SoftEncode")) {
            RenameEncoded(job, false);
        }
    }
    ResetProgress(job);
    // A finished AC3 file a conversion was to leave and did not (a tool
    // failed or wrote nothing) is named, and the stage falls short of it.
    CheckFilesMade(job, job.AudioExpected, "Audio file", "audio files");
}

void AC3Encoder(JobContext& job, const std::string& Source, const std::string& Target, std::int16_t VobId) {
    const auto& domain = job.DiscModel.Item(static_cast<std::size_t>(job.DomainIndex));
    std::string rate;
    if (AudioConverted(job) && VobId >= 1 && static_cast<std::size_t>(VobId) <= domain.Vob_Id.Count()) {
        const std::string change = RateSwitch(domain.Vob_Id.Item(static_cast<std::size_t>(VobId)).Fps);
        if (!change.empty()) rate = " -ota ( " + change + " )";
    }
    job.Files.AppendLine(Batch(job, "BeSweetEncoder.bat"),
                         BeSweet(job, false) + " -core( -input " + Quoted(Source) + " -output " + Quoted(Target) +
                             " ) -ssrc( --rate 48000 )" + rate + " -ac3enc( -b " +
                             std::to_string(job.Options().Audio_Bitrate) + " )");
    job.BeSweetUsed = -1;
}

void ConvertWav(JobContext& job, const std::string& Source, const std::string& Target, double Fps) {
    const std::string wav = ConvertedWavName(Target);
    std::string tail = " -2ch )";
    if (AudioConverted(job)) {
        tail = " -2ch ) -ota ( " + RateSwitch(Fps) + " ) -profile( ~~~~~ Default Profile ~~~~~ )";
    }
    job.Files.AppendLine(Batch(job, "BeSweet.Conversion.bat"), BeSweet(job, false) + " -core( -input " +
                                                                   Quoted(Source) + " -output " + Quoted(wav) + tail);
}

std::int32_t AlterMS(JobContext& job, std::int32_t VideoFrames, std::int32_t AudioFrames,
                     const std::string& Delay) {
    std::int32_t n = static_cast<std::int32_t>(std::nearbyint((VideoFrames - AudioFrames) * 1.5));
    if (n > 0) n = FramesToMs(job, n);
    if (Delay.find('-') != std::string::npos) {
        n -= Magnitude(Delay);
    } else {
        n += static_cast<std::int32_t>(platform::LeadingWholeNumber(Delay));
    }
    return std::min<std::int32_t>(n, 32000);
}

std::string AppendMS(JobContext& job, std::int32_t VideoFrames, std::int32_t AudioFrames,
                     const std::string& Delay) {
    std::int32_t n = static_cast<std::int32_t>(std::nearbyint((VideoFrames - AudioFrames) * 1.75));
    if (n > 0) n = -FramesToMs(job, n);
    if (job.Options().Audio_Correct_AC3_Delay == 1) {
        if (Delay.find('-') != std::string::npos) {
            n += Magnitude(Delay);
        } else {
            n -= static_cast<std::int32_t>(platform::LeadingWholeNumber(Delay));
        }
    }
    return job.Options().Audio_Pad == 1 ? " -end " + std::to_string(n) : std::string();
}

std::string GetBeSweetProfile(JobContext& job, const std::string& Source, const std::string& Output,
                              std::int16_t Delay, std::int16_t End, double Fps) {
    static_cast<void>(Source);
    static_cast<void>(Output);
    const std::string channels = job.State().MultiChannel != 0 ? " -6chwav " : " -2ch ";
    std::string text = channels + ") -azid( -s dplii -d 2/0 -L 0db -f1 ) -ota(" + RateSwitch(Fps);
    if (Delay > 0) text += " -d " + std::to_string(Delay);
    if (End > 0) text += " -e " + std::to_string(End);
    return text + " )";
}

void AlterAc3(JobContext& job, const std::string& VobName, const std::string& Output, const std::string& Source,
              std::int16_t CellId) {
    auto& o = job.Options();
    auto& s = job.State();
    std::string delay = DelayOf(Source);
    const std::string wavPath = Short(job, job.WorkFolder) +
                                (CellId > 0 ? "\\DEMUXED_CELLID\\" + VobName + "_" + CreateCellName(CellId)
                                            : "\\DEMUXED\\" + VobName) +
                                ".Conversion.wav";
    if (Magnitude(delay) < o.Audio_AC3_Encode_Threshold) delay = "0";
    AudioFacts facts;
    const auto [video, audio] = VideoAndAudioFrames(job, VobName, CellId, Source, &facts);
    s.AudioBitrate = static_cast<std::int16_t>(platform::LeadingWholeNumber(facts[1]));
    if (facts[2] == "3 : 2") s.MultiChannel = -1;
    const std::int32_t end = AlterMS(job, video, audio, delay);

    auto& domain = job.DiscModel.Item(static_cast<std::size_t>(job.DomainIndex));
    const int v = std::atoi(VobName.c_str());
    const double fps = v >= 1 && static_cast<std::size_t>(v) <= domain.Vob_Id.Count()
                           ? domain.Vob_Id.Item(static_cast<std::size_t>(v)).Fps
                           : 0;
    const std::string profile =
        GetBeSweetProfile(job, Source, Output, static_cast<std::int16_t>(platform::LeadingWholeNumber(delay)),
                          static_cast<std::int16_t>(std::clamp<std::int32_t>(end, -32768, 32767)), fps);
    std::string line = BeSweet(job, true) + " -core( -input " + Quoted(Source) + " -output " + Quoted(wavPath) + profile;
    if (o.Audio_Besweet == 1) {
        // BeSweet encodes the AC3 itself, under the WAV's name: once the
        // batch has run it is moved to the finished name ("S-" for "S_").
        line += " -ac3enc ( -b " + std::to_string(o.Audio_Bitrate) + " )";
        job.Files.AppendLine(Batch(job, "BeSweet.Conversion.bat"), line);
        const std::string written = job.WorkFolder +
                                    (CellId > 0 ? "\\DEMUXED_CELLID\\" + VobName + "_" + CreateCellName(CellId)
                                                : "\\DEMUXED\\" + VobName) +
                                    ".Conversion.wav";
        std::string finished = Output;
        const std::size_t name = finished.find_last_of('\\') + 1;
        if (finished.size() > name + 1 && finished[name + 1] == '_') finished[name + 1] = '-';
        job.AudioMoves.emplace_back(written, finished);
    } else {
        job.Files.AppendLine(Batch(job, "BeSweet.Conversion.bat"), line);
        SoftEncoder(job, wavPath, Output, false, true, false);
    }
}

void CorrectAC3Delay(JobContext& job, const std::string& VobName, const std::string& Output, const std::string& Source,
                     std::int16_t CellId) {
    const auto& o = job.Options();
    const std::string delay = DelayOf(Source);
    std::string start;
    if (o.Audio_Correct_AC3_Delay == 1 && Magnitude(delay) >= o.Audio_AC3_Encode_Threshold) {
        start = delay.find('-') != std::string::npos ? " -start " + std::to_string(Magnitude(delay))
                                                     : " -start -" + delay;
    }
    const std::string crc = o.Audio_CorrectCRC == 1 ? " -fixcrc silence" : "";
    std::string end;
    if (o.Audio_Pad == 1) {
        const auto [video, audio] = VideoAndAudioFrames(job, VobName, CellId, Source, nullptr);
        end = AppendMS(job, video, audio, delay);
    }
    if (!start.empty() || !crc.empty() || !end.empty()) {
        job.Files.AppendLine(Batch(job, "DelayCorrector.bat"), Quoted(Short(job, job.ProgramFolder) + "\\AC3\\delaycut.exe") +
                                                                   start + crc + end + " " + Quoted(Source));
    } else if (job.Files.FileExists(Source)) {
        job.Files.MoveFile(Source, Output);
    }
}

void CreateSoftEncodeIni(JobContext& job, bool Ac3Source) {
    const auto& o = job.Options();
    const auto& s = job.State();
    std::string text = "[Parameters]\r\n";
    const std::int32_t setting = o.Audio_Bitrate == 0 ? 224 : o.Audio_Bitrate;
    if (Ac3Source) {
        text += "DataRate=" + std::to_string(s.AudioBitrate > o.Audio_Bitrate ? s.AudioBitrate : setting) + "\r\n";
    } else {
        text += "DataRate=" + std::to_string(setting) + "\r\n";
    }
    text += "SampleRate=0\r\n";
    text += Ac3Source && s.MultiChannel != 0 ? "UseLFE=On\r\nCodeMode=7\r\n" : "UseLFE=Off\r\nCodeMode=2\r\n";
    text += "BSMode=0\r\nDlgNorm=27\r\nDolbySurround=1\r\nCopyRight=On\r\nOriginal=On\r\nCompressionType=1\r\n"
            "Deemphasis=Off\r\nDCFilter=On\r\nBandWidthFilter=On\r\nRFCmpInUse=On\r\n";
    job.Files.WriteText(Batch(job, "SoftEncodeDVD.ini"), text);
}

void SoftEncoder(JobContext& job, const std::string& Source, const std::string& Target, bool Ac3Source, bool SkipBat,
                 bool StereoPrep) {
    const auto& o = job.Options();
    const auto& s = job.State();
    if (!SkipBat && !job.Files.FileExists(Batch(job, "Soft.bat"))) {
        CreateSoftEncodeIni(job, Ac3Source);
        std::string text;
        if (o.Audio_DeleteRegistryKey == 1) {
            text += "Call " + Quoted(job.WorkFolder + "\\FRAMESERVING\\SoftEncodeRegEdit.bat") + "\r\n";
        }
        text += Quoted(o.Audio_SoftEncode_Path) + " -A -P " +
                Argument(Short(job, job.WorkFolder) + "\\FRAMESERVING\\SoftEncodeDVD.ini") +
                (Ac3Source && s.MultiChannel != 0 ? " -o %2 -L %1 -R %1 -C%1 -l%1 -r%1 -e%1 -N "
                                                  : " -o %2 -L %1 -R %1 -N ") +
                "\r\n";
        job.Files.WriteText(Batch(job, "Soft.bat"), text);
    }
    job.Files.WriteText(Batch(job, "SoftEncodeRegEdit.bat"),
                        job.WindowsFolder + "\\regedit.exe /S " +
                            Quoted(job.WorkFolder + "\\FRAMESERVING\\SoftEncode.reg") + "\r\n");
    job.Files.WriteText(Batch(job, "SoftEncode.reg"),
                        "REGEDIT4\r\n \r\n[-HKEY_LOCAL_MACHINE\\SOFTWARE\\Sonic Foundry\\Soft Encode]\r\n \r\n"
                        "[-HKEY_CURRENT_USER\\Software\\Sonic Foundry\\Soft Encode]\r\n");
    if (StereoPrep) return;

    const auto& domain = job.DiscModel.Item(static_cast<std::size_t>(job.DomainIndex));
    std::string source = Source;
    if (domain.Audio.Count() > 0 && domain.Audio.Item(1).Audio_Type == "Mpeg1") source = WithoutExtension(source) + ".WAV";
    // The tool takes no "-" in a name: "[-" becomes "[" on disc too, then
    // every "-" goes from the name the batch passes.
    if (source.find("[-") != std::string::npos) {
        const std::string renamed = Replaced(source, "[-", "[");
        if (job.Files.FileExists(source)) job.Files.MoveFile(source, renamed);
        source = renamed;
    }
    const std::size_t folder = source.size() - platform::FileNameOf(source).size();
    source = source.substr(0, folder) + Replaced(source.substr(folder), "-", "");
    job.Files.AppendLine(Batch(job, "SoftEncode.bat"),
                         "Call " + Quoted(job.WorkFolder + "\\FRAMESERVING\\Soft.bat") + " " + Argument(source) + " " +
                             Argument(Target));
}

}  // namespace kestrova
