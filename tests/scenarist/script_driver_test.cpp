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
#include "scenarist/script_text.h"
#include "support/job_fixture.h"

namespace kestrova {
namespace {

using test::At;
using test::ExpectHas;

struct ScriptJob : test::JobFixture {
    ScriptJob() {
        job.Options().Default_Enable_Log = 1;
        job.RunLog.File("K:\\Kestrova.LOG");
        job.JobRoot = "K:\\Job";
        job.ScenaristVersion = "3.0";
        job.Timing.VideoStandard = "NTSC";
    }

    // An authored domain with VOBs of these types and cell counts; the
    // first is the VMG, whose Root holds the batches.
    VTS_Properties& AddDomain(std::initializer_list<std::pair<const char*, int>> vobs) {
        VTS_Properties& domain = job.DiscModel.Add();
        domain.Root = domain.OutputDir = "K:\\Job\\D_" + std::to_string(job.DiscModel.Count());
        domain.Authored = -1;
        for (const auto& [type, cells] : vobs) {
            VOB_ID_Properties& vob = domain.Vob_Id.Add();
            vob.Vob_Type = type;
            for (int c = 0; c < cells; ++c) vob.CELL_ID.Add().Data_End_Time = "00:00:05:00";
        }
        return domain;
    }

    std::string Script(const std::string& relative) const { return temp.Read("Job/D_1/" + relative); }
    std::string Log() const { return temp.Read("Kestrova.LOG"); }
};

// The running count is never reset: the limit rises by 600 a batch. A
// domain without VOBs is spanned by the range around it, and a dummy VOB
// counts for nothing.
TEST(ScenaristBatches, ANewBatchBeginsAtTheDomainThatReachesTheNext600) {
    ScriptJob f;
    f.AddDomain({{"Video", 2}});        // 1
    f.AddDomain({});                    // 2: no VOBs
    f.AddDomain({{"StillMenu", 400}});  // 3: 401
    f.AddDomain({{"Combo", 199}});      // 4: 600, a new batch
    f.AddDomain({{"Video", 1}, {"StillMenu", 600}}).Vob_Id.Item(2).Dummy = -1;  // 5: 601
    ScenaristRun run;
    DivideIntoBatches(f.job, run);
    EXPECT_EQ(run.BatchCount, 1);
    EXPECT_EQ(run.BatchRanges, (std::vector<std::array<std::int16_t, 2>>{{1, 3}, {4, 5}}));
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
    EXPECT_EQ(first.find("Name=VTS_1_001"), std::string::npos);
    EXPECT_EQ((first + second).find("Name=VID_001"), std::string::npos);
    ExpectHas(second, At(5, {"Name=VTS_1_001"}));
    ExpectHas(second, At(5, {"Name=VTS_2_001"}));
    ExpectHas(f.Log(), "\tVTS entry 1 is in no batch: entry 2 begins batch 2");
    ExpectHas(f.Log(), "\tBatch 1 holds no title set");
}

// Nothing authored, nothing written. Then an NTSC job in the native
// version: the objects in their order, the header objects' fixed lines,
// the batch's own folders and the disc's palettes behind the default one.
TEST(ScenaristScript, AScriptHoldsItsObjectsInOrderWellFormed) {
    ScriptJob f;
    VTS_Properties& vmg = f.AddDomain({{"StillMenu", 1}});
    vmg.Video.Add().Aspect_Ratio = "16 : 9";
    vmg.Authored = 0;
    f.AddDomain({}).Authored = 0;
    EXPECT_EQ(CreateSCP(f.job), 0);
    EXPECT_FALSE(f.files.Exists("K:\\Job\\D_1\\Batch_1"));

    vmg.Authored = -1;
    f.job.DomainIndex = 1;
    auto& palette = f.job.PalettePool.Add().Palette;
    palette.Add(Palette_Properties{235, 0, 0, 128, 128});
    palette.Add(Palette_Properties{16, 0, 0, 240, 16});
    EXPECT_EQ(CreateSCP(f.job), 0);
    EXPECT_EQ(f.job.Timing.VideoStandard, "NTSC");
    const std::string text = f.Script("Batch_1/ScenaristScript30_1.SCP");
    test::ExpectWellFormed(text);
    EXPECT_EQ(text.rfind(At(0, {"Object=Version", "{"}) +
                             At(1, {"Name=MODIFIER VERSION", "Major Version=1", "Minor Version=2", "Bug Fix Version=0",
                                    "Data Format Version=5", "Build Version=19980918", "Edition Version=1000"}) +
                             At(0, {"}    ", "Object=Data Folder"}),
                         0),
              0u);
    std::size_t at = 0;
    for (const char* object : {"Object=Project Info", "Object=Default Setting", "Object=List"}) {
        at = text.find(At(0, {"}", object}), at);
        ASSERT_NE(at, std::string::npos) << object;
    }
    ExpectHas(text, At(2, {"Target Directory=K:\\Job\\D_1\\Batch_1\\", "Disc Image Directory=",
                           "Multiplexer Directory=K:\\Job\\D_1\\Batch_1\\mux_data\\",
                           "DVD Root Directory=K:\\Job\\D_1\\Batch_1\\0\\"}));
    ExpectHas(text, At(3, {"Still Size=720 X 480", "Still Aspect Ratio=16 : 9"}));
    ExpectHas(text, At(2, {"Name=Palette_1", "Color 0=RGB", "{"}) + At(3, {"Red=255", "Green=255", "Blue=255"}) +
                        At(2, {"}", "Color 1=RGB", "{"}) + At(3, {"Red=179", "Green=0", "Blue=0"}) +
                        At(2, {"}"}) + At(1, {"}"}) + At(0, {"}"}));
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
    f.temp.Write("Job/D_1/Batch_2", "a file where the batch folder goes");
    EXPECT_THROW(CreateSCP(f.job), Error);
    EXPECT_EQ(f.job.Timing.VideoStandard, "PAL");
    EXPECT_FALSE(f.temp.Exists("Job/D_1/Batch_2/ScenaristScript27_2.SCP"));
    const std::string first = f.Script("Batch_1/ScenaristScript27_1.SCP");
    ExpectHas(first, At(1, {"Data Format Version=4"}));
    ExpectHas(first, At(5, {"Resolution=NTSC", "Drop Type=Drop frame"}));
    ExpectHas(first, At(5, {"Height=480"}));
    ExpectHas(first, At(2, {"Resolution=NTSC", "Drop Type=Drop frame"}));

    f.files.DeleteFile("K:\\Job\\D_1\\Batch_2");
    EXPECT_EQ(CreateSCP(f.job), 1);
    EXPECT_EQ(f.job.Timing.VideoStandard, "PAL");
    ExpectHas(f.Script("Batch_2/ScenaristScript27_2.SCP"), At(2, {"DVD Root Directory=K:\\Job\\D_1\\Batch_2\\0\\"}));
}

TEST(ScenaristScript, ContrastsScaleACopyByHighContrastUnlessKept) {
    ScriptJob f;
    f.job.Options().HighContrast = 4;
    EXPECT_EQ(ContrastToPercent(f.job, 8, false), 80);    // 8 x 1.5 = 12
    EXPECT_EQ(ContrastToPercent(f.job, 11, false), 100);  // 16.5 held at 15
    EXPECT_EQ(ContrastToPercent(f.job, 8, true), 53);
    EXPECT_EQ(CheckMaxMin(254.99), 254);
}

}  // namespace
}  // namespace kestrova
