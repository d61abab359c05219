// The source disc's menu palettes written back into an authored IFO. The
// authoring tools give the PGCs they write palettes of their own, so once a
// domain is authored each menu PGC with cells gets back the 16 colours the
// model read from its source PGC.
#pragma once

#include <string>

#include "job/context.h"

namespace kestrova {

// The bytes of the authored IFO `bytes` (its drive path `path`, a
// VIDEO_TS.IFO or VTS_nn_0.IFO) with the source palettes written in:
// - the file's name (not its folder) holding "VTS" makes it title set nn,
//   domain nn + 1 of DiscModel, whose VTSM_PGCI_UT sector stands at byte
//   208; any other name is the video manager, domain 1, sector at byte 200;
// - each language unit is matched with the domain's language at the same
//   position when the unit count equals the language count; otherwise the
//   units take, in order, the languages that have PGCs;
// - PGC j of a unit gets Y, U, V of each of the 16 Palette entries of the
//   language's PGC j, into the three bytes after each entry's first, when
//   the PGC has cells in the authored file and the model has a PGC j. The
//   first byte of each entry, PGCs without cells, PGCs beyond the model's
//   count and PGCs whose model record holds no palette keep what the tool
//   wrote.
// `bytes` itself is never changed. A table, unit or PGC that lies past the
// end of the file (or a domain the model lacks, or a colour outside a byte)
// fails the IFO correction with a sentence naming the file and the byte
// offset, and the bytes come back unchanged.
std::string ReplacePalette(JobContext& job, const std::string& path, const std::string& bytes);

}  // namespace kestrova
