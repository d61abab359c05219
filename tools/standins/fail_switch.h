// The fail switch of the programs that run in the tools' places:
// $KESTROVA_STANDIN_FAIL ("copy,touch=partial") names the tools a test
// wants to fail, and how. kestrova-standin and kestrova-author read it
// alike. The entries, NAME or NAME=MODE:
//   NAME, NAME=fail    leave nothing, exit 1
//   NAME=partial       leave a truncated output, exit 1
//   NAME=dieafter:K    a tool working through a list (the encoders) does K
//                      items whole, leaves the next one's output truncated
//                      and exits 1: the batch that dies half way
//   NAME=failfirst:N   the first N calls fail as "fail", later ones work.
//                      Calls are counted per tool in the file named by
//                      $KESTROVA_STANDIN_COUNTS, else in the call record
//                      file's name ($KESTROVA_STANDIN_CALLS) with ".counts"
//                      added.
#pragma once

#include <string>

#include "standin.h"

namespace kestrova::standin {

struct FailRequest {
    FailMode Mode = FailMode::None;
    long ItemsBeforeFailure = 0;  // dieafter:K
    long FailFirstCalls = 0;      // failfirst:N
};

// The entry of $KESTROVA_STANDIN_FAIL for this tool (matched without regard
// to case), or no failure. Throws Error for a count that is no number.
FailRequest FailRequestFor(const std::string& tool);

// The number of this call of the tool (1 for the first), kept in the count
// file, one line "TOOL COUNT" per tool. Throws Error when there is no file
// to count in or it cannot be written.
long CountCall(const std::string& tool);

// The mode this call takes: the request's, with "failfirst" turned into
// Fail for the first calls (counting this one) and into None after them.
FailMode FailModeOfCall(const std::string& tool, const FailRequest& request);

}  // namespace kestrova::standin
