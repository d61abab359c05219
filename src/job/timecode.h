// Times and frame counts: BCD playback times of the IFO files, text
// timecodes of the scripts and subpicture lists, drop-frame correction and
// 3:2 pulldown. Plain functions; the few job-wide values they read come in
// through a TimeBase.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kestrova {

// The job-wide values the time arithmetic reads. VideoStandard is "PAL" or
// "NTSC", or for the length of a call "CONVERSION" (the NTSC side of a
// conversion) or "AUDIO" (audio timing in ConvertFrame2Time). Conversion is
// 1 when the job converts between PAL and NTSC. TimeToFrames sets
// FramesPerSecond.
struct TimeBase {
    std::string VideoStandard = "PAL";
    std::int16_t Conversion = 0;
    std::int16_t FramesPerSecond = 25;
};

// A 32-bit BCD playback time as stored in an IFO file: hours, minutes,
// seconds as two BCD digits each, then the rate mark (bits 7-6: 01 for 25,
// 11 for 30 frames a second) and two BCD frame digits (tens in bits 5-4).
// A type of its own so that it cannot be swapped with a frame number.
struct BcdTime {
    std::int32_t Value = 0;
};

// True when the job's result is NTSC material: a PAL source converted, an
// NTSC source kept, or the NTSC side of a conversion ("CONVERSION").
bool NtscResult(const TimeBase& timeBase);

// A cell's frames as "a_b_c" from its start frame and its BCD time: the
// length L counts the time at its marked rate (one less when start is 0);
// c is start + L. For a "Video" or "Combo" VOB a is start and b start + L;
// for a "StillMenu" a is 0 and b 15 under "NTSC", else 12; for other types
// a is 0 and b L. vobType is the Vob_Type of the VOB id in hand.
std::string BCDToFrames(const TimeBase& timeBase, std::int32_t start, BcdTime time, std::string_view vobType);

// Frames of a BCD time given as eight hexadecimal digits, counted at 25
// under "PAL", else 30 (also stored in FramesPerSecond). The still lengths
// 12 (PAL mark) and 15 or 10 (NTSC mark) count as one frame.
std::int32_t TimeToFrames(TimeBase& timeBase, std::string_view bcdHex);

// A frame count as a BCD time, at 30 when VideoStandard is "NTSC" and
// otherRate is false or another standard and otherRate is true, else at
// 25. Throws Error for a negative count or one of 100 hours or more.
std::int32_t Frames_To_DVD_TimeCode(const TimeBase& timeBase, std::int32_t frames, bool otherRate);

// A frame count as "HH:MM:SS<sep>FF". Rate 0 means the standard's rate
// (29.97 under "NTSC", 25 otherwise; "AUDIO" needs a rate). dropFlag applies
// drop-frame correction for an NTSC result (its rate the whole part of the
// rate with scaleFlag, 30 with thirtyFlag, else 29.97); convertFlag moves the
// time to the other standard's rate when the job converts, scaling the
// count with scaleFlag; modFlag keeps the result off dropped labels.
std::string ConvertFrame2Time(const TimeBase& timeBase, std::int32_t frames, bool dropFlag = false, double rate = 0,
                              bool modFlag = false, bool convertFlag = false, bool scaleFlag = false,
                              bool thirtyFlag = false);

// Frames of "HH:MM:SS:FF" (any separators; the frames are the last two
// characters). Rate 0 means 30 under "NTSC", else 25, the other way round
// when the job converts and convertFlag is set. dropFlag turns a drop-frame
// label count of an NTSC result back into frames.
std::int32_t SST2Frames(const TimeBase& timeBase, std::string_view timecode, bool dropFlag = false,
                        bool convertFlag = false, double rate = 0);

// Frames of "HH:MM:SS:FF" at the rate (0: 29.97 under "NTSC", else 25),
// rounded to the nearest whole frame, a half to even.
std::int32_t Asset2Frames(const TimeBase& timeBase, std::string_view timecode, double rate = 0);

// Moves a timecode off the labels drop-frame time does not have (frames 00
// and 01 of a minute not divisible by 10) to frame 02. Acts for an NTSC
// result, or with otherStandard set, in which case it works as if
// VideoStandard were the other of "PAL" and "NTSC".
std::string GetModCheck(const TimeBase& timeBase, std::string_view timecode, bool otherStandard);

// Drop-frame correction for an NTSC result (other results come back as
// they are): two frames for every elapsed minute not divisible by 10,
// added in normal mode and taken off in mode "R". Rate 0 means 29.97.
std::int32_t GetDropFrame(const TimeBase& timeBase, std::int32_t frames, double rate = 0,
                          std::string_view mode = "");

// Frames after a 3:2 pulldown change: mode "R" from 30 to 24 a second,
// otherwise from 24 to 30, with type "TD" aligning the count down to a
// whole pulldown cycle position.
std::int32_t GetPullDown(std::int32_t frames, std::string_view mode, std::string_view type);

// The minutes field (characters 4-5) of a timecode.
std::int16_t SubMin(std::string_view timecode);

}  // namespace kestrova
