// Quantiser matrices for the HC encoder: the matrices of a source stream,
// dumped by QuantDump.exe for "Use Original Matrices", and the matrix files
// (".mtx": 8 lines of 8 values) that the dump, the matrix window and the
// encoder's settings file share.
#pragma once

#include <array>
#include <optional>
#include <string>

#include "job/context.h"

namespace kestrova {

// A matrix as text, 64 values in raster order: a file's values or a grid's boxes.
using MatrixValues = std::array<std::string, 64>;

// What the user is told of a matrix file that is not 8 rows of 8 numbers.
inline constexpr const char* kIncorrectMatrixFile =
    "Incorrect Matrix File - Ensure it is 8 * 8 sequence; Supported seperators are whitespace * > >> , ;";

// Dumps the matrices of the stream `Source` into `DumpFile` with
// QuantDump.exe and writes the last intra and the last non-intra matrix of
// the dump to the two files. When the tool leaves no dump the files are not
// written (the encoder then takes its MPEG matrix); a dump that is not whole
// (a kind missing, a matrix of other than 8 lines of 8 values from 1 to 255)
// fails the encoding stage with its file and line, and no file is written.
void QuantDump(JobContext& job, const std::string& Source, const std::string& DumpFile, const std::string& IntraFile,
               const std::string& NonIntraFile, const std::string& Label);

// Reads a matrix file: its first 8 lines, each split on the separator its
// first line shows (tried in the order " ", "*", ">>", ">", ",", ";"),
// blanks around a value and empty pieces left out. Each line must give 8
// whole numbers; they are not clamped. Empty when the file is not so (the
// caller shows kIncorrectMatrixFile); throws Error when it cannot be read.
std::optional<MatrixValues> ReadMatrixFile(const platform::FileSystem& files, const std::string& path);

// Writes the 8 rows, one blank between values, through a temporary file.
void WriteMatrixFile(const platform::FileSystem& files, const std::string& path, const MatrixValues& values);

}  // namespace kestrova
