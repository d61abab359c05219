// Asset names and the renames that bring the demultiplexers' output into
// them: see asset_names.h.
#include "assets/asset_names.h"

#include <vector>

#include "assets/asset_support.h"
#include "job/folders.h"
#include "job/log_writers.h"
#include "job/progress.h"
#include "platform/error.h"
#include "platform/path_space.h"

namespace kestrova {

namespace {

std::string ThreeDigits(int number) {
    std::string digits = std::to_string(number);
    if (digits.size() < 3) digits.insert(0, 3 - digits.size(), '0');
    return digits;
}

// The base folder of renamed assets for a demultiplexed folder.
std::string AssetFolderFor(const JobContext& job, const std::string& folder) {
    return job.WorkFolder + (ContainsIgnoreCase(folder, "DEMUXED_CELLID") ? "\\DEMUXED_CELLID\\" : "\\DEMUXED\\");
}

// The three characters behind a marker of DVD Decrypter's names
// ("VOBID_001" -> "001"); empty when the marker is missing.
std::string ThreeBehind(const std::string& name, const std::string& marker) {
    const auto at = name.find(marker);
    if (at == std::string::npos) return "";
    return name.substr(at + marker.size(), 3);
}

// The delay of a DVD Decrypter audio name: the text between "DELAY " and
// "ms", or "0" when the name carries none.
std::string DelayOf(const std::string& name) {
    const auto at = name.find("DELAY ");
    if (at == std::string::npos) return "0";
    const auto end = name.find("ms", at + 6);
    if (end == std::string::npos) return "0";
    return name.substr(at + 6, end - at - 6);
}

// The AC3 substream of a DVD Decrypter name: the text behind "0x" up to the next blank.
std::string SubstreamOf(const std::string& name) {
    const auto at = name.find("0x");
    if (at == std::string::npos) return "";
    const auto end = name.find(' ', at + 2);
    return name.substr(at + 2, end == std::string::npos ? std::string::npos : end - at - 2);
}

void MarkAudioPresent(JobContext& job, const std::string& vobDigits, const std::string& name) {
    if (vobDigits.size() != 3 || vobDigits.find_first_not_of("0123456789") != std::string::npos) {
        throw Error("The demultiplexed file \"" + name + "\" has no three-digit VOB id behind \"VOBID_\"");
    }
    auto& domain = CurrentDomain(job);
    const auto vob = static_cast<std::size_t>(std::stoi(vobDigits));
    if (vob < 1 || vob > domain.Vob_Id.Count()) {
        throw Error("The demultiplexed file \"" + name + "\" names VOB id " + std::to_string(vob) +
                    ", but the domain has " + std::to_string(domain.Vob_Id.Count()));
    }
    domain.Vob_Id.Item(vob).Audio_Present = -1;
}

// The asset name of one DVD Decrypter file; empty when it keeps its name.
std::string AssetNameOf(JobContext& job, const std::string& name) {
    const std::string vob = ThreeBehind(name, "VOBID_");
    if (vob.empty()) return "";
    const std::string cellDigits = ThreeBehind(name, "CELLID_");
    const std::string cell = name.find("CELLID_") == std::string::npos ? "" : "_" + cellDigits;
    const std::string kind = platform::ToUpperAscii(name.size() >= 3 ? name.substr(name.size() - 3) : name);
    const bool delayed = name.find("DELAY") != std::string::npos;
    if (kind == "VOB" || kind == "M2V") return vob + cell + name.substr(name.size() - 4);
    if (kind == "WAV") {
        MarkAudioPresent(job, vob, name);
        return vob + cell + "DELAY[" + DelayOf(name) + "].WAV";
    }
    if (kind == "AC3") {
        // An AC3 stream without its delay is left as DVD Decrypter named it.
        if (!delayed) return "";
        MarkAudioPresent(job, vob, name);
        return vob + cell + "-" + SubstreamOf(name) + "-DELAY[" + DelayOf(name) + "].AC3";
    }
    if (kind == "MP2") {
        MarkAudioPresent(job, vob, name);
        return vob + cell + "DELAY[" + DelayOf(name) + "].MP2";
    }
    return "";
}

// Renames `from` to `to`, deleting a file of the new name first.
void ReplaceWith(JobContext& job, const std::string& from, const std::string& to) {
    if (!platform::EqualsIgnoreCase(from, to) && job.Files.FileExists(to)) job.Files.DeleteFile(to);
    job.Files.MoveFile(from, to);
}

}  // namespace

std::string CreateVOBName(int vob) { return ThreeDigits(vob); }

std::string CreateCellName(int cell) { return ThreeDigits(cell); }

void EnableFileRename(JobContext& job, const std::string& Folder) {
    platform::TraceFrame frame(job.Trace, "AssetNames", "EnableFileRename");
    const std::string dest = AssetFolderFor(job, Folder);
    GetFileCount(job, Folder, "RENAME");
    const std::vector<std::string> entries = job.FileList;
    const auto total = static_cast<std::int64_t>(entries.size() - 1);
    std::string current;
    try {
        for (std::size_t i = 1; i < entries.size(); ++i) {
            current = entries[i];
            if (current.empty()) continue;
            const std::string oldPath = JoinPath(Folder, current);
            if (job.Files.FileSize(oldPath) == 0) {
                job.Files.DeleteFile(oldPath);
                continue;
            }
            const std::string newName = AssetNameOf(job, current);
            if (newName.empty()) continue;
            const std::string newPath = dest + newName;
            job.Files.MoveFile(oldPath, newPath);
            WLOG(job, "\t" + oldPath + " Renamed to = " + newPath);
            UpdateProgress(job, static_cast<std::int64_t>(i), total, "ReNaming", false, false);
        }
    } catch (const Error& failure) {
        WLOG(job, std::string("error : ") + failure.what() + " FileProcess = " + current);
    }
}

void MoveCellAudio(JobContext& job) {
    platform::TraceFrame frame(job.Trace, "AssetNames", "MoveCellAudio");
    LogWindow(job, "Moving Audio if Required");
    const std::string demuxed = job.WorkFolder + "\\DEMUXED\\";
    const std::string byCell = job.WorkFolder + "\\DEMUXED_CELLID\\";
    GetFileCount(job, job.WorkFolder + "\\DEMUXED", "MOVEAUDIO");
    const std::vector<std::string> entries = job.FileList;
    auto& domain = CurrentDomain(job);
    std::int64_t moves = 0;
    const auto total = static_cast<std::int64_t>(entries.size() - 1);
    const auto stepped = [&] { UpdateProgress(job, ++moves, total, "Moving Cells", false, false); };

    for (std::size_t v = 1; v <= domain.Vob_Id.Count(); ++v) {
        const auto& type = domain.Vob_Id.Item(v).Vob_Type;
        if (type != "StillMenu" && type != "SlideShow") continue;
        const std::string vv = CreateVOBName(static_cast<int>(v));
        if (!job.Files.FileExists(byCell + vv + "_001.M2V") && job.Files.FileExists(demuxed + vv + ".M2V")) {
            job.Files.MoveFile(demuxed + vv + ".M2V", byCell + vv + "_001.M2V");
            stepped();
        }
        for (std::size_t i = 1; i < entries.size(); ++i) {
            const std::string& entry = entries[i];
            if (entry.size() < 3 || !platform::EqualsIgnoreCase(entry.substr(0, 3), vv)) continue;
            // The whole rest of the name is kept: a cut would lose the
            // delay and extension the audio stages read back.
            const std::string target = byCell + vv + "_001" + entry.substr(3);
            if (job.Files.FileExists(target) || !job.Files.FileExists(demuxed + entry)) continue;
            job.Files.MoveFile(demuxed + entry, target);
            stepped();
        }
    }
}

void RenameDummy(JobContext& job) {
    WLOG(job, "Checking for Dummy VOBs");
    const std::string demuxed = job.WorkFolder + "\\DEMUXED\\";
    auto& domain = CurrentDomain(job);
    for (std::size_t v = 1; v <= domain.Vob_Id.Count(); ++v) {
        if (domain.Vob_Id.Item(v).Dummy == 0) continue;
        const std::string vv = CreateVOBName(static_cast<int>(v));
        std::string source = demuxed + "nocce-" + vv + ".M2V";
        if (!job.Files.FileExists(source)) source = demuxed + vv + ".M2V";
        if (job.Files.FileExists(source)) job.Files.MoveFile(source, demuxed + "Dummy-" + vv + ".M2V");
    }
}

void AudioRename(JobContext& job, const std::string& Folder, bool Fixed) {
    platform::TraceFrame frame(job.Trace, "AssetNames", "AudioRename");
    const std::string dest = AssetFolderFor(job, Folder);
    const bool byCell = ContainsIgnoreCase(Folder, "DEMUXED_CELLID");
    GetFileCount(job, Folder, "AUDIORENAME");
    const std::vector<std::string> entries = job.FileList;
    const auto& options = job.Options();
    const bool plain = options.Conversion == 0 || (options.Conversion == 1 && job.State().ConvertAudio == 0);
    std::string stream = "0";  // S of the last "fixed" file of a known substream
    for (std::size_t i = 1; i < entries.size(); ++i) {
        const std::string& entry = entries[i];
        if (entry.empty()) continue;
        const std::string path = JoinPath(Folder, entry);
        if (!Fixed) {
            // A name already finished ("1-001.ac3", left by a run that was
            // stopped and resumed) is not numbered again.
            if (entry.size() >= 2 && entry[1] == '-') continue;
            if (plain) {
                ReplaceWith(job, path, dest + "1-" + entry);
            } else if (entry.find("DELAY") == std::string::npos && entry.size() >= 2) {
                if (entry[1] == '_') {
                    ReplaceWith(job, path, dest + entry.substr(0, 1) + "-" + entry.substr(2));
                } else {
                    ReplaceWith(job, path, dest + "1-" + entry);
                }
            }
            continue;
        }
        if (!ContainsIgnoreCase(entry, "fixed")) continue;
        if (entry.find("-80-") != std::string::npos) stream = "1";
        if (entry.find("-81-") != std::string::npos) stream = "2";
        ReplaceWith(job, path, dest + stream + "-" + entry.substr(0, byCell ? 7 : 3) + ".ac3");
    }
}

}  // namespace kestrova
