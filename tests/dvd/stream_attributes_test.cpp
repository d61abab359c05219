// Stream attributes: the words of the attribute bytes at their bounds;
// display modes, the aspect reading, the stream table, the highest stream
// ids and the palette pool.
#include "dvd/stream_attributes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>
#include <utility>
#include <vector>

#include "platform/error.h"
#include "support/job_fixture.h"

namespace kestrova {
namespace {

// An IFO header of 512 bytes with the attribute bytes set.
struct Header {
    std::vector<std::uint8_t> Bytes = std::vector<std::uint8_t>(512, 0);
    ByteSource Source() const { return ByteSource{Bytes, "K:\\VIDEO_TS\\VTS_01_0.IFO"}; }
};

VideoInfo Decode(test::JobFixture& fx, std::uint8_t first, std::uint8_t second) {
    Header header;
    header.Bytes[256] = first;
    header.Bytes[257] = second;
    return GetVideoInfo(fx.job, header.Source());
}

// The words of fields first..last, joined by "|".
std::string Joined(const VideoInfo& info, int first, int last) {
    std::string words = info[static_cast<std::size_t>(first)];
    for (int field = first + 1; field <= last; ++field) words += "|" + info[static_cast<std::size_t>(field)];
    return words;
}

// Each field at each of its ends; the reserved codes give no word.
TEST(VideoInfo, AttributeBytes) {
    test::JobFixture fx;
    // Byte 256: coding, standard, aspect, pan-scan, letterbox.
    const std::pair<std::uint8_t, const char*> firsts[] = {
        {0x43, "MPEG 2|NTSC|4 : 3|disallowed|disallowed"}, {0x00, "MPEG 1|NTSC|4 : 3|allowed|allowed"},
        {0x5E, "MPEG 2|PAL|16 : 9|disallowed|allowed"},    {0x44, "MPEG 2|NTSC|notspecified|allowed|allowed"},
        {0x48, "MPEG 2|NTSC|reserved|allowed|allowed"},    {0x80, "|NTSC|4 : 3|allowed|allowed"},
        {0x70, "MPEG 2||4 : 3|allowed|allowed"},
    };
    for (const auto& [byte, words] : firsts) {
        EXPECT_EQ(Joined(Decode(fx, byte, 0), kVideoCoding, kVideoLetterBox), words) << int(byte);
    }
    // Byte 257 under the standard of byte 256: fields, bit rate, size, crop, source (film only for PAL).
    const std::tuple<std::uint8_t, std::uint8_t, const char*> seconds[] = {
        {0x40, 0x84, "True||VBR|720 x 480|topandbottomcropped|camera"},
        {0x50, 0x44, "|True|VBR|720 x 576|topandbottomcropped|camera"},
        {0x50, 0x21, "||CBR|720 x 576||film"},   {0x50, 0x09, "||VBR|704 x 576||film"},
        {0x40, 0x11, "||VBR|352 x 480||camera"},
        {0x50, 0x18, "||VBR|352 x 288||camera"}, {0x40, 0x18, "||VBR|352 x 240||camera"},
        {0x40, 0x02, "||VBR|720 x 480||camera"},  // position 7 means nothing
    };
    for (const auto& [standard, byte, words] : seconds) {
        EXPECT_EQ(Joined(Decode(fx, standard, byte), kVideoField1, kVideoSource), words) << int(byte);
    }
}

TEST(VideoInfo, CountsAndTheFirstStandardOfTheJob) {
    test::JobFixture fx;
    fx.job.Timing.VideoStandard.clear();
    Header header;
    header.Bytes[256] = 0x43;
    header.Bytes[259] = 1;
    header.Bytes[341] = 3;
    const auto info = GetVideoInfo(fx.job, header.Source());
    EXPECT_EQ(info[kVideoAudioCount], "1");
    EXPECT_EQ(info[kVideoSubCount], "3");
    EXPECT_EQ(fx.job.Timing.VideoStandard, "NTSC");
    header.Bytes[256] = 0x53;
    GetVideoInfo(fx.job, header.Source());
    EXPECT_EQ(fx.job.Timing.VideoStandard, "NTSC") << "the first file read fixes the standard";
}

TEST(AudioInfo, CodingsLanguagesAndAnEmptyDomain) {
    test::JobFixture fx;
    Header header;
    EXPECT_TRUE(GetAudioInfo(fx.job, header.Source()).Coding.empty());
    fx.job.DiscModel.Add();
    AddAudioAttributes(fx.job, 1, GetAudioInfo(fx.job, header.Source()));
    EXPECT_EQ(fx.job.DiscModel.Item(1).Audio.Count(), 0u);

    // Top three bits of each stream's first byte: 1, 5 and 7 are not in the table.
    const std::uint8_t codings[] = {0x00, 0x40, 0x60, 0x80, 0xC0, 0x20, 0xA0, 0xE0};
    const char* const words[] = {"AC3", "Mpeg1", "Mpeg2", "LPCM", "DTS", "", "", ""};
    header.Bytes[259] = 8;
    for (int i = 0; i < 8; ++i) header.Bytes[260 + 8 * i] = codings[i];
    header.Bytes[262] = 'f';
    header.Bytes[263] = 'r';
    const auto table = GetAudioInfo(fx.job, header.Source());
    ASSERT_EQ(table.Coding.size(), 8u);
    for (int i = 0; i < 8; ++i) EXPECT_EQ(table.Coding[i], words[i]) << i;
    EXPECT_EQ(table.Language[0], "French");
    EXPECT_EQ(table.Language[1], "English") << "no code is English";

    AddAudioAttributes(fx.job, 1, table);
    ASSERT_EQ(fx.job.DiscModel.Item(1).Audio.Count(), 8u);
    EXPECT_EQ(fx.job.DiscModel.Item(1).Audio.Item(4).Audio_Type, "LPCM");
    EXPECT_EQ(fx.job.DiscModel.Item(1).Audio.Item(1).Language, "French");

    header.Bytes[259] = 255;  // streams running past a short file
    header.Bytes.resize(300);
    EXPECT_THROW(GetAudioInfo(fx.job, header.Source()), Error);
}

VideoInfo Words(const char* aspect, const char* panScan, const char* letterBox, const char* crop = "") {
    VideoInfo info;
    info[kVideoAspect] = aspect;
    info[kVideoPanScan] = panScan;
    info[kVideoLetterBox] = letterBox;
    info[kVideoCrop] = crop;
    info[kVideoAudioCount] = "1";
    info[kVideoSubCount] = "2";
    return info;
}

// The video words decide the display mode, the aspect and which modes take
// the highest subpicture id of a cell (ids 1-4 for normal, wide, letterbox
// and pan-scan here).
TEST(VideoAttributes, DisplayModeAspectAndSubpictureModes) {
    struct Row { VideoInfo Info; const char *DisplayMode, *Display, *Aspect, *Modes; };
    const Row rows[] = {
        {Words("4 : 3", "disallowed", "disallowed"), "4 : 3", "4 : 3", "4:3", "1|||"},
        {Words("4 : 3", "allowed", "allowed"), "4 : 3", "4 : 3", "P/S and LB", "1|||"},
        {Words("16 : 9", "disallowed", "disallowed"), "16 : 9", "16 : 9", "Only Letterbox", "|2||"},
        {Words("16 : 9", "allowed", "disallowed", "topandbottomcropped"), "16 : 9 (Pan-scan)", "16 : 9",
         "Only Panscan", "|2||4"},
        {Words("16 : 9", "allowed", "allowed"), "4 : 3 (Pan-scan)", "4 : 3", "P/S and LB", "|2|3|4"},
        {Words("notspecified", "disallowed", "disallowed"), "", "", "4:3", "|2||"},
        {Words("reserved", "disallowed", "allowed"), "", "", "Only Letterbox", "|2|3|"},
    };
    for (const auto& row : rows) {
        test::JobFixture fx;
        fx.job.DiscModel.Add();
        AddVideoAttributes(fx.job, 1, row.Info);
        GetSubStream(fx.job, {1, 2, 3, 4}, 1, row.Info);
        const auto& vts = fx.job.DiscModel.Item(1);
        const auto& video = vts.Video.Item(1);
        SCOPED_TRACE(row.Info[kVideoAspect] + " " + row.Info[kVideoPanScan] + " " + row.Info[kVideoLetterBox]);
        EXPECT_EQ(video.Display_Mode, row.DisplayMode);
        EXPECT_EQ(video.Display, row.Display);
        EXPECT_EQ(GetAspect(fx.job, 1), row.Aspect);
        EXPECT_EQ(vts.Normal + "|" + vts.Wide + "|" + vts.Letter + "|" + vts.Pan, row.Modes);
        EXPECT_EQ(video.SubStream_Quantity, 2);
    }

    test::JobFixture fx;
    fx.job.DiscModel.Add();
    auto info = Words("16 : 9", "allowed", "disallowed", "topandbottomcropped");
    info[kVideoField2] = "True";
    AddVideoAttributes(fx.job, 1, info);
    AddVideoAttributes(fx.job, 1, info);
    const auto& video = fx.job.DiscModel.Item(1).Video.Item(1);
    EXPECT_EQ(std::vector<int>({video.Display_Pan_Scan, video.Display_LetterBoxed, video.LetterBoxed,
                                video.Line_21_Switch_1, video.Line_21_Switch_2}),
              std::vector<int>({-1, 0, -1, 0, -1}));
    EXPECT_EQ(fx.job.DiscModel.Item(1).Video.Count(), 1u) << "item 1 is made once";
}

// A domain whose video words give the wanted GetAspect.
void DomainWithAspect(JobContext& job, const VideoInfo& info) {
    job.DiscModel.Add();
    AddVideoAttributes(job, static_cast<int>(job.DiscModel.Count()), info);
}

TEST(StreamUse, FilledAsTheAspectSays) {
    struct Row {
        VideoInfo Info;
        SubpictureIds Ids;
        std::vector<std::pair<int, const char*>> Labels;
        std::vector<int> Languages;
        bool Shared;
    };
    const Row rows[] = {
        {Words("4 : 3", "disallowed", "disallowed"), {3, 4, 5, 6}, {{3, "Normal"}}, {3}, false},
        {Words("16 : 9", "disallowed", "allowed"), {0, 1, 2, 3}, {{1, "Wide"}, {2, "Letter"}}, {1, 2}, false},
        {Words("16 : 9", "disallowed", "allowed"), {0, 1, 1, 3}, {{1, "Letter"}}, {1}, true},
        {Words("16 : 9", "allowed", "disallowed"), {0, 4, 5, 6}, {{4, "Wide"}, {6, "Pan"}}, {4, 6}, false},
        {Words("16 : 9", "allowed", "disallowed"), {0, 6, 5, 6}, {{6, "Pan"}}, {6}, true},
        {Words("16 : 9", "allowed", "allowed"), {0, 1, 2, 3}, {{1, "Wide"}, {2, "Letter"}, {3, "Pan"}}, {1, 2, 3},
         false},
        {Words("16 : 9", "allowed", "allowed"), {0, 31, 31, 31}, {{31, "Letter"}}, {31}, true},
        {Words("16 : 9", "allowed", "allowed"), {0, 1, 1, 2}, {{1, "Letter"}, {2, "Pan"}}, {1, 2}, false},
    };
    for (const auto& row : rows) {
        test::JobFixture fx;
        DomainWithAspect(fx.job, row.Info);
        FillStreamUse(fx.job, 1, row.Ids, "de");
        SCOPED_TRACE(GetAspect(fx.job, 1) + " ids " + std::to_string(row.Ids.Wide) + std::to_string(row.Ids.Letter) +
                     std::to_string(row.Ids.Pan));
        ASSERT_EQ(fx.job.StreamUse.size(), 2u);
        const auto& use = fx.job.StreamUse[1];
        for (int id = 0; id < 32; ++id) {
            std::string label;
            for (const auto& [labelled, text] : row.Labels) {
                if (labelled == id) label = text;
            }
            const bool language = std::find(row.Languages.begin(), row.Languages.end(), id) != row.Languages.end();
            EXPECT_EQ(use.Mode[id + 20], label) << "id " << id;
            EXPECT_EQ(use.FirstUse[id + 20].Language_Folder, language ? "de" : "") << "id " << id;
        }
        EXPECT_EQ(use.FirstUse[row.Ids.Wide + 20].Shared, row.Shared ? -1 : 0);
    }

    // A second PGC rewrites the labels but keeps the first language.
    test::JobFixture fx;
    DomainWithAspect(fx.job, Words("16 : 9", "disallowed", "allowed"));
    FillStreamUse(fx.job, 1, {0, 1, 2, 0}, "en");
    FillStreamUse(fx.job, 1, {0, 2, 1, 0}, "fr");
    const auto& use = fx.job.StreamUse[1];
    EXPECT_EQ(use.FirstUse[22].Language_Folder, "en");
    EXPECT_EQ(use.Mode[21], "Letter");
    EXPECT_EQ(use.Mode[22], "Wide");
}

TEST(SubStream, AHigherIdReplacesOnlyASetMode) {
    test::JobFixture fx;
    fx.job.DiscModel.Add();
    const auto wide = Words("16 : 9", "allowed", "allowed");
    auto& vts = fx.job.DiscModel.Item(1);
    vts.Wide = "5";
    GetSubStream(fx.job, {0, 3, 9, 9}, 1, wide);
    EXPECT_EQ(vts.Wide, "5") << "a lower id does not replace";
    EXPECT_EQ(vts.Letter, "") << "an empty mode is no candidate once another is set";
    GetSubStream(fx.job, {0, 12, 9, 9}, 1, wide);
    EXPECT_EQ(vts.Wide, "12") << "numerically above, not as text";
}

TEST(PalettePool, EqualPalettesShareAPosition) {
    test::JobFixture fx;
    std::vector<std::uint8_t> palette(64);
    for (int i = 0; i < 64; ++i) palette[i] = static_cast<std::uint8_t>(i * 3);
    EXPECT_EQ(NewCheckPalette(fx.job, palette), 1);
    auto fourth = palette;
    fourth[7] ^= 0xFF;  // the fourth byte of group 2 does not count
    EXPECT_EQ(NewCheckPalette(fx.job, fourth), 1);
    auto other = palette;
    other[61] ^= 0x01;  // Cr of the last colour
    EXPECT_EQ(NewCheckPalette(fx.job, other), 2);
    EXPECT_EQ(NewCheckPalette(fx.job, palette), 1);
    ASSERT_EQ(fx.job.PalettePool.Count(), 2u);

    const auto& colour = fx.job.PalettePool.Item(2).Palette.Item(16);
    EXPECT_EQ(std::vector<int>({colour.Y, colour.Cr, colour.Cb, colour.U, colour.V}),
              std::vector<int>({180, 183 ^ 1, 186, 0, 0}));
    EXPECT_THROW(NewCheckPalette(fx.job, std::vector<std::uint8_t>(63)), Error);
}

}  // namespace
}  // namespace kestrova
