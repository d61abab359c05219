// What each demultiplexed audio file of a menu holds, and the treatment it
// gets. The list of a domain's audio files is taken once; each asset then
// goes through its own files, stores their facts in the model and hands
// each file to the writer of its conversion batch.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <utility>

#include "job/context.h"

namespace kestrova {

// The facts of an AC3 file's first syncframe: sample rate ("48", "44.1",
// "32", "reserved"), bitrate (kbit/s; "" above the table), channels
// ("1 : 1" ... "3 : 2"), LFE ("True"/"False") and the file's length as a
// time text.
using AudioFacts = std::array<std::string, 5>;

// Fills the job's file list with the domain's audio files.
void AudioCheck(JobContext& job);

// Inspects and queues the audio of one VOB id (CellId 0) or one of its cells.
void ProcessAC3(JobContext& job, const std::string& Folder, std::int16_t VobId, std::int16_t CellId);

// Goes through the listed files of the asset `VobName` ("001"), cell
// CellId or the whole VOB id (0).
void ScanAudioArray(JobContext& job, const std::string& Folder, const std::string& VobName, std::int16_t CellId);

// Reads the first 10 bytes of the file at the drive path, taken to start
// on an AC3 syncframe.
AudioFacts CheckAudioSource(JobContext& job, const std::string& Path, bool ExactLength);

// Bytes of one AC3 frame for the sample rate and frame size code, each as
// binary digits ("00", "001010"); 0 outside the table.
std::int32_t GetFrameLength(const std::string& SampleBits, const std::string& SizeBits);

// The channel layout and the LFE flag from the 32 bits behind the
// syncinfo (bsid, bsmod, acmod, ...).
std::pair<std::string, bool> GetCHLFE(const std::string& HeaderBits);

// The time text of a count of 32 ms AC3 frames; without ExactLength one
// frame is taken off.
std::string NewAudio2time(const JobContext& job, std::int32_t Frames, bool ExactLength);

}  // namespace kestrova
