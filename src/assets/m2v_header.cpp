// The aspect of an M2V: see m2v_header.h.
#include "assets/m2v_header.h"

#include "frameserver/mpeg_header.h"

namespace kestrova {

bool ReadAspectFromM2v(JobContext& job, const std::string& Path) {
    return ReadFirstSequenceHeader(job.Files, Path, kSequenceHeaderSearchBytes).AspectRatioCode == 3;
}

}  // namespace kestrova
