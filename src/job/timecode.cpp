// Times and frame counts: BCD times, text timecodes, drop frame, pulldown.
#include "job/timecode.h"

#include <cmath>
#include <cstdio>

#include "job/bits.h"
#include "platform/error.h"
#include "platform/text.h"

namespace kestrova {
namespace {

constexpr double kNtscRate = 29.97;

// A scaled frame number becomes whole by the platform's rounding: to the
// nearest, a half to even.
std::int64_t RoundFrames(double value) { return static_cast<std::int64_t>(std::nearbyint(value)); }

int BcdDigit(char digit, std::string_view text) {
    const int value = platform::HexDigitValue(digit);
    if (value >= 0) return value;
    throw Error("The BCD time \"" + std::string(text) + "\" holds \"" + std::string(1, digit) +
                "\"; hexadecimal digits were expected.");
}

// Two BCD digits as tens and units.
std::int64_t BcdPair(std::string_view hex, std::size_t at) {
    return BcdDigit(hex[at], hex) * 10 + BcdDigit(hex[at + 1], hex);
}

// Hours, minutes and seconds of eight hexadecimal digits of a BCD time.
std::int64_t BcdSeconds(std::string_view hex) { return BcdPair(hex, 0) * 3600 + BcdPair(hex, 2) * 60 + BcdPair(hex, 4); }

// The frame byte's low six bits, "00" in front, read digit group by digit
// group, as the frames of a BCD time are read.
std::int64_t BcdFrames(const std::string& frameBits) {
    const std::string digits = BintoInt("00" + frameBits.substr(2));
    return digits.empty() ? 0 : std::stoll(digits);
}

std::int64_t DecimalField(std::string_view timecode, std::size_t at) {
    const char tens = timecode[at];
    const char units = timecode[at + 1];
    if (tens < '0' || tens > '9' || units < '0' || units > '9') {
        throw Error("The timecode \"" + std::string(timecode) + "\" is not of the form HH:MM:SS:FF.");
    }
    return (tens - '0') * 10 + (units - '0');
}

struct TimeFields {
    std::int64_t Hours, Minutes, Seconds, Frames;
};

TimeFields ReadTimecode(std::string_view timecode) {
    if (timecode.size() < 10) {
        throw Error("The timecode \"" + std::string(timecode) + "\" is not of the form HH:MM:SS:FF.");
    }
    return {DecimalField(timecode, 0), DecimalField(timecode, 3), DecimalField(timecode, 6),
            DecimalField(timecode, timecode.size() - 2)};
}

double TimecodeFrames(const TimeFields& time, double rate) {
    return static_cast<double>(time.Hours) * rate * 3600 + static_cast<double>(time.Minutes) * rate * 60 +
           static_cast<double>(time.Seconds) * rate + static_cast<double>(time.Frames);
}

std::int32_t ToInt32(std::int64_t value, std::string_view what) {
    if (value < INT32_MIN || value > INT32_MAX) {
        throw Error(std::string(what) + " gives " + std::to_string(value) +
                    " frames, more than a 32-bit frame count holds.");
    }
    return static_cast<std::int32_t>(value);
}

// Minutes 1..minutes that are not a multiple of 10, each of which drops two
// labels in drop-frame time code.
std::int64_t DroppingMinutes(std::int64_t minutes) { return minutes > 0 ? minutes - minutes / 10 : 0; }

std::int64_t ElapsedMinutes(std::int64_t frames, double rate) {
    const auto seconds = static_cast<std::int64_t>(std::trunc(static_cast<double>(frames) / rate));
    return seconds / 60;
}

std::string TwoDigits(std::int64_t value) {
    std::string text = std::to_string(value);
    return text.size() < 2 ? "0" + text : text;
}

std::string OtherStandard(const std::string& standard) {
    if (standard == "PAL") return "NTSC";
    if (standard == "NTSC") return "PAL";
    return standard;
}

}  // namespace

bool NtscResult(const TimeBase& timeBase) {
    return (timeBase.VideoStandard == "PAL" && timeBase.Conversion == 1) ||
           (timeBase.VideoStandard == "NTSC" && timeBase.Conversion == 0) || timeBase.VideoStandard == "CONVERSION";
}

std::string BCDToFrames(const TimeBase& timeBase, std::int32_t start, BcdTime time, std::string_view vobType) {
    char hex[9];
    std::snprintf(hex, sizeof hex, "%X", static_cast<unsigned>(static_cast<std::uint32_t>(time.Value)));
    const std::string digits = EightBit(hex);
    const std::string frameBits = HexToBin(digits.substr(6, 2));

    const std::string mark = frameBits.substr(0, 2);
    std::int64_t rate = 0;
    if (mark == "01") {
        rate = 25;
    } else if (mark == "11") {
        rate = 30;
    } else {
        // No valid mark (a zero time, a damaged cell): count at the base rate
        // TimeToFrames uses for the same field.
        rate = timeBase.VideoStandard == "PAL" ? 25 : 30;
    }

    std::int64_t length = BcdSeconds(digits) * rate + BcdFrames(frameBits);
    if (start == 0) length -= 1;

    const std::int64_t end = start + length;
    std::int64_t first = 0;
    std::int64_t second = length;
    if (vobType == "Combo" || vobType == "Video") {
        first = start;
        second = end;
    } else if (vobType == "StillMenu") {
        second = timeBase.VideoStandard == "NTSC" ? 15 : 12;
    }
    return std::to_string(first) + "_" + std::to_string(second) + "_" + std::to_string(end);
}

std::int32_t TimeToFrames(TimeBase& timeBase, std::string_view bcdHex) {
    if (bcdHex.size() > 8) {
        throw Error("The BCD time \"" + std::string(bcdHex) + "\" has more than eight hexadecimal digits.");
    }
    // A time written without its leading zeros still names the same fields.
    const std::string digits = EightBit(bcdHex);
    const std::string frameBits = HexToBin(digits.substr(6, 2));

    const std::int16_t base = timeBase.VideoStandard == "PAL" ? 25 : 30;
    timeBase.FramesPerSecond = base;

    const std::int64_t frames = base * BcdSeconds(digits) + BcdFrames(frameBits);
    const std::string mark = frameBits.substr(0, 2);
    // A still menu carries its hold time as 12 (PAL) or 15 or 10 (NTSC)
    // frames; it is one picture.
    if ((mark == "01" && frames == 12) || (mark == "11" && (frames == 15 || frames == 10))) return 1;
    return static_cast<std::int32_t>(frames);  // at most 165:165:165 at 30, far below 2^31
}

std::int32_t Frames_To_DVD_TimeCode(const TimeBase& timeBase, std::int32_t frames, bool otherRate) {
    const bool thirty = (timeBase.VideoStandard == "NTSC") != otherRate;
    const std::int64_t rate = thirty ? 30 : 25;
    const std::int64_t hours = frames / (rate * 3600);
    if (frames < 0 || hours > 99) {
        throw Error("A count of " + std::to_string(frames) + " frames cannot be written as a BCD playback time.");
    }
    const std::int64_t seconds = (frames % (rate * 60)) / rate;
    const std::int64_t minutes = (frames % (rate * 3600)) / (rate * 60);
    const std::int64_t rest = frames % rate;

    std::uint32_t value = 0;
    value |= static_cast<std::uint32_t>(hours / 10) << 28 | static_cast<std::uint32_t>(hours % 10) << 24;
    value |= static_cast<std::uint32_t>(minutes / 10) << 20 | static_cast<std::uint32_t>(minutes % 10) << 16;
    value |= static_cast<std::uint32_t>(seconds / 10) << 12 | static_cast<std::uint32_t>(seconds % 10) << 8;
    value |= thirty ? 0xC0u : 0x40u;
    value |= (static_cast<std::uint32_t>(rest / 10) & 0x3u) << 4 | static_cast<std::uint32_t>(rest % 10);
    return static_cast<std::int32_t>(value);
}

std::string ConvertFrame2Time(const TimeBase& timeBase, std::int32_t frames, bool dropFlag, double rate, bool modFlag,
                              bool convertFlag, bool scaleFlag, bool thirtyFlag) {
    const std::string& standard = timeBase.VideoStandard;
    if (frames < 0) frames = 0;

    std::string separator;
    if (standard == "NTSC") {
        if (rate == 0) rate = kNtscRate;
        separator = ":";
    } else if (standard == "AUDIO") {
        separator = ":";
    } else {
        if (rate == 0) rate = 25;
        separator = ";";
    }

    const bool ntscByStandard = (standard == "PAL" && timeBase.Conversion == 1) ||
                                (standard == "NTSC" && timeBase.Conversion == 0) || standard == "CONVERSION";
    if (dropFlag && ntscByStandard) {
        const double dropRate = scaleFlag ? std::trunc(rate) : thirtyFlag ? 30 : 0;
        frames = GetDropFrame(timeBase, frames, dropRate, "");
    }

    double count = frames;
    if (timeBase.Conversion == 1 && convertFlag) {
        if (!scaleFlag) {
            const bool toThirty = standard == "PAL" || standard == "AUDIO";
            separator = toThirty ? ":" : ";";
            rate = toThirty ? 30 : 25;
        } else if (standard == "NTSC") {
            count = frames * 0.8324;
            separator = ";";
            rate = 25;
        } else {
            count = frames * 1.1988;
            separator = ":";
            rate = 30;
        }
    }

    // Labels count whole frames at a whole rate: 29.97 is labelled at 30.
    const std::int64_t whole = RoundFrames(count);
    const std::int64_t wholeRate = RoundFrames(rate);
    if (wholeRate <= 0) {
        throw Error("A frame count cannot be written as a timecode at a frame rate of " + std::to_string(rate) + ".");
    }
    const std::string text = TwoDigits(whole / (wholeRate * 3600)) + ":" + TwoDigits(whole / (wholeRate * 60) % 60) +
                             ":" + TwoDigits(whole / wholeRate % 60) + separator + TwoDigits(whole % wholeRate);
    return modFlag ? GetModCheck(timeBase, text, false) : text;
}

std::int32_t SST2Frames(const TimeBase& timeBase, std::string_view timecode, bool dropFlag, bool convertFlag,
                        double rate) {
    const TimeFields time = ReadTimecode(timecode);
    if (rate == 0) {
        const bool ntsc = timeBase.VideoStandard == "NTSC";
        const bool swapped = timeBase.Conversion == 1 && convertFlag;
        rate = ntsc != swapped ? 30 : 25;
    }
    const std::int32_t frames = ToInt32(RoundFrames(TimecodeFrames(time, rate)), "The timecode " + std::string(timecode));
    // The label count is turned back at 29.97, the rate ConvertFrame2Time
    // adds the dropped labels at by default, so that the two invert.
    return dropFlag && NtscResult(timeBase) ? GetDropFrame(timeBase, frames, 0, "R") : frames;
}

std::int32_t Asset2Frames(const TimeBase& timeBase, std::string_view timecode, double rate) {
    const TimeFields time = ReadTimecode(timecode);
    if (rate == 0) rate = timeBase.VideoStandard == "NTSC" ? kNtscRate : 25;
    return ToInt32(RoundFrames(TimecodeFrames(time, rate)), "The timecode " + std::string(timecode));
}

std::string GetModCheck(const TimeBase& timeBase, std::string_view timecode, bool otherStandard) {
    if (!NtscResult(timeBase) && !otherStandard) return std::string(timecode);

    // The switch of standard lives in a copy, so the caller's value is never
    // left changed.
    TimeBase working = timeBase;
    if (otherStandard) working.VideoStandard = OtherStandard(working.VideoStandard);

    // At 30 labels a second, moved to the target's rate and separator as a
    // converting job writes its NTSC times.
    const auto retime = [&working](std::string_view text) {
        return ConvertFrame2Time(working, SST2Frames(working, text, false, false, 30), false, 30, false, true);
    };
    std::string result = retime(timecode);
    const std::string_view tail = std::string_view(result).substr(result.size() - 5);
    if ((tail == "00:00" || tail == "00:01") && SubMin(result) % 10 > 0) {
        result.replace(result.size() - 2, 2, "02");
        result = retime(result);
    }
    return result;
}

std::int32_t GetDropFrame(const TimeBase& timeBase, std::int32_t frames, double rate, std::string_view mode) {
    if (!NtscResult(timeBase)) return frames;
    if (rate <= 0) rate = kNtscRate;

    const std::int64_t minutes = ElapsedMinutes(frames, rate);
    std::int64_t correction = 2 * DroppingMinutes(minutes);
    if (mode == "R") {
        correction = -correction;
        // Taking the labels off can step back over minute boundaries; those
        // minutes dropped nothing, so their labels are given back once.
        const std::int64_t kept = ElapsedMinutes(frames + correction, rate);
        if (kept < minutes) correction += 2 * (DroppingMinutes(minutes) - DroppingMinutes(kept));
    }
    return ToInt32(frames + correction, "A drop-frame count");
}

std::int32_t GetPullDown(std::int32_t frames, std::string_view mode, std::string_view type) {
    if (mode == "R") return ToInt32(RoundFrames(frames * 0.8 + 0.001), "A pulldown count");

    const double scaled = frames * 1.25;
    const double whole = std::trunc(scaled);
    auto result = static_cast<std::int64_t>(whole);
    if (scaled - whole > 0.5) result += 1;
    if (type == "TD") {
        // Positions 2, 3 and 4 of a five-frame cycle fall back to position 1.
        const std::int64_t position = result % 5;
        if (position >= 2 && position <= 4) result -= position - 1;
    }
    return ToInt32(result, "A pulldown count");
}

std::int16_t SubMin(std::string_view timecode) {
    if (timecode.size() < 5) throw Error("The timecode \"" + std::string(timecode) + "\" has no minutes field.");
    return static_cast<std::int16_t>(DecimalField(timecode, 3));
}

}  // namespace kestrova
