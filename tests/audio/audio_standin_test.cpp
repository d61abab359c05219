// The audio stand-ins run on the command lines and batch files the job
// writes, through the launcher, in a folder whose name holds a blank and a
// "-". Sources are ffmpeg tones, 440 Hz on the left (front left) and
// 1000 Hz on the right (front right); results are read back by ffprobe and
// by a Goertzel filter over the decoded samples of one channel.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <numbers>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "assets/audio_stream.h"
#include "assets/mpeg_test_streams.h"
#include "job/tool_table.h"
#include "platform/batch.h"
#include "platform/files.h"
#include "platform/launcher.h"
#include "platform/process.h"
#include "support/temp_folder.h"

namespace kestrova {
namespace {

const std::string kFolder = "job dir/D_VTS-01 x/";
const std::string kDrive = "K:\\job dir\\D_VTS-01 x\\";

struct AudioFixture {
    AudioFixture() {
        AddStandInTools(launcher, KESTROVA_HOST_PROGRAMS);
        runner.SetChildOutput([this](const std::string& line) { output += line + "\n"; });
        temp.Write(kFolder + "keep", "");
    }

    // A 2 s tone of the two frequencies made by ffmpeg with these output options.
    std::string Source(const std::string& name, const std::string& layout, const std::string& options) const {
        const std::string command =
            "ffmpeg -nostdin -loglevel error -y -f lavfi -i sine=f=440:d=2:sample_rate=48000 -f lavfi -i "
            "sine=f=1000:d=2:sample_rate=48000 -filter_complex '[0][1]join=inputs=2:channel_layout=stereo,pan=" +
            layout + "|c0=c0|c1=c1' " + options + " '" + temp.Host(kFolder + name) + "'";
        EXPECT_EQ(std::system(command.c_str()), 0) << command;
        return kDrive + name;
    }

    int Run(const std::string& commandLine) {
        runner.ShellAndWait(commandLine, 0);
        return runner.History().back().ExitCode;
    }

    // "ac3 48000 2 192000" (codec, rate, channels, bitrate) and the duration, as ffprobe reads them.
    std::pair<std::string, double> Probe(const std::string& name) const {
        std::istringstream in(test::CaptureCommand(
            "ffprobe -v error -select_streams a:0 -show_entries stream=codec_name,sample_rate,channels,bit_rate:"
            "format=duration -of default=noprint_wrappers=1:nokey=1 '" + temp.Host(kFolder + name) + "'"));
        std::vector<std::string> words;
        for (std::string word; in >> word;) words.push_back(word);
        if (words.size() != 5) return {"ffprobe: " + name, 0};
        return {words[0] + " " + words[1] + " " + words[2] + " " + words[3], std::stod(words[4])};
    }

    // The samples of a stream as ffmpeg decodes them, 16-bit: interleaved,
    // or of one channel only.
    std::vector<std::int16_t> Decoded(const std::string& name, int channel = -1) const {
        const std::string command = "ffmpeg -nostdin -loglevel error -y -i '" + temp.Host(kFolder + name) + "' " +
                                    (channel < 0 ? "" : "-af 'pan=mono|c0=c" + std::to_string(channel) + "' ") +
                                    "-ar 48000 -f s16le '" + temp.Host("decoded.raw") + "'";
        if (std::system(command.c_str()) != 0) return {};
        const std::string bytes = temp.Read("decoded.raw");
        std::vector<std::int16_t> samples(bytes.size() / 2);
        std::memcpy(samples.data(), bytes.data(), samples.size() * 2);
        return samples;
    }

    // The frequency among a few candidates that holds ten times the power of
    // any other in one channel; 0 when none does or the channel is silent.
    double Tone(const std::string& name, int channel) const {
        const std::vector<std::int16_t> samples = Decoded(name, channel);
        if (samples.empty()) return -1;
        std::vector<std::pair<double, double>> powers;  // power, frequency
        for (const double frequency : {250.0, 367.0, 440.0, 528.0, 834.0, 1000.0, 1199.0, 2000.0}) {
            const double coefficient = 2 * std::cos(2 * std::numbers::pi * frequency / 48000);
            double s1 = 0, s2 = 0;
            for (const double x : samples) {
                const double s0 = x + coefficient * s1 - s2;
                s2 = s1;
                s1 = s0;
            }
            powers.emplace_back(s1 * s1 + s2 * s2 - coefficient * s1 * s2, frequency);
        }
        std::sort(powers.rbegin(), powers.rend());
        const bool audible = powers[0].first > 1e4 * static_cast<double>(samples.size() * samples.size());
        return audible && powers[0].first > 10 * powers[1].first ? powers[0].second : 0;
    }

    test::TempFolder temp;
    platform::PathSpace paths = temp.Drives();
    platform::Launcher launcher{paths};
    platform::ProcessRunner runner{launcher};
    std::string output;
};

const std::string kBeSweet = "\"K:\\PROG\\AC3\\BeSweet.exe\" -core( -input \"";

// Each form of BeSweet line the job writes: the AC3 encoder pass, the
// conversions of a WAV and the AC3 passes with their fold-down, speed and
// silences.
TEST(AudioStandin, BeSweetConvertsEachLineFormTheJobWrites) {
    KESTROVA_REQUIRE_FFMPEG();
    AudioFixture f;
    const std::string wav = f.Source("tone-44k.wav", "stereo", "-ar 44100 -c:a pcm_s16le");
    const std::string mp2 = f.Source("tone.mp2", "stereo", "-c:a mp2 -b:a 192k");
    const std::string stereo = f.Source("tone-2.ac3", "stereo", "-c:a ac3 -b:a 192k");
    const std::string surround = f.Source("tone-6.ac3", "5.1(side)", "-c:a ac3 -b:a 448k");
    const std::string profile = "-azid( -s dplii -d 2/0 -L 0db -f1 ) -ota(";
    struct Case {
        std::string Source, Output, Tail, Codec;
        const char* Channels;
        const char* Bitrate;
        double Speed;  // A/B of -r A B
        double AddedMs;
    } cases[] = {
        {wav, "enc.ac3", "\" ) -ssrc( --rate 48000 ) -ota ( -r 25000 29970 ) -ac3enc( -b 192 )", "ac3", "2",
         "192000", 25000.0 / 29970, 0},
        {mp2, "conv.WAV", "\" -2ch ) -ota ( -r 29970 25000 ) -profile( ~~~~~ Default Profile ~~~~~ )", "pcm_s16le",
         "2", "1536000", 29970.0 / 25000, 0},
        {stereo, "plain.WAV", "\" -2ch )", "pcm_s16le", "2", "1536000", 1, 0},
        {surround, "dplii.Conversion.wav", "\" -2ch ) " + profile + " -r 23976 25000 -d 500 -e 300 ) -ac3enc ( -b 224 )",
         "ac3", "2", "224000", 23976.0 / 25000, 800},
        {surround, "six.Conversion.wav", "\" -6chwav ) " + profile + " -r 25000 29970 -d 120 ) -ac3enc ( -b 448 )",
         "ac3", "6", "448000", 25000.0 / 29970, 120},
        {stereo, "soft.Conversion.wav", "\" -2ch ) " + profile + " -r 29970 25000 -e 250 )", "pcm_s16le", "2",
         "1536000", 29970.0 / 25000, 250},
    };
    for (const Case& c : cases) {
        const std::string line = kBeSweet + c.Source + "\" -output \"" + kDrive + c.Output + c.Tail;
        ASSERT_EQ(f.Run(line), 0) << line << "\n" << f.output;
        const auto [shape, duration] = f.Probe(c.Output);
        EXPECT_EQ(shape, c.Codec + " 48000 " + c.Channels + " " + c.Bitrate) << line;
        const double source = f.Probe(c.Source.substr(kDrive.size())).second;
        EXPECT_NEAR(duration, source * c.Speed + c.AddedMs / 1000, 0.032) << line;
        EXPECT_EQ(f.Tone(c.Output, 0), 440) << line;
        EXPECT_EQ(f.Tone(c.Output, 1), 1000) << line;
        EXPECT_FALSE(f.temp.Exists(kFolder + c.Output + ".partial")) << line;
    }
}

// SoftEncode as the job runs it: "SoftEncode.bat" calls "Soft.bat" with the
// WAV and the target, and the ini's mode decides the layout.
TEST(AudioStandin, SoftEncodeEncodesTheLayoutOfTheIniThroughTheJobsBatchFiles) {
    KESTROVA_REQUIRE_FFMPEG();
    AudioFixture f;
    const platform::FileSystem files(f.paths);
    platform::BatchInterpreter batch(f.runner, files, [](const std::string&) { return std::string(); });
    const std::string wav = f.Source("menu-1.wav", "stereo", "-c:a pcm_s16le");
    const auto encode = [&](const std::string& settings, const std::string& inputs, const std::string& target) {
        f.temp.Write(kFolder + "SoftEncodeDVD.ini", "[Parameters]\r\n" + settings +
                                                        "SampleRate=0\r\nBSMode=0\r\nDlgNorm=27\r\nDCFilter=On\r\n");
        f.temp.Write(kFolder + "Soft.bat", "\"K:\\PROG\\SoftEncode\\Sftencdd.exe\" -A -P \"" + kDrive +
                                               "SoftEncodeDVD.ini\" -o %2 " + inputs + " -N\r\n");
        f.temp.Write(kFolder + "SoftEncode.bat",
                     "Call \"" + kDrive + "Soft.bat\" \"" + wav + "\" \"" + kDrive + target + "\"\r\n");
        return f.Run("\"" + kDrive + "SoftEncode.bat\"");
    };
    ASSERT_EQ(encode("DataRate=224\r\nUseLFE=Off\r\nCodeMode=2\r\n", "-L %1 -R %1", "two.ac3"), 0) << f.output;
    ASSERT_EQ(encode("DataRate=448\r\nUseLFE=On\r\nCodeMode=7\r\n", "-L %1 -R %1 -C%1 -l%1 -r%1 -e%1", "six.ac3"), 0)
        << f.output;
    const std::pair<const char*, const char*> expected[] = {{"two.ac3", "ac3 48000 2 224000"},
                                                            {"six.ac3", "ac3 48000 6 448000"}};
    for (const auto& [name, shape] : expected) {
        EXPECT_EQ(f.Probe(name).first, shape);
        EXPECT_NEAR(f.Probe(name).second, 2.0, 0.032) << name;
        EXPECT_EQ(f.Tone(name, 0), 440) << name;
        EXPECT_EQ(f.Tone(name, 1), 1000) << name;
    }
    // The 3/2 mode without its centre input encodes nothing.
    EXPECT_EQ(encode("DataRate=448\r\nCodeMode=7\r\n", "-L %1 -R %1", "no centre.ac3"), 1);
    EXPECT_FALSE(f.temp.Exists(kFolder + "no centre.ac3"));
}

// delaycut on the job's batch line: whole frames dropped and added at the
// ends, a damaged frame made silent, stray bytes between frames left out.
TEST(AudioStandin, DelaycutCutsAndPadsWholeFramesAndSilencesADamagedOne) {
    KESTROVA_REQUIRE_FFMPEG();
    AudioFixture f;
    const std::string name = "001-80-DELAY[-66].AC3";
    const std::string fixed = "001-80-DELAY[-66]_fixed.ac3";
    const std::string source = f.Source(name, "stereo", "-c:a ac3 -b:a 192k -f ac3");
    const double duration = f.Probe(name).second;
    const auto frames = [&](const std::string& file) { return ReadAc3Frames(f.temp.Host(kFolder + file)).Frames; };
    const std::vector<Ac3Frame> made = frames(name);
    ASSERT_GT(made.size(), 40u);
    std::string bytes = f.temp.Read(kFolder + name);
    bytes[made[20].Offset + made[20].Size / 2] ^= 0x5A;
    bytes.insert(made[31].Offset, "stray");
    f.temp.Write(kFolder + name, bytes);
    const auto failing = [](const std::vector<Ac3Frame>& list) {
        return std::count_if(list.begin(), list.end(), [](const Ac3Frame& a) { return !a.Crc1Ok || !a.Crc2Ok; });
    };
    ASSERT_EQ(frames(name).size(), made.size());
    ASSERT_EQ(failing(frames(name)), 1);
    const std::string delaycut = "\"K:\\PROG\\AC3\\delaycut.exe\"";

    // 66 ms are 2 frames, 100 ms 3.
    ASSERT_EQ(f.Run(delaycut + " -start 66 -fixcrc silence -end -100 \"" + source + "\""), 0) << f.output;
    const std::vector<Ac3Frame> cut = frames(fixed);
    EXPECT_EQ(cut.size(), made.size() - 2 + 3);
    EXPECT_EQ(failing(cut), 0);
    const auto shape = [](const Ac3Frame& a) { return std::tuple(a.Fscod, a.Frmsizecod, a.Acmod, a.Lfe); };
    for (const Ac3Frame& frame : cut) EXPECT_EQ(shape(frame), shape(made[0])) << "frame at byte " << frame.Offset;
    EXPECT_EQ(f.temp.Read(kFolder + fixed).size(), cut.size() * made[0].Size) << "bytes besides the frames";
    EXPECT_NEAR(f.Probe(fixed).second, duration + 0.032, 0.032);
    EXPECT_EQ(f.Tone(fixed, 0), 440);
    EXPECT_EQ(f.temp.Read(kFolder + name), bytes) << "the source is left as it was";

    // A negative start puts silence first; the older result is replaced,
    // and without -fixcrc the damaged frame stays as it was.
    ASSERT_EQ(f.Run(delaycut + " -start -100 \"" + source + "\""), 0) << f.output;
    const std::vector<Ac3Frame> padded = frames(fixed);
    EXPECT_EQ(padded.size(), made.size() + 3);
    EXPECT_EQ(failing(padded), 1);
    const std::vector<std::int16_t> samples = f.Decoded(fixed);
    const std::size_t lead = 3 * 1536 * 2;  // three frames of stereo samples
    const auto sound = static_cast<std::size_t>(
        std::find_if(samples.begin(), samples.end(), [](std::int16_t x) { return x != 0; }) - samples.begin());
    EXPECT_GE(sound, lead);
    EXPECT_LT(sound, 2 * lead);
}

// ac3fix on the job's unquoted line, in a folder with blanks: a frame with
// a flipped byte, one whose sync word is gone, one cut short and one of a
// size that does not exist become silent frames in their places, stray
// bytes between frames go, and every other frame is copied as it was.
TEST(AudioStandin, Ac3fixMakesDamagedAndLostFramesSilentInTheirPlaces) {
    KESTROVA_REQUIRE_FFMPEG();
    AudioFixture f;
    const std::string in = f.Source("menu 1.ac3", "stereo", "-c:a ac3 -b:a 192k -f ac3");
    const std::string made = f.temp.Read(kFolder + "menu 1.ac3");
    const std::vector<Ac3Frame> frames = ReadAc3Frames(f.temp.Host(kFolder + "menu 1.ac3")).Frames;
    ASSERT_GT(frames.size(), 50u);
    const std::size_t size = frames[0].Size;
    std::string damaged = made;
    damaged[frames[45].Offset + 4] |= 0x3F;  // frmsizecod 63: a frame size that does not exist
    damaged.insert(frames[41].Offset, "stray bytes");
    damaged.erase(frames[30].Offset + 300, size - 300);
    damaged[frames[20].Offset] ^= 0xFF;
    damaged[frames[10].Offset + size / 2] ^= 0x5A;
    f.temp.Write(kFolder + "menu 1.ac3", damaged);

    ASSERT_EQ(f.Run("\"K:\\PROG\\AC3\\ac3fix.exe\" " + in + " " + kDrive + "menu 1.fix"), 0) << f.output;
    const std::vector<Ac3Frame> fixed = ReadAc3Frames(f.temp.Host(kFolder + "menu 1.fix")).Frames;
    ASSERT_EQ(fixed.size(), frames.size());
    const std::string out = f.temp.Read(kFolder + "menu 1.fix");
    EXPECT_EQ(out.size(), frames.size() * size) << "bytes besides the frames";
    EXPECT_EQ(f.temp.Read(kFolder + "menu 1.ac3"), damaged) << "the source is left as it was";
    f.temp.Write(kFolder + "made.ac3", made);
    const std::vector<std::int16_t> tone = f.Decoded("made.ac3");
    const std::vector<std::int16_t> repaired = f.Decoded("menu 1.fix");
    ASSERT_EQ(repaired.size(), tone.size());
    const auto loudest = [](const std::vector<std::int16_t>& samples, std::size_t frame) {
        // Stereo samples of the frame's last five blocks: its first block
        // overlaps the frame before.
        int peak = 0;
        for (std::size_t i = (frame * 1536 + 256) * 2; i < (frame + 1) * 1536 * 2; ++i) {
            peak = std::max(peak, std::abs(static_cast<int>(samples[i])));
        }
        return peak;
    };
    for (std::size_t i = 0; i < frames.size(); ++i) {
        EXPECT_TRUE(fixed[i].Crc1Ok && fixed[i].Crc2Ok) << "frame " << i;
        if (i == 10 || i == 20 || i == 30 || i == 45) {
            EXPECT_GT(loudest(tone, i), 1000) << "frame " << i;
            EXPECT_LT(loudest(repaired, i), 16) << "frame " << i << " is silent";
        } else {
            EXPECT_EQ(out.compare(i * size, size, made, frames[i].Offset, size), 0) << "frame " << i << " is copied";
        }
    }
}

// Calls that cannot be done leave no output, not even an older one, and say
// why; an AC3 file without one good frame has nothing to model silence on.
TEST(AudioStandin, BadCallsLeaveNoOutputAndSayWhy) {
    KESTROVA_REQUIRE_FFMPEG();
    AudioFixture f;
    const std::string ac3 = f.Source("not-wav.ac3", "stereo", "-c:a ac3 -b:a 192k");
    std::string dead = f.temp.Read(kFolder + "not-wav.ac3");
    for (const Ac3Frame& frame : ReadAc3Frames(f.temp.Host(kFolder + "not-wav.ac3")).Frames) {
        dead[frame.Offset + frame.Size / 2] ^= 0x5A;
    }
    f.temp.Write(kFolder + "dead.ac3", dead);
    f.temp.Write(kFolder + "dead.fix", "an older result");
    EXPECT_EQ(f.Run("K:\\PROG\\AC3\\ac3fix.exe " + kDrive + "dead.ac3 " + kDrive + "dead.fix"), 1);
    EXPECT_FALSE(f.temp.Exists(kFolder + "dead.fix"));
    EXPECT_FALSE(f.temp.Exists(kFolder + "dead.fix.partial"));
    EXPECT_NE(f.output.find("holds no good AC3 frame"), std::string::npos) << f.output;

    EXPECT_EQ(f.Run(kBeSweet + ac3 + "\" -output \"" + kDrive + "x.wav\" -2ch -normalize )"), 1);
    EXPECT_FALSE(f.temp.Exists(kFolder + "x.wav"));
    EXPECT_NE(f.output.find("\"-normalize\""), std::string::npos) << f.output;

    f.temp.Write(kFolder + "s.ini", "[Parameters]\r\nDataRate=224\r\nCodeMode=2\r\n");
    f.temp.Write(kFolder + "y.ac3", "an older result");
    EXPECT_EQ(f.Run("K:\\PROG\\SoftEncode\\Sftencdd.exe -A -P \"" + kDrive + "s.ini\" -o \"" + kDrive +
                    "y.ac3\" -L \"" + ac3 + "\" -R \"" + ac3 + "\" -N"),
              1);
    EXPECT_FALSE(f.temp.Exists(kFolder + "y.ac3"));
    EXPECT_NE(f.output.find("not-wav.ac3\" is not a WAV file"), std::string::npos) << f.output;

    EXPECT_EQ(f.Run("K:\\PROG\\AC3\\delaycut.exe -start 66 -speed 2 \"" + ac3 + "\""), 1);
    EXPECT_FALSE(f.temp.Exists(kFolder + "not-wav_fixed.ac3"));
    EXPECT_NE(f.output.find("\"-speed\""), std::string::npos) << f.output;

    // Asked to die while writing, the tool leaves a cut file and exits 1.
    f.launcher.SetEnvironment("KESTROVA_STANDIN_FAIL", "BeSweet=partial");
    EXPECT_EQ(f.Run(kBeSweet + ac3 + "\" -output \"" + kDrive + "cut.wav\" -2ch )"), 1);
    ASSERT_TRUE(f.temp.Exists(kFolder + "cut.wav"));
    EXPECT_LT(f.temp.Read(kFolder + "cut.wav").size(), 2 * 48000 * 4u);
    EXPECT_GT(f.temp.Read(kFolder + "cut.wav").size(), 48000u);
}

}  // namespace
}  // namespace kestrova
