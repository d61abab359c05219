// The batch and control files the audio writers leave, byte for byte
// against golden text, in a work folder whose name holds a blank and a "-".
#include <gtest/gtest.h>

#include <fstream>
#include <map>

#include "assets/asset_stage_fixture.h"
#include "audio/audio_conversion.h"
#include "job/folders.h"

namespace kestrova {
namespace {

// The golden files: "### NAME" and the file's lines, which end CR LF on disc.
std::map<std::string, std::string> GoldenFiles() {
    std::ifstream in(std::string(KESTROVA_TEST_SOURCE_DIR) + "/audio/golden/batch_files.txt", std::ios::binary);
    std::map<std::string, std::string> files;
    std::string line, name;
    while (std::getline(in, line)) {
        if (line.rfind("### ", 0) == 0) {
            name = line.substr(4);
            files[name];
        } else {
            files[name] += line + "\r\n";
        }
    }
    return files;
}

class AudioBatches : public test::AssetStageFixture {};

TEST_F(AudioBatches, EachWriterLeavesItsLinesAsTheGoldenText) {
    job.WorkFolder = "K:\\My Job-1\\D_VTS_01_0";
    MakeWorkFolders(job, job.WorkFolder);
    auto& o = job.Options();
    o.Audio_Bitrate = 192;
    o.Audio_Correct_AC3_Delay = 1;
    o.Audio_CorrectCRC = 1;
    o.Audio_Pad = 1;
    o.Audio_AC3_Encode_Threshold = 40;
    o.Audio_DeleteRegistryKey = 1;
    o.Audio_SoftEncode_Path = "K:\\SoftEncode\\Sftencdd.exe";
    auto& vob = AddVob({50});
    vob.CELL_ID.Item(1).Data_End_Time = "00:00:02:00";
    AddAudio("AC3");
    // An AC3 header of 192 kbit/s stereo at 48 kHz, 33 frames of 768 bytes long.
    std::string ac3(33 * 768, '\0');
    ac3.replace(0, 8, std::string("\x0B\x77\x00\x00\x14\x40\x40\x00", 8));
    const std::string demuxed = "K:\\My Job-1\\D_VTS_01_0\\DEMUXED\\";
    files.WriteText(demuxed + "001-80-DELAY[-66].AC3", ac3);

    AC3Encoder(job, demuxed + "002DELAY[0].wav", demuxed + "1-002.ac3", 2);
    ConvertWav(job, demuxed + "003DELAY[0].mp2", demuxed + "Converted.003DELAY[0].mp2", 25);
    // Video 50 frames, audio 26: the padding of (50 - 26) x 1.75 frames in
    // ms, made negative, less the 66 ms the start loses.
    CorrectAC3Delay(job, "001", demuxed + "1-001.ac3", demuxed + "001-80-DELAY[-66].AC3", 0);
    SoftEncoder(job, demuxed + "002DELAY[0].wav", demuxed + "002.ac3", false, false, false);

    for (const auto& [name, text] : GoldenFiles()) {
        SCOPED_TRACE(name);
        EXPECT_EQ(files.ReadText(job.WorkFolder + "\\FRAMESERVING\\" + name), text);
    }
    EXPECT_TRUE(files.FileExists(demuxed + "001-80-DELAY[-66].AC3")) << "queued for delaycut, not renamed";
}

TEST_F(AudioBatches, PaddingOfARateChangeIsCappedButNotThatOfDelaycut) {
    job.Options().Audio_Pad = 1;
    // 3000 frames short: 4500 frames are 180000 ms at 25, capped at 32000.
    EXPECT_EQ(AlterMS(job, 3000, 0, "0"), 32000);
    EXPECT_EQ(AlterMS(job, 10, 0, "-20"), 580);
    EXPECT_EQ(AppendMS(job, 3000, 0, "0"), " -end -210000");
    // A video shorter than its audio stays a frame count.
    EXPECT_EQ(AlterMS(job, 0, 4, "5"), -1);
}

}  // namespace
}  // namespace kestrova
