// The Encoder Control List writer: one [item] and one [file] section per
// asset the frame serving has prepared, appended to batch lists under
// root "\ECLs" in the dialect of the encoder and its version; the fixed list
// of the SoftEncode self-test; and the frame arithmetic of chapter points
// across pulldown and format conversion.
#pragma once

#include <cstdint>
#include <string>

#include "job/context.h"

namespace kestrova {

// The five forms of the list, by encoder and version.
enum class EclDialect { Ecl25, Ecl266, Ecl267, Ecl27, EclBasic };

// The list's dialect: Procoder 2.5, no CCE version 2.67, CCE Basic, then "2.5*", "2.7*", exactly "2.67", else 2.66.
EclDialect GetEclDialect(const JobContext& job);

// Appends one asset's [item] and [file] (CellId 0: the whole VOB id) to the batch list under root "\ECLs".
void MakeECL(JobContext& job, const std::string& BasePath, std::int16_t VobId, bool Still, std::int16_t CellId);

// The frame of the encoded stream at which a cell starts (SceneTime is not read).
std::int32_t GetLocation(JobContext& job, std::int32_t Frame, double Fps, const std::string& SceneTime,
                         std::int16_t VobId, std::int16_t CellId);

// A frame count scaled across a conversion; Direct false checks it against the input's time (CompareScenes).
std::int32_t ConvertFrameDuration(const JobContext& job, std::int32_t Frames, double Fps, bool Direct);

// NewFrames corrected by the difference between its timecode and that of Frames at Rate.
std::int32_t CompareScenes(const JobContext& job, std::int32_t Frames, std::int32_t NewFrames, double Rate,
                           double NewRate, bool Direct);

// A timecode's frame part from 25 to 30 a second, joined by ";" under NTSC.
std::string ConvertFrameTime(const JobContext& job, const std::string& Time);

// The GOP header interval for M and N/M (M*NM outside the table).
std::int16_t GetGopHeader(std::int16_t M, std::int16_t NM);

// Film to display frames (Direction "F") or back, flagging VOB id and cell " -3_2" where the cadence needs it.
std::int32_t NewGetPulldown(JobContext& job, std::int32_t Value, const std::string& Direction,
                            const std::string& Kind, std::int16_t VobId, std::int16_t CellId);

// Writes ProgramFolder "\SoftEncodeTest.ecl" anew, the list of the SoftEncode test.
void BlankClip(JobContext& job);

}  // namespace kestrova
