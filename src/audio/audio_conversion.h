// Audio conversion of a menu domain. The writers below append one command
// line per audio file to the batch files of the menu's FRAMESERVING folder
// while its assets are served; once all are seen, `EnableAudioProcess`
// runs the batches in a fixed order and the results get their final names.
// The tools are BeSweet (rate changes, WAV to AC3), SoftEncode (WAV to
// AC3) and delaycut (start delay, CRC errors, padding).
#pragma once

#include <cstdint>
#include <string>

#include "job/context.h"

namespace kestrova {

// Runs the audio batches of the domain.
void EnableAudioProcess(JobContext& job);

// Queues a BeSweet pass from a WAV or MPEG audio file to AC3.
void AC3Encoder(JobContext& job, const std::string& Source, const std::string& Target, std::int16_t VobId);

// Queues a BeSweet pass to a stereo WAV (at the other standard's rate in a
// conversion), to ConvertedWavName(Target).
void ConvertWav(JobContext& job, const std::string& Source, const std::string& Target, double Fps);

// The WAV a conversion to `Target` writes: its extension ".WAV", and every
// "-" gone from its name, which SoftEncode takes no "-" in.
std::string ConvertedWavName(const std::string& Target);

// Queues the rate change of an AC3 file in a format conversion.
void AlterAc3(JobContext& job, const std::string& VobName, const std::string& Output, const std::string& Source,
              std::int16_t CellId);

// Queues a delaycut pass for the start delay, CRC errors and padding, or
// renames the file to Output at once when none is asked for.
void CorrectAC3Delay(JobContext& job, const std::string& VobName, const std::string& Output, const std::string& Source,
                     std::int16_t CellId);

// Queues a SoftEncode pass; with StereoPrep only its settings and batch
// are written.
void SoftEncoder(JobContext& job, const std::string& Source, const std::string& Target, bool Ac3Source, bool SkipBat,
                 bool StereoPrep);

// Writes "SoftEncodeDVD.ini".
void CreateSoftEncodeIni(JobContext& job, bool Ac3Source);

// BeSweet's channel, downmix and rate switches, with the delay and end in ms.
std::string GetBeSweetProfile(JobContext& job, const std::string& Source, const std::string& Output,
                              std::int16_t Delay, std::int16_t End, double Fps);

// The end padding in ms of a rate change, from the video's and the audio's
// frames and the start delay text; at most 32000.
std::int32_t AlterMS(JobContext& job, std::int32_t VideoFrames, std::int32_t AudioFrames,
                     const std::string& Delay);

// delaycut's " -end N" part from the same values, "" without padding.
std::string AppendMS(JobContext& job, std::int32_t VideoFrames, std::int32_t AudioFrames,
                     const std::string& Delay);

}  // namespace kestrova
