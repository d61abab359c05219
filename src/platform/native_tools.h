// The native equivalents of the Windows tools the job drives: the tool
// override rows that send a tool's command line to a program of this
// host. The demultiplexers and the still scanner are personalities of
// kestrova-standin, which does their work on the real bytes.
#pragma once

#include <string>

#include "platform/launcher.h"

namespace kestrova::platform {

// Registers "DVDDecrypter.exe", "PgcDemux.exe", "vobtest.exe" and the
// indexing tools (dvd2avirb, dvd2avidg, DGIndex) as the stand-in program at `standinHostPath` with "--tool" and the personality.
void AddStandInTools(Launcher& launcher, const std::string& standinHostPath);

}  // namespace kestrova::platform
