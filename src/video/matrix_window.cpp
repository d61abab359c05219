// The custom matrix window's model: see matrix_window.h.
#include "video/matrix_window.h"

#include <algorithm>

#include "platform/error.h"
#include "platform/path_space.h"

namespace kestrova {

namespace {

constexpr const char* kGridNames[] = {"Intra", "Non-Intra"};

// The value of a box's digits; anything above 999 counts as 1000.
int BoxValue(const std::string& digits) {
    int value = 0;
    for (const char c : digits) value = std::min(value * 10 + (c - '0'), 1000);
    return value;
}

void CheckBox(MatrixGrid grid, std::size_t box) {
    if (box >= 64) {
        throw Error("The matrix window has no box " + std::to_string(box) + " in its " +
                    kGridNames[static_cast<std::size_t>(grid)] + " grid; the boxes are 0 to 63");
    }
}

}  // namespace

MatrixWindow::MatrixWindow(JobContext& job) : job_(job) {
    for (const MatrixGrid grid : {MatrixGrid::Intra, MatrixGrid::NonIntra}) {
        Reset(grid);
        const std::string own = OwnFile(grid);
        if (!job_.Files.FileExists(own)) continue;
        try {
            if (auto values = ReadMatrixFile(job_.Files, own)) grids_[Index(grid)] = *values;
        } catch (const Error&) {
            // An unreadable file leaves the defaults, as a missing one does.
        }
    }
}

std::string MatrixWindow::OwnFile(MatrixGrid grid) const {
    return job_.ProgramFolder + (grid == MatrixGrid::Intra ? "\\Intra.mtx" : "\\NonIntra.mtx");
}

std::string& MatrixWindow::At(MatrixGrid grid, std::size_t box) {
    CheckBox(grid, box);
    return grids_[Index(grid)][box];
}

const std::string& MatrixWindow::Box(MatrixGrid grid, std::size_t box) const {
    CheckBox(grid, box);
    return grids_[Index(grid)][box];
}

void MatrixWindow::Type(MatrixGrid grid, std::size_t box, const std::string& text) {
    std::string& value = At(grid, box);
    value.clear();
    std::copy_if(text.begin(), text.end(), std::back_inserter(value), [](char c) { return c >= '0' && c <= '9'; });
    if (BoxValue(value) > 255) value = "255";
}

void MatrixWindow::LeaveBox(MatrixGrid grid, std::size_t box) {
    std::string& value = At(grid, box);
    if (BoxValue(value) < 8) value = "8";
}

// A chosen file as a drive path: the window's file dialog gives a host path.
std::string MatrixWindow::DrivePath(const std::string& chosen) const {
    return platform::PathSpace::IsDrivePath(chosen) ? chosen : job_.Files.Paths().ToWindows(chosen);
}

bool MatrixWindow::Load(MatrixGrid grid) {
    const std::string chosen =
        job_.Questions.ChooseFile(std::string("Load ") + kGridNames[Index(grid)] + " Matrix", "Matrix (*.mtx)|*.mtx");
    if (chosen.empty()) return false;
    return LoadFile(grid, DrivePath(chosen));
}

bool MatrixWindow::LoadFile(MatrixGrid grid, const std::string& path) {
    const std::optional<MatrixValues> values = ReadMatrixFile(job_.Files, path);
    if (!values) {
        job_.Questions.ShowMessage(kIncorrectMatrixFile, "Kestrova", platform::MessageKind::Exclamation);
        return false;
    }
    grids_[Index(grid)] = *values;
    return true;
}

void MatrixWindow::Save(MatrixGrid grid) {
    const std::string chosen =
        job_.Questions.ChooseFile(std::string("Save ") + kGridNames[Index(grid)] + " Matrix", "Matrix (*.mtx)|*.mtx");
    if (chosen.empty()) return;
    WriteMatrixFile(job_.Files, DrivePath(chosen), grids_[Index(grid)]);
}

void MatrixWindow::SaveOwn(MatrixGrid grid) { WriteMatrixFile(job_.Files, OwnFile(grid), grids_[Index(grid)]); }

void MatrixWindow::Reset(MatrixGrid grid) {
    const auto& defaults = grid == MatrixGrid::Intra ? job_.LanguageTable.Intra() : job_.LanguageTable.NonIntra();
    for (std::size_t box = 0; box < defaults.size(); ++box) grids_[Index(grid)][box] = std::to_string(defaults[box]);
}

bool MatrixWindow::Exit(HcMatrixMenu& menu) {
    if (!job_.Files.FileExists(OwnFile(MatrixGrid::Intra))) {
        return job_.Questions.AskYesNo("No Intra matrix file exists, Exit anyway?", "Kestrova", true);
    }
    if (!job_.Files.FileExists(OwnFile(MatrixGrid::NonIntra))) {
        return job_.Questions.AskYesNo("No Inter (Non-Intra) matrix file exists, Exit anyway?", "Kestrova", true);
    }
    menu.CustomEnabled = true;
    menu.Checked.fill(false);
    menu.Checked[kCustomMatrixEntry] = true;
    job_.Options().HCMatrix = kCustomMatrixEntry;
    return true;
}

}  // namespace kestrova
