// A job ready to run over a fixture disc: the disc on drive D:, a program
// folder with the tools the checks look for, run by their native stand-ins,
// the run log on, every menu chosen.
#pragma once

#include <string>
#include <vector>

#include "dvd/menu_tree.h"
#include "job/tool_table.h"
#include "support/fixtures.h"
#include "support/job_fixture.h"
#include "support/program_folder.h"

namespace kestrova::test {

class PipelineFixture : public JobFixture {
public:
    // Without `standIns` no equivalent stands in for a tool, as in the
    // Windows profile: the checks read the program folder's files.
    explicit PipelineFixture(const std::string& disc = "pal-vmg-buttons", ProgramFolderLayout layout = {},
                             bool standIns = true) {
        const std::string videoTs = FixtureDisc(disc);
        paths.AddDrives("D:=" + videoTs.substr(0, videoTs.size() - 9) + "@cdrom");
        job.ProgramFolder = LayOutProgramFolder(temp, registry, "Program", layout);
        if (standIns) AddStandInTools(launcher, KESTROVA_HOST_PROGRAMS);
        job.ScenaristVersion = layout.Scenarist ? "3.0" : "";
        job.Options().Default_Enable_Log = 1;
        job.Options().No_ReEncode = 1;  // no encoder in this folder
        job.SourceDrive = "D";
        ReLoadMenus(job, "", 1LL << 40);  // every menu is under this size
        job.Text1 = "D:\\VIDEO_TS";
        job.OutputFolder = "K:\\OUT";
    }

    std::vector<std::string> JournalLines() const { return files.ReadLines("K:\\OUT\\Kestrova_Recovery.LOG"); }

    // The run log without the date and time in front.
    std::vector<std::string> RunLogLines() const {
        std::vector<std::string> lines;
        for (const auto& line : files.ReadLines("K:\\OUT\\Kestrova.LOG")) {
            const auto tab = line.find('\t');
            lines.push_back(tab == std::string::npos ? line : line.substr(tab + 1));
        }
        return lines;
    }

    int CountRunLog(const std::string& text) const {
        int count = 0;
        for (const auto& line : RunLogLines()) count += line == text ? 1 : 0;
        return count;
    }
};

}  // namespace kestrova::test
