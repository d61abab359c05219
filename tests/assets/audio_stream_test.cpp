// The audio stream reader on streams ffmpeg makes, checked against what
// ffprobe reads of them; each kind of damage named at its byte offset with
// the read going on at the next good frame; and damage at random, which
// must read safely and alike in any piece size.
#include "assets/audio_stream.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "assets/crc16.h"
#include "assets/memory_streams.h"
#include "assets/mpeg_test_streams.h"
#include "assets/program_stream.h"
#include "platform/error.h"
#include "support/temp_folder.h"

namespace kestrova {
namespace {

// The streams every test shares, made once by ffmpeg from sine tones.
class AudioFiles {
public:
    static AudioFiles& Get() {
        static AudioFiles files;
        return files;
    }

    // ffmpeg's output options for `name`; the host path, "" and a failure when ffmpeg fails.
    std::string Make(const std::string& name, const std::string& options) {
        if (made_.count(name) != 0) return made_[name];
        const std::string command = "ffmpeg -nostdin -loglevel error -y " + options + " '" + folder_.Host(name) + "'";
        if (std::system(command.c_str()) != 0) {
            ADD_FAILURE() << "ffmpeg could not make " << name << ": " << command;
            return "";
        }
        return made_[name] = folder_.Host(name);
    }
    std::string Tone(const std::string& name, int rate, const std::string& options) {
        return Make(name, "-f lavfi -i sine=frequency=440:sample_rate=" + std::to_string(rate) + ":duration=1 " +
                              options);
    }
    // At 44.1 kHz the frames of one rate differ by a word.
    std::string Ac3Stereo44() { return Tone("stereo44.ac3", 44100, "-ac 2 -c:a ac3 -b:a 192k"); }
    std::string Mp2() { return Tone("stereo.mp2", 48000, "-ac 2 -c:a mp2 -b:a 224k"); }
    std::string Wav() { return Tone("stereo.wav", 44100, "-ac 2 -c:a pcm_s16le"); }
    std::string Dts() { return Tone("stereo.dts", 48000, "-ac 2 -c:a dca -strict -2"); }
    // A menu VOB with one stream of each audio kind: AC3 0x80, MP2 0xC0, LPCM 0xA0, DTS 0x88.
    std::string Vob() {
        std::string inputs = "-f lavfi -i testsrc=size=720x576:rate=25";
        for (int tone = 1; tone <= 4; ++tone) {
            inputs += " -f lavfi -i sine=frequency=" + std::to_string(220 * tone) + ":sample_rate=48000";
        }
        return Make("menu.vob", inputs + " -t 1 -map 0:v -map 1:a -map 2:a -map 3:a -map 4:a -c:v mpeg2video "
                                         "-c:a:0 ac3 -b:a:0 192k -c:a:1 mp2 -c:a:2 pcm_dvd -c:a:3 dca -strict -2 "
                                         "-ac 2 -f dvd");
    }
    std::string Read(const std::string& path) const { return folder_.Read(path.substr(folder_.Host().size() + 1)); }
    const test::TempFolder& Folder() const { return folder_; }

private:
    test::TempFolder folder_;
    std::map<std::string, std::string> made_;
};

// What ffprobe reads of one stream ("a:0", "i:0x80").
std::map<std::string, std::string> Probe(const std::string& path, const std::string& stream = "a:0") {
    const std::string output = test::CaptureCommand(
        "ffprobe -v error -count_packets -select_streams " + stream +
        " -show_entries stream=codec_name,sample_rate,channels,bit_rate,nb_read_packets,duration_ts -of "
        "default=noprint_wrappers=1 '" + path + "'");
    std::map<std::string, std::string> fields;
    for (std::size_t start = 0, end; start < output.size(); start = end + 1) {
        end = std::min(output.find('\n', start), output.size());
        const std::string line = output.substr(start, end - start);
        const std::size_t equals = line.find('=');
        if (equals != std::string::npos) fields[line.substr(0, equals)] = line.substr(equals + 1);
    }
    return fields;
}

void ExpectAsProbed(const AudioStream& stream, const std::map<std::string, std::string>& probed) {
    ASSERT_FALSE(probed.empty());
    EXPECT_EQ(std::to_string(stream.SampleRate), probed.at("sample_rate"));
    EXPECT_EQ(std::to_string(stream.Channels), probed.at("channels"));
    EXPECT_EQ(std::to_string(stream.BitRate), probed.at("bit_rate"));
    // A WAV file's packets are ffmpeg's choice; its samples are not.
    if (stream.Format == AudioFormat::Wav) {
        EXPECT_EQ(std::to_string(stream.Samples), probed.at("duration_ts"));
    } else {
        EXPECT_EQ(std::to_string(stream.Frames), probed.at("nb_read_packets"));
    }
    EXPECT_TRUE(stream.Faults.empty()) << stream.Faults.front().Offset << ": " << stream.Faults.front().What;
}

AudioStream Scan(const std::string& bytes, AudioFormat format, std::size_t chunk = 0) {
    test::MemoryReader reader(test::Bytes(bytes.begin(), bytes.end()), "damaged", chunk);
    return ScanAudioStream(reader, format);
}

std::string Faults(const AudioStream& stream) {
    std::string text;
    for (const AudioFault& fault : stream.Faults) text += std::to_string(fault.Offset) + ": " + fault.What + "\n";
    return text;
}

std::vector<Ac3Frame> FramesOf(const std::string& bytes) {
    test::MemoryReader reader(test::Bytes(bytes.begin(), bytes.end()), "clean.ac3");
    return ReadAc3Frames(reader).Frames;
}

TEST(Crc16, FoldedWaysMatchTheByteWiseOneFromAnyRegister) {
    const std::string check = "123456789";
    EXPECT_EQ(Crc16(0, {reinterpret_cast<const std::uint8_t*>(check.data()), check.size()}), 0xFEE8);
    std::mt19937 random(16);
    std::vector<std::uint8_t> bytes(700);
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
    for (int width = 1; width <= Crc16Widest(); ++width) {
        for (std::size_t length = 0; length < 600; ++length) {
            for (const std::uint16_t state : {0x0000, 0x0001, 0x8000, 0xB00F}) {
                const std::span<const std::uint8_t> part(bytes.data() + length % 7, length);
                ASSERT_EQ(Crc16With(width, state, part), Crc16With(0, state, part)) << width << " " << length;
            }
        }
    }
}

TEST(AudioStream, FilesReadAsFfprobeReadsThem) {
    KESTROVA_REQUIRE_FFMPEG();
    AudioFiles& files = AudioFiles::Get();

    // A 5.1 AC3 file against ffprobe is inspect_audio_test.sh's.
    const AudioStream stereo = ScanAudioFile(files.Ac3Stereo44());
    ExpectAsProbed(stereo, Probe(files.Ac3Stereo44()));
    EXPECT_EQ(stereo.Format, AudioFormat::Ac3);
    EXPECT_EQ(stereo.Layout, "2/0");
    EXPECT_FALSE(stereo.Lfe);
    EXPECT_EQ(stereo.Bytes, files.Read(files.Ac3Stereo44()).size());

    const AudioStream mp2 = ScanAudioFile(files.Mp2());
    ExpectAsProbed(mp2, Probe(files.Mp2()));
    EXPECT_EQ(mp2.Coding, "MPEG-1 Layer II");

    const AudioStream wav = ScanAudioFile(files.Wav());
    ExpectAsProbed(wav, Probe(files.Wav()));
    EXPECT_EQ(wav.BitsPerSample, 16);

    ExpectAsProbed(ScanAudioFile(files.Dts()), Probe(files.Dts()));

    // The content decides, not the name: MPEG audio named .ac3, and a name without an extension.
    const std::string mp2Bytes = files.Read(files.Mp2());
    files.Folder().Write("misnamed.ac3", mp2Bytes);
    files.Folder().Write("noextension", "JUNK" + mp2Bytes);
    EXPECT_EQ(ScanAudioFile(files.Folder().Host("misnamed.ac3")).Format, AudioFormat::MpegAudio);
    const AudioStream unnamed = ScanAudioFile(files.Folder().Host("noextension"));
    EXPECT_EQ(unnamed.Format, AudioFormat::MpegAudio);
    EXPECT_EQ(unnamed.Frames, mp2.Frames);
    EXPECT_THROW(ScanAudioFile(files.Folder().Host("missing.ac3")), Error);
}

TEST(AudioStream, VobSubStreamsReadAsFfprobeReadsThem) {
    KESTROVA_REQUIRE_FFMPEG();
    const std::string path = AudioFiles::Get().Vob();
    ASSERT_TRUE(IsProgramStreamFile(path));
    EXPECT_THROW(ScanAudioFile(path), Error);
    const VobAudio vob = ScanVobAudioFile(path);
    EXPECT_TRUE(vob.Faults.empty());
    EXPECT_EQ(vob.Packs * 2048, AudioFiles::Get().Read(path).size());
    ASSERT_EQ(vob.Streams.size(), 4u);
    const std::map<std::uint8_t, std::pair<AudioFormat, std::string>> expected = {
        {0x80, {AudioFormat::Ac3, "i:0x80"}},
        {0x88, {AudioFormat::Dts, "i:0x88"}},
        {0xA0, {AudioFormat::Lpcm, "i:0xa0"}},
        {0xC0, {AudioFormat::MpegAudio, "i:0x1c0"}},
    };
    for (const AudioStream& stream : vob.Streams) {
        SCOPED_TRACE(StreamHex(stream.Stream));
        ASSERT_EQ(expected.count(stream.Stream), 1u);
        EXPECT_EQ(stream.Format, expected.at(stream.Stream).first);
        ExpectAsProbed(stream, Probe(path, expected.at(stream.Stream).second));
        EXPECT_NEAR(stream.Duration, 1.0, 0.04);
    }

    // A sync word overwritten inside the VOB is named at its offset in the VOB.
    std::string bytes = AudioFiles::Get().Read(path);
    const std::uint64_t firstAc3 = *vob.Streams.front().FirstSync;
    ASSERT_EQ(bytes.substr(firstAc3, 2), "\x0B\x77");
    bytes[firstAc3] = 0;
    // A pack whose start code is gone is passed over.
    const std::size_t damagedPack = 10 * 2048;
    bytes.replace(damagedPack, 4, 4, '\0');
    test::MemoryReader reader(test::Bytes(bytes.begin(), bytes.end()), "damaged.vob", 3000);
    const VobAudio damaged = ScanVobAudio(reader);
    ASSERT_EQ(damaged.Faults.size(), 1u);
    EXPECT_EQ(damaged.Faults[0].Offset, damagedPack);
    EXPECT_NE(damaged.Faults[0].What.find("expected a pack start code"), std::string::npos);
    EXPECT_EQ(damaged.Packs, vob.Packs - 1);
    ASSERT_EQ(damaged.Streams.size(), 4u);
    const AudioStream& ac3 = damaged.Streams.front();
    ASSERT_FALSE(ac3.Faults.empty());
    EXPECT_EQ(ac3.Faults[0].Offset, firstAc3);
    EXPECT_EQ(ac3.Faults[0].What.rfind("sync word missing", 0), 0u) << ac3.Faults[0].What;
    EXPECT_EQ(*ac3.FirstSync, firstAc3 + 768);  // 192 kbit/s at 48 kHz: 768-byte frames, in one payload here
}

TEST(AudioStream, Ac3FrameListGivesEachFrameWithItsCrcs) {
    KESTROVA_REQUIRE_FFMPEG();
    const std::string bytes = AudioFiles::Get().Read(AudioFiles::Get().Ac3Stereo44());
    const std::vector<Ac3Frame> frames = FramesOf(bytes);
    ASSERT_GT(frames.size(), 10u);
    std::uint64_t next = 0;
    std::map<std::uint32_t, int> sizes;
    for (const Ac3Frame& frame : frames) {
        EXPECT_EQ(frame.Offset, next);
        EXPECT_EQ(bytes.substr(frame.Offset, 2), "\x0B\x77");
        EXPECT_TRUE(frame.Crc1Ok && frame.Crc2Ok);
        EXPECT_EQ(frame.Fscod, 1);  // 44.1 kHz
        // 192 kbit/s: 417 words for frmsizecod 20, one more for 21.
        EXPECT_EQ(frame.Size, frame.Frmsizecod == 20 ? 834u : 836u);
        ++sizes[frame.Size];
        next += frame.Size;
    }
    EXPECT_EQ(next, bytes.size());
    EXPECT_EQ(sizes.size(), 2u);
    // The CRC flags come from the scanner's check, which the damage table below names.
}

// Each kind of damage to an AC3 stream: the offset and words of the one bad
// spot, and how many frames the read finds around it.
TEST(AudioStream, Ac3DamageIsNamedAtItsOffsetAndTheReadResumes) {
    KESTROVA_REQUIRE_FFMPEG();
    const std::string clean = AudioFiles::Get().Read(AudioFiles::Get().Ac3Stereo44());
    const std::vector<Ac3Frame> frames = FramesOf(clean);
    ASSERT_GT(frames.size(), 10u);
    const auto at = [&frames](std::size_t i) { return frames[i].Offset; };
    const std::size_t n = frames.size();
    struct Case {
        const char* Name;
        std::function<std::string(std::string)> Damage;
        std::uint64_t Offset;
        std::string Words;  // the start of the sentence, then words it must hold
        std::string Holds;
        std::size_t Frames;
    };
    const Case cases[] = {
        {"cut at the end", [&](std::string b) { return b.substr(0, at(n - 1) + 100); }, at(n - 1),
         "frame cut short at the end", "100 of its", n - 1},
        {"cut inside", [&](std::string b) { return b.substr(0, at(3) + 300) + b.substr(at(4)); }, at(3),
         "frame cut short", "next frame begins (byte " + std::to_string(at(3) + 300) + ")", n - 1},
        {"sync word overwritten", [&](std::string b) { return b.replace(at(5), 2, "\x12\x34"); }, at(5),
         "sync word missing", "found 12 34; " + std::to_string(frames[5].Size) +
                                  " bytes skipped up to the next frame at byte " + std::to_string(at(6)),
         n - 1},
        {"byte flipped late", [&](std::string b) { b[at(7) + frames[7].Size - 9] ^= 0x5A; return b; }, at(7),
         "CRC2 mismatch", "expected 0", n},
        {"byte flipped early", [&](std::string b) { b[at(8) + 9] ^= 0x5A; return b; }, at(8), "CRC1 mismatch",
         "expected 0", n},
        {"invalid frmsizecod", [&](std::string b) { b[at(2) + 4] = static_cast<char>(b[at(2) + 4] | 0x3F); return b; },
         at(2), "invalid frmsizecod 0x3F", "next frame at byte " + std::to_string(at(3)), n - 1},
        {"invalid fscod", [&](std::string b) { b[at(2) + 4] = static_cast<char>(b[at(2) + 4] | 0xC0); return b; },
         at(2), "invalid fscod 0x03", "next frame at byte " + std::to_string(at(3)), n - 1},
        {"junk in front", [](std::string b) { return "JUNK!" + b; }, 0, "sync word missing",
         "next frame at byte 5", n},
        {"empty", [](std::string) { return std::string(); }, 0, "the stream is empty", "", 0},
        {"nine bytes", [](std::string b) { return b.substr(0, 9); }, 0, "frame cut short at the end", "9 of its", 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.Name);
        const std::string bytes = c.Damage(clean);
        const AudioStream stream = Scan(bytes, AudioFormat::Ac3);
        ASSERT_EQ(stream.Faults.size(), 1u) << Faults(stream);
        EXPECT_EQ(stream.Faults[0].Offset, c.Offset);
        EXPECT_EQ(stream.Faults[0].What.rfind(c.Words, 0), 0u) << stream.Faults[0].What;
        EXPECT_NE(stream.Faults[0].What.find(c.Holds), std::string::npos) << stream.Faults[0].What;
        EXPECT_EQ(stream.Frames, c.Frames);
        EXPECT_EQ(stream.Bytes, bytes.size());
        // Read seven bytes at a time, the same comes out.
        EXPECT_EQ(Faults(Scan(bytes, AudioFormat::Ac3, 7)), Faults(stream));
    }
}

// The formats without a check word vouch for a frame by the one behind it.
TEST(AudioStream, MpegAndDtsDamageIsNamedAtItsOffsetAndTheReadResumes) {
    KESTROVA_REQUIRE_FFMPEG();
    for (const auto& [path, format] : {std::pair{AudioFiles::Get().Mp2(), AudioFormat::MpegAudio},
                                       std::pair{AudioFiles::Get().Dts(), AudioFormat::Dts}}) {
        SCOPED_TRACE(path);
        const std::string clean = AudioFiles::Get().Read(path);
        const AudioStream whole = Scan(clean, format);
        // Both streams have frames of one size.
        ASSERT_GT(whole.Frames, 10u);
        ASSERT_EQ(clean.size() % whole.Frames, 0u);
        const std::size_t size = clean.size() / whole.Frames;

        std::string overwritten = clean;
        overwritten.replace(3 * size, 2, 2, '\0');
        const AudioStream synced = Scan(overwritten, format);
        ASSERT_EQ(synced.Faults.size(), 1u) << Faults(synced);
        EXPECT_EQ(synced.Faults[0].Offset, 3 * size);
        EXPECT_NE(synced.Faults[0].What.find("sync word missing"), std::string::npos);
        EXPECT_NE(synced.Faults[0].What.find("next frame at byte " + std::to_string(4 * size)), std::string::npos);
        EXPECT_EQ(synced.Frames, whole.Frames - 1);

        const std::string cut = clean.substr(0, 5 * size + 200) + clean.substr(6 * size);
        const AudioStream inside = Scan(cut, format, 7);
        ASSERT_EQ(inside.Faults.size(), 1u) << Faults(inside);
        EXPECT_EQ(inside.Faults[0].Offset, 5 * size);
        EXPECT_EQ(inside.Faults[0].What.rfind("frame cut short: ", 0), 0u) << inside.Faults[0].What;
        EXPECT_EQ(inside.Frames, whole.Frames - 1);
    }
}

TEST(AudioStream, WavDataPastTheEndIsAFaultNotACrash) {
    KESTROVA_REQUIRE_FFMPEG();
    const std::string clean = AudioFiles::Get().Read(AudioFiles::Get().Wav());
    const std::size_t data = clean.find("data");
    ASSERT_NE(data, std::string::npos);
    AudioFiles::Get().Folder().Write("cut.wav", clean.substr(0, 1000));
    // The file's size is known on the host; read through a stream it is counted.
    for (const AudioStream& stream : {ScanAudioFile(AudioFiles::Get().Folder().Host("cut.wav")),
                                      Scan(clean.substr(0, 1000), AudioFormat::Wav, 100)}) {
        ASSERT_EQ(stream.Faults.size(), 2u) << Faults(stream);
        EXPECT_EQ(stream.Faults[0].Offset, data + 4);
        EXPECT_NE(stream.Faults[0].What.find("claims 176400 bytes, but only " + std::to_string(1000 - data - 8)),
                  std::string::npos);
        EXPECT_EQ(stream.Faults[1].Offset, 998u);  // half a stereo 16-bit sample frame
        EXPECT_EQ(stream.Samples, (1000 - data - 8) / 4);
        EXPECT_EQ(stream.Bytes, 1000u);
    }
    const AudioStream foreign = Scan("RIFX" + clean.substr(4), AudioFormat::Wav);
    ASSERT_EQ(foreign.Faults.size(), 1u);
    EXPECT_EQ(foreign.Faults[0].What.rfind("expected a RIFF WAVE header", 0), 0u);
    EXPECT_EQ(foreign.SampleRate, 0);
}

// Truncations, flipped bytes, cut-out and inserted runs at seeded random
// places (run under the sanitizers). Whatever the damage, the read stays in
// bounds, gives the same in any piece size, keeps every frame before the
// first damaged byte, and places its bad spots inside the file.
TEST(AudioStream, RandomDamageReadsSafelyAndAlikeInAnyPieceSize) {
    KESTROVA_REQUIRE_FFMPEG();
    for (const auto& [path, format] : {std::pair{AudioFiles::Get().Ac3Stereo44(), AudioFormat::Ac3},
                                       std::pair{AudioFiles::Get().Mp2(), AudioFormat::MpegAudio}}) {
        SCOPED_TRACE(path);
        const std::string clean = AudioFiles::Get().Read(path);
        const AudioStream whole = Scan(clean, format);
        const std::size_t size = clean.size() / whole.Frames;  // near enough for the AC3 one's two sizes
        std::mt19937 random(5171);
        const auto below = [&random](std::size_t limit) { return limit == 0 ? 0 : random() % limit; };
        for (int round = 0; round < 250; ++round) {
            std::string bytes = clean;
            std::size_t first = bytes.size();  // the first damaged byte
            if (below(3) == 0) bytes.resize(first = below(bytes.size() + 1));
            for (std::size_t flips = below(5); flips > 0 && !bytes.empty(); --flips) {
                const std::size_t at = below(bytes.size());
                bytes[at] = static_cast<char>(bytes[at] ^ (1 + below(255)));
                first = std::min(first, at);
            }
            if (below(3) == 0 && !bytes.empty()) {
                const std::size_t at = below(bytes.size());
                bytes.erase(at, 1 + below(2000));
                first = std::min(first, at);
            }
            if (below(4) == 0) {
                const std::size_t at = below(bytes.size() + 1);
                std::string junk(1 + below(3000), '\0');
                for (char& c : junk) c = static_cast<char>(below(256));
                bytes.insert(at, junk);
                first = std::min(first, at);
            }
            SCOPED_TRACE("round " + std::to_string(round));
            const AudioStream stream = Scan(bytes, format);
            const AudioStream pieces = Scan(bytes, format, 1 + below(4000));
            ASSERT_EQ(Faults(pieces), Faults(stream));
            ASSERT_EQ(pieces.Frames, stream.Frames);
            EXPECT_EQ(stream.Bytes, bytes.size());
            // Whole frames before the damage are intact; MPEG's last one may lack its vouching successor.
            const std::size_t intact = first / size - (first / size > 0 ? 1 : 0);
            EXPECT_GE(stream.Frames, intact - (format == AudioFormat::MpegAudio && intact > 0 ? 1 : 0));
            for (const AudioFault& fault : stream.Faults) {
                EXPECT_LE(fault.Offset, bytes.empty() ? 0 : bytes.size() - 1);
                if (format == AudioFormat::Ac3) {
                    EXPECT_GE(fault.Offset + 2 * size, first);
                }
            }
        }
    }
}

}  // namespace
}  // namespace kestrova
