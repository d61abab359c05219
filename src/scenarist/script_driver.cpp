// The Scenarist script files: see script_driver.h.
#include "scenarist/script_driver.h"

#include <utility>

#include "job/log_writers.h"
#include "job/progress.h"
#include "platform/trace.h"
#include "scenarist/data_objects.h"
#include "scenarist/scenario_object.h"
#include "scenarist/track_objects.h"

namespace kestrova {

namespace {

// Video assets a batch takes before the next one begins.
constexpr int kBatchUnits = 600;

// Puts the job's video standard back to the source's when the scripts are
// written, and when a writer fails half way.
class StandardRestorer {
public:
    StandardRestorer(JobContext& job, std::string source) : job_(job), source_(std::move(source)) {}
    StandardRestorer(const StandardRestorer&) = delete;
    StandardRestorer& operator=(const StandardRestorer&) = delete;
    ~StandardRestorer() { job_.Timing.VideoStandard = source_; }

private:
    JobContext& job_;
    std::string source_;
};

std::string ScriptName(const std::string& version) {
    if (version == "3.0") return "\\ScenaristScript30_";
    if (version == "2.7") return "\\ScenaristScript27_";
    return "\\ScenaristScript26_";
}

// The folder of a batch's script, which its project info names too.
std::string BatchFolder(const JobContext& job, const ScenaristRun& run) {
    return job.DiscModel.Item(1).Root + "\\Batch_" + std::to_string(run.BatchNumber);
}

const std::array<std::string, 4> kFullContrast = {"100 %", "100 %", "100 %", "0 %"};

}  // namespace

void DivideIntoBatches(JobContext& job, ScenaristRun& run) {
    run.BatchCount = 0;
    run.BatchRanges.assign(1, {0, 0});
    int limit = kBatchUnits;
    int total = 0;
    bool firstRange = false;
    for (std::size_t i = 1; i <= job.DiscModel.Count(); ++i) {
        const VTS_Properties& domain = job.DiscModel.Item(i);
        for (const VOB_ID_Properties& vob : domain.Vob_Id) {
            if (vob.Dummy != 0) continue;
            total += vob.Vob_Type == "Video" ? 1 : static_cast<int>(vob.CELL_ID.Count());
        }
        if (domain.Vob_Id.Count() == 0) continue;
        const auto entry = static_cast<std::int16_t>(i);
        auto& ranges = run.BatchRanges;
        if (limit - total < 1) {
            ++run.BatchCount;
            ranges.push_back({entry, entry});
            limit = run.BatchCount * kBatchUnits + kBatchUnits;
        } else if (!firstRange) {
            // Only the first domain with VOBs reaching the limit on its own
            // gets here with a batch begun: the domain after it takes its
            // place, and it is in no batch.
            if (run.BatchCount > 0) {
                WLOG(job, "\tVTS entry " + std::to_string(ranges[run.BatchCount][0]) + " is in no batch: entry " +
                              std::to_string(i) + " begins batch " + std::to_string(run.BatchCount + 1));
            }
            ranges[run.BatchCount] = {entry, entry};
            firstRange = true;
        } else {
            ranges[run.BatchCount][1] = entry;
        }
    }
}

std::int16_t CreateSCP(JobContext& job) {
    platform::TraceFrame frame(job.Trace, "Scenarist", "CreateSCP");
    WLOG(job, "Scenarist Version Chosen = " + job.ScenaristVersion);
    bool authored = false;
    for (const VTS_Properties& domain : job.DiscModel) {
        if (domain.Authored != 0) {
            authored = true;
            break;
        }
    }
    if (!authored) return 0;
    WLOG(job, "\tAuthored Found");

    // The source's rate is the one the first IFO read set; a conversion
    // authors the other standard.
    const bool palSource = job.Timing.VideoStandard == "PAL";
    const bool palTarget = job.Timing.Conversion == 1 ? !palSource : palSource;
    ScenaristRun run;
    run.TargetStandard = palTarget ? "PAL" : "NTSC";
    run.TimecodeSeparator = palTarget ? ";" : ":";
    const StandardRestorer restorer(job, palSource ? "PAL" : "NTSC");
    job.Timing.VideoStandard = run.TargetStandard;

    DivideIntoBatches(job, run);
    const std::int64_t steps = (static_cast<std::int64_t>(run.BatchCount) + 1) * 8;
    for (std::int16_t b = 0; b <= run.BatchCount; ++b) {
        const auto& range = run.BatchRanges[static_cast<std::size_t>(b)];
        run.BatchFirstVTS = range[0];
        run.BatchLastVTS = range[1];
        run.BatchNumber = static_cast<std::int16_t>(b + 1);
        WLOG(job, "\tProcessing Batch " + std::to_string(run.BatchNumber));
        if (run.BatchFirstVTS == 0) WLOG(job, "\tBatch " + std::to_string(run.BatchNumber) + " holds no title set");

        const std::string folder = BatchFolder(job, run);
        if (!job.Files.FolderExists(folder)) job.Files.MakeFolder(folder);
        ScriptFile file(folder + ScriptName(job.ScenaristVersion) + std::to_string(run.BatchNumber) + ".SCP");
        // The old script goes as the new one is begun, so a failure leaves
        // none under the name.
        job.Files.DeleteFile(file.Path());

        const auto step = [&](int number, const char* caption) {
            UpdateProgress(job, b + number, steps, caption, false, false);
        };
        GenerateVersion(job, run, file);
        step(1, "Script Creation Video Data");
        GenerateVideoData(job, run, file);
        step(2, "Script Creation Audio Data");
        GenerateAudioData(job, run, file);
        step(3, "Script Creation Sub Data");
        GenerateSubData(job, run, file);
        step(4, "Script Creation Track Data");
        GenerateTrackData(job, run, file);
        step(5, "Script Creation Scenario");
        GenerateLayout(job, run, file);
        step(6, "Script Creation Default Info");
        GenerateProjectInfo(job, run, file);
        step(7, "Script Creation Default Info");
        GenerateObjectDefault(job, run, file);
        step(8, "Script Creation - Palette");
        GeneratePalette(job, run, file);
        file.Save(job.Files);
    }
    UpdateProgress(job, 0, 0, "", true, false);
    return run.BatchCount;
}

void GenerateVersion(JobContext& job, ScenaristRun&, ScriptFile& file) {
    WLOG(job, "Generating Version");
    file.Open(0, "Object=Version");
    file.Line(1, "Name=MODIFIER VERSION");
    file.Line(1, "Major Version=1");
    file.Line(1, "Minor Version=2");
    file.Line(1, "Bug Fix Version=0");
    file.Line(1, job.ScenaristVersion == "3.0" ? "Data Format Version=5" : "Data Format Version=4");
    file.Line(1, "Build Version=19980918");
    file.Line(1, "Edition Version=1000");
    file.Line(0, "}    ");
}

void GenerateProjectInfo(JobContext& job, ScenaristRun& run, ScriptFile& file) {
    const std::string root = BatchFolder(job, run);
    file.Open(0, "Object=Project Info");

    file.Open(1, "Jacket Information=Jacket Info");
    file.Line(2, "Jacket Information exists=No");
    for (const char* key : {"NTSC Large File", "NTSC Medium File", "NTSC Small File", "PAL Large File",
                            "PAL Medium File", "PAL Small File"}) {
        file.Line(2, key, "");
    }
    file.Close(1);

    file.Open(1, "Text Data Information=Text Data Info");
    file.Line(2, "Text Data exists=No");
    file.Line(2, "Text Data File=");
    file.Close(1);

    file.Open(1, "Layout Information=Layout Info");
    file.Line(2, "Target Directory", root + "\\");
    file.Line(2, "Disc Image Directory=");
    file.Line(2, "Multiplexer Directory", root + "\\mux_data\\");
    file.Line(2, "DVD Root Directory", root + "\\0\\");
    file.Close(1);

    file.Open(1, "Disc Information=Disc Info");
    file.Line(2, "Disc Type=DVD Video");
    file.Open(2, "DVD Video Information=");
    for (const char* line : {"Volume Number=1", "Number of Volumes=1", "Disc Side=Side A", "Number of Disc Side=1",
                             "Layer Type=Single Layer", "Track Path=Parallel Track", "Disc Size=12cm",
                             "Provider ID=", "Pos Code="}) {
        file.Line(3, line);
    }
    file.Open(3, "Regional Area=");
    for (int code = 1; code <= 8; ++code) file.Line(4, "Regional Code #" + std::to_string(code) + "=May be played");
    file.Close(3);
    file.Close(2);
    file.Open(2, "Disc Image Information=");
    for (const char* line : {"PC Directory=", "First File of Second Layer=", "Volume Name=KESTROVA_SCN",
                             "File System=DVD Video", "File Names=Restricted(8+3 characters)"}) {
        file.Line(3, line);
    }
    file.Close(2);
    file.Open(2, "Leadin Information=");
    file.Line(3, "BCA Flag=BCA does not exist");
    file.Line(3, "Disc Manufacturing File=");
    file.Line(3, "Contents Provider File=");
    file.Close(2);
    file.Close(1);

    const auto cmi = [&file](int depth) {
        file.Line(depth, "CPM=Not copyrighted");
        file.Line(depth, "CP_SEC=NO Protection System");
        file.Line(depth, "CGMS=permitted");
        file.Line(depth, "APS=Off");
    };
    file.Open(1, "Encryption Information=Encryption Info");
    file.Line(2, "CSS Directory=");
    for (const char* key : {"Disc Key=Encrypt Key", "Video Manager Key=Encrypt Key",
                            "Jacket Information Key=Encrypt Key"}) {
        file.Open(2, key);
        file.Line(3, "Encrypt Key=");
        file.Close(2);
    }
    file.Empty(2, "Title Key=List");
    file.Open(2, "Video Manager CMI=CMI Information");
    cmi(3);
    file.Close(2);
    file.Open(2, "Title CMI=List");
    for (std::size_t i = 1; i <= job.DiscModel.Count(); ++i) {
        file.Open(3, "Item=CMI Information");
        cmi(4);
        file.Close(3);
    }
    file.Close(2);
    file.Close(1);
    file.Close(0);
}

void GenerateObjectDefault(JobContext& job, ScenaristRun& run, ScriptFile& file) {
    // The domain the job's cursor points at gives the still's aspect; a
    // cursor off the list is taken as the VMG.
    std::size_t entry = job.DomainIndex > 0 ? static_cast<std::size_t>(job.DomainIndex) : 0;
    if (entry == 0 || entry > job.DiscModel.Count()) {
        WLOG(job, "\tDomainIndex " + std::to_string(job.DomainIndex) + " names no VTS entry; the VMG's aspect serves");
        entry = 1;
    }
    std::string aspect;
    if (entry <= job.DiscModel.Count() && job.DiscModel.Item(entry).Video.Count() > 0) {
        const Video_Properties& video = job.DiscModel.Item(entry).Video.Item(1);
        const bool pan = video.Display_Pan_Scan != 0;
        if (video.Aspect_Ratio == "4 : 3") aspect = pan ? "4 : 3 (Pan-scan)" : "4 : 3";
        if (video.Aspect_Ratio == "16 : 9") aspect = pan ? "16 : 9 (Pan-scan)" : "16 : 9";
    }
    const bool ntsc = run.TargetStandard == "NTSC";

    file.Open(0, "Object=Default Setting");
    file.Open(1, "Default Setting of Data Editor=Default Setting of Data Editor");
    file.Line(2, ntsc ? "Resolution=NTSC" : "Resolution=PAL");
    file.Line(2, ntsc ? "Drop Type=Drop frame" : "Drop Type=Non Drop");
    file.Open(2, "Default Still=Still Settings");
    file.Line(3, "Still Bit rate=8000000");
    file.Line(3, "Still Encode Type=MPEG 2");
    file.Line(3, ntsc ? "Still Size=720 X 480" : "Still Size=720 X 576");
    file.Line(3, "Still Aspect Ratio", aspect);
    file.Close(2);

    const std::array<std::string, 4> defaultColours = {"1", "2", "3", "4"};
    file.Open(2, "Default Subpicture=Sub-picture Settings");
    WriteConversionRule(file, 3, "Default Subpicture Conversion Rule=Conversion Rule",
                        {Rgb{0, 0, 255}, Rgb{255, 255, 255}, Rgb{255, 0, 0}, Rgb{0, 0, 0}});
    WriteFourColours(file, 3, "Default Subpicture Color=Color", defaultColours);
    WriteFourColours(file, 3, "Default Subpicture Contrast=Contrast", kFullContrast);
    file.Close(2);
    file.Open(2, "Default Subtitle Text=Default Subtitle Text");
    for (const char* line : {"Name=Times New Roman (Western)", "Bold=Yes", "Italic=No", "Underline=No",
                             "Font Size=24", "Alignment=Center", "Anchor=Bottom", "Image Type=Full Screen"}) {
        file.Line(3, line);
    }
    WriteFourColours(file, 3, "Default Text Color=Color", defaultColours);
    WriteFourColours(file, 3, "Default Text Contrast=Contrast", kFullContrast);
    file.Close(2);
    file.Close(1);

    file.Open(1, "Default Setting of Track Editor=Default Setting of Track Editor");
    for (int n = 1; n <= 3; ++n) {
        file.Open(2, "Button Color " + std::to_string(n) + "=Button Color");
        WriteFourColours(file, 3, "Selection Color=Color", {"5", "6", "7", "8"});
        WriteFourColours(file, 3, "Selection Contrast=Contrast", kFullContrast);
        WriteFourColours(file, 3, "Action Color=Color", {"13", "14", "15", "16"});
        WriteFourColours(file, 3, "Action Contrast=Contrast", kFullContrast);
        file.Close(2);
    }
    for (const char* settings : {"4 By 3 Language Settings", "16 By 9 Language Settings",
                                 "4 By 3 Panscan Language Settings"}) {
        file.Open(2, std::string(settings) + "=Track Editor Langues Settings");
        file.Empty(3, "Audio Streams=List");
        file.Empty(3, "Sub-picture Streams=List");
        file.Close(2);
    }
    file.Close(1);
    file.Close(0);
}

void GeneratePalette(JobContext& job, ScenaristRun&, ScriptFile& file) {
    WLOG(job, "Generating Palette");
    const auto colour = [&file](std::size_t index, int red, int green, int blue) {
        file.Open(2, "Color " + std::to_string(index) + "=RGB");
        file.Line(3, "Red", std::to_string(red));
        file.Line(3, "Green", std::to_string(green));
        file.Line(3, "Blue", std::to_string(blue));
        file.Close(2);
    };

    file.Open(0, "Object=List");
    file.Open(1, "Item=Color Palette");
    file.Line(2, "Name=DefaultPalette");
    const auto& defaults = DefaultPaletteColours();
    for (std::size_t c = 0; c < defaults.size(); ++c) colour(c, defaults[c][0], defaults[c][1], defaults[c][2]);
    file.Close(1);
    for (std::size_t p = 1; p <= job.PalettePool.Count(); ++p) {
        file.Open(1, "Item=Color Palette");
        file.Line(2, "Name", "Palette_" + std::to_string(p));
        const auto& palette = job.PalettePool.Item(p).Palette;
        for (std::size_t c = 1; c <= palette.Count(); ++c) {
            const Rgb rgb = PaletteColour(palette.Item(c));
            colour(c - 1, rgb[0], rgb[1], rgb[2]);
        }
        file.Close(1);
    }
    file.Close(0);
}

int ContrastToPercent(const JobContext& job, int contrast, bool keep) {
    static constexpr std::array<int, 16> kPercent = {0, 7, 13, 20, 27, 33, 40, 47, 53, 60, 67, 73, 80, 87, 93, 100};
    int value = keep ? contrast : ScaleContrast(job, contrast);
    // A contrast is a nibble; anything else is taken at the nearer end.
    if (value < 0) value = 0;
    if (value > 15) value = 15;
    return kPercent[static_cast<std::size_t>(value)];
}

void WriteConversionRule(ScriptFile& file, int depth, std::string_view statement, const std::array<Rgb, 4>& colours) {
    static constexpr std::array<const char*, 4> kKeys = {"Color 4(Bg)=Conversion", "Color 3(P)=Conversion",
                                                         "Color 2(E1)=Conversion", "Color 1(E2)=Conversion"};
    file.Open(depth, statement);
    for (std::size_t k = 0; k < kKeys.size(); ++k) {
        file.Open(depth + 1, kKeys[k]);
        file.Line(depth + 2, "Red=and");
        file.Line(depth + 2, "Green=and");
        file.Line(depth + 2, "Blue=and");
        file.Open(depth + 2, "RGB Color=RGB");
        file.Line(depth + 3, "Red", std::to_string(colours[k][0]));
        file.Line(depth + 3, "Green", std::to_string(colours[k][1]));
        file.Line(depth + 3, "Blue", std::to_string(colours[k][2]));
        file.Close(depth + 2);
        file.Close(depth + 1);
    }
    file.Close(depth);
}

void WriteFourColours(ScriptFile& file, int depth, std::string_view statement,
                      const std::array<std::string, 4>& values) {
    static constexpr std::array<const char*, 4> kKeys = {"Color 1(E2)", "Color 2(E1)", "Color 3(P)", "Color 4(Bg)"};
    file.Open(depth, statement);
    for (std::size_t k = 0; k < kKeys.size(); ++k) file.Line(depth + 1, kKeys[k], values[k]);
    file.Close(depth);
}

}  // namespace kestrova
