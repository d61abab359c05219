// Quantiser matrices: see quant_matrices.h.
#include "video/quant_matrices.h"

#include <string_view>
#include <vector>

#include "assets/asset_support.h"
#include "job/log_writers.h"
#include "job/tool_runner.h"
#include "platform/error.h"
#include "platform/text.h"
#include "platform/trace.h"

namespace kestrova {

namespace {

constexpr std::size_t kRows = 8;

// The separators a matrix file may use, in the order they are tried.
constexpr std::string_view kSeparators[] = {" ", "*", ">>", ">", ",", ";"};

// The pieces of a line split on `separator`, each without the blanks around
// it; empty pieces (a run of blanks, a separator at the end) are left out.
std::vector<std::string> SplitValues(std::string_view line, std::string_view separator) {
    std::vector<std::string> pieces;
    for (std::size_t start = 0;;) {
        const std::size_t end = line.find(separator, start);
        std::string piece = platform::Trim(line.substr(start, end == std::string_view::npos ? end : end - start));
        if (!piece.empty()) pieces.push_back(std::move(piece));
        if (end == std::string_view::npos) return pieces;
        start = end + separator.size();
    }
}

bool IsWholeNumber(const std::string& text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

// The 8 values of a dumped row, as a decoder may hold them: 1 to 255.
bool ReadDumpRow(const std::string& line, std::size_t row, MatrixValues& matrix) {
    std::string blanks = line;
    platform::ReplaceAll(blanks, "\t", " ");
    const std::vector<std::string> values = SplitValues(blanks, " ");
    if (values.size() != 8) return false;
    for (std::size_t column = 0; column < 8; ++column) {
        const std::string& value = values[column];
        if (!IsWholeNumber(value) || value.size() > 3 || std::stoi(value) < 1 || std::stoi(value) > 255) return false;
        matrix[row * 8 + column] = std::to_string(std::stoi(value));
    }
    return true;
}

enum class Section { None, Intra, NonIntra };

// Reads the dump with the state `Section`. The last matrix of each kind
// stays. Returns the fault, or empty when both kinds are whole.
std::string ReadDump(const platform::FileSystem& files, const std::string& DumpFile,
                     std::array<MatrixValues, 2>& matrices) {
    const auto fault = [&DumpFile](std::size_t line, const std::string& what) {
        const std::string where = line > 0 ? " (line " + std::to_string(line) + ")" : "";
        return "the matrix dump \"" + DumpFile + "\" " + what + where;
    };
    std::array<std::size_t, 2> rows = {0, 0};
    std::array<std::size_t, 2> headings = {0, 0};  // the line of each kind's last heading
    Section section = Section::None;
    // A matrix is whole when its next heading or the end of the dump comes.
    const auto closeSection = [&]() -> std::string {
        if (section == Section::None) return "";
        const std::size_t kind = section == Section::Intra ? 0 : 1;
        if (rows[kind] == kRows) return "";
        return fault(headings[kind], "has " + std::to_string(rows[kind]) + " of the 8 lines of the matrix under " +
                                         "this heading");
    };

    const std::vector<std::string> lines = files.ReadLines(DumpFile);
    for (std::size_t number = 1; number <= lines.size(); ++number) {
        const std::string line = platform::Trim(lines[number - 1]);
        if (line.empty()) continue;
        Section heading = Section::None;
        if (line == "Luma and Chroma Intra Quant Matrix:" || line == "Default Luma and Chroma Intra Quant Matrix:") {
            heading = Section::Intra;
        } else if (line == "Luma and Chroma Non-Intra Quant Matrix:" ||
                   line == "Default Luma and Chroma Non-Intra Quant Matrix:") {
            heading = Section::NonIntra;
        }
        if (heading != Section::None) {
            if (std::string closed = closeSection(); !closed.empty()) return closed;
            section = heading;
            const std::size_t kind = section == Section::Intra ? 0 : 1;
            rows[kind] = 0;
            headings[kind] = number;
            continue;
        }
        if (section == Section::None) return fault(number, "has values before any matrix heading");
        const std::size_t kind = section == Section::Intra ? 0 : 1;
        if (rows[kind] == kRows) {
            return fault(number, "has a ninth line under the heading of line " + std::to_string(headings[kind]));
        }
        if (!ReadDumpRow(line, rows[kind], matrices[kind])) {
            return fault(number, "has a line that is not 8 values from 1 to 255");
        }
        ++rows[kind];
    }
    if (std::string closed = closeSection(); !closed.empty()) return closed;
    if (headings[0] == 0) return fault(0, "holds no intra matrix");
    if (headings[1] == 0) return fault(0, "holds no non-intra matrix");
    return "";
}

}  // namespace

void QuantDump(JobContext& job, const std::string& Source, const std::string& DumpFile, const std::string& IntraFile,
               const std::string& NonIntraFile, const std::string& Label) {
    platform::TraceFrame frame(job.Trace, "QuantMatrices", "QuantDump");
    LogWindow(job, "Getting Matrix for " + Label);
    // Files of an earlier run must not pass for this one's.
    for (const std::string* path : {&DumpFile, &IntraFile, &NonIntraFile}) job.Files.DeleteFile(*path);
    const std::string folder = DumpFile.substr(0, DumpFile.rfind('\\'));
    if (!job.Files.FolderExists(folder)) job.Files.MakeFolder(folder);

    RunOutsideTool(job,
                   CommandLinePath(job, job.ProgramFolder + "\\QuantDump.exe") + " " + CommandLinePath(job, Source) +
                       " " + CommandLinePath(job, DumpFile),
                   kWindowHidden);
    if (!job.Files.FileExists(DumpFile)) {
        CheckFilesMade(job, {DumpFile}, "Matrix dump", "matrix dumps");
        return;
    }
    std::array<MatrixValues, 2> matrices;
    if (const std::string fault = ReadDump(job.Files, DumpFile, matrices); !fault.empty()) {
        StageFailed(job, RunStage::Encoding, fault);
        return;
    }
    WriteMatrixFile(job.Files, IntraFile, matrices[0]);
    WriteMatrixFile(job.Files, NonIntraFile, matrices[1]);
}

std::optional<MatrixValues> ReadMatrixFile(const platform::FileSystem& files, const std::string& path) {
    std::vector<std::string> lines = files.ReadLines(path);
    if (lines.size() < kRows) lines.resize(kRows);
    for (std::string& line : lines) line = platform::Trim(line);
    if (lines[kRows - 1].empty()) return std::nullopt;

    std::string_view separator;
    for (const std::string_view candidate : kSeparators) {
        if (lines[0].find(candidate) != std::string::npos) {
            separator = candidate;
            break;
        }
    }
    if (separator.empty()) return std::nullopt;

    MatrixValues matrix;
    for (std::size_t row = 0; row < kRows; ++row) {
        const std::vector<std::string> values = SplitValues(lines[row], separator);
        if (values.size() != 8) return std::nullopt;
        for (std::size_t column = 0; column < 8; ++column) {
            if (!IsWholeNumber(values[column])) return std::nullopt;
            matrix[row * 8 + column] = values[column];
        }
    }
    return matrix;
}

void WriteMatrixFile(const platform::FileSystem& files, const std::string& path, const MatrixValues& values) {
    std::string text;
    for (std::size_t row = 0; row < kRows; ++row) {
        for (std::size_t column = 0; column < 8; ++column) {
            text += values[row * 8 + column] + (column < 7 ? " " : "\r\n");
        }
    }
    files.WriteFileAtomic(path, text);
}

}  // namespace kestrova
