// Flags of the encoded streams and the stripping of unwanted VOBs: see mpeg_patching.h.
#include "video/mpeg_patching.h"

#include "job/log_writers.h"

namespace kestrova {

void UpdateMPV(JobContext& job, const std::string& Source, const std::string& Target, const std::string& Label, std::int16_t DomainIndex) {
    static_cast<void>(Source);
    static_cast<void>(Target);
    static_cast<void>(Label);
    static_cast<void>(DomainIndex);
    NotYetAvailable(job, "UpdateMPV");
}

void VobStripping(JobContext& job) {
    NotYetAvailable(job, "VobStripping");
}

}  // namespace kestrova
