// BCD times, timecodes, drop-frame correction and pulldown, over the
// standards and the boundaries where the rules change.
#include "job/timecode.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <string>

#include "platform/error.h"

namespace kestrova {
namespace {

TimeBase Base(const char* standard, std::int16_t conversion = 0) {
    TimeBase base;
    base.VideoStandard = standard;
    base.Conversion = conversion;
    return base;
}

TEST(Timecode, TimeToFramesCountsAtTheStandardsRate) {
    struct Case { const char* standard; const char* bcd; std::int32_t frames; std::int16_t rate; };
    const Case cases[] = {
        {"NTSC", "01020340", 111690, 30},  // the standard, not the mark, sets the rate
        {"PAL", "00000069", 29, 25},       // frame tens live in bits 5-4
        {"PAL", "0000005A", 110, 25},      // a damaged frame byte 1|A reads as "1" "10"
        {"PAL", "140", 25, 25},            // leading zeros left off
        // Still lengths: 12 with a PAL mark, 15 or 10 with an NTSC mark, count as one frame.
        {"NTSC", "00000052", 1, 30}, {"NTSC", "000000D0", 1, 30}, {"NTSC", "000000D2", 12, 30},
        {"PAL", "00000050", 10, 25}, {"PAL", "00000152", 37, 25},  // 12 frames after a second are 37
    };
    for (const Case& c : cases) {
        TimeBase base = Base(c.standard);
        base.FramesPerSecond = 0;
        EXPECT_EQ(TimeToFrames(base, c.bcd), c.frames) << c.standard << " " << c.bcd;
        EXPECT_EQ(base.FramesPerSecond, c.rate) << c.standard << " " << c.bcd;
    }
    TimeBase base = Base("PAL");
    EXPECT_THROW(TimeToFrames(base, "0000014G"), Error);
    EXPECT_THROW(TimeToFrames(base, "000000140"), Error);
}

TEST(Timecode, BCDToFramesByVobTypeAndField) {
    const BcdTime oneSecondPal{0x00000140};
    const TimeBase pal = Base("PAL");
    const TimeBase ntsc = Base("NTSC");
    EXPECT_EQ(BCDToFrames(pal, 100, oneSecondPal, "Combo"), "100_125_125");
    EXPECT_EQ(BCDToFrames(pal, 100, oneSecondPal, "SlideShow"), "0_25_125");
    EXPECT_EQ(BCDToFrames(pal, 100, oneSecondPal, "StillMenu"), "0_12_125");
    EXPECT_EQ(BCDToFrames(ntsc, 100, oneSecondPal, "StillMenu"), "0_15_125");
    // A start of 0 makes the length one less than any other start.
    EXPECT_EQ(BCDToFrames(pal, 0, oneSecondPal, "Video"), "0_24_24");
    EXPECT_EQ(BCDToFrames(pal, 1, oneSecondPal, "Video"), "1_26_26");
    // The mark sets the rate: 1 s 05 f at 30 is 35 frames, under either standard.
    EXPECT_EQ(BCDToFrames(pal, 10, BcdTime{0x000001C5}, "Video"), "10_45_45");
    EXPECT_EQ(BCDToFrames(pal, 1, BcdTime{0x01590040}, "SlideShow"), "0_178500_178501");
    // Hour 80 sets bit 31: the value is negative as a 32-bit number.
    EXPECT_EQ(BCDToFrames(pal, 1, BcdTime{static_cast<std::int32_t>(0x80000040u)}, "SlideShow"), "0_7200000_7200001");
    // Without a valid mark the standard's rate counts.
    EXPECT_EQ(BCDToFrames(pal, 1, BcdTime{0x00000105}, "SlideShow"), "0_30_31");
    EXPECT_EQ(BCDToFrames(ntsc, 1, BcdTime{0x00000105}, "SlideShow"), "0_35_36");
}

TEST(Timecode, FramesToDvdTimeCodeBuildsBcdFieldsAndRoundTrips) {
    struct Case { const char* standard; std::int32_t frames; bool otherRate; std::uint32_t bcd; };
    const Case cases[] = {
        {"PAL", 8999999, false, 0x99595964}, {"NTSC", 29, false, 0x000000E9},      {"PAL", 30, true, 0x000001C0},
        {"NTSC", 25, true, 0x00000140},      {"CONVERSION", 25, false, 0x00000140},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(static_cast<std::uint32_t>(Frames_To_DVD_TimeCode(Base(c.standard), c.frames, c.otherRate)), c.bcd)
            << c.standard << " " << c.frames;
    }
    EXPECT_THROW(Frames_To_DVD_TimeCode(Base("PAL"), 9000000, false), Error);  // 100 hours
    EXPECT_THROW(Frames_To_DVD_TimeCode(Base("PAL"), -1, false), Error);

    for (const char* standard : {"PAL", "NTSC"}) {
        for (std::int32_t frames : {0, 1, 11, 13, 29, 59, 61, 1799, 1801, 107999, 108001, 2159999}) {
            TimeBase base = Base(standard);
            char bcd[9];
            std::snprintf(bcd, sizeof bcd, "%08X", static_cast<unsigned>(Frames_To_DVD_TimeCode(base, frames, false)));
            EXPECT_EQ(TimeToFrames(base, bcd), frames) << standard << " " << frames;
        }
    }
}

TEST(Timecode, GetDropFrameBothWays) {
    struct Case { std::int32_t frames; double rate; std::int32_t expected; };
    // Two labels a minute, except every tenth minute.
    const Case forward[] = {{1797, 0, 1797}, {1800, 0, 1802},  {17990, 0, 18008},
                            {19790, 0, 19810}, {1799, 30, 1799}, {-100, 0, -100}};
    const TimeBase ntsc = Base("NTSC");
    for (const Case& c : forward) EXPECT_EQ(GetDropFrame(ntsc, c.frames, c.rate), c.expected) << c.frames;
    // 3602 at 30 steps back over a minute boundary: that minute's labels are given back.
    const Case reverse[] = {{1802, 0, 1800}, {18008, 0, 17990}, {19810, 0, 19790}, {3602, 30, 3600}};
    for (const Case& c : reverse) EXPECT_EQ(GetDropFrame(ntsc, c.frames, c.rate, "R"), c.expected) << c.frames;

    // Only an NTSC result (NtscResult) is corrected.
    EXPECT_FALSE(NtscResult(Base("AUDIO", 1)));
    EXPECT_EQ(GetDropFrame(Base("PAL"), 1800), 1800);
    EXPECT_EQ(GetDropFrame(Base("PAL", 1), 1800), 1802);
    EXPECT_EQ(GetDropFrame(Base("NTSC", 1), 1800), 1800);
    EXPECT_EQ(GetDropFrame(Base("CONVERSION"), 1800), 1802);
    EXPECT_EQ(GetDropFrame(Base("PAL"), 1802, 0, "R"), 1802);
}

TEST(Timecode, ConvertFrame2TimeWithoutConversion) {
    const TimeBase ntsc = Base("NTSC");
    const TimeBase pal = Base("PAL");
    EXPECT_EQ(ConvertFrame2Time(ntsc, -5), "00:00:00:00");
    EXPECT_EQ(ConvertFrame2Time(pal, -5), "00:00:00;00");
    EXPECT_EQ(ConvertFrame2Time(ntsc, 1799), "00:00:59:29");  // NTSC labels count at 30 a second
    EXPECT_EQ(ConvertFrame2Time(ntsc, 48, false, 23.976), "00:00:02:00");
    EXPECT_EQ(ConvertFrame2Time(pal, 9000000), "100:00:00;00");
    EXPECT_EQ(ConvertFrame2Time(Base("AUDIO"), 50, false, 25), "00:00:02:00");
    EXPECT_THROW(ConvertFrame2Time(Base("AUDIO"), 50), Error);  // audio timing needs its rate
}

TEST(Timecode, ConvertFrame2TimeDropFrameLabels) {
    const TimeBase ntsc = Base("NTSC");
    EXPECT_EQ(ConvertFrame2Time(ntsc, 1800, true), "00:01:00:02");
    EXPECT_EQ(ConvertFrame2Time(ntsc, 17990, true), "00:10:00:08");
    // Counting minutes at 30 (thirtyFlag) frame 1799 is still in minute 0; at 29.97 it is not.
    EXPECT_EQ(ConvertFrame2Time(ntsc, 1799, true, 0, false, false, false, true), "00:00:59:29");
    // With scaleFlag the minutes are counted at 29: 1750 frames are 60.3 s at 29, 58.4 s at 29.97.
    EXPECT_EQ(ConvertFrame2Time(ntsc, 1750, true, 29.97, false, false, true), "00:00:58:12");
    EXPECT_EQ(ConvertFrame2Time(ntsc, 1750, true, 29.97), "00:00:58:10");
    // A converted PAL source drops; a converted NTSC source does not.
    EXPECT_EQ(ConvertFrame2Time(Base("PAL", 1), 1800, true, 30), "00:01:00;02");
    EXPECT_EQ(ConvertFrame2Time(Base("NTSC", 1), 1800, true), "00:01:00:00");
    // modFlag skips the dropped labels.
    EXPECT_EQ(ConvertFrame2Time(ntsc, 1800, false, 30, true), "00:01:00:02");
    EXPECT_EQ(ConvertFrame2Time(ntsc, 18000, false, 30, true), "00:10:00:00");
}

TEST(Timecode, ConvertFrame2TimeAcrossAConversion) {
    EXPECT_EQ(ConvertFrame2Time(Base("PAL", 1), 30, false, 0, false, true), "00:00:01:00");
    EXPECT_EQ(ConvertFrame2Time(Base("NTSC", 1), 25, false, 0, false, true), "00:00:01;00");
    // Scaled: 1000 x 0.8324 = 832.4 frames at 25, 1000 x 1.1988 = 1198.8 at 30.
    EXPECT_EQ(ConvertFrame2Time(Base("NTSC", 1), 1000, false, 0, false, true, true), "00:00:33;07");
    EXPECT_EQ(ConvertFrame2Time(Base("PAL", 1), 1000, false, 0, false, true, true), "00:00:39:29");
    EXPECT_EQ(ConvertFrame2Time(Base("PAL"), 30, false, 0, false, true), "00:00:01;05") << "job not converting";
}

TEST(Timecode, SST2FramesAndAsset2Frames) {
    struct Case { const char* standard; std::int16_t conversion; bool convertFlag; std::int32_t frames; };
    const Case cases[] = {{"NTSC", 0, false, 35}, {"PAL", 1, true, 35}, {"NTSC", 1, true, 30}, {"PAL", 0, true, 30}};
    for (const Case& c : cases) {
        EXPECT_EQ(SST2Frames(Base(c.standard, c.conversion), "00:00:01:05", false, c.convertFlag), c.frames)
            << c.standard << c.conversion << c.convertFlag;
    }
    const TimeBase pal = Base("PAL");
    const TimeBase ntsc = Base("NTSC");
    EXPECT_EQ(SST2Frames(pal, "01:00:00:00", false, false, 30), 108000);
    EXPECT_EQ(SST2Frames(pal, "01:02:03;04"), 93079);                      // any separator
    EXPECT_EQ(SST2Frames(pal, "00:00:50:00", false, false, 29.97), 1498);  // 1498.5, a half to even
    EXPECT_THROW(SST2Frames(pal, "0:1:2:3"), Error);
    EXPECT_THROW(SST2Frames(pal, "00:0a:00:00"), Error);

    EXPECT_EQ(SST2Frames(ntsc, "00:10:00:00", true), 17982);
    EXPECT_EQ(SST2Frames(ntsc, "00:01:00:02", false), 1802);
    EXPECT_EQ(SST2Frames(pal, "00:01:00:02", true), 1502);
    for (std::int32_t frames : {0, 1799, 1800, 17990, 19790, 107900}) {
        EXPECT_EQ(SST2Frames(ntsc, ConvertFrame2Time(ntsc, frames, true), true), frames) << frames;
    }

    EXPECT_EQ(Asset2Frames(ntsc, "00:00:50:00"), 1498);  // 1498.5
    EXPECT_EQ(Asset2Frames(ntsc, "00:00:50:01"), 1500);  // 1499.5
    EXPECT_EQ(Asset2Frames(Base("CONVERSION"), "00:00:01:00"), 25);
}

TEST(Timecode, GetModCheckMovesOffDroppedLabels) {
    struct Case { const char* standard; std::int16_t conversion; bool otherStandard; const char *time, *expected; };
    const Case cases[] = {
        {"NTSC", 0, false, "00:01:00:01", "00:01:00:02"},
        {"NTSC", 0, false, "00:10:00:00", "00:10:00:00"},  // every tenth minute keeps its labels
        {"NTSC", 0, false, "00:01:00:03", "00:01:00:03"},
        {"NTSC", 0, false, "00:01:01:00", "00:01:01:00"},  // only the minute's first second drops
        {"NTSC", 0, false, "00:01:00;00", "00:01:00:02"},
        {"PAL", 1, false, "00:01:00:00", "00:01:00:02"},
        {"NTSC", 1, true, "00:01:00:00", "00:01:00:02"},   // the converted side is NTSC
        {"PAL", 0, true, "00:01:00:00", "00:01:00:02"},
        {"PAL", 0, false, "00:01:00;00", "00:01:00;00"},   // not an NTSC result: as given
    };
    for (const Case& c : cases) {
        EXPECT_EQ(GetModCheck(Base(c.standard, c.conversion), c.time, c.otherStandard), c.expected)
            << c.standard << c.conversion << c.otherStandard << " " << c.time;
    }
}

TEST(Timecode, GetPullDownBetween24And30) {
    struct Case { std::int32_t frames; const char *mode, *type; std::int32_t expected; };
    // Forward a fraction above a half rounds up, a half itself down; "TD" moves positions 2-4 of a cycle to 1.
    const Case cases[] = {
        {30, "R", "", 24},  {31, "R", "", 25},  {3, "R", "", 2},    {24, "", "", 30},   {3, "", "", 4},
        {2, "", "", 2},     {2, "", "TD", 1},   {3, "", "TD", 1},   {4, "", "TD", 5},   {5, "", "TD", 6},
        {25, "", "TD", 31},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(GetPullDown(c.frames, c.mode, c.type), c.expected) << c.frames << c.mode << c.type;
    }
}

TEST(Timecode, SubMin) {
    EXPECT_EQ(SubMin("12:05:59;29"), 5);
    EXPECT_THROW(SubMin("00:3"), Error);
}

}  // namespace
}  // namespace kestrova
