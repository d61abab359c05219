// Frame serving of each asset: the indexing tools (DVD2AVI, DGIndex) that
// leave a project file and a statistics log in FRAMESERVING, the reading of
// that log, the forced indexing of one cell for the dummy scan, the scene
// times and the per-domain loop.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "frameserver/avi_info.h"
#include "job/context.h"

namespace kestrova {

// The window style the indexing tools run with: minimised without activation.
inline constexpr std::int16_t kFrameServerWindowStyle = 6;

// Indexes an M2V with dvd2avirb.exe (`Second` false, which leaves the log)
// or dvd2avidg.exe (`Second` true, which leaves the project file), under
// FRAMESERVING\<Name without extension>.
void RunDVD2AVI(JobContext& job, const std::string& M2vPath, const std::string& Name, bool Second);
// The same with DGIndex, in one run.
void RunDGDecode(JobContext& job, const std::string& M2vPath, const std::string& Name);

// What an indexing tool's statistics log says, one key a line.
struct FrameServerLog {
    bool Found = false;
    std::int32_t Frames = 0;         // "D2V": a value that reads as 0 counts as 1
    std::int32_t Progressive = 0;    // "PRO"
    std::int32_t TopFieldFirst = 0;  // "TFF"
    std::int32_t ZigZag = 0;         // "ZIG", read and not used
    double FilmPercent = 0;          // "PER"
};

// Reads the log, with the run-log lines of a parse.
FrameServerLog ReadFrameServerLog(JobContext& job, const std::string& LogPath);

// Answers a query on the log: "D2VFRAMES" gives the frame count (1 without
// a log), "FILM" 1 when 95 % or more are film pictures (else 0), "FIELD"
// gives 0 and sets `FieldType` (when given) to "TFF" or "BFF" ("TFF"
// without a log). Another query throws.
std::int32_t ParseLog(JobContext& job, const std::string& LogPath, const std::string& Query,
                      std::string* FieldType = nullptr);

// Indexes one cell's M2V under "VV_CC" and returns its frame count from the
// log, 1 when it has one frame or none.
std::int32_t ForceD2V(JobContext& job, const std::string& M2vPath, std::int16_t VobId, std::int16_t CellId);

// The script fragments in force, under the run log's heading "scanning
// avisynth scripts".
void CheckAVS(JobContext& job);

// The line an Avisynth script ends with once it is complete; the encode
// checks and the retries look for it as the last line.
inline constexpr const char* kAvsCompleted = "#Completed - DO NOT ALTER THIS LINE!!!!!!";

// Writes the asset's Avisynth script anew: the header, the source line on
// FRAMESERVING\<Name>.d2v and the filter lines of the video type, the
// conversion's own with `Conversion`, the frame server's safe forms with
// `ErrorMode`. With CCE Basic and an IVTC box checked it first changes the
// Decimate lines of the templates themselves.
void WriteAVS(JobContext& job, const std::string& AvsPath, const std::string& VideoType, const std::string& Name,
              bool ErrorMode, bool Conversion, bool Still);

// Finishes a script: without a conversion the footer (progressive or
// interlaced) and the completed mark are appended; with one the lines are
// edited in place for the encoder's colour space and the field order, and a
// script that serves twice the DVD rate of its target (50 or 59.94) gets
// "SelectEvery(2,0)" at its end.
void CorrectAVS(JobContext& job, const std::string& AvsPath, std::int16_t Progressive, const std::string& Field);

// Sets the field order and the encoder's interlace switch of the asset (the
// VOB id, or its cell when CellId is above 0) and the scan settings the list
// writer reads next, from the settings and the VOB id's log.
void SetStreamFlags(JobContext& job, std::int16_t VobId, std::int16_t CellId);

// Classifies one asset from the project file `D2vPath` (a still is not
// analysed), sets its flags, writes its scripts under its name (VobName, or
// VobName_CCC for a cell) and asks the frame server for its length and rate,
// again with the safe scripts when the first ones fail. A still gives one
// frame and rate 0.
AviFrames ProcessVideo(JobContext& job, const std::string& D2vPath, const std::string& VobName, std::int16_t CellId,
                       bool Still);

// Works out where each cell of the domain in hand starts and ends, in the
// frames of its VOB id and as timecodes, from its playback time.
void EnableScenes(JobContext& job);

// The audio and video stages the frame serving of the assets calls. They
// live in libraries that build on this one, so the pipeline hands them in.
struct FrameServingStages {
    // Fills the domain's list of audio files.
    std::function<void(JobContext&)> AudioCheck;
    // Inspects and queues the audio of one VOB id (CellId 0) or cell.
    std::function<void(JobContext&, const std::string& Folder, std::int16_t VobId, std::int16_t CellId)> ProcessAC3;
    // Queues a SoftEncode conversion, or with StereoPrep only writes its settings.
    std::function<void(JobContext&, const std::string& Source, const std::string& Target, bool Ac3Source,
                       bool SkipBat, bool StereoPrep)>
        SoftEncoder;
    // Copies one M2V through revpulldown.
    std::function<void(JobContext&, const std::string& Source, const std::string& Target, const std::string& Label,
                       std::int16_t DomainIndex)>
        UpdateMPV;
    // Appends the asset's entry to the Encoder Control List.
    std::function<void(JobContext&, const std::string& BasePath, std::int16_t VobId, bool Still, std::int16_t CellId)>
        MakeECL;
};

// Indexes each asset, decides whether it is encoded and writes its script
// and list entry, with the audio and video stages handed in.
void NewDVD2AVIProc(JobContext& job, const FrameServingStages& stages);

}  // namespace kestrova
