// The "vobsub2scc" personality: the raw caption file vsrip left, renamed
// by the job, turned into a Scenarist caption file beside it:
//
//   vobsub2scc K:\...\SUBTITLES\PGC_<i>.sub.cc.raw
//
// writes K:\...\SUBTITLES\PGC_<i>.scc: the line "Scenarist_SCC V1.0", then
// per caption a line of one blank and a caption line, the time code, a
// tab and the caption's words ("9420 9420 94ae ..."), each word a pair in
// four hexadecimal digits with its parity bits. A caption is a run of
// pairs on consecutive frames that are not the null pair 80 80; it is timed
// by the frame of its first pair. Time codes count frames at 30 a second
// without dropping labels, with ":" before the frames: the job reads them
// back with SST2Frames, which counts them so. tools/standins/README.md
// gives both formats.
#include <cstdio>
#include <vector>

#include "line21.h"
#include "platform/error.h"
#include "platform/files.h"
#include "platform/text.h"
#include "standin.h"

namespace kestrova::standin {

namespace {

constexpr std::uint32_t kLabelsPerSecond = 30;
constexpr std::uint32_t kLastLabelledFrame = 100u * 3600 * kLabelsPerSecond - 1;  // 99:59:59:29

// The output beside the raw file: its name without ".cc.raw" and a
// ".sub" before it, with ".scc".
std::string SccPath(const std::string& raw) {
    const std::string extension = ".cc.raw";
    if (raw.size() <= extension.size() ||
        !platform::EqualsIgnoreCase(raw.substr(raw.size() - extension.size()), extension)) {
        throw Error("vobsub2scc: \"" + raw + "\" is no raw caption file (.cc.raw)");
    }
    std::string base = raw.substr(0, raw.size() - extension.size());
    if (base.size() > 4 && platform::EqualsIgnoreCase(base.substr(base.size() - 4), ".sub")) {
        base.resize(base.size() - 4);
    }
    return base + ".scc";
}

std::string TimeCode(std::uint32_t frame) {
    char text[16];
    std::snprintf(text, sizeof text, "%02u:%02u:%02u:%02u", frame / (3600 * kLabelsPerSecond),
                  frame / (60 * kLabelsPerSecond) % 60, frame / kLabelsPerSecond % 60, frame % kLabelsPerSecond);
    return text;
}

std::string Word(const CaptionPair& pair) {
    char text[8];
    std::snprintf(text, sizeof text, "%02x%02x", pair.First, pair.Second);
    return text;
}

}  // namespace

int RunVobsub2scc(const Invocation& call) {
    // The path is given bare, as Windows writes a short path; a long one
    // may hold blanks, so the whole line is the path.
    std::string raw = platform::Trim(call.ArgumentText);
    if (raw.size() >= 2 && raw.front() == '"' && raw.back() == '"') raw = raw.substr(1, raw.size() - 2);
    if (raw.empty()) throw Error("vobsub2scc: expected the raw caption file");
    const platform::FileSystem files(call.Paths);
    const std::string scc = SccPath(raw);
    // A failed run leaves no caption file, not the one of an earlier run.
    files.DeleteFile(scc);

    const std::vector<CaptionPair> pairs = ReadCaptionRecords(ReadJobFile(call, raw), raw);
    std::vector<std::string> captions;
    bool inCaption = false;
    std::uint32_t lastFrame = 0;
    for (std::size_t k = 0; k < pairs.size(); ++k) {
        const CaptionPair& pair = pairs[k];
        if (pair.IsNull()) {
            inCaption = false;
            continue;
        }
        // A frame without a pair ends the caption as a null pair does: the
        // words of a caption line go out one a frame.
        if (inCaption && pair.Frame <= lastFrame + 1) {
            captions.back() += " " + Word(pair);
        } else {
            if (pair.Frame > kLastLabelledFrame) {
                throw Error("vobsub2scc: \"" + raw + "\" at byte " + std::to_string(k * kCaptionRecordBytes) +
                            ": frame " + std::to_string(pair.Frame) + " lies past the last time code, 99:59:59:29");
            }
            captions.push_back(TimeCode(pair.Frame) + "\t" + Word(pair));
            inCaption = true;
        }
        lastFrame = pair.Frame;
    }
    std::string text = "Scenarist_SCC V1.0\r\n";
    for (const std::string& caption : captions) text += " \r\n" + caption + "\r\n";
    files.WriteFileAtomic(scc, text);
    return 0;
}

}  // namespace kestrova::standin
