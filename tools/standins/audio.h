// What the audio personalities share: one ffmpeg run from a source file to
// a WAV or an AC3 file, for BeSweet and SoftEncode, which each read their
// own command line into an AudioConversion that ConvertAudio codes; and the
// AC3 bitrates, which delaycut needs as well.
#pragma once

#include <cstdint>
#include <string>

#include "standin.h"

namespace kestrova::standin {

struct AudioConversion {
    std::string Input;   // drive path of the source: anything ffmpeg decodes (AC3, MP2, WAV)
    std::string Output;  // drive path of the result
    long SampleRate = 48000;
    // The ffmpeg channel layout of the result ("stereo", "5.1(side)"); ""
    // keeps the source's channels.
    std::string Layout;
    // How a source of more channels is folded into stereo: swresample's
    // matrix_encoding, "none", "dolby" (Pro Logic) or "dplii" (Pro Logic II).
    std::string MatrixEncoding = "none";
    double LfeMixLevel = 0;  // gain of the LFE channel in a fold-down; 0 leaves it out
    // The speed of play: the result lasts SpeedDivisor / SpeedMultiplier of
    // the source, with its pitch kept.
    long SpeedMultiplier = 1;
    long SpeedDivisor = 1;
    long LeadSilenceMs = 0;   // silence before the sound
    long TrailSilenceMs = 0;  // silence after it
    long Ac3Kbps = 0;         // 0: 16-bit PCM WAV; else AC3 at this bitrate
};

// Converts as asked. An older file of the output's name is removed first;
// ffmpeg writes beside the output under a temporary name, which is renamed
// into place only when it is whole, so a failure leaves no output. Throws
// Error naming the files for a missing source, a missing ffmpeg or a
// failed conversion.
void ConvertAudio(const Invocation& call, const AudioConversion& conversion);

// The bitrate when it is one an AC3 stream can have (32 to 640 kbit/s, in
// the steps of the format); throws Error naming `where` otherwise.
long Ac3Bitrate(long kbps, const std::string& where);

// The bitrate in kbit/s of an AC3 frame's frmsizecod (two codes to a
// rate); throws Error for a code above 37.
long Ac3BitrateOfCode(std::uint8_t frmsizecod);

// True when the file begins as a WAV file does ("RIFF", a size, "WAVE").
// Throws Error naming the file when it cannot be read.
bool IsWavFile(const Invocation& call, const std::string& path);

}  // namespace kestrova::standin
