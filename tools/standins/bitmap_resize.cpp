// The "BitmapResize" personality: a subpicture bitmap carried between the
// PAL and NTSC line counts, as the job calls it for each bitmap when a
// domain changes standard:
//
//   BitmapResize IN.bmp OUT.bmp PAL2NTSC|NTSC2PAL
//
// IN is an indexed BMP of 4 or 8 bits a pixel. OUT keeps its header,
// palette and width; PAL2NTSC gives it h*480/576 rows, NTSC2PAL h*576/480
// (truncated), each row the input row nearest to its centre, copied byte
// for byte so the indices stay as they were.
#include <cstdint>

#include "indexed_bmp.h"
#include "platform/error.h"
#include "platform/text.h"
#include "standin.h"

namespace kestrova::standin {

int RunBitmapResize(const Invocation& call) {
    if (call.Arguments.size() != 3) throw Error("BitmapResize: expected IN.bmp OUT.bmp PAL2NTSC|NTSC2PAL");
    const std::string& input = call.Arguments[0];
    const std::string direction = platform::ToUpperAscii(call.Arguments[2]);
    std::uint32_t from = 0, to = 0;  // line counts of the two standards
    if (direction == "PAL2NTSC") {
        from = 576, to = 480;
    } else if (direction == "NTSC2PAL") {
        from = 480, to = 576;
    } else {
        throw Error("BitmapResize: \"" + call.Arguments[2] + "\" is neither PAL2NTSC nor NTSC2PAL");
    }
    IndexedBmpFile bitmap = ReadIndexedBmp(ReadJobFile(call, input), input);
    const std::uint64_t height = bitmap.Height;
    const std::uint64_t rows = height * to / from;
    if (rows == 0) {
        throw Error("BitmapResize: \"" + input + "\" has " + std::to_string(height) + " rows, too few to resize");
    }
    std::vector<std::string> resized(rows);
    for (std::uint64_t y = 0; y < rows; ++y) {
        // The input row under the centre of output row y: (y + 1/2) * height / rows.
        const std::uint64_t source = ((2 * y + 1) * height) / (2 * rows);
        resized[y] = bitmap.Rows[source < height ? source : height - 1];
    }
    bitmap.Rows = std::move(resized);
    WriteJobFile(call, call.Arguments[1], bitmap.Bytes());
    return 0;
}

}  // namespace kestrova::standin
