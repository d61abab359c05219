// The audio facts of real AC3 streams made by ffmpeg, and one asset's
// audio files going to their writers: renamed at once, or queued.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "assets/asset_stage_fixture.h"
#include "assets/mpeg_test_streams.h"
#include "audio/audio_conversion.h"
#include "audio/audio_inspection.h"

namespace kestrova {
namespace {

class AudioInspection : public test::AssetStageFixture {
public:
    // An AC3 stream of `seconds` of a tone, made by ffmpeg at the drive path's place under K:.
    // `options` is the sample rate, then ffmpeg's channel and bitrate options.
    void MakeAc3(const std::string& relative, const std::string& options, double seconds = 1.0) {
        const auto blank = options.find(' ');
        const std::string command = "ffmpeg -nostdin -loglevel error -y -f lavfi -i sine=frequency=440:sample_rate=" +
                                    options.substr(0, blank) + ":duration=" + std::to_string(seconds) + " " +
                                    options.substr(blank + 1) + " -c:a ac3 -f ac3 '" + temp.Host(relative) + "'";
        ASSERT_EQ(std::system(command.c_str()), 0) << command;
    }
};

TEST_F(AudioInspection, RealStreamsGiveTheirRateBitrateChannelsAndLength) {
    KESTROVA_REQUIRE_FFMPEG();
    struct Case {
        const char* Options;  // sample rate, then ffmpeg's channel and bitrate options
        AudioFacts Facts;
    } cases[] = {
        {"48000 -ac 2 -b:a 192k", {"48", "192", "2 : 0", "False"}},
        {"48000 -ac 1 -b:a 96k", {"48", "96", "1 : 0", "False"}},
        {"48000 -af 'pan=5.1|c0=c0|c1=c0|c2=c0|c3=c0|c4=c0|c5=c0' -b:a 448k", {"48", "448", "3 : 2", "True"}},
        {"44100 -ac 2 -b:a 192k", {"44.1", "192", "2 : 0", "False"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.Options);
        MakeAc3("Job/a.ac3", c.Options, 1.024);
        AudioFacts facts = CheckAudioSource(job, "K:\\Job\\a.ac3", true);
        // The length counts the stream's frames as 32 ms each, in 40 ms PAL frames.
        const int packets = std::atoi(test::CaptureCommand("ffprobe -v error -count_packets -show_entries "
                                                           "stream=nb_read_packets -of csv=p=0 '" +
                                                           temp.Host("Job/a.ac3") + "'").c_str());
        const long video = std::lround(packets / 1.25);
        char length[48];
        std::snprintf(length, sizeof length, "00:00:%02ld;%02ld", video / 25, video % 25);
        EXPECT_EQ(facts[4], length) << packets << " packets";
        facts[4].clear();
        EXPECT_EQ(facts, c.Facts);
    }
    EXPECT_TRUE(Logged("\tChecking Audio File : K:\\Job\\a.ac3"));

    // Shorter than its header: a rate and channels from what is there, no bitrate, no read past the end.
    Put("Job/short.ac3", std::string("\x0B\x77\x12\x34\x14", 5));
    const AudioFacts facts = CheckAudioSource(job, "K:\\Job\\short.ac3", false);
    EXPECT_EQ(facts[0], "48");
    EXPECT_EQ(facts[1], "192");
    EXPECT_EQ(facts[4], "00:00:00;00");
    Put("Job/tiny.ac3", std::string("\x0B\x77", 2));
    EXPECT_EQ(CheckAudioSource(job, "K:\\Job\\tiny.ac3", false)[1], "");
}

TEST_F(AudioInspection, FrameLengthsAndTheLfeBitFollowTheLayout) {
    EXPECT_EQ(GetFrameLength("00", "001010"), 320);  // 80 kbit/s at 48 kHz
    EXPECT_EQ(GetFrameLength("01", "001010"), 348);
    EXPECT_EQ(GetFrameLength("01", "001011"), 350);  // 44.1 kHz: a word more on an odd code
    EXPECT_EQ(GetFrameLength("10", "100101"), 3840);
    EXPECT_EQ(GetFrameLength("00", "100110"), 0);
    EXPECT_EQ(GetFrameLength("11", "000000"), 0);
    // bsid/bsmod, then acmod; the LFE bit stands at 12 for mono, 14 for stereo, 16 for 3/2.
    EXPECT_EQ(GetCHLFE("01000000" "00110000" "00000000" "00000000"), std::make_pair(std::string("1 : 0"), true));
    EXPECT_EQ(GetCHLFE("01000000" "01000100" "00000000" "00000000"), std::make_pair(std::string("2 : 0"), true));
    EXPECT_EQ(GetCHLFE("01000000" "01010000" "00000000" "00000000"), std::make_pair(std::string("2 : 0"), false));
    EXPECT_EQ(GetCHLFE("01000000" "11100001" "00000000" "00000000"), std::make_pair(std::string("3 : 2"), true));
}

TEST_F(AudioInspection, AnAssetsFilesAreRenamedOrQueuedByKind) {
    KESTROVA_REQUIRE_FFMPEG();
    auto& vob = AddVob({25});
    vob.Vob_Type = "Video";
    vob.Fps = 25;
    AddAudio("AC3");
    MakeAc3("Job/D_VTS_01_0/DEMUXED/001-80-DELAY[-5].AC3", "48000 -ac 2 -b:a 192k");
    {
        // A byte of the second 768-byte frame flipped: its check word fails.
        std::fstream ac3(temp.Host("Job/D_VTS_01_0/DEMUXED/001-80-DELAY[-5].AC3"),
                         std::ios::in | std::ios::out | std::ios::binary);
        ac3.seekp(1000);
        ac3.put('\x5A');
    }
    Put("Job/D_VTS_01_0/DEMUXED/001DELAY[-10].MP2", "mpeg audio");
    Put("Job/D_VTS_01_0/DEMUXED_CELLID/001_001-80-DELAY[0].AC3", "cell audio, not this asset's");
    job.Options().Audio_SoftEncode_Path = "K:\\SoftEncode\\Sftencdd.exe";

    AudioCheck(job);
    ProcessAC3(job, "K:\\Job\\D_VTS_01_0\\DEMUXED", 1, 0);

    const auto lines = LogLines();
    EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), [](const std::string& line) {
        return line.rfind("\tWARNING: K:\\Job\\D_VTS_01_0\\DEMUXED\\001-80-DELAY[-5].AC3 has 1 damaged spot, the first "
                          "at byte 768: CRC1 mismatch",
                          0) == 0;
    }));
    // No delay work asked for: the AC3 has its finished name at once.
    EXPECT_TRUE(Has("Job/D_VTS_01_0/DEMUXED/1-001.ac3"));
    EXPECT_FALSE(Has("Job/D_VTS_01_0/DEMUXED/001-80-DELAY[-5].AC3"));
    EXPECT_TRUE(Has("Job/D_VTS_01_0/DEMUXED_CELLID/001_001-80-DELAY[0].AC3"));
    ASSERT_EQ(vob.Audio.Count(), 1u);
    EXPECT_EQ(vob.Audio.Item(1).Bitrate, 192);
    EXPECT_EQ(vob.Audio_Stream_Quantity, 2);
    EXPECT_TRUE(vob.WAV && vob.Audio_Transcoded && vob.AudioSet);
    EXPECT_EQ(job.State().AudioCount, 2);
    // The MPEG audio goes to SoftEncode under a name without "-", its "[-" renamed on disc.
    EXPECT_TRUE(Has("Job/D_VTS_01_0/DEMUXED/001DELAY[10].MP2"));
    EXPECT_EQ(temp.Read("Job/D_VTS_01_0/FRAMESERVING/SoftEncode.bat"),
              "Call \"K:\\Job\\D_VTS_01_0\\FRAMESERVING\\Soft.bat\" K:\\Job\\D_VTS_01_0\\DEMUXED\\001DELAY[10].MP2 "
              "K:\\Job\\D_VTS_01_0\\DEMUXED\\001.ac3\r\n");
    EXPECT_TRUE(Logged("WAV audio to process : K:\\Job\\D_VTS_01_0\\DEMUXED\\001DELAY[-10].MP2"));
}

TEST_F(AudioInspection, ACellsFilesAreFoundByTheirCellAndGetTheCellsNames) {
    KESTROVA_REQUIRE_FFMPEG();
    AddVob({25, 25}).Fps = 25;
    AddAudio("AC3");
    const std::string cells = "Job/D_VTS_01_0/DEMUXED_CELLID/";
    MakeAc3(cells + "001_002-80-DELAY[-5].AC3", "48000 -ac 2 -b:a 192k");
    Put(cells + "001_002DELAY[-10].MP2", "mpeg audio");
    Put(cells + "001_001-80-DELAY[-5].AC3", "the first cell's");
    job.Options().Audio_Besweet = 1;

    AudioCheck(job);
    ProcessAC3(job, "K:\\Job\\D_VTS_01_0\\DEMUXED_CELLID", 1, 2);

    // The cell's AC3 is stream 1 under the cell's name, its MPEG audio
    // stream 2 through BeSweet; the other cell's file stays where it is.
    const std::string folder = "K:\\Job\\D_VTS_01_0\\DEMUXED_CELLID\\";
    EXPECT_TRUE(Has(cells + "1-001_002.ac3"));
    EXPECT_TRUE(Has(cells + "001_001-80-DELAY[-5].AC3"));
    EXPECT_NE(temp.Read("Job/D_VTS_01_0/FRAMESERVING/BeSweetEncoder.bat").find("-output \"" + folder + "2-001_002.ac3\""),
              std::string::npos);
    EXPECT_EQ(job.AudioExpected, (std::vector<std::string>{folder + "1-001_002.ac3", folder + "2-001_002.ac3"}));
}

}  // namespace
}  // namespace kestrova
