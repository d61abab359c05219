// A job in the middle of a domain: the work folder K:\Job\D_VTS_01_0 with
// its sub-folders, a model of the VMG and title set 1 built by hand, the
// run log on, and tools stood in for by small shell scripts.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <string>
#include <vector>

#include "job/folders.h"
#include "support/job_fixture.h"

namespace kestrova::test {

class AssetStageFixture : public testing::Test, public JobFixture {
public:
    AssetStageFixture() {
        job.Options().Default_Enable_Log = 1;
        job.RunLog.File("K:\\Kestrova.LOG");
        job.RecoveryJournal.File("K:\\Kestrova_Recovery.LOG");
        job.JobRoot = job.OutputFolder = "K:\\Job";
        job.WorkFolder = "K:\\Job\\D_VTS_01_0";
        job.DomainIndex = 2;
        job.Timing.VideoStandard = "PAL";
        MakeWorkFolders(job, job.WorkFolder);
        files.MakeFolder("K:\\Job\\VIDEO_TS");
        job.DiscModel.Add().Video.Add();  // the VMG, unused here
        job.DiscModel.Add().Video.Add();
    }

    VTS_Properties& Domain() { return job.DiscModel.Item(2); }

    // A VOB id of title set 1 with cells of these frame counts, in both cell lists.
    VOB_ID_Properties& AddVob(const std::vector<std::int32_t>& cellFrames) {
        auto& vob = Domain().Vob_Id.Add();
        auto& played = Domain().Video.Item(1).VobId.Add();
        for (std::int32_t frames : cellFrames) {
            vob.CELL_ID.Add().Frames = frames;
            played.CellId.Add().Frames = frames;
        }
        return vob;
    }
    CellID_Properties& Played(std::size_t vob, std::size_t cell) {
        return Domain().Video.Item(1).VobId.Item(vob).CellId.Item(cell);
    }
    void AddAudio(const std::string& type) { Domain().Audio.Add().Audio_Type = type; }

    // Files by their path relative to drive K:.
    void Put(const std::string& relative, const std::string& bytes = "data") { temp.Write(relative, bytes); }
    void PutAll(const std::string& folder, std::initializer_list<const char*> names) {
        for (const char* name : names) Put(folder + "/" + name);
    }
    bool Has(const std::string& relative) const { return temp.Exists(relative); }
    std::vector<std::string> Names(const std::string& folder) const {
        return files.List(folder, "*", platform::ListKind::Files);
    }

    // Whether the window's log list ends a line with the text.
    bool Shown(const std::string& text) const {
        return std::any_of(view.Lines.begin(), view.Lines.end(), [&text](const std::string& line) {
            return line.size() >= text.size() && line.compare(line.size() - text.size(), text.size(), text) == 0;
        });
    }

    // The tool of that file name runs this shell script, with the Windows arguments of the line.
    void StandIn(const std::string& tool, const std::string& script) {
        launcher.AddOverride(tool, {{"/bin/sh", "-c", script, tool}, ""});
    }

    // The run log without the time in front.
    std::vector<std::string> LogLines() const {
        std::vector<std::string> lines;
        if (!files.FileExists("K:\\Kestrova.LOG")) return lines;
        for (const auto& line : files.ReadLines("K:\\Kestrova.LOG")) lines.push_back(line.substr(line.find('\t') + 1));
        return lines;
    }
    bool Logged(const std::string& text) const {
        const auto lines = LogLines();
        return std::find(lines.begin(), lines.end(), text) != lines.end();
    }
    std::vector<std::string> Journal() const {
        return files.FileExists("K:\\Kestrova_Recovery.LOG") ? files.ReadLines("K:\\Kestrova_Recovery.LOG")
                                                              : std::vector<std::string>{};
    }

    // The command lines the job asked to run (also those whose program could not start), in order.
    std::vector<std::string> Commands() const {
        static const std::string kPrefix = "ShellandWait commandline: ";
        std::vector<std::string> lines;
        for (const auto& line : LogLines()) {
            if (line.rfind(kPrefix, 0) == 0) lines.push_back(line.substr(kPrefix.size()));
        }
        return lines;
    }
    // The window styles of the programs that did start.
    std::vector<int> Styles() const {
        std::vector<int> styles;
        for (const auto& record : runner.History()) styles.push_back(record.WindowStyle);
        return styles;
    }
};

}  // namespace kestrova::test
