// Stream attributes, palettes and the subpicture stream table: see
// stream_attributes.h.
#include "dvd/stream_attributes.h"

#include "dvd/ifo_table.h"
#include "dvd/reader_log.h"
#include "job/log_writers.h"
#include "platform/error.h"

namespace kestrova {

namespace {

constexpr const char* kAttributeTable = "menu stream attributes";

// The value of bit positions first..last (1 is the top bit) of a binary text.
int Field(const std::string& bits, int first, int last) {
    return Bin2Dec(std::string_view(bits).substr(static_cast<std::size_t>(first - 1),
                                                 static_cast<std::size_t>(last - first + 1)));
}

VTS_Properties& Domain(JobContext& job, int domain) {
    return job.DiscModel.Item(static_cast<std::size_t>(domain));
}

Video_Properties& VideoRecord(JobContext& job, int domain) {
    auto& vts = Domain(job, domain);
    if (vts.Video.Count() == 0) vts.Video.Add();
    return vts.Video.Item(1);
}

std::int16_t Flag(bool value) { return value ? -1 : 0; }

int StoredId(const std::string& text) {
    int value = 0;
    for (char digit : text) value = value * 10 + (digit - '0');
    return value;
}

StreamUse_Record& StreamUseOf(JobContext& job, int domain) {
    if (job.StreamUse.size() <= static_cast<std::size_t>(domain)) job.StreamUse.resize(domain + 1);
    return job.StreamUse[static_cast<std::size_t>(domain)];
}

std::size_t StreamUseIndex(int id) {
    const int index = id + StreamUse_Record::kOffset;
    if (index < 0 || index >= StreamUse_Record::kSize) {
        throw Error("Subpicture stream id " + std::to_string(id) + " lies outside the stream table (ids 0 to " +
                    std::to_string(StreamUse_Record::kSize - StreamUse_Record::kOffset - 1) + ").");
    }
    return static_cast<std::size_t>(index);
}

}  // namespace

VideoInfo GetVideoInfo(JobContext& job, const ByteSource& bytes) {
    const IfoTable header(bytes, kAttributeTable, 0);
    const std::string first = header.BinBytes(kVideoAttributes, 1)[0];
    const std::string second = header.BinBytes(kVideoAttributes + 1, 1)[0];

    VideoInfo info;
    switch (Field(first, 1, 2)) {
        case 0: info[kVideoCoding] = "MPEG 1"; break;
        case 1: info[kVideoCoding] = "MPEG 2"; break;
        default: break;
    }
    switch (Field(first, 3, 4)) {
        case 0: info[kVideoStandard] = "NTSC"; break;
        case 1: info[kVideoStandard] = "PAL"; break;
        default: break;
    }
    static const char* const kAspects[] = {"4 : 3", "notspecified", "reserved", "16 : 9"};
    info[kVideoAspect] = kAspects[Field(first, 5, 6)];
    info[kVideoPanScan] = Field(first, 7, 7) == 1 ? "disallowed" : "allowed";
    info[kVideoLetterBox] = Field(first, 8, 8) == 1 ? "disallowed" : "allowed";

    const bool pal = info[kVideoStandard] == "PAL";
    if (Field(second, 1, 1) == 1) info[kVideoField1] = "True";
    if (Field(second, 2, 2) == 1) info[kVideoField2] = "True";
    info[kVideoBitRate] = Field(second, 3, 3) == 1 ? "CBR" : "VBR";
    static const char* const kWidths[] = {"720 x ", "704 x ", "352 x ", "352 x "};
    const int resolution = Field(second, 4, 5);
    const char* height = resolution == 3 ? (pal ? "288" : "240") : (pal ? "576" : "480");
    info[kVideoSize] = std::string(kWidths[resolution]) + height;
    if (Field(second, 6, 6) == 1) info[kVideoCrop] = "topandbottomcropped";
    // Film mode means something only for PAL material.
    info[kVideoSource] = (Field(second, 8, 8) == 1 && pal) ? "film" : "camera";

    info[kVideoAudioCount] = std::to_string(header.Byte(kAudioStreamCount));
    info[kVideoSubCount] = std::to_string(header.Byte(kSubpictureStreamCount));

    WLF(job, "video information");
    WLOG(job, "Mpeg Type=" + info[kVideoCoding]);
    WLOG(job, "Format=" + info[kVideoStandard]);
    WLOG(job, "Aspect Ratio=" + info[kVideoAspect]);
    WLOG(job, "PanScan=" + info[kVideoPanScan]);
    WLOG(job, "LetterBox=" + info[kVideoLetterBox]);
    WLOG(job, "Size=" + info[kVideoSize]);
    WLOG(job, "Top&BottomCropped=" + info[kVideoCrop]);
    WLFC(job);

    // The first file read, VIDEO_TS.IFO, fixes the standard of the job.
    if (job.Timing.VideoStandard.empty()) job.Timing.VideoStandard = info[kVideoStandard];
    return info;
}

AudioInfo GetAudioInfo(JobContext& job, const ByteSource& bytes) {
    const IfoTable header(bytes, kAttributeTable, 0);
    AudioInfo table;
    const int count = header.Byte(kAudioStreamCount);
    if (count == 0) return table;

    header.Require(kAudioAttributes, count * kAudioAttributeSize,
                   std::to_string(count) + " audio attribute entries");
    WLF(job, "Audio information");
    for (int i = 0; i < count; ++i) {
        const std::int64_t entry = kAudioAttributes + kAudioAttributeSize * i;
        std::string coding;
        switch (header.Byte(entry) >> 5) {
            case 0: coding = "AC3"; break;
            case 2: coding = "Mpeg1"; break;
            case 3: coding = "Mpeg2"; break;
            case 4: coding = "LPCM"; break;
            case 6: coding = "DTS"; break;
            default: break;
        }
        const std::string code{static_cast<char>(header.Byte(entry + 2)), static_cast<char>(header.Byte(entry + 3))};
        const std::string language = job.LanguageTable.priv_LangCodeToLangName(code);
        table.Coding.push_back(coding);
        table.Language.push_back(language);
        WLOG(job, "AudioStream=" + std::to_string(i + 1));
        WLOG(job, "Coding Mode=" + coding);
        WLOG(job, "Language=" + language);
    }
    return table;
}

void AddVideoAttributes(JobContext& job, int domain, const VideoInfo& info) {
    auto& video = VideoRecord(job, domain);
    video.Aspect_Ratio = info[kVideoAspect];
    video.Standard = info[kVideoStandard];
    video.Mpeg_Type = info[kVideoCoding];
    video.Bitrate = info[kVideoBitRate];
    video.Size = info[kVideoSize];
    video.Camera = info[kVideoSource];
    video.Audio_Quantity = static_cast<std::int16_t>(StoredId(info[kVideoAudioCount]));
    video.SubStream_Quantity = static_cast<std::int16_t>(StoredId(info[kVideoSubCount]));

    video.Display_Pan_Scan = Flag(info[kVideoPanScan] != "disallowed");
    video.Display_LetterBoxed = Flag(info[kVideoLetterBox] != "disallowed");
    video.Line_21_Switch_1 = Flag(info[kVideoField1] == "True");
    video.Line_21_Switch_2 = Flag(info[kVideoField2] == "True");
    video.LetterBoxed = Flag(info[kVideoCrop] == "topandbottomcropped");

    if (info[kVideoAspect] == "4 : 3") {
        video.Display_Mode = "4 : 3";
        video.Display = "4 : 3";
    } else if (info[kVideoAspect] == "16 : 9") {
        if (!video.Display_Pan_Scan) {
            video.Display_Mode = "16 : 9";
            video.Display = "16 : 9";
        } else if (video.LetterBoxed) {
            video.Display_Mode = "16 : 9 (Pan-scan)";
            video.Display = "16 : 9";
        } else {
            video.Display_Mode = "4 : 3 (Pan-scan)";
            video.Display = "4 : 3";
        }
    }
    WLOG(job, "Display Mode=" + video.Display_Mode);
}

void AddAudioAttributes(JobContext& job, int domain, const AudioInfo& table) {
    auto& vts = Domain(job, domain);
    for (std::size_t i = 0; i < table.Coding.size(); ++i) {
        auto& audio = vts.Audio.Add();
        audio.Audio_Type = table.Coding[i];
        audio.Language = i < table.Language.size() ? table.Language[i] : std::string();
    }
}

void GetSubStream(JobContext& job, const SubpictureIds& ids, int domain, const VideoInfo& info) {
    auto& vts = Domain(job, domain);
    const bool allEmpty = vts.Normal.empty() && vts.Wide.empty() && vts.Letter.empty() && vts.Pan.empty();
    auto candidate = [allEmpty](const std::string& stored, int id) {
        return allEmpty || (!stored.empty() && id > StoredId(stored));
    };
    const bool panScanOff = info[kVideoPanScan] == "disallowed";
    const bool letterboxOff = info[kVideoLetterBox] == "disallowed";
    // All candidates are judged against the values before this cell.
    const bool normal = candidate(vts.Normal, ids.Normal);
    const bool wide = candidate(vts.Wide, ids.Wide);
    const bool letter = candidate(vts.Letter, ids.Letter);
    const bool pan = candidate(vts.Pan, ids.Pan);
    if (info[kVideoAspect] == "4 : 3") {
        if (normal) vts.Normal = std::to_string(ids.Normal);
    } else if (panScanOff && letterboxOff) {
        if (wide) vts.Wide = std::to_string(ids.Wide);
    } else if (letterboxOff) {
        if (wide) vts.Wide = std::to_string(ids.Wide);
        if (pan) vts.Pan = std::to_string(ids.Pan);
    } else if (panScanOff) {
        if (wide) vts.Wide = std::to_string(ids.Wide);
        if (letter) vts.Letter = std::to_string(ids.Letter);
    } else {
        if (wide) vts.Wide = std::to_string(ids.Wide);
        if (letter) vts.Letter = std::to_string(ids.Letter);
        if (pan) vts.Pan = std::to_string(ids.Pan);
    }
}

std::int16_t NewCheckPalette(JobContext& job, std::span<const std::uint8_t> bytes) {
    if (bytes.size() != 64) {
        throw Error("A palette of " + std::to_string(bytes.size()) + " bytes was given; 64 were expected.");
    }
    // Of each group of four only Y, Cr and Cb count.
    for (std::size_t position = 1; position <= job.PalettePool.Count(); ++position) {
        const auto& pooled = job.PalettePool.Item(position).Palette;
        if (pooled.Count() != 16) continue;
        bool same = true;
        for (std::size_t i = 0; i < 16 && same; ++i) {
            const auto& colour = pooled.Item(i + 1);
            same = colour.Y == bytes[4 * i] && colour.Cr == bytes[4 * i + 1] && colour.Cb == bytes[4 * i + 2];
        }
        if (same) return static_cast<std::int16_t>(position);
    }
    auto& entry = job.PalettePool.Add();
    for (std::size_t i = 0; i < 16; ++i) {
        entry.Palette.Add(Palette_Properties{.Y = bytes[4 * i], .U = 0, .V = 0, .Cr = bytes[4 * i + 1],
                                             .Cb = bytes[4 * i + 2]});
    }
    return static_cast<std::int16_t>(job.PalettePool.Count());
}

std::string GetAspect(const JobContext& job, int domain) {
    const auto& vts = job.DiscModel.Item(static_cast<std::size_t>(domain));
    if (vts.Video.Count() == 0) return "4:3";
    const auto& video = vts.Video.Item(1);
    const bool panScan = video.Display_Pan_Scan != 0;
    const bool letterbox = video.Display_LetterBoxed != 0;
    if (panScan && letterbox) return "P/S and LB";
    if (panScan) return "Only Panscan";
    if (letterbox || video.Aspect_Ratio == "16 : 9") return "Only Letterbox";
    return "4:3";
}

void FillStreamUse(JobContext& job, int domain, const SubpictureIds& ids, const std::string& language) {
    const std::string aspect = GetAspect(job, domain);
    auto& use = StreamUseOf(job, domain);
    auto label = [&use](int id, const char* mode) { use.Mode[StreamUseIndex(id)] = mode; };
    auto first = [&use, &language](int id) {
        auto& slot = use.FirstUse[StreamUseIndex(id)];
        if (slot.Language_Folder.empty()) slot.Language_Folder = language;
    };
    auto share = [&use](int id) { use.FirstUse[StreamUseIndex(id)].Shared = -1; };

    if (aspect == "4:3") {
        label(ids.Normal, "Normal");
        first(ids.Normal);
    } else if (aspect == "Only Letterbox") {
        label(ids.Wide, "Wide");
        label(ids.Letter, "Letter");
        first(ids.Wide);
        first(ids.Letter);
        if (ids.Wide == ids.Letter) share(ids.Wide);
    } else if (aspect == "Only Panscan") {
        label(ids.Wide, "Wide");
        label(ids.Pan, "Pan");
        first(ids.Wide);
        first(ids.Pan);
        if (ids.Wide == ids.Pan) share(ids.Wide);
    } else {
        label(ids.Wide, "Wide");
        label(ids.Pan, "Pan");
        label(ids.Letter, "Letter");
        first(ids.Wide);
        first(ids.Letter);
        first(ids.Pan);
        if (ids.Wide == ids.Letter && ids.Letter == ids.Pan) share(ids.Wide);
    }
}

}  // namespace kestrova
