// The audio personalities' shared work: see audio.h.
//
// One ffmpeg run takes the first audio stream of the source through these
// filters, in this order:
//
//   Conversion          ffmpeg filter
//   ------------------- ------------------------------------------------------
//   SampleRate, Layout  aresample=R:matrix_encoding=M:lfe_mix_level=G, then
//   MatrixEncoding      aformat=sample_rates=R:channel_layouts=L; the aformat
//   LfeMixLevel         makes the aresample mix to the layout by the matrix
//   Speed               atempo=F, F = multiplier / divisor, chained in steps
//                       of 2 or 1/2 beyond that range (pitch kept)
//   LeadSilenceMs       adelay=delays=N:all=1
//   TrailSilenceMs      apad=pad_dur=S (seconds)
//
// and writes pcm_s16le in a WAV file, or the ac3 encoder's stream at the
// bitrate. The silences are counted in the time of the result, after the
// change of speed.
#include "audio.h"

#include <array>
#include <cstdio>
#include <vector>

#include "assets/audio_frames.h"
#include "encoding.h"
#include "platform/error.h"
#include "platform/files.h"
#include "platform/stream_files.h"

namespace kestrova::standin {

namespace {

std::string Number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.9g", value);
    return text;
}

std::string AudioFilters(const AudioConversion& conversion) {
    const std::string rate = std::to_string(conversion.SampleRate);
    std::string filters = "aresample=" + rate + ":matrix_encoding=" + conversion.MatrixEncoding +
                          ":lfe_mix_level=" + Number(conversion.LfeMixLevel) + ",aformat=sample_rates=" + rate;
    if (!conversion.Layout.empty()) filters += ":channel_layouts=" + conversion.Layout;
    double tempo = static_cast<double>(conversion.SpeedMultiplier) / static_cast<double>(conversion.SpeedDivisor);
    for (; tempo > 2.0; tempo /= 2.0) filters += ",atempo=2";
    for (; tempo < 0.5; tempo *= 2.0) filters += ",atempo=0.5";
    if (tempo != 1.0) filters += ",atempo=" + Number(tempo);
    if (conversion.LeadSilenceMs > 0) filters += ",adelay=delays=" + std::to_string(conversion.LeadSilenceMs) + ":all=1";
    if (conversion.TrailSilenceMs > 0) {
        filters += ",apad=pad_dur=" + Number(static_cast<double>(conversion.TrailSilenceMs) / 1000.0);
    }
    return filters;
}

}  // namespace

void ConvertAudio(const Invocation& call, const AudioConversion& conversion) {
    const platform::FileSystem files(call.Paths);
    files.DeleteFile(conversion.Output);
    if (!files.FileExists(conversion.Input)) throw Error("there is no audio file \"" + conversion.Input + "\"");
    const std::string ffmpeg = RequireHostProgram("ffmpeg", "to convert audio in the place of " + call.Tool);
    const std::string partial = conversion.Output + ".partial";
    std::vector<std::string> command = {ffmpeg, "-nostdin", "-loglevel", "error", "-y",
                                        "-i", files.ToHost(conversion.Input), "-map", "0:a:0",
                                        "-af", AudioFilters(conversion)};
    if (conversion.Ac3Kbps > 0) {
        command.insert(command.end(), {"-c:a", "ac3", "-b:a", std::to_string(conversion.Ac3Kbps) + "k", "-f", "ac3"});
    } else {
        command.insert(command.end(), {"-c:a", "pcm_s16le", "-f", "wav"});
    }
    command.push_back(files.ToHost(partial));
    if (const int status = RunHostProgram(call, command); status != 0) {
        files.DeleteFile(partial);
        throw Error("ffmpeg could not convert \"" + conversion.Input + "\" into \"" + conversion.Output +
                    "\" (exit status " + std::to_string(status) + ")");
    }
    files.MoveFile(partial, conversion.Output);
}

long Ac3Bitrate(long kbps, const std::string& where) {
    for (unsigned code = 0; const Ac3FrameSize* size = FindAc3FrameSize(code); code += 2) {
        if (size->Kbps == kbps) return kbps;
    }
    throw Error(where + " asks for " + std::to_string(kbps) +
                " kbit/s, which is no AC3 bitrate (32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, "
                "384, 448, 512, 576 or 640)");
}

long Ac3BitrateOfCode(std::uint8_t frmsizecod) {
    const Ac3FrameSize* size = FindAc3FrameSize(frmsizecod);
    if (size == nullptr) {
        throw Error("the AC3 frame size code " + std::to_string(frmsizecod) + " names no bitrate; expected 0 to 37");
    }
    return size->Kbps;
}

bool IsWavFile(const Invocation& call, const std::string& path) {
    std::array<std::uint8_t, 12> head{};
    const std::size_t got = platform::OpenFileReader(call.Paths, path)->Read(head);
    const std::string text(head.begin(), head.end());
    return got == head.size() && text.compare(0, 4, "RIFF") == 0 && text.compare(8, 4, "WAVE") == 0;
}

}  // namespace kestrova::standin
