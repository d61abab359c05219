// The Scenarist script driver on hand-built models: the division into
// batches, whole scripts as files (names, header objects, CR LF and brace
// depths), and the job's standard after a run that fails half way.
#include <gtest/gtest.h>

#include <array>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "platform/error.h"
#include "scenarist/script_driver.h"
#include "support/job_fixture.h"

namespace kestrova {
namespace {

struct ScriptJob : test::JobFixture {
    ScriptJob() {
        job.Options().Default_Enable_Log = 1;
        job.RunLog.File("K:\\Kestrova.LOG");
        job.JobRoot = "K:\\Job";
        job.ScenaristVersion = "3.0";
        job.Timing.VideoStandard = "NTSC";
    }

    // A domain with VOBs of these types and cell counts; the first is the VMG.
    VTS_Properties& AddDomain(std::initializer_list<std::pair<const char*, int>> vobs) {
        const std::size_t entry = job.DiscModel.Count() + 1;
        VTS_Properties& domain = job.DiscModel.Add();
        domain.Root = entry == 1 ? "K:\\Job\\D_VIDEO_TS" : "K:\\Job\\D_VTS_0" + std::to_string(entry - 1) + "_0";
        domain.OutputDir = domain.Root;
        domain.Authored = -1;
        for (const auto& [type, cells] : vobs) {
            VOB_ID_Properties& vob = domain.Vob_Id.Add();
            vob.Vob_Type = type;
            for (int c = 0; c < cells; ++c) vob.CELL_ID.Add().Data_End_Time = "00:00:05:00";
        }
        return domain;
    }

    std::string Script(const std::string& relative) const { return temp.Read("Job/D_VIDEO_TS/" + relative); }
    std::string Log() const { return temp.Read("Kestrova.LOG"); }
};

using Ranges = std::vector<std::array<std::int16_t, 2>>;

// The brace lines stand at their opener's depth, depth is tabs only, every
// line ends in CR LF, and only Version closes with "}    ".
void ExpectWellFormed(const std::string& text) {
    std::vector<std::size_t> open;
    std::size_t previousDepth = 0;
    std::size_t lineNumber = 0;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = text.find("\r\n", at);
        ASSERT_NE(end, std::string::npos) << "the text does not end in CR LF";
        const std::string line = text.substr(at, end - at);
        ++lineNumber;
        ASSERT_EQ(line.find('\n'), std::string::npos) << "a bare LF in line " << lineNumber;
        const std::size_t depth = line.find_first_not_of('\t');
        ASSERT_NE(depth, std::string::npos) << "line " << lineNumber << " is empty";
        ASSERT_NE(line[depth], ' ') << "line " << lineNumber << " is indented with blanks";
        const std::string statement = line.substr(depth);
        if (statement == "{") {
            EXPECT_EQ(depth, previousDepth) << "line " << lineNumber;
            open.push_back(depth);
        } else if (statement == "}" || statement == "}    ") {
            ASSERT_FALSE(open.empty()) << "line " << lineNumber;
            EXPECT_EQ(depth, open.back()) << "line " << lineNumber;
            open.pop_back();
            if (statement != "}") {
                EXPECT_EQ(text.rfind("Object=Version", at), 0u) << "line " << lineNumber;
            }
        }
        previousDepth = depth;
        at = end + 2;
    }
    EXPECT_TRUE(open.empty()) << open.size() << " blocks left open";
}

// The running count is never reset: the limit rises by 600 a batch. A
// domain without VOBs is spanned by the range around it, and a dummy VOB
// counts for nothing.
TEST(ScenaristBatches, ANewBatchBeginsAtTheDomainThatReachesTheNext600) {
    ScriptJob f;
    f.AddDomain({{"Video", 2}});           // 1
    f.AddDomain({});                       // 2: no VOBs
    f.AddDomain({{"StillMenu", 400}});     // 3: 401
    f.AddDomain({{"Combo", 199}});         // 4: 600, a new batch
    VTS_Properties& last = f.AddDomain({{"Video", 1}, {"StillMenu", 600}});  // 5: 601
    last.Vob_Id.Item(2).Dummy = -1;
    ScenaristRun run;
    DivideIntoBatches(f.job, run);
    EXPECT_EQ(run.BatchCount, 1);
    EXPECT_EQ(run.BatchRanges, (Ranges{{1, 3}, {4, 5}}));
}

// A first domain that reaches 600 on its own begins batch 2, and the next
// domain, finding no range begun, takes its place: batch 1 is written
// without a title set and the first domain is in no batch.
TEST(ScenaristBatches, AFirstDomainOf600IsInNoBatch) {
    ScriptJob f;
    f.AddDomain({{"StillMenu", 600}});
    f.AddDomain({{"Video", 1}});
    f.AddDomain({{"Video", 1}});
    EXPECT_EQ(CreateSCP(f.job), 1);
    const std::string first = f.Script("Batch_1/ScenaristScript30_1.SCP");
    const std::string second = f.Script("Batch_2/ScenaristScript30_2.SCP");
    EXPECT_EQ(first.find("Name=VID_001"), std::string::npos);
    EXPECT_EQ(first.find("Name=VTS_1_001"), std::string::npos);
    EXPECT_EQ(second.find("Name=VID_001"), std::string::npos);
    EXPECT_NE(second.find("Name=VTS_1_001\r\n"), std::string::npos);
    EXPECT_NE(second.find("Name=VTS_2_001\r\n"), std::string::npos);
    EXPECT_NE(f.Log().find("\tVTS entry 1 is in no batch: entry 2 begins batch 2"), std::string::npos);
    EXPECT_NE(f.Log().find("\tBatch 1 holds no title set"), std::string::npos);
}

TEST(ScenaristScript, AJobWithNothingAuthoredWritesNothing) {
    ScriptJob f;
    f.AddDomain({{"Video", 1}}).Authored = 0;
    EXPECT_EQ(CreateSCP(f.job), 0);
    EXPECT_FALSE(f.files.Exists("K:\\Job\\D_VIDEO_TS\\Batch_1"));
    EXPECT_EQ(f.Log().find("Authored Found"), std::string::npos);
}

// An NTSC job in the native version: the objects in their order, the
// header objects' fixed lines, the batch's own folders in its project info,
// a title CMI per domain and the disc's palettes behind the default one.
TEST(ScenaristScript, AScriptHoldsItsObjectsInOrderWellFormed) {
    ScriptJob f;
    f.AddDomain({{"StillMenu", 1}}).Video.Add().Aspect_Ratio = "16 : 9";
    f.AddDomain({}).Authored = 0;
    f.job.DomainIndex = 1;
    auto& palette = f.job.PalettePool.Add().Palette;
    palette.Add(Palette_Properties{235, 0, 0, 128, 128});
    palette.Add(Palette_Properties{16, 0, 0, 240, 16});
    EXPECT_EQ(CreateSCP(f.job), 0);
    EXPECT_EQ(f.job.Timing.VideoStandard, "NTSC");

    const std::string text = f.Script("Batch_1/ScenaristScript30_1.SCP");
    ExpectWellFormed(text);
    EXPECT_EQ(text.rfind("Object=Version\r\n{\r\n\tName=MODIFIER VERSION\r\n\tMajor Version=1\r\n\tMinor Version=2\r\n"
                         "\tBug Fix Version=0\r\n\tData Format Version=5\r\n\tBuild Version=19980918\r\n"
                         "\tEdition Version=1000\r\n}    \r\nObject=Data Folder\r\n",
                         0),
              0u);
    std::size_t at = 0;
    for (const char* object : {"Object=Data Folder", "Object=Project Info", "Object=Default Setting", "Object=List"}) {
        const std::size_t next = text.find(std::string("\r\n") + object + "\r\n", at);
        ASSERT_NE(next, std::string::npos) << object;
        at = next + 1;
    }
    const std::string root = "K:\\Job\\D_VIDEO_TS\\Batch_1";
    EXPECT_NE(text.find("\t\tTarget Directory=" + root + "\\\r\n\t\tDisc Image Directory=\r\n\t\tMultiplexer Directory=" +
                        root + "\\mux_data\\\r\n\t\tDVD Root Directory=" + root + "\\0\\\r\n\t}\r\n"),
              std::string::npos);
    std::size_t items = 0;
    for (std::size_t p = 0; (p = text.find("\t\t\tItem=CMI Information\r\n", p)) != std::string::npos; ++p) ++items;
    EXPECT_EQ(items, 2u);
    EXPECT_NE(text.find("\t\tResolution=NTSC\r\n\t\tDrop Type=Drop frame\r\n\t\tDefault Still=Still Settings\r\n\t\t{\r\n"
                        "\t\t\tStill Bit rate=8000000\r\n\t\t\tStill Encode Type=MPEG 2\r\n\t\t\tStill Size=720 X 480\r\n"
                        "\t\t\tStill Aspect Ratio=16 : 9\r\n"),
              std::string::npos);
    EXPECT_NE(text.find("\t\tName=Palette_1\r\n\t\tColor 0=RGB\r\n\t\t{\r\n\t\t\tRed=255\r\n\t\t\tGreen=255\r\n"
                        "\t\t\tBlue=255\r\n\t\t}\r\n\t\tColor 1=RGB\r\n\t\t{\r\n\t\t\tRed=179\r\n\t\t\tGreen=0\r\n"
                        "\t\t\tBlue=0\r\n\t\t}\r\n\t}\r\n}\r\n"),
              std::string::npos);
    EXPECT_NE(f.Log().find("\tAuthored Found"), std::string::npos);
    EXPECT_EQ(f.view.Caption, "");
}

// A PAL disc converted is written as NTSC (the data items read the job's
// standard while the script is written) and the job is PAL again after.
// A run that fails at its second batch leaves the first script, none under
// the second's name, and the job's standard restored.
TEST(ScenaristScript, TheJobsStandardIsTheTargetsForTheRunOnlyAlsoWhenItFails) {
    ScriptJob f;
    f.job.ScenaristVersion = "2.7";
    f.job.Timing.VideoStandard = "PAL";
    f.job.Timing.Conversion = 1;
    f.AddDomain({{"Video", 1}}).Video.Add().Size = "720x576";
    f.AddDomain({{"StillMenu", 599}});
    f.AddDomain({{"Video", 1}});
    f.temp.Write("Job/D_VIDEO_TS/Batch_2", "a file where the batch folder goes");
    EXPECT_THROW(CreateSCP(f.job), Error);
    EXPECT_EQ(f.job.Timing.VideoStandard, "PAL");
    const std::string first = f.Script("Batch_1/ScenaristScript27_1.SCP");
    EXPECT_NE(first.find("\tData Format Version=4\r\n"), std::string::npos);
    EXPECT_NE(first.find("\t\t\t\t\tResolution=NTSC\r\n\t\t\t\t\tDrop Type=Drop frame\r\n"), std::string::npos);
    EXPECT_NE(first.find("\t\t\t\t\tHeight=480\r\n"), std::string::npos);
    EXPECT_NE(first.find("\t\tResolution=NTSC\r\n\t\tDrop Type=Drop frame\r\n"), std::string::npos);

    f.files.DeleteFile("K:\\Job\\D_VIDEO_TS\\Batch_2");
    EXPECT_EQ(CreateSCP(f.job), 1);
    EXPECT_EQ(f.job.Timing.VideoStandard, "PAL");
    EXPECT_NE(f.Script("Batch_2/ScenaristScript27_2.SCP").find("\t\tDVD Root Directory=K:\\Job\\D_VIDEO_TS\\Batch_2\\0\\\r\n"),
              std::string::npos);
}

TEST(ScenaristScript, ContrastsScaleACopyByHighContrastUnlessKept) {
    ScriptJob f;
    f.job.Options().HighContrast = 4;
    EXPECT_EQ(ContrastToPercent(f.job, 8, false), 80);   // 8 x 1.5 = 12
    EXPECT_EQ(ContrastToPercent(f.job, 11, false), 100); // 16 is held at 15
    EXPECT_EQ(ContrastToPercent(f.job, 8, true), 53);
    f.job.Options().HighContrast = 1;
    EXPECT_EQ(ContrastToPercent(f.job, 7, false), 53);   // 8.05 cut to 8
    EXPECT_EQ(CheckMaxMin(254.99), 254);
    EXPECT_EQ(CheckMaxMin(-0.5), 0);
}

}  // namespace
}  // namespace kestrova
