// Format conversion rendered: clips made by ffmpeg are indexed and served
// as the job serves them, and the ".Conversion.avs" the job writes is
// encoded by the QuEnc stand-in. The stream has the target's size and rate,
// the frames the frame server counts for the script, and the picture of
// ffmpeg's own conversion of the clip.
#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>

#include "assets/asset_stage_fixture.h"
#include "assets/frameserving.h"
#include "assets/mpeg_test_streams.h"
#include "frameserver/frame_server.h"
#include "job/conversion_window.h"
#include "job/tool_table.h"

namespace kestrova {
namespace {

const std::string kScript = "K:\\Job\\D_VTS_01_0\\FRAMESERVING\\001.Conversion.avs";

class ConversionRender : public test::AssetStageFixture {
public:
    ConversionRender() {
        job.Tools = ToolProfile::Native;
        job.AvisynthScripts = DefaultAvsScripts(job.ProgramFolder, "1.0");
        job.ConversionTemplates = DefaultConversionScripts(job.ProgramFolder, "1.0");
        job.State().ConvertAudio = -1;
        job.Options().Field = job.Options().FrameType = job.Options().Scanning = "Auto";
        job.Options().Conversion = job.Options().UseQuenc = 1;
        AddStandInTools(launcher, KESTROVA_HOST_PROGRAMS);
    }

    // Serves the stream as VOB id 1 of a disc of the standard and encodes
    // its conversion script: "size rate frames" of the stream as ffprobe
    // reads it, then of the script as the frame server serves it.
    std::string Convert(const std::string& stream, const std::string& standard) {
        job.Timing.VideoStandard = standard;
        job.DvdFrameRate = standard == "PAL" ? 25 : 30;
        AddVob({0}).Vob_Type = "Video";
        Put("Job/D_VTS_01_0/DEMUXED/001.M2V", test::MpegTestStreams::Get().Folder().Read(stream));
        RunDVD2AVI(job, "K:\\Job\\D_VTS_01_0\\DEMUXED\\001.M2V", "001", false);
        RunDVD2AVI(job, "K:\\Job\\D_VTS_01_0\\DEMUXED\\001.M2V", "001", true);
        ProcessVideo(job, "K:\\Job\\D_VTS_01_0\\FRAMESERVING\\001.d2v", "001", 0, false);
        runner.ShellAndWait("K:\\Program\\QuEnc\\QuEnc.exe -i \"" + kScript + "\" -o \"" + encoded + "\" -b 8000 -auto",
                            6);
        const auto served = ReadAviStreamInfo(files, kScript);
        std::istringstream probed(test::CaptureCommand(
            "ffprobe -v error -count_frames -show_entries stream=width,height,r_frame_rate,nb_read_frames -of "
            "default=noprint_wrappers=1:nokey=1 '" + files.ToHost(encoded) + "'"));
        std::string width, height, rate, frames;
        probed >> width >> height >> rate >> frames;
        return width + "x" + height + " " + rate + " " + frames + ", served " + std::to_string(served.Width) + "x" +
               std::to_string(served.Height) + " " + std::to_string(served.Rate) + "/" +
               std::to_string(served.Scale) + " " + std::to_string(served.Length);
    }

    // The mean PSNR of the encoded stream against ffmpeg's `filters` over the clip, frame by frame.
    double Psnr(const std::string& clip, const std::string& filters, const std::string& rate) const {
        const std::string retime = "settb=1/(" + rate + "),setpts=N";
        const std::string output = test::CaptureCommand(
            "ffmpeg -nostdin -hide_banner -nostats -i '" + files.ToHost(encoded) + "' -i '" + clip + "' -lavfi '[0:v]" +
            retime + "[a];[1:v]" + filters + "," + retime + "[b];[a][b]psnr=shortest=1' -f null - 2>&1");
        const std::size_t at = output.find("average:");
        return at == std::string::npos ? 0 : std::atof(output.c_str() + at + 8);
    }

    const std::string encoded = "K:\\Job\\D_VTS_01_0\\FRAMESERVING\\001.Conversion.m2v";
};

// Conversion1 as it comes, the audio stretched: each frame resized and retimed.
TEST_F(ConversionRender, PalInterlacedToNtsc) {
    KESTROVA_REQUIRE_FFMPEG();
    const std::string clip = test::MpegTestStreams::Get().Make(
        "i25x75.m2v", "size=720x576:rate=25 -frames:v 75 -c:v mpeg2video -q:v 2 -flags +ilme+ildct -top 1 "
                      "-f mpeg2video");
    EXPECT_EQ(Convert("i25x75.m2v", "PAL"), "720x480 30000/1001 75, served 720x480 30000/1001 75");
    EXPECT_EQ(job.VideoType, "pal_interlaced");
    EXPECT_GE(Psnr(clip, "scale=720:480:flags=lanczos", "30000/1001"), 30);
}

// Conversion4 with the audio kept: the window makes its rate step
// "ChangeFPS(50)", which the job brings down to 25 a second.
TEST_F(ConversionRender, NtscFilmToPalWithTheAudioKept) {
    KESTROVA_REQUIRE_FFMPEG();
    auto& streams = test::MpegTestStreams::Get();
    const std::string film = streams.Make("film72.m2v", "size=720x480:rate=24000/1001 -frames:v 72 -c:v mpeg2video "
                                                        "-q:v 2 -g 15 -bf 0 -f mpeg2video");
    streams.Folder().Write("telecine72.m2v", test::SoftTelecine(streams.Folder().Read("film72.m2v")));
    ConversionWindow(job).KeepAudio();
    // 72 film frames last 3.003 seconds.
    EXPECT_EQ(Convert("telecine72.m2v", "NTSC"), "720x576 25/1 75, served 720x576 25/1 75");
    EXPECT_EQ(job.VideoType, "ntsc_film");
    EXPECT_GE(Psnr(film, "scale=720:576:flags=lanczos,fps=25", "25"), 30);
}

}  // namespace
}  // namespace kestrova
