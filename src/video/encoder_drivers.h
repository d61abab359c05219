// The encoder runs. After all menus are prepared one stage encodes every
// asset of the job with the chosen outside encoder: CCE over its lists
// (through EclCCE or directly), Procoder and the CCE Basic build one list
// per asset, QuEnc one command line per asset, Rejig one list of
// requantising jobs, HC one ".ini" per asset. A motion "Video" VOB id goes
// through the per-asset encoders once per chapter on a trimmed script, and
// the parts are joined by "JoinM2V.bat", so each chapter starts a GOP.
#pragma once

#include <cstdint>
#include <string>

#include "job/context.h"

namespace kestrova {

// Chooses in-place encoding with Rejig for the domain, or falls back on CCE
// when Rejig is not there.
void EnableRejig(JobContext& job);

// The stage: the encoder the settings choose, over all domains.
void EnableVideoEncoding(JobContext& job);

// CCE over each numbered list "CCE<i>.ecl".
void EnableCCEProcess(JobContext& job);

// Procoder (through EclPro) or CCE Basic over the per-asset lists, a
// "Video" VOB id once per chapter.
void EnableEncodingProcess(JobContext& job, const std::string& EncoderPath);

// QuEnc with one command line per asset or chapter.
void EnableQuenc(JobContext& job);

// Rejig over "Rejig.txt", one requantising job a line.
void EnableRejigProcess(JobContext& job);

// HC over one ".ini" per asset.
void EnableHCProcess(JobContext& job);

// Rewrites the script with one Trim(First, Last) before its "Audio" line;
// Last 0 runs to the end of the clip.
void TrimAVS(JobContext& job, const std::string& AvsPath, std::int32_t First, std::int32_t Last);

// Writes the HC settings of a VOB id (CellItem 0) or one of its cells;
// returns the short path of the ".ini".
std::string WriteHCIni(JobContext& job, std::int16_t Domain, std::int16_t VobItem, std::int16_t VobId,
                       std::int16_t VtsIndex, std::int16_t CellItem, std::int16_t CellId);

}  // namespace kestrova
