// Asset file names and the moves between the job's folders: see asset_names.h.
#include "assets/asset_names.h"

#include "job/log_writers.h"

namespace kestrova {

void EnableFileRename(JobContext& job, const std::string& Folder) {
    static_cast<void>(Folder);
    NotYetAvailable(job, "EnableFileRename");
}

void MoveCellAudio(JobContext& job) {
    NotYetAvailable(job, "MoveCellAudio");
}

void GetEncodedVideo(JobContext& job) {
    NotYetAvailable(job, "GetEncodedVideo");
}

void CopyRemainingFiles(JobContext& job, bool OtherCopyMode) {
    static_cast<void>(OtherCopyMode);
    NotYetAvailable(job, "CopyRemainingFiles");
}

}  // namespace kestrova
