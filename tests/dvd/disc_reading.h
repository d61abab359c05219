// Reading a fixture disc into a job as the job's IFO stage does: VIDEO_TS.IFO
// first, then each VTS_nn_0.IFO in name order.
#pragma once

#include <string>
#include <vector>

#include "dvd/ifo_reader.h"
#include "job/context.h"

namespace kestrova::test {

// The drive path of the host folder (Z: maps "/").
inline std::string DrivePathOf(const JobContext& job, const std::string& hostFolder) {
    return job.Files.Paths().ToWindows(hostFolder);
}

// The IFO files of a VIDEO_TS folder given as a drive path, in reading order.
inline std::vector<std::string> IfoFiles(const JobContext& job, const std::string& folder) {
    std::vector<std::string> names{folder + "\\VIDEO_TS.IFO"};
    for (const auto& name : job.Files.List(folder, "VTS_??_0.IFO", platform::ListKind::Files)) {
        names.push_back(folder + "\\" + name);
    }
    return names;
}

// Reads the disc; the first file fixes the job's video standard.
inline void ReadDisc(JobContext& job, const std::string& hostFolder, const std::string& language = "ALL",
                     bool readMenus = true) {
    job.Timing.VideoStandard.clear();
    const auto files = IfoFiles(job, DrivePathOf(job, hostFolder));
    for (std::size_t i = 0; i < files.size(); ++i) GetIFOParams(job, files[i], readMenus, language, i == 0);
}

}  // namespace kestrova::test
