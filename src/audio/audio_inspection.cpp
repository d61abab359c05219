// What each demultiplexed audio file holds: see audio_inspection.h.
#include "audio/audio_inspection.h"

#include <array>
#include <cmath>

#include "assets/asset_names.h"
#include "assets/audio_frames.h"
#include "assets/audio_stream.h"
#include "audio/audio_conversion.h"
#include "job/bits.h"
#include "job/folders.h"
#include "job/journal.h"
#include "job/log_writers.h"
#include "job/timecode.h"
#include "platform/error.h"
#include "platform/stream_files.h"
#include "platform/text.h"

namespace kestrova {

using platform::FileNameOf;

namespace {

// The channel layouts by acmod, "000" to "111".
constexpr std::array<const char*, 8> kChannelLayouts = {"1 : 1", "1 : 0", "2 : 0", "3 : 0",
                                                        "2 : 1", "3 : 1", "2 : 2", "3 : 2"};

// The number a run of binary digits stands for; -1 for anything else.
int BinaryValue(const std::string& bits) {
    int value = 0;
    for (const char bit : bits) {
        if (bit != '0' && bit != '1') return -1;
        value = value * 2 + (bit - '0');
    }
    return bits.empty() ? -1 : value;
}

// The three digits behind the "_" of a cell asset's name ("001_002-80-..." gives 2).
int CellOfName(const std::string& name) {
    const auto underscore = name.find('_');
    if (underscore == std::string::npos || underscore + 4 > name.size()) return -1;
    const std::string digits = name.substr(underscore + 1, 3);
    if (digits.find_first_not_of("0123456789") != std::string::npos) return -1;
    return std::atoi(digits.c_str());
}

// Item `stream` of the VOB id's audio list, added as far as it is missing.
Audio_Properties& AudioItem(VOB_ID_Properties& vob, std::int16_t stream) {
    while (vob.Audio.Count() < static_cast<std::size_t>(stream)) vob.Audio.Add();
    return vob.Audio.Item(static_cast<std::size_t>(stream));
}

// Every frame of an AC3 file read with the stream reader; a file that
// cannot be read gives no frames and one fault naming it.
AudioStream ScanAc3(JobContext& job, const std::string& Path) {
    try {
        const auto reader = platform::OpenFileReader(job.Files.Paths(), Path);
        AudioStream stream = ScanAudioStream(*reader, AudioFormat::Ac3);
        stream.Name = Path;
        return stream;
    } catch (const Error& error) {
        AudioStream stream;
        stream.Name = Path;
        stream.Faults.push_back({0, error.what()});
        return stream;
    }
}

// Names in the run log the damaged spots of an AC3 file, which the
// authoring may stumble on: how many, and the first with its byte offset.
void ReportAc3Damage(JobContext& job, const std::string& Path) {
    const AudioStream stream = ScanAc3(job, Path);
    if (stream.Faults.empty()) return;
    const std::uint64_t count = stream.Faults.size() + stream.FaultsNotListed;
    WLOG(job, "\tWARNING: " + Path + " has " + std::to_string(count) + " damaged spot" + (count == 1 ? "" : "s") +
                  ", the first at byte " + std::to_string(stream.Faults.front().Offset) + ": " +
                  stream.Faults.front().What);
}

}  // namespace

void AudioCheck(JobContext& job) {
    auto& s = job.State();
    job.AudioExpected.clear();
    job.AudioMoves.clear();
    s.Scan = -1;
    GetFileCount(job, job.WorkFolder, "AUDIO");
    s.Scan = 0;
}

void ProcessAC3(JobContext& job, const std::string& Folder, std::int16_t VobId, std::int16_t CellId) {
    ScanAudioArray(job, Folder, CreateVOBName(VobId), CellId);
}

AudioFacts CheckAudioSource(JobContext& job, const std::string& Path, bool ExactLength) {
    WLOG(job, "\tChecking Audio File : " + Path);
    AudioFacts facts;
    const std::uint64_t length = job.Files.FileSize(Path);
    std::array<std::uint8_t, 10> bytes{};
    std::size_t got = 0;
    {
        const auto reader = platform::OpenFileReader(job.Files.Paths(), Path);
        while (got < bytes.size()) {
            const std::size_t read = reader->Read(std::span<std::uint8_t>(bytes).subspan(got));
            if (read == 0) break;
            got += read;
        }
    }
    if (got < 2 || bytes[0] != 0x0B || bytes[1] != 0x77) {
        // The values below are then those of whatever the bytes hold; the
        // authoring data's corrupt-stream repair deals with such a file.
        const AudioStream stream = ScanAc3(job, Path);
        WLOG(job, "\tNo AC3 sync word at the start of " + Path + " (" + std::to_string(got) + " bytes read); " +
                      (stream.FirstSync ? "its first AC3 frame is at byte " + std::to_string(*stream.FirstSync)
                                        : std::string("it holds no AC3 frame")));
    }
    // A file under 10 bytes reads as zeros behind its end: no bitrate.
    const std::string syncBits = EightBit(dec2bin(bytes[4]));
    const std::string sampleBits = syncBits.substr(0, 2);
    const std::string sizeBits = syncBits.substr(2);
    static constexpr std::array<const char*, 4> kRates = {"48", "44.1", "32", "reserved"};
    facts[0] = kRates[static_cast<std::size_t>(BinaryValue(sampleBits))];
    const int code = BinaryValue(sizeBits);
    const Ac3FrameSize* size = code >= 0 ? FindAc3FrameSize(static_cast<unsigned>(code)) : nullptr;
    facts[1] = got >= 5 && size != nullptr ? std::to_string(size->Kbps) : std::string();
    const std::int32_t frameLength = got >= 5 ? GetFrameLength(sampleBits, sizeBits) : 0;
    std::string header;
    for (std::size_t i = 5; i <= 8; ++i) header += EightBit(dec2bin(bytes[i]));
    const auto [channels, lfe] = GetCHLFE(header);
    facts[2] = channels;
    facts[3] = lfe ? "True" : "False";
    if (frameLength > 0) {
        const auto frames = static_cast<std::int32_t>(std::nearbyint(static_cast<double>(length) / frameLength));
        facts[4] = NewAudio2time(job, frames, ExactLength);
    } else {
        facts[4] = "1";
    }
    return facts;
}

std::int32_t GetFrameLength(const std::string& SampleBits, const std::string& SizeBits) {
    const int code = BinaryValue(SizeBits);
    const Ac3FrameSize* size = code >= 0 ? FindAc3FrameSize(static_cast<unsigned>(code)) : nullptr;
    if (size == nullptr) return 0;
    switch (BinaryValue(SampleBits)) {
        case 0: return size->Words48 * 2;
        case 1: return size->Words44 * 2;
        case 2: return size->Words32 * 2;
        default: return 0;
    }
}

std::pair<std::string, bool> GetCHLFE(const std::string& HeaderBits) {
    if (HeaderBits.size() < 16) return {"", false};
    // Counted from 1: bsid 1-5, bsmod 6-8, acmod 9-11, then the mix levels
    // and the surround mode as the layout has them, then the LFE bit.
    const std::string acmod = HeaderBits.substr(8, 3);
    std::size_t position = 12;
    if (acmod != "001" && acmod[2] == '1') position = 14;
    if (acmod[0] == '1') position += 2;
    if (acmod == "010") position += 2;
    const int layout = BinaryValue(acmod);
    return {layout < 0 ? "" : kChannelLayouts[static_cast<std::size_t>(layout)],
            position <= HeaderBits.size() && HeaderBits[position - 1] == '1'};
}

std::string NewAudio2time(const JobContext& job, std::int32_t Frames, bool ExactLength) {
    // No offset is added to the frames: the audio starts with its video.
    constexpr std::int32_t kOffset = 0;
    // A file shorter than a frame has no frame to take off.
    if (!ExactLength && Frames > 0) --Frames;
    TimeBase timeBase = job.Timing;
    if (timeBase.VideoStandard == "NTSC") {
        timeBase.Conversion = 0;
        const auto frames = static_cast<std::int32_t>(std::nearbyint(Frames / 1.042709376)) + kOffset;
        return ConvertFrame2Time(timeBase, frames, true, 30);
    }
    const auto frames = static_cast<std::int32_t>(std::nearbyint(Frames / 1.25)) + kOffset;
    return ConvertFrame2Time(timeBase, frames, false, 25);
}

void ScanAudioArray(JobContext& job, const std::string& Folder, const std::string& VobName, std::int16_t CellId) {
    static_cast<void>(Folder);
    auto& o = job.Options();
    auto& s = job.State();
    auto& domain = job.DiscModel.Item(static_cast<std::size_t>(job.DomainIndex));
    const int v = std::atoi(VobName.c_str());
    if (v < 1 || static_cast<std::size_t>(v) > domain.Vob_Id.Count()) {
        WLOG(job, "\tThe audio of VOB " + VobName + " has no VOB id in the model - passed over");
        return;
    }
    auto& vob = domain.Vob_Id.Item(static_cast<std::size_t>(v));
    const std::string cellName = CellId > 0 ? CreateCellName(CellId) : std::string();
    const std::string folder = job.WorkFolder + (CellId > 0 ? "\\DEMUXED_CELLID\\" : "\\DEMUXED\\");
    const std::string shortFolder = job.Files.Paths().GetShortPath(job.WorkFolder) +
                                    (CellId > 0 ? "\\DEMUXED_CELLID\\" : "\\DEMUXED\\");
    const bool convertAudio = o.Conversion == 1 && s.ConvertAudio != 0;
    const std::string firstType = domain.Audio.Count() > 0 ? domain.Audio.Item(1).Audio_Type : std::string();
    std::int16_t S = 0;
    bool converted = false, scanned = false;

    const std::vector<std::string> entries(job.FileList.begin() + (job.FileList.empty() ? 0 : 1), job.FileList.end());
    for (const std::string& entry : entries) {
        const std::string name = FileNameOf(entry);
        if (name.compare(0, 3, VobName) != 0) continue;
        const std::string path = folder + name;
        const auto dot = name.rfind('.');
        const std::string extension = dot == std::string::npos ? "" : platform::ToUpperAscii(name.substr(dot + 1));
        const bool cellEntry = name.find('_') != std::string::npos;

        if (extension == "AC3") {
            if (CellId > 0 ? CellOfName(name) != CellId : cellEntry) continue;
            ++S;
            if (CellId == 0) ++s.AudioCount;
            ReportAc3Damage(job, path);
            if (vob.AudioSet == 0) {
                const AudioFacts facts = CheckAudioSource(job, path, false);
                AudioItem(vob, S).Bitrate = static_cast<std::int32_t>(platform::LeadingWholeNumber(facts[1]));
                scanned = true;
            }
            vob.Audio_Stream_Quantity = S;
            vob.Audio_Present = -1;
            if (RecoverySkip(job, 5)) continue;
            const std::string stem = VobName + (CellId > 0 ? "_" + cellName : "") + ".ac3";
            job.AudioExpected.push_back(folder + std::to_string(S) + "-" + stem);
            if (convertAudio) {
                AlterAc3(job, VobName, folder + std::to_string(S) + "_" + stem, path, CellId);
                converted = true;
            } else {
                CorrectAC3Delay(job, VobName, folder + std::to_string(S) + "-" + stem, path, CellId);
            }
            continue;
        }

        // A WAV or MPEG audio file, which becomes AC3.
        if (CellId > 0 ? name.compare(0, 7, VobName + "_" + cellName) != 0 : cellEntry) continue;
        ++S;
        if (!RecoverySkip(job, 5)) {
            const std::string stem = VobName + (CellId > 0 ? "_" + cellName : "") + ".ac3";
            const std::string target = shortFolder + stem;
            // SoftEncode's result takes the first stream's number when renamed.
            job.AudioExpected.push_back(folder + (o.Audio_Besweet == 1 ? std::to_string(S) : "1") + "-" + stem);
            if (o.Audio_Besweet == 1) {
                AC3Encoder(job, path, folder + std::to_string(S) + "-" + stem, static_cast<std::int16_t>(v));
            } else if (convertAudio || firstType == "Mpeg1") {
                const std::string wav = folder + "Converted." + name;
                ConvertWav(job, path, wav, vob.Fps);
                SoftEncoder(job, ConvertedWavName(wav), target, false, false, false);
            } else {
                SoftEncoder(job, path, target, false, false, false);
            }
        }
        WLOG(job, "WAV audio to process : " + path);
        vob.Audio_Stream_Quantity = S;
        vob.Audio_Present = -1;
        ++s.AudioCount;
        vob.Audio_Transcoded = -1;
        vob.WAV = -1;
    }
    if (converted) s.AudioChannels = "YES";
    if (scanned) vob.AudioSet = -1;
}

}  // namespace kestrova
