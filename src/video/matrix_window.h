// The custom matrix window without its widgets: two grids of 64 text boxes,
// the intra and the non-intra matrix, the rules the boxes keep while the
// user types, and the window's load, save, reset and exit. The window's
// widgets pass each edit, focus change and button on to this model and
// show its boxes; its messages and questions go through the job's.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "job/context.h"
#include "video/quant_matrices.h"

namespace kestrova {

enum class MatrixGrid : std::size_t { Intra, NonIntra };

// The HC matrix menu of the main window ("matricies"): the ten named
// matrices of `Settings.HCMatrix` 0 to 9, then "Custom", which needs the
// user's pair of matrix files beside the program.
inline constexpr std::int16_t kCustomMatrixEntry = 10;
struct HcMatrixMenu {
    std::array<bool, kCustomMatrixEntry + 1> Checked{};
    bool CustomEnabled = false;
};

class MatrixWindow {
public:
    // Each grid opens with the program folder's file of its kind when that
    // reads as a matrix, else with the defaults of the language table.
    explicit MatrixWindow(JobContext& job);

    // A box's text; boxes are numbered 0 to 63 in raster order.
    const std::string& Box(MatrixGrid grid, std::size_t box) const;
    const MatrixValues& Values(MatrixGrid grid) const { return grids_[Index(grid)]; }

    // The user made the box's text `text`: its digits are let through, and
    // a value above 255 is set back to "255" at once.
    void Type(MatrixGrid grid, std::size_t box, const std::string& text);
    // Focus leaves the box: a value below 8, or none, becomes "8".
    void LeaveBox(MatrixGrid grid, std::size_t box);

    // Loads the grid from a file the user chooses, or from `path`. A file
    // that is not a matrix shows kIncorrectMatrixFile and changes nothing;
    // values are taken as the file has them. True when the grid was loaded.
    bool Load(MatrixGrid grid);
    bool LoadFile(MatrixGrid grid, const std::string& path);
    // Saves the grid to a file the user chooses (nothing when none is), or
    // to the program folder's "Intra.mtx" or "NonIntra.mtx".
    void Save(MatrixGrid grid);
    void SaveOwn(MatrixGrid grid);
    // The grid takes the defaults of the language table.
    void Reset(MatrixGrid grid);

    // The window's exit. With both program folder files there,
    // `Settings.HCMatrix` becomes 10 and the menu's "Custom" entry is
    // enabled and the only one checked. With one missing the user is asked
    // whether to exit anyway. True when the window closes.
    bool Exit(HcMatrixMenu& menu);

    // The program folder's file of the grid's kind.
    std::string OwnFile(MatrixGrid grid) const;

private:
    static std::size_t Index(MatrixGrid grid) { return static_cast<std::size_t>(grid); }
    std::string& At(MatrixGrid grid, std::size_t box);
    std::string DrivePath(const std::string& chosen) const;

    JobContext& job_;
    std::array<MatrixValues, 2> grids_;
};

}  // namespace kestrova
