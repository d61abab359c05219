// The "QuantDump" personality: the quantiser matrices of an MPEG-1 or
// MPEG-2 video elementary stream, as the job asks for them before an HC
// encode with "Use Original Matrices":
//
//   QuantDump SOURCE DUMPFILE
//
// One pass over the stream through a window of fixed size reads only the
// sequence headers and the quant matrix extensions. DUMPFILE lists, in
// stream order, each change of the matrix a decoder has in force for intra
// and for non-intra blocks: a heading, then 8 lines of 8 values in raster
// order. A sequence header loads a kind or sets it back to its default, so
// the first one always gives both kinds; after that a kind is written only
// when it changes, which keeps the dump small on a long stream. The format
// is told in README.md. The dump is written whole or not at all.
#include <array>
#include <optional>
#include <string>

#include "assets/video_stream.h"
#include "model/language_table.h"
#include "platform/error.h"
#include "platform/files.h"
#include "standin.h"

namespace kestrova::standin {

namespace {

constexpr std::uint8_t kExtensionStartCode = 0xB5;

enum MatrixKind : std::size_t { kIntra, kNonIntra };

// By kind: the heading of a matrix the stream loads, and of a default one.
constexpr const char* kHeadings[2][2] = {
    {"Luma and Chroma Intra Quant Matrix:", "Default Luma and Chroma Intra Quant Matrix:"},
    {"Luma and Chroma Non-Intra Quant Matrix:", "Default Luma and Chroma Non-Intra Quant Matrix:"},
};

// The defaults a decoder uses: the intra matrix of ISO/IEC 13818-2, which the
// model keeps, and 16 throughout for non-intra blocks. (The model's own
// non-intra default is Test Model 5's, a starting point for the matrix
// editor, not what a stream without a matrix means.)
QuantiserMatrix DefaultMatrix(MatrixKind kind) {
    QuantiserMatrix matrix;
    matrix.fill(16);
    if (kind == kIntra) {
        const auto& intra = CLsDVD().Intra();
        for (std::size_t i = 0; i < matrix.size(); ++i) matrix[i] = static_cast<std::uint8_t>(intra[i]);
    }
    return matrix;
}

class MatrixDump {
public:
    // The matrix of a kind now in force: loaded from the stream, or the
    // default when `loaded` is empty.
    void Set(MatrixKind kind, const std::optional<QuantiserMatrix>& loaded) {
        const QuantiserMatrix matrix = loaded.value_or(DefaultMatrix(kind));
        if (inForce_[kind] == matrix) return;
        inForce_[kind] = matrix;
        text_ += std::string(kHeadings[kind][loaded ? 0 : 1]) + "\r\n";
        for (std::size_t row = 0; row < 8; ++row) {
            for (std::size_t column = 0; column < 8; ++column) {
                text_ += std::to_string(matrix[row * 8 + column]) + (column < 7 ? " " : "\r\n");
            }
        }
        text_ += "\r\n";
    }

    const std::string& Text() const { return text_; }

private:
    std::array<std::optional<QuantiserMatrix>, 2> inForce_;
    std::string text_;
};

}  // namespace

int RunQuantDump(const Invocation& call) {
    if (call.Arguments.size() != 2) throw Error("QuantDump: expected SOURCE DUMPFILE");
    const std::string& source = call.Arguments[0];
    const std::string& dumpFile = call.Arguments[1];
    const platform::FileSystem files(call.Paths);
    files.DeleteFile(dumpFile);
    if (!files.FileExists(source)) throw Error("QuantDump: there is no video file \"" + source + "\"");

    FileVideoReader reader(files.ToHost(source));
    StartCodeWalker walker(reader);
    walker.Begin();
    MatrixDump dump;
    do {
        if (walker.Code() == kSequenceHeaderCode) {
            HeaderBits bits = walker.Header("sequence header", kSequenceHeaderMaxBytes);
            const SequenceHeader header = ReadSequenceHeader(bits);
            dump.Set(kIntra, header.IntraQuantiserMatrix);
            dump.Set(kNonIntra, header.NonIntraQuantiserMatrix);
        } else if (walker.Code() == kExtensionStartCode) {
            HeaderBits bits = walker.Header("extension", kQuantMatrixExtensionMaxBytes);
            if (bits.Read(4) != kQuantMatrixExtensionId) continue;
            // The chroma matrices of 4:2:2 and 4:4:4 streams have no place in
            // the dump: a DVD's 4:2:0 chroma uses the luma ones.
            const QuantMatrixExtension extension = ReadQuantMatrixExtension(bits);
            if (extension.Intra) dump.Set(kIntra, extension.Intra);
            if (extension.NonIntra) dump.Set(kNonIntra, extension.NonIntra);
        }
    } while (walker.Next());

    if (call.Fail == FailMode::Partial) {
        // Cut inside the first matrix: its heading and 4 of its lines.
        std::size_t cut = 0;
        for (int line = 0; line < 5; ++line) cut = dump.Text().find('\n', cut) + 1;
        files.WriteFileAtomic(dumpFile, dump.Text().substr(0, cut));
        return 1;
    }
    files.WriteFileAtomic(dumpFile, dump.Text());
    return 0;
}

}  // namespace kestrova::standin
