// The "vobtest" personality: the still scan of a menu domain.
//
//   vobtest "JOINED.VOB" "OUT.txt"
//
// reads the joined VOB and writes, for each cell whose video holds exactly
// one picture, the token "v" VOB id "/c" cell id (decimal), the tokens one
// after the other on one line, closed by "End Scan": "v1/c1v3/c2End Scan".
// A cell without video is no still. A NAV pack it cannot read is written
// to stderr and the scan goes on. Asked to fail partway it leaves the
// tokens without "End Scan", as a scan cut short.
#include <iostream>

#include "assets/cell_pictures.h"
#include "platform/error.h"
#include "platform/stream_files.h"
#include "standin.h"

namespace kestrova::standin {

int RunVobtest(const Invocation& call) {
    if (call.Arguments.size() != 2) throw Error("vobtest: expected the joined VOB and the output file");
    const auto input = platform::OpenFileReader(call.Paths, call.Arguments[0]);
    std::vector<std::string> navFaults;
    auto report = [&] {
        for (const std::string& fault : navFaults) std::cerr << call.Tool << ": " << fault << "\n";
    };
    std::vector<CellPictures> cells;
    try {
        cells = CountCellPictures(*input, navFaults);
    } catch (const Error&) {
        report();
        throw;
    }
    report();
    std::string text;
    for (const CellPictures& cell : cells) {
        if (cell.IsStill()) text += "v" + std::to_string(cell.Cell.VobId) + "/c" + std::to_string(cell.Cell.CellId);
    }
    if (call.Fail == FailMode::Partial) {
        WriteJobFile(call, call.Arguments[1], text + "\r\n");
        return 1;
    }
    WriteJobFile(call, call.Arguments[1], text + "End Scan\r\n");
    return 0;
}

}  // namespace kestrova::standin
