// The encoder stand-ins run as the job runs them, through the launcher, on
// a real interlaced PAL stream indexed by the DGIndex stand-in and served
// through Avisynth scripts as the job writes them; their outputs are read
// back by ffprobe. Folder names hold blanks and a non-ASCII letter.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "assets/mpeg_test_streams.h"
#include "frameserver/mpeg_header.h"
#include "job/tool_table.h"
#include "platform/launcher.h"
#include "platform/process.h"
#include "support/temp_folder.h"

namespace kestrova {
namespace {

using test::MpegTestStreams;

const std::string kFolder = "job dir/D_VTS_01_0 é";
const std::string kDrive = "K:\\job dir\\D_VTS_01_0 é";
const std::string kServing = kDrive + "\\FRAMESERVING\\";

// 50 interlaced PAL frames, top field first: 2 seconds.
std::string SourceStream() {
    MpegTestStreams::Get().Make("i25x50.m2v", "size=720x576:rate=25 -frames:v 50 -c:v mpeg2video -g 12 -bf 2 "
                                              "-flags +ilme+ildct -top 1 -f mpeg2video");
    return MpegTestStreams::Get().Folder().Read("i25x50.m2v");
}

// "mpeg2video 720x576 16:9 bb 37": codec, size, display aspect, field order and frames, as ffprobe reads them.
std::string Probe(const std::string& hostPath) {
    std::string text = test::CaptureCommand(
        "ffprobe -v error -count_frames -select_streams v:0 -show_entries stream=codec_name,width,height,"
        "display_aspect_ratio,field_order,nb_read_frames -of default=noprint_wrappers=1:nokey=1 '" + hostPath + "'");
    std::istringstream in(text);
    std::vector<std::string> words;
    for (std::string word; in >> word;) words.push_back(word);
    if (words.size() != 6) return "ffprobe: " + text;
    return words[0] + " " + words[1] + "x" + words[2] + " " + words[3] + " " + words[4] + " " + words[5];
}

// The frames ffprobe reads as intra pictures; each chapter must be one.
std::vector<std::size_t> IntraFrames(const std::string& hostPath, const std::vector<std::size_t>& chapters) {
    std::vector<std::size_t> frames;
    const auto probed = test::ProbeFrames(hostPath);
    for (std::size_t i = 0; i < probed.size(); ++i) {
        if (probed[i].Type == "I") frames.push_back(i);
    }
    for (const std::size_t chapter : chapters) {
        EXPECT_NE(std::find(frames.begin(), frames.end(), chapter), frames.end()) << hostPath << ": " << chapter;
    }
    return frames;
}

std::string Lines(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) text += line + "\r\n";
    return text;
}

// A job's work folder on K: with the stream demultiplexed and indexed, and
// the encoders as the stand-in's personalities.
struct EncoderFixture {
    EncoderFixture() {
        temp.Write(kFolder + "/DEMUXED/001.M2V", SourceStream());
        temp.Write(kFolder + "/FRAMESERVING/keep", "");
        temp.Write("PROG/cct2.exe", "");
        AddStandInTools(launcher, KESTROVA_HOST_PROGRAMS);
        const std::pair<const char*, const char*> encoders[] = {
            {"cct2.exe", "CCE"}, {"EclCCE.exe", "EclCCE"}, {"QuEnc.exe", "QuEnc"},
            {"HCbatch_015a.exe", "HCenc"}, {"Rejig.exe", "Rejig"}};
        for (const auto& [file, personality] : encoders) {
            launcher.AddOverride(file,
                                 platform::ToolOverride{{KESTROVA_STANDIN_PATH, "--tool", personality}, "", true});
        }
        runner.SetChildOutput([this](const std::string& line) { output += line + "\n"; });
        EXPECT_EQ(Run("K:\\PROG\\new.dvd2avi\\DGIndex.exe -IA=1 -FO=0 -YR=1 -TN=1 -IF=[" + kDrive +
                      "\\DEMUXED\\001.M2V] -DRC=0 -OF=[" + kServing + "001] -exit"),
                  0)
            << output;
    }

    int Run(const std::string& commandLine) {
        runner.ShellAndWait(commandLine, 6);
        return runner.History().back().ExitCode;
    }

    // A script as the job writes it, with these filter lines.
    void Script(const std::string& name, const std::string& filters) const {
        temp.Write(kFolder + "/FRAMESERVING/" + name + ".avs",
                   Lines({"import(\"C:\\Program Files\\Kestrova\\new.avs\\addaudio.avs\")",
                          "LoadPlugin(\"C:\\Program Files\\Kestrova\\new.dvd2avi\\mpeg2dec3dg.dll\")",
                          "Mpeg2Source(\"" + kServing + "001.d2v\" ,Idct=0)", filters, "AddAudio()",
                          "ConvertToYUY2(interlaced=true)", "#Completed - DO NOT ALTER THIS LINE!!!!!!"}));
    }

    std::string Host(const std::string& name) const { return temp.Host(kFolder + "/FRAMESERVING/" + name); }
    bool Exists(const std::string& name) const { return temp.Exists(kFolder + "/FRAMESERVING/" + name); }

    test::TempFolder temp;
    platform::PathSpace paths = temp.Drives();
    platform::Launcher launcher{paths};
    platform::ProcessRunner runner{launcher};
    std::string output;
};

// An item of the 2.7 dialect: the keys the encoder reads, among some it does not.
std::string Item27(const std::string& script, const std::string& output, const std::string& mode, long encodeLast,
                   const std::vector<std::string>& chapters = {}) {
    const std::string base = kServing + script;
    std::vector<std::string> lines = {
        "[item]", "title=" + base + ".avs", "vid_out=1", "vid_file0=" + kServing + output, "i32_file=" + base + ".i32",
        "xe_exec_mode=0", "ve_exec_mode=" + mode, "width=720", "height=576", "cbr_brate=6000", "opv_q_factor=60",
        "opv_brate_min=0", "opv_brate_max=9000", "vbr_brate_avg=5000", "vbr_brate_max=9000", "vbr_pass=2",
        "aspect_ratio=2", "intra_dc_precision_9_max=113", "intra_dc_precision_10_max=1", "alternate_scan=1",
        "progressive=0", "gop_m=3", "gop_nm=4", "all_closed_gop=1", "top_first=1", "offset_line=0", "uscc=0",
        "frame_rate_idx=3", "qmat_idx=2", "", "[file]", "name=" + base + ".avs", "stream_no=0", "encode_first=0",
        "encode_last=" + std::to_string(encodeLast)};
    lines.insert(lines.end(), chapters.begin(), chapters.end());
    return Lines(lines);
}

TEST(EncoderStandin, AListOfThreeItemsGivesEachItsFramesAndChapterGroups) {
    KESTROVA_REQUIRE_FFMPEG();
    EncoderFixture f;
    f.Script("001", "");
    f.Script("002", "Trim(10,29)");
    f.temp.Write("ECLs/CCE1.ecl", "; Kestrova -- Encoder Control List\r\n\r\n" +
                                      Item27("001", "001.mpv", "1", 50, {"chapter=17:", "chapter=41:"}) +
                                      Item27("002", "002.mpv", "0", 50) + Item27("001", "003.mpv", "1", 1));
    const std::string command = "K:\\PROG\\EclCCE.exe -ecl \"K:\\ECLs\\CCE1.ecl\" -batch -nocancel -hideshutdown";

    // EclCCE.ini naming no CCE program: nothing is encoded.
    f.temp.Write("PROG/EclCCE.ini", "[EclCCE]\r\nCCE=K:\\gone\\cce.exe\r\n");
    EXPECT_EQ(f.Run(command), 1);
    EXPECT_NE(f.output.find("neither a file nor a tool"), std::string::npos) << f.output;
    EXPECT_FALSE(f.Exists("001.mpv"));

    f.temp.Write("PROG/EclCCE.ini", "[EclCCE]\r\nCCE=K:\\PROG\\cct2.exe\r\n");
    ASSERT_EQ(f.Run(command), 0) << f.output;
    EXPECT_EQ(Probe(f.Host("001.mpv")), "mpeg2video 720x576 4:3 tt 50");
    // The chapters start groups; no group is longer than gop_m * gop_nm.
    const std::vector<std::size_t> intra = IntraFrames(f.Host("001.mpv"), {17, 41});
    for (std::size_t i = 0; i < intra.size(); ++i) {
        EXPECT_LE((i + 1 < intra.size() ? intra[i + 1] : 50) - intra[i], 12u) << intra[i];
    }
    // Constant rate: 6000 kbit/s over 2 s.
    const double kbits = static_cast<double>(f.temp.Read(kFolder + "/FRAMESERVING/001.mpv").size()) * 8 / 2.0 / 1000;
    EXPECT_NEAR(kbits, 6000, 600);
    EXPECT_EQ(Probe(f.Host("002.mpv")), "mpeg2video 720x576 4:3 tt 20");  // the script's 20 of encode_last=50
    EXPECT_EQ(Probe(f.Host("003.mpv")), "mpeg2video 720x576 4:3 tt 1");   // encode_last=1 is one frame
}

// Each dialect reads its own field order key; the other key, where the
// list has it, says the opposite. Bad items leave nothing and stop no other.
TEST(EncoderStandin, EachDialectReadsItsOwnKeysAndBadItemsLeaveNothing) {
    KESTROVA_REQUIRE_FFMPEG();
    EncoderFixture f;
    f.Script("001", "");
    f.temp.Write(kFolder + "/FRAMESERVING/gone source.avs", "Mpeg2Source(\"gone.d2v\")\r\n");
    const auto item = [](const std::string& name, const std::vector<std::string>& keys) {
        std::vector<std::string> lines = {"[item]", "title=" + kServing + "001.avs", "vid_file0=" + kServing + name,
                                          "height=576", "cbr_brate=7500", "gop_m=3", "gop_nm=4", "frame_rate_idx=3",
                                          "encode_first=0", "encode_last=1"};
        lines.insert(lines.end(), keys.begin(), keys.end());
        return Lines(lines);
    };
    const std::string list =
        item("25.mpv", {"vmode=1", "aspect_ratio=3", "intra_dc_prec=-1", "top_first=1"}) +
        item("266.mpv", {"video_type=1", "aspect_ratio=3", "intra_dc_prec=1", "top_first=1"}) +
        item("267.mpv", {"video_type=1", "aspect_ratio=2", "intra_dc_prec=2", "uscc=0", "offset_line=1"}) +
        item("27.mpv", {"ve_exec_mode=1", "aspect_ratio=2", "intra_dc_precision_9_max=113",
                        "intra_dc_precision_10_max=113", "top_first=1", "offset_line=0"}) +
        item("basic.mpv", {"video_type=2", "aspect_ratio=2", "intra_dc_prec=0", "top_first=1", "offset_line=0",
                           "is_pal=1"}) +
        Lines({"[item]", "name=" + kServing + "missing.avs", "vid_file0=" + kServing + "missing.mpv", "video_type=1",
               "height=576", "cbr_brate=7500", "aspect_ratio=2", "gop_m=3", "gop_nm=4", "frame_rate_idx=3",
               "encode_first=0", "encode_last=1"}) +
        item("no source.mpv", {"video_type=1", "aspect_ratio=2", "name=" + kServing + "gone source.avs"}) +
        Lines({"[item]", "title=" + kServing + "001.avs", "vid_file0=" + kServing + "cut.mpv", "ve_exec_mode=1"}) +
        "hei";
    f.temp.Write("ECLs/dialects.ecl", list);
    EXPECT_EQ(f.Run("K:\\PROG\\cct2.exe -ecl \"K:\\ECLs\\dialects.ecl\" -batch"), 1);

    const std::pair<const char*, const char*> expected[] = {
        {"25.mpv", "16:9 bb"}, {"266.mpv", "16:9 bb"}, {"267.mpv", "4:3 bb"}, {"27.mpv", "4:3 tt"},
        {"basic.mpv", "4:3 tt"}};
    for (const auto& [name, shape] : expected) {
        EXPECT_EQ(Probe(f.Host(name)), "mpeg2video 720x576 " + std::string(shape) + " 1") << name;
    }
    for (const char* name : {"missing.mpv", "no source.mpv", "cut.mpv"}) EXPECT_FALSE(f.Exists(name)) << name;
    for (const char* says : {"missing.avs", "gone.d2v", "\"hei\" is not a key=value line"}) {
        EXPECT_NE(f.output.find(says), std::string::npos) << says << ": " << f.output;
    }
}

// The QuEnc line as written: quoted paths with runs of blanks, the field
// switch twice. Asked to fail its first call, the tool leaves nothing.
TEST(EncoderStandin, QuEncReadsItsCommandLine) {
    KESTROVA_REQUIRE_FFMPEG();
    EncoderFixture f;
    f.temp.Write(kFolder + "/FRAMESERVING/two  blanks/keep", "");
    f.Script("two  blanks/001", "Trim(0,11)");
    const std::string folder = kServing + "two  blanks\\";
    const std::string line = "K:\\PROG\\QuEnc.exe -i \"" + folder + "001.avs\" -o \"" + folder +
                             "001.m2v\" -bff -maxbitrate 9000 -interlaced -b 5000 -1 -cgop -aspectratio 16:9 -bff "
                             "-dc 9 -gopsize 12 -noextreme -notrell -mpeg2mux nomux -maxbframes 2 -vbr -mpeg2 -hq "
                             "-scene -auto -close";
    f.launcher.SetEnvironment("KESTROVA_STANDIN_FAIL", "QuEnc=failfirst:1");
    f.launcher.SetEnvironment("KESTROVA_STANDIN_COUNTS", f.temp.Host("counts"));
    EXPECT_EQ(f.Run(line), 1);
    EXPECT_FALSE(f.Exists("two  blanks/001.m2v"));
    ASSERT_EQ(f.Run(line), 0) << f.output;
    EXPECT_EQ(Probe(f.Host("two  blanks/001.m2v")), "mpeg2video 720x576 16:9 bb 12");
}

TEST(EncoderStandin, HcIniGivesChapterGroupsAndTheCustomMatrices) {
    KESTROVA_REQUIRE_FFMPEG();
    EncoderFixture f;
    f.Script("001", "Trim(0,24)");
    // Raster order in the ini; the sequence header codes them in zigzag order.
    QuantiserMatrix intraMatrix{}, nonIntraMatrix{};
    std::vector<std::string> intra(8), nonIntra(8);
    for (std::size_t i = 0; i < 64; ++i) {
        intraMatrix[i] = static_cast<std::uint8_t>(8 + i / 8 * 4 + i % 8 * 2);
        nonIntraMatrix[i] = static_cast<std::uint8_t>(16 + i / 8 + i % 8);
        intra[i / 8] += (i % 8 ? " " : "") + std::to_string(intraMatrix[i]);
        nonIntra[i / 8] += (i % 8 ? "," : "") + std::to_string(nonIntraMatrix[i]);
    }
    std::vector<std::string> ini = {"*ASPECT 4:3", "*INTERLACED", "*TFF", "*BITRATE 5000", "*CLOSEDGOPS",
                                    "*DC_PREC 9", "*INFILE " + kServing + "001.avs", "*MAXBITRATE 9000",
                                    "*OUTFILE " + kServing + "hc.mpv", "*BIAS 30", "*LASTIFRAME",
                                    "*LOGFILE K:\\ECLs\\HCEncoder.log", "*CUSTOMMATRIX"};
    ini.insert(ini.end(), intra.begin(), intra.end());
    ini.push_back(" ");
    ini.insert(ini.end(), nonIntra.begin(), nonIntra.end());
    ini.insert(ini.end(), {"*PROFILE Best", "*WAIT 0", "*CHAPTER 2", "8", "18"});
    f.temp.Write("ECLs/001.ini", Lines(ini));
    ASSERT_EQ(f.Run("K:\\PROG\\HCbatch_015a.exe -ini K:\\ECLs\\001.ini"), 0) << f.output;

    EXPECT_EQ(Probe(f.Host("hc.mpv")), "mpeg2video 720x576 4:3 tt 25");
    IntraFrames(f.Host("hc.mpv"), {7, 17});
    // The sequence header loads both matrices.
    const std::string bytes = f.temp.Read(kFolder + "/FRAMESERVING/hc.mpv");
    ASSERT_GT(bytes.size(), 4 + kSequenceHeaderMaxBytes);
    HeaderBits bits({reinterpret_cast<const std::uint8_t*>(bytes.data()) + 4, kSequenceHeaderMaxBytes}, "hc.mpv",
                    "sequence header");
    const SequenceHeader header = ReadSequenceHeader(bits);
    EXPECT_EQ(header.IntraQuantiserMatrix, intraMatrix);
    EXPECT_EQ(header.NonIntraQuantiserMatrix, nonIntraMatrix);
}

TEST(EncoderStandin, RejigRequantisesEachListedStreamBesideIt) {
    KESTROVA_REQUIRE_FFMPEG();
    EncoderFixture f;
    f.temp.Write("ECLs/Rejig.txt", "-level 50 -i\"" + kDrive + "\\DEMUXED\\gone.M2V\"\r\n-level 50 -i\"" + kDrive +
                                       "\\DEMUXED\\001.M2V\"\r\n");
    EXPECT_EQ(f.Run("K:\\PROG\\Rejig.exe -i K:\\ECLs\\Rejig.txt -auto -close -quiet"), 1);
    const std::string input = f.temp.Host(kFolder + "/DEMUXED/001.M2V");
    const std::string output = f.temp.Host(kFolder + "/DEMUXED/001.mpv");
    EXPECT_EQ(Probe(output), Probe(input));
    EXPECT_LT(f.temp.Read(kFolder + "/DEMUXED/001.mpv").size(), f.temp.Read(kFolder + "/DEMUXED/001.M2V").size());
    EXPECT_FALSE(f.temp.Exists(kFolder + "/DEMUXED/gone.mpv"));
    EXPECT_NE(f.output.find("gone.M2V"), std::string::npos) << f.output;
}

// The batch that dies half way: the first item whole, the second cut short.
TEST(EncoderStandin, DyingAfterAnItemLeavesTheNextOneTruncated) {
    KESTROVA_REQUIRE_FFMPEG();
    EncoderFixture f;
    f.Script("001", "Trim(0,9)");
    f.temp.Write("ECLs/CCE1.ecl", Item27("001", "001.mpv", "1", 10) + Item27("001", "002.mpv", "1", 10));
    f.launcher.SetEnvironment("KESTROVA_STANDIN_FAIL", "CCE=dieafter:1");
    EXPECT_EQ(f.Run("K:\\PROG\\cct2.exe -ecl \"K:\\ECLs\\CCE1.ecl\" -batch"), 1);
    EXPECT_EQ(Probe(f.Host("001.mpv")), "mpeg2video 720x576 4:3 tt 10");
    ASSERT_TRUE(f.Exists("002.mpv"));
    const std::size_t whole = f.temp.Read(kFolder + "/FRAMESERVING/001.mpv").size();
    const std::size_t cut = f.temp.Read(kFolder + "/FRAMESERVING/002.mpv").size();
    EXPECT_GT(cut, 0u);
    EXPECT_LT(cut, whole * 3 / 4);
}

}  // namespace
}  // namespace kestrova
