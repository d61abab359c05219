// The state of a Muxman script run: see mxp_run.h.
#include "muxman/mxp_run.h"

#include "platform/error.h"

namespace kestrova {

void WSF(MuxmanRun& run, int depth, std::string_view text) {
    if (!run.File) throw Error("A Muxman script line was written with no script open: " + std::string(text));
    run.File->Line(depth, text);
}

}  // namespace kestrova
