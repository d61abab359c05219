// The one job context: every program-wide value of a run is a field here,
// passed by reference to each stage, so tests can build as many
// independent jobs as they like.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "job/job_view.h"
#include "job/run_log.h"
#include "job/script_templates.h"
#include "job/settings.h"
#include "job/stage_record.h"
#include "job/timecode.h"
#include "model/language_table.h"
#include "model/menu_tree.h"
#include "model/model.h"
#include "platform/files.h"
#include "platform/process.h"
#include "platform/questions.h"
#include "platform/registry.h"
#include "platform/trace.h"

namespace kestrova {

// How the outside tools run: their native equivalents, or the Windows
// programs themselves through Wine.
enum class ToolProfile { Native, Windows };

struct JobContext {
    JobContext(platform::FileSystem& files, platform::Registry& registry, platform::ProcessRunner& runner,
               platform::Questions& questions, platform::Trace& trace, JobView& view);
    JobContext(const JobContext&) = delete;
    JobContext& operator=(const JobContext&) = delete;

    // Services of the platform and the window.
    platform::FileSystem& Files;
    platform::Registry& Registry;
    platform::ProcessRunner& Runner;
    platform::Questions& Questions;
    platform::Trace& Trace;
    JobView& View;

    // Options and process state; item 1 of each is the record.
    Collection<Settings_Properties> Settings;
    Collection<Temp_Settings_Properties> Temp_Settings;
    Settings_Properties& Options() { return Settings.Item(1); }
    Temp_Settings_Properties& State() { return Temp_Settings.Item(1); }

    // The Avisynth and conversion script fragments, loaded at start.
    AvsScripts AvisynthScripts;
    ConversionScripts ConversionTemplates;

    Log RunLog;
    Log RecoveryJournal;

    // The folder the program and its tools stand in, and the Windows and
    // system folders (drive paths).
    std::string ProgramFolder;
    std::string WindowsFolder = "C:\\WINDOWS";
    std::string SystemFolder = "C:\\WINDOWS\\system32";
    // The Scenarist automation version from the registry; empty when
    // Scenarist is not installed.
    std::string ScenaristVersion;
    // Which tools the pre-flight checks look for; a start from the command
    // line sets it from the environment. Until then the Windows programs'
    // own files must be there.
    ToolProfile Tools = ToolProfile::Windows;

    // Job state of a run; flags are 0 and -1.
    std::int16_t JobRunning = 0;
    std::int16_t StopRequested = 0;
    std::int16_t ClosingDown = 0;
    std::int16_t CloseAfterJob = 0;
    std::int16_t UnattendedRun = 0;
    std::string OutputFolder;
    std::string JobRoot;
    std::string WorkFolder;
    std::int16_t DomainIndex = 0;
    std::vector<std::string> SelectedMenus;  // from index 1; index 0 unused
    std::string CommandLine;
    std::string SourceDrive;
    // What the frame serving found of the asset in hand: its video type
    // ("pal_progressive", "ntsc_film", ...), its field order ("TFF" or
    // "BFF"), and the disc's frame rate (25 or 30) that repairs a project
    // file without one.
    std::string VideoType;
    std::string FieldType;
    std::int16_t DvdFrameRate = 0;
    // VideoStandard ("PAL" or "NTSC"), FramesPerSecond, and the conversion
    // switch, which a run copies from Settings when it starts.
    TimeBase Timing;

    // The source and output boxes of the window, which the job reads, and
    // the caption of its main button ("Start", or "Begin Recovery" when the
    // recovery window set up a resumed run).
    std::string Text1;
    std::string Text2;
    std::string GoCaption = "Start";
    // Set once the program has begun to end, and once a run has reached
    // "ReAuthoring complete" (authoring ran and left a VIDEO_TS).
    bool Terminated = false;
    bool Completed = false;
    // What became of each stage of the run in hand or the last one.
    StageRecord Stages;

    // VOB names read back from a journal, from index 0.
    std::vector<std::string> JournalMenus;

    // Positions of the two bars (0 to 100) and whether the encoders write
    // into the demultiplexed folders rather than FRAMESERVING.
    int StageBar = 0;
    int JobBar = 0;
    std::int16_t RejigMode = 0;
    // Set once a BeSweet pass is queued for the job.
    std::int16_t BeSweetUsed = 0;
    // The audio of the menu in hand: the finished AC3 files its queued
    // conversions are to leave, and the AC3 files BeSweet writes under a
    // WAV name, each with the name it is finished under. The audio check
    // clears both for each menu.
    std::vector<std::string> AudioExpected;
    std::vector<std::pair<std::string, std::string>> AudioMoves;
    // Set when the SoftEncode self-test window had to be closed by the wait.
    std::int16_t SoftEncodeTestClosed = 0;

    // The disc being worked on: the domains, the title map, and the tables
    // the reader fills beside them.
    VTS DiscModel;
    VTS TitleMap;
    Collection<Language_Properties> LanguageScratch;
    Collection<PALETTE_NUMBER_Properties> PalettePool;
    Collection<TempCommands_Properties> TitleCommands;
    CLsDVD LanguageTable;
    Collection<FolderProps> FolderTree;
    std::vector<StreamUse_Record> StreamUse;  // by domain index; element 0 unused
    std::int16_t UOPFound = 0;

    // The choice of menus: per file row of the tree, whether it was chosen
    // and which language (SelectedMenus above holds the chosen paths).
    std::vector<std::int16_t> SelectedMenuFlags;
    std::vector<std::string> SelectedMenuChildren;
    // The menu tree the choice is made in, and the rows of an INI file that
    // choose instead of the user (DifFromINI).
    MenuTree Tree;
    std::vector<IniMenuRow> IniMenuList;

    // What the last GetFileCount found, from index 1 (index 0 unused).
    std::vector<std::string> FileList;
    // Texts set by volumename, FreeSpace and DisplayVerInfo.
    std::string VolumeText;
    double FreeSpaceGB = 0;
    std::string VerInfoPath;
    std::string StructureVersionText;
    std::string FileVersionText;
    std::string ProductVersionText;
};

}  // namespace kestrova
