// The flags of the encoded streams (pulldown, frame rate, drop-frame time
// codes, pan-scan, aspect), set by revpulldown; the dummy stream of the
// title placeholders; and the stripping of unwanted VOBs.
#pragma once

#include <cstdint>
#include <string>

#include "job/context.h"

namespace kestrova {

// With an empty source, the pulldown and header stage over all assets (and
// each domain's dummy stream); otherwise a copy of one file, in the display
// mode of domain `DomainIndex`.
void UpdateMPV(JobContext& job, const std::string& Source, const std::string& Target, const std::string& Label, std::int16_t DomainIndex);

// True when the stream's first sequence header, in its first 2048 bytes,
// says 23.976; the rate goes to the run log. A stream without a header
// there is reported by nothing and gives false.
bool GetEncodedFrameRate(JobContext& job, const std::string& Path);

// The VOB ids the user strips become dummies: through the preview window
// when the settings ask for it and the view has one, else from the strip
// list the preview wrote last ("DummyVobs.txt" in the job's root).
void VobStripping(JobContext& job);

}  // namespace kestrova
