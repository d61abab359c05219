// Verification of the encoder's results and its retries: see encode_retry.h.
#include "video/encode_retry.h"

#include <algorithm>
#include <optional>

#include "assets/asset_names.h"
#include "assets/video_stream.h"
#include "frameserver/avi_info.h"
#include "job/folders.h"
#include "job/log_writers.h"
#include "job/tool_runner.h"
#include "platform/error.h"
#include "platform/text.h"

namespace kestrova {

using platform::WithoutExtension;

namespace {

std::string Root(const JobContext& job) { return job.DiscModel.Item(1).Root; }

bool StartsWith(const std::string& line, const char* head) { return line.rfind(head, 0) == 0; }

// The whole number behind "key=" in the lines [from, to) of a list, if any.
std::optional<std::int64_t> KeyValue(const std::vector<std::string>& lines, std::size_t from, std::size_t to,
                                     const std::string& key) {
    for (std::size_t i = from; i < to; ++i) {
        if (StartsWith(lines[i], key.c_str())) return platform::LeadingWholeNumber(lines[i].substr(key.size()));
    }
    return std::nullopt;
}

// Whether the item whose "title=" stands at line `at` has its encoded
// stream whole: the frames its script delivers between encode_first and
// encode_last. Logs what is wrong with one that has not.
bool ItemEncoded(JobContext& job, const std::vector<std::string>& lines, std::size_t at) {
    const std::string script = lines[at].substr(6);
    const std::string output = WithoutExtension(script) + ".mpv";
    std::size_t end = at + 1;
    while (end < lines.size() && !StartsWith(lines[end], "[item]")) ++end;
    std::string why;
    const std::int32_t found = CountEncodedFrames(job, output, &why);
    if (found < 0) {
        if (job.Files.FileExists(output)) WLOG(job, "\tNot a whole encoded stream: " + output + " - " + why);
        return false;
    }
    const AviFrames served = GetFrames(job, script, false);
    if (!served.Error.empty()) return true;  // nothing to measure against: the file is whole
    std::int64_t expected = served.Frames;
    const auto first = KeyValue(lines, at, end, "encode_first=");
    const auto last = KeyValue(lines, at, end, "encode_last=");
    if (first && last && *last > *first) expected = std::min<std::int64_t>(expected, *last - *first);
    if (found == expected) return true;
    WLOG(job, "\tEncoded stream " + output + " holds " + std::to_string(found) + " frames of " +
                  std::to_string(expected));
    return false;
}

}  // namespace

std::int32_t CountEncodedFrames(const JobContext& job, const std::string& path, std::string* why, bool requireEnd) {
    if (!job.Files.FileExists(path)) {
        if (why != nullptr) *why = "there is no such file";
        return -1;
    }
    try {
        const VideoStream stream = ScanVideoStreamFile(job.Files.ToHost(path));
        if (requireEnd && !stream.SequenceEnd) {
            if (why != nullptr) *why = "the stream ends without its sequence end code (cut short)";
            return -1;
        }
        return static_cast<std::int32_t>(stream.Counts.Frames);
    } catch (const Error& error) {
        if (why != nullptr) *why = error.what();
        return -1;
    }
}

bool ConfirmAssetEncoding(JobContext& job, std::int16_t Attempt) {
    const auto& o = job.Options();
    auto& s = job.State();
    if (o.UseCCE != 1 || s.CCEBasic != 0 || s.TemporaryOriginal != 0 || o.No_ReEncode == 1) return false;

    LogWindow(job, "Confirming that all video assets were encoded");
    const std::string folder = Root(job) + "\\ECLs";
    const std::string repair = folder + "\\Repair.ecl";
    if (job.Files.FileExists(repair)) job.Files.DeleteFile(repair);
    GetFileCount(job, folder, "ECLS");
    const std::vector<std::string> lists(job.FileList.begin() + (job.FileList.empty() ? 0 : 1), job.FileList.end());
    if (!job.Files.FolderExists(folder)) job.Files.MakeFolder(folder);

    std::string text;
    bool found = false;
    for (const std::string& entry : lists) {
        if (entry.empty() || entry.find("Original") != std::string::npos) continue;
        const std::vector<std::string> lines = job.Files.ReadLines(folder + "\\" + entry);
        // Each list starts anew: the last item of one list says nothing of
        // the first lines of the next.
        bool keep = false;
        for (std::size_t i = 0; i < lines.size(); ++i) {
            const std::string& line = lines[i];
            if (StartsWith(line, "title=")) {
                keep = !ItemEncoded(job, lines, i);
                if (keep) {
                    found = true;
                    text += "[item]\r\n";
                }
            }
            if (keep && !StartsWith(line, "[item]")) text += line + "\r\n";
            if (StartsWith(line, ";")) text += line + "\r\n";
        }
        text += " \r\n";
    }
    job.Files.WriteText(repair, text);

    if (!found) {
        WLOG(job, "Removing this ECL - nothing written to it: Repair.ecl");
        job.Files.DeleteFile(repair);
        return false;
    }
    LogWindow(job, "\t*Retrying Encoding - Attempt #" + std::to_string(Attempt));
    WLOG(job, "ASSETS WERE NOT ENCODED - RECREATED ECL FILE TO RETRY RUN#" + std::to_string(Attempt));
    s.Encoding = -1;
    const auto& paths = job.Files.Paths();
    if (s.CCEVersion.rfind("2.7", 0) == 0) {
        ShellAndWait(job, paths.GetShortPath(s.CCEPath) + " -ecl \"" + repair + "\" -batch", kWindowMinimizedInactive);
    } else {
        ShellAndWait(job,
                     paths.GetShortPath(job.ProgramFolder) + "\\EclCCE.exe -ecl \"" + repair +
                         "\" -batch -nocancel -hideshutdown",
                     kWindowMinimizedInactive);
    }
    s.Encoding = 0;
    return true;
}

void ConfirmEncoding(JobContext& job) {
    LogWindow(job, "All attemps at encoding failed - using originals");
    bool missing = false;
    const auto useOriginal = [&](const VTS_Properties& domain, const std::string& name, const char* demuxed) {
        const std::string encoded = domain.OutputDir + "\\FRAMESERVING\\" + name + ".mpv";
        // A stream cut short is no encode: the original replaces it too.
        if (CountEncodedFrames(job, encoded) >= 0) return;
        missing = true;
        WLOG(job, "CCE ERROR - FILE " + name + " NOT ENCODED - USING ORIGINAL");
        const std::string original = domain.OutputDir + demuxed + name + ".m2v";
        if (job.Files.FileExists(original)) job.Files.CopyFile(original, encoded);
    };
    for (const auto& domain : job.DiscModel) {
        for (std::size_t v = 1; v <= domain.Vob_Id.Count(); ++v) {
            const auto& vob = domain.Vob_Id.Item(v);
            if (vob.Dummy != 0) continue;
            const std::string name = CreateVOBName(static_cast<int>(v));
            if (vob.Vob_Type == "Video") {
                if (vob.CCE_Encoded != 0) useOriginal(domain, name, "\\DEMUXED\\");
                continue;
            }
            for (std::size_t c = 1; c <= vob.CELL_ID.Count(); ++c) {
                if (vob.CELL_ID.Item(c).CCE_Encoded == 0) continue;
                useOriginal(domain, name + "_" + CreateCellName(static_cast<int>(c)), "\\DEMUXED_CELLID\\");
            }
        }
    }
    if (missing) {
        job.Options().ECL_Index = 0;
        WLOG(job, "*****CCE ERRORS - SETTING ASSETS PER ECL TO = 1*****");
    }
}

}  // namespace kestrova
