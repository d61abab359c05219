// Quantiser matrices: streams made by ffmpeg, with matrices of their own or
// none, go through the QuantDump stand-in as the job runs it, and the
// matrix files that come out are held against the matrices ffmpeg was given
// and what its trace_headers reads. Then the matrix files of the custom
// matrix window, and its exit.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <vector>

#include "assets/asset_stage_fixture.h"
#include "assets/mpeg_test_streams.h"
#include "video/matrix_window.h"
#include "video/quant_matrices.h"

namespace kestrova {
namespace {

using Matrix = std::vector<int>;  // 64 values, raster order

Matrix MakeMatrix(int first, int step, int span) {
    Matrix matrix(64);
    for (int i = 0; i < 64; ++i) matrix[static_cast<std::size_t>(i)] = first + i * step % span;
    return matrix;
}

// The text of a matrix file: 8 lines of 8 values.
std::string Rows(const Matrix& matrix) {
    std::string text;
    for (std::size_t i = 0; i < 64; ++i) text += std::to_string(matrix[i]) + (i % 8 == 7 ? "\r\n" : " ");
    return text;
}

// A stream of 7 frames, a sequence header every 3, with these matrices.
std::string MatrixStream(const std::string& name, const Matrix& intra, const Matrix& inter) {
    const auto list = [](const Matrix& matrix) {
        std::string text;
        for (const int value : matrix) text += (text.empty() ? "" : ",") + std::to_string(value);
        return text;
    };
    std::string options = "size=352x288:rate=25 -frames:v 7 -c:v mpeg2video -g 3 -f mpeg2video";
    if (!intra.empty()) options += " -intra_matrix " + list(intra) + " -inter_matrix " + list(inter);
    return test::MpegTestStreams::Get().Make(name, options);
}

// Values in the zigzag scan order put back in raster order, walking the
// anti-diagonals of the block.
Matrix Dezigzag(const std::vector<int>& coded) {
    Matrix raster(64);
    std::size_t k = 0;
    for (int diagonal = 0; diagonal < 15; ++diagonal) {
        for (int i = 0; i <= diagonal; ++i) {
            const int row = diagonal % 2 == 0 ? diagonal - i : i;
            const int column = diagonal - row;
            if (row > 7 || column > 7 || k == coded.size()) continue;
            raster[static_cast<std::size_t>(row * 8 + column)] = coded[k++];
        }
    }
    return raster;
}

// The first intra matrix ffmpeg's trace_headers reads from the stream.
Matrix TracedIntraMatrix(const std::string& hostPath) {
    std::istringstream trace(test::CaptureCommand("ffmpeg -loglevel trace -i '" + hostPath +
                                                  "' -c copy -bsf:v trace_headers -f null - 2>&1"));
    std::vector<int> coded;
    for (std::string line; std::getline(trace, line) && coded.size() < 64;) {
        if (line.find(" intra_quantiser_matrix[") != std::string::npos) {
            coded.push_back(std::stoi(line.substr(line.rfind('=') + 1)));
        }
    }
    return Dezigzag(coded);
}

class QuantMatrices : public test::AssetStageFixture {
public:
    QuantMatrices() {
        launcher.AddOverride("QuantDump.exe",
                             platform::ToolOverride{{KESTROVA_STANDIN_PATH, "--tool", "QuantDump"}, "", true});
    }

    void Dump(const std::string& source) {
        QuantDump(job, source, "K:\\Job\\ECLs\\01_001.mtx", "K:\\Job\\ECLs\\01_001.Intra.mtx",
                  "K:\\Job\\ECLs\\01_001.NonIntra.mtx", "VTS# 1, VOB# 1");
    }
    std::string Intra() const { return temp.Read("Job/ECLs/01_001.Intra.mtx"); }
    std::string NonIntra() const { return temp.Read("Job/ECLs/01_001.NonIntra.mtx"); }
    // The headings of the dump, in order.
    std::vector<std::string> Headings() const {
        std::vector<std::string> headings;
        for (const std::string& line : files.ReadLines("K:\\Job\\ECLs\\01_001.mtx")) {
            if (line.find(':') != std::string::npos) headings.push_back(line);
        }
        return headings;
    }
};

TEST_F(QuantMatrices, TheSourceMatricesReachTheMatrixFiles) {
    KESTROVA_REQUIRE_FFMPEG();
    const Matrix intra = MakeMatrix(8, 3, 200), inter = MakeMatrix(16, 7, 150);
    const std::string stream = MatrixStream("matrices.m2v", intra, inter);
    ASSERT_EQ(TracedIntraMatrix(stream), intra) << "ffmpeg takes -intra_matrix in raster order";
    Dump(paths.ToWindows(stream));

    EXPECT_TRUE(Shown("Getting Matrix for VTS# 1, VOB# 1"));
    EXPECT_EQ(Commands().front(),
              "K:\\Program\\QuantDump.exe " + paths.ToWindows(stream) + " K:\\Job\\ECLs\\01_001.mtx");
    EXPECT_EQ(Intra(), Rows(intra));
    EXPECT_EQ(NonIntra(), Rows(inter));
}

TEST_F(QuantMatrices, JoinedStreamsGiveTheLastMatricesAndEachChangeOnce) {
    KESTROVA_REQUIRE_FFMPEG();
    const Matrix intraA = MakeMatrix(8, 3, 200), interA = MakeMatrix(16, 7, 150);
    const Matrix intraB = MakeMatrix(8, 5, 180), interB = MakeMatrix(20, 2, 100);
    MatrixStream("a.m2v", intraA, interA);
    MatrixStream("b.m2v", intraB, interB);
    const auto& folder = test::MpegTestStreams::Get().Folder();
    Put("joined.m2v", folder.Read("a.m2v") + folder.Read("b.m2v"));
    Dump("K:\\joined.m2v");

    // Each stream repeats its matrices in all three of its sequence headers.
    EXPECT_EQ(Headings(), (std::vector<std::string>{
                              "Luma and Chroma Intra Quant Matrix:", "Luma and Chroma Non-Intra Quant Matrix:",
                              "Luma and Chroma Intra Quant Matrix:", "Luma and Chroma Non-Intra Quant Matrix:"}));
    EXPECT_EQ(Intra(), Rows(intraB));
    EXPECT_EQ(NonIntra(), Rows(interB));
}

TEST_F(QuantMatrices, AStreamWithoutMatricesGivesTheDecoderDefaults) {
    KESTROVA_REQUIRE_FFMPEG();
    Dump(paths.ToWindows(MatrixStream("plain.m2v", {}, {})));

    EXPECT_EQ(Headings(), (std::vector<std::string>{"Default Luma and Chroma Intra Quant Matrix:",
                                                    "Default Luma and Chroma Non-Intra Quant Matrix:"}));
    // ISO/IEC 13818-2's intra matrix, and 16 throughout (not the model's Test Model 5 non-intra).
    EXPECT_EQ(Intra(), "8 16 19 22 26 27 29 34\r\n16 16 22 24 27 29 34 37\r\n19 22 26 27 29 34 34 38\r\n"
                       "22 22 26 27 29 34 37 40\r\n22 26 27 29 32 35 40 48\r\n26 27 29 32 35 40 48 58\r\n"
                       "26 27 29 34 38 46 56 69\r\n27 29 35 38 46 56 69 83\r\n");
    EXPECT_EQ(NonIntra(), Rows(Matrix(64, 16)));
}

TEST_F(QuantMatrices, ADumpCutShortFailsTheStageAndLeavesNoMatrix) {
    KESTROVA_REQUIRE_FFMPEG();
    const std::string stream = MatrixStream("plain.m2v", {}, {});
    Put("Job/ECLs/01_001.Intra.mtx", Rows(Matrix(64, 9)));  // an earlier run's
    launcher.SetEnvironment("KESTROVA_STANDIN_FAIL", "QuantDump=partial");
    Dump(paths.ToWindows(stream));

    EXPECT_EQ(job.Stages.FailedStage(), RunStage::Encoding);
    EXPECT_EQ(job.Stages.FailureReason(), "the matrix dump \"K:\\Job\\ECLs\\01_001.mtx\" has 4 of the 8 lines of "
                                          "the matrix under this heading (line 1)");
    EXPECT_FALSE(Has("Job/ECLs/01_001.Intra.mtx"));
    EXPECT_FALSE(Has("Job/ECLs/01_001.NonIntra.mtx"));
}

TEST_F(QuantMatrices, MatrixFilesLoadAsTheyStandOrChangeNothing) {
    MatrixWindow window(job);
    const MatrixValues defaults = window.Values(MatrixGrid::Intra);
    const auto box = [&window](std::size_t i) { return window.Box(MatrixGrid::Intra, i); };
    Matrix edges = MakeMatrix(20, 1, 64);
    edges[0] = 8;
    edges[63] = 255;
    Put("edges.mtx", Rows(edges));
    ASSERT_TRUE(window.LoadFile(MatrixGrid::Intra, "K:\\edges.mtx"));
    window.LeaveBox(MatrixGrid::Intra, 0);
    window.Type(MatrixGrid::Intra, 1, "2x56");
    window.Type(MatrixGrid::Intra, 2, "7");
    window.LeaveBox(MatrixGrid::Intra, 2);
    EXPECT_EQ(box(0) + " " + box(1) + " " + box(2) + " " + box(63), "8 255 8 255");

    // ">>" separates as blanks do.
    const std::string rows = Rows(MakeMatrix(16, 1, 64));
    const auto with = [&rows](const std::string& from, const std::string& to) {
        std::string text = rows;
        platform::ReplaceAll(text, from, to);
        return text;
    };
    Put("chevrons.mtx", with(" ", ">>"));
    ASSERT_TRUE(window.LoadFile(MatrixGrid::Intra, "K:\\chevrons.mtx"));
    EXPECT_EQ(box(63), "79");

    // Refused: "17*18" on a line split at the first line's blanks, a comma
    // left on each value, tabs, a word, 7 lines.
    for (const std::string& bad : {with("17 18", "17*18"), with(" ", ", "), with(" ", "\t"), with("16 17", "eight 17"),
                                   rows.substr(0, rows.rfind("\r\n", rows.size() - 3) + 2)}) {
        window.Reset(MatrixGrid::Intra);
        Put("bad.mtx", bad);
        EXPECT_FALSE(window.LoadFile(MatrixGrid::Intra, "K:\\bad.mtx")) << bad;
        EXPECT_EQ(window.Values(MatrixGrid::Intra), defaults) << bad;
    }
    ASSERT_EQ(questions.History().size(), 5u);
    EXPECT_EQ(questions.History().back().Text, kIncorrectMatrixFile);
}

TEST_F(QuantMatrices, ExitChoosesTheCustomMatrixOnlyWithBothFiles) {
    files.MakeFolder(job.ProgramFolder);
    MatrixWindow window(job);
    HcMatrixMenu menu;
    menu.Checked[2] = true;
    questions.AnswerNo();
    EXPECT_FALSE(window.Exit(menu));
    window.SaveOwn(MatrixGrid::Intra);
    questions.AnswerYes();
    EXPECT_TRUE(window.Exit(menu));
    EXPECT_EQ(questions.History().back().Text, "No Inter (Non-Intra) matrix file exists, Exit anyway?");
    EXPECT_EQ(job.Options().HCMatrix, 0);
    EXPECT_FALSE(menu.CustomEnabled);

    window.SaveOwn(MatrixGrid::NonIntra);
    EXPECT_TRUE(window.Exit(menu));
    EXPECT_EQ(questions.History().size(), 2u);
    EXPECT_EQ(questions.History().front().Text, "No Intra matrix file exists, Exit anyway?");
    EXPECT_EQ(job.Options().HCMatrix, 10);
    EXPECT_TRUE(menu.CustomEnabled);
    EXPECT_EQ(std::count(menu.Checked.begin(), menu.Checked.end(), true), 1);
    EXPECT_TRUE(menu.Checked[10]);
}

}  // namespace
}  // namespace kestrova
