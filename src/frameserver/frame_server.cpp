// Frame server information: see frame_server.h. The script's lines are
// parsed one by one (avisynth_script.h) and each call is applied to the
// running clip. The first fault ends the evaluation with the error clip and
// a sentence naming script and line.
#include "frameserver/frame_server.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <optional>
#include <vector>

#include "frameserver/avisynth_script.h"
#include "frameserver/d2v_file.h"
#include "frameserver/mpeg_header.h"
#include "platform/error.h"

namespace kestrova {

namespace {

__extension__ typedef unsigned __int128 Wide;

constexpr std::int64_t kMaxClipValue = std::numeric_limits<std::int32_t>::max();

// How far into the video file the source filter looks for the picture size.
constexpr std::size_t kSequenceSearchBytes = 4 * 1024 * 1024;

// The smallest fraction with this float value, with rates near n*1000/1001
// taken as the NTSC rate they stand for (29.97 -> 30000/1001).
FrameRate FrameRateFromFloat(double fps, const std::string& function) {
    if (!(fps > 0) || fps > 1.0e6) {
        throw ScriptFault{function + ": the frame rate must be above 0 and at most 1000000"};
    }
    const double whole = std::round(fps);
    if (whole >= 1 && std::fabs(fps - whole) < 1e-9) return MakeFrameRate(static_cast<std::uint64_t>(whole), 1);
    const double ntscBase = std::round(fps * 1.001);
    if (ntscBase > 0 && std::fabs(ntscBase / 1.001 - fps) < fps * 5e-6) {
        return MakeFrameRate(static_cast<std::uint64_t>(ntscBase) * 1000, 1001);
    }
    const float target = static_cast<float>(fps);
    for (std::uint64_t denominator = 2; denominator <= 1000000; ++denominator) {
        const double numerator = std::round(fps * static_cast<double>(denominator));
        if (static_cast<float>(numerator / static_cast<double>(denominator)) == target) {
            return MakeFrameRate(static_cast<std::uint64_t>(numerator), denominator);
        }
    }
    const auto micro = static_cast<std::uint64_t>(std::round(fps * 1000000));
    if (micro == 0) throw ScriptFault{function + ": the frame rate is too small"};
    return MakeFrameRate(micro, 1000000);
}

struct Clip {
    bool Present = false;
    std::int64_t Width = 0;
    std::int64_t Height = 0;
    std::int64_t Length = 0;
    FrameRate Rate;
    ClipPlan Plan;
};

class ScriptEvaluator {
public:
    ScriptEvaluator(const std::string& scriptPath, const platform::FileSystem& files, PluginFiles plugins)
        : script_(scriptPath), files_(files), plugins_(plugins) {}

    void Apply(const Call& call);
    const Clip& Result() const { return clip_; }

private:
    using Handler = void (ScriptEvaluator::*)(const Call&);
    struct Function {
        const char* Name;
        Handler Run;
    };
    static const Function kFunctions[];

    // Arguments. A core filter is strict about what it takes; a plugin
    // takes any named option of its own.
    void Expect(const Call& call, std::size_t maxPositional, std::initializer_list<const char*> names,
                bool anyNamed = false) const;
    const Value* Positional(const Call& call, std::size_t index) const;
    const Value* Named(const Call& call, const char* name) const;
    std::int64_t Int(const Call& call, const Value* value, const char* what,
                     std::optional<std::int64_t> fallback) const;
    FrameRate RateArgument(const Call& call) const;
    void RequireClip(const Call& call) const;
    [[noreturn]] void Invalid(const Call& call, const std::string& why = "") const;
    void SetLength(std::int64_t length, const Call& call);
    void ScaleRate(std::uint64_t multiplier, std::uint64_t divisor);
    static std::string PathOf(const std::string& path, const std::string& relativeTo);
    ClipStep& AddStep(ClipStepKind kind, const Call& call);

    void LoadFile(const Call& call);
    void Passthrough(const Call& call);
    void Mpeg2Source(const Call& call);
    void AssumeFps(const Call& call);
    void ChangeFps(const Call& call);
    void Resize(const Call& call);
    void SeparateFields(const Call& call);
    void SelectEvery(const Call& call);
    void Weave(const Call& call);
    void Decimate(const Call& call);
    void Kernelbob(const Call& call);
    void ConvertColour(const Call& call);
    void AddAudio(const Call& call);
    void Trim(const Call& call);
    void Crop(const Call& call);
    void AddBorders(const Call& call);

    std::string script_;
    const platform::FileSystem& files_;
    PluginFiles plugins_;
    Clip clip_;
};

const ScriptEvaluator::Function ScriptEvaluator::kFunctions[] = {
    {"IMPORT", &ScriptEvaluator::LoadFile},
    {"LOADPLUGIN", &ScriptEvaluator::LoadFile},
    {"MPEG2SOURCE", &ScriptEvaluator::Mpeg2Source},
    {"ASSUMEFPS", &ScriptEvaluator::AssumeFps},
    {"CHANGEFPS", &ScriptEvaluator::ChangeFps},
    {"CONVERTFPS", &ScriptEvaluator::ChangeFps},
    {"LANCZOSRESIZE", &ScriptEvaluator::Resize},
    {"LANCZOS4RESIZE", &ScriptEvaluator::Resize},
    {"BILINEARRESIZE", &ScriptEvaluator::Resize},
    {"BICUBICRESIZE", &ScriptEvaluator::Resize},
    {"POINTRESIZE", &ScriptEvaluator::Resize},
    {"SPLINE36RESIZE", &ScriptEvaluator::Resize},
    {"SEPARATEFIELDS", &ScriptEvaluator::SeparateFields},
    {"SELECTEVERY", &ScriptEvaluator::SelectEvery},
    {"WEAVE", &ScriptEvaluator::Weave},
    {"TELECIDE", &ScriptEvaluator::Passthrough},
    {"FIELDDEINTERLACE", &ScriptEvaluator::Passthrough},
    {"DECIMATE", &ScriptEvaluator::Decimate},
    {"KERNELBOB", &ScriptEvaluator::Kernelbob},
    {"CONVERTTOYUY2", &ScriptEvaluator::ConvertColour},
    {"CONVERTTOYV12", &ScriptEvaluator::ConvertColour},
    {"ADDAUDIO", &ScriptEvaluator::AddAudio},
    {"TRIM", &ScriptEvaluator::Trim},
    {"CROP", &ScriptEvaluator::Crop},
    {"ADDBORDERS", &ScriptEvaluator::AddBorders},
};

void ScriptEvaluator::Apply(const Call& call) {
    const std::string upper = platform::ToUpperAscii(call.Name);
    for (const Function& function : kFunctions) {
        if (upper == function.Name) {
            (this->*function.Run)(call);
            return;
        }
    }
    throw ScriptFault{"there is no function named \"" + call.Name + "\""};
}

void ScriptEvaluator::Invalid(const Call& call, const std::string& why) const {
    throw ScriptFault{"invalid arguments to function \"" + call.Name + "\"" + (why.empty() ? "" : " (" + why + ")")};
}

void ScriptEvaluator::Expect(const Call& call, std::size_t maxPositional, std::initializer_list<const char*> names,
                             bool anyNamed) const {
    std::size_t positional = 0;
    for (const Argument& argument : call.Arguments) {
        if (argument.Name.empty()) {
            if (++positional > maxPositional) Invalid(call, "too many arguments");
            continue;
        }
        bool known = anyNamed;
        for (const char* name : names) known = known || argument.Name == name;
        if (!known) Invalid(call, "it has no argument named " + argument.Name);
    }
}

const Value* ScriptEvaluator::Positional(const Call& call, std::size_t index) const {
    std::size_t seen = 0;
    for (const Argument& argument : call.Arguments) {
        if (!argument.Name.empty()) continue;
        if (seen++ == index) return &argument.Item;
    }
    return nullptr;
}

const Value* ScriptEvaluator::Named(const Call& call, const char* name) const {
    for (const Argument& argument : call.Arguments) {
        if (argument.Name == name) return &argument.Item;
    }
    return nullptr;
}

std::int64_t ScriptEvaluator::Int(const Call& call, const Value* value, const char* what,
                                  std::optional<std::int64_t> fallback) const {
    if (value == nullptr) {
        if (!fallback) Invalid(call, std::string(what) + " is missing");
        return *fallback;
    }
    if (value->Kind != ValueKind::Int) Invalid(call, std::string(what) + " must be a whole number");
    if (value->Int > kMaxClipValue || value->Int < -kMaxClipValue) {
        Invalid(call, std::string(what) + " is out of range");
    }
    return value->Int;
}

void ScriptEvaluator::RequireClip(const Call& call) const {
    if (!clip_.Present) Invalid(call, "there is no clip yet; the source line must come first");
}

void ScriptEvaluator::SetLength(std::int64_t length, const Call& call) {
    if (length > kMaxClipValue) Invalid(call, "the clip would be longer than 2147483647 frames");
    clip_.Length = length < 0 ? 0 : length;
}

ClipStep& ScriptEvaluator::AddStep(ClipStepKind kind, const Call& call) {
    ClipStep step;
    step.Kind = kind;
    step.Function = call.Name;
    clip_.Plan.Steps.push_back(step);
    return clip_.Plan.Steps.back();
}

void ScriptEvaluator::ScaleRate(std::uint64_t multiplier, std::uint64_t divisor) {
    clip_.Rate = MakeFrameRate(clip_.Rate.Numerator * multiplier, clip_.Rate.Denominator * divisor);
}

// A path of a script or project file as Windows resolves it: a drive path
// as it is, "\\..." on the drive of the file that names it, anything else
// from that file's folder.
std::string ScriptEvaluator::PathOf(const std::string& path, const std::string& relativeTo) {
    if (platform::PathSpace::IsDrivePath(path)) return path;
    if (!path.empty() && (path.front() == '\\' || path.front() == '/')) return relativeTo.substr(0, 2) + path;
    return relativeTo.substr(0, relativeTo.find_last_of("\\/") + 1) + path;
}

// The plugins and the imported script whose work the frame server does itself.
constexpr const char* kBuiltInPlugins[] = {"decomb.dll", "kerneldeint.dll", "mpeg2dec3dg.dll", "DGDecode.dll",
                                           "addaudio.avs"};

void ScriptEvaluator::LoadFile(const Call& call) {
    Expect(call, 1, {});
    const Value* file = Positional(call, 0);
    if (file == nullptr || file->Kind != ValueKind::String) Invalid(call, "it takes the file name as a string");
    if (plugins_ == PluginFiles::BuiltIn) {
        for (const char* name : kBuiltInPlugins) {
            if (platform::EqualsIgnoreCase(platform::FileNameOf(file->Text), name)) return;
        }
    }
    // The filters of another plugin or script are unknown here: a present
    // file adds nothing this evaluator would use, a missing one fails as in
    // Avisynth.
    bool present = false;
    try {
        present = files_.FileExists(PathOf(file->Text, script_));
    } catch (const Error&) {
        // A drive that is not mapped holds no file.
    }
    if (!present) {
        throw ScriptFault{platform::EqualsIgnoreCase(call.Name, "import")
                              ? "Import: couldn't open \"" + file->Text + "\""
                              : "LoadPlugin: unable to load \"" + file->Text + "\""};
    }
}

void ScriptEvaluator::Passthrough(const Call& call) {
    RequireClip(call);
    Expect(call, 16, {}, true);
    AddStep(ClipStepKind::PassThrough, call);
}

void ScriptEvaluator::Mpeg2Source(const Call& call) {
    Expect(call, 16, {}, true);
    const Value* d2v = Named(call, "D2V");
    if (d2v == nullptr) d2v = Positional(call, 0);
    if (d2v == nullptr || d2v->Kind != ValueKind::String) Invalid(call, "it takes the D2V file name as a string");
    const std::string d2vPath = PathOf(d2v->Text, script_);
    const D2vProject project = ReadD2vProject(files_, d2vPath);
    clip_.Width = project.Width;
    clip_.Height = project.Height;
    if (clip_.Width == 0) {
        // The older tool's project does not state the picture size.
        const SequenceHeader header =
            ReadFirstSequenceHeader(files_, PathOf(project.Files.front(), d2vPath), kSequenceSearchBytes);
        clip_.Width = header.Width;
        clip_.Height = header.Height;
    }
    clip_.Length = project.Frames;
    clip_.Rate = project.Rate;
    clip_.Present = true;
    // A second source replaces the clip, and with it the plan.
    clip_.Plan = ClipPlan{};
    for (const std::string& file : project.Files) clip_.Plan.SourceFiles.push_back(PathOf(file, d2vPath));
    clip_.Plan.Operation = project.Operation;
    clip_.Plan.SourceRate = project.Rate;
    clip_.Plan.SourceFrames = project.Frames;
}

FrameRate ScriptEvaluator::RateArgument(const Call& call) const {
    const Value* first = Positional(call, 0);
    const Value* second = Positional(call, 1);
    if (first == nullptr) Invalid(call, "the frame rate is missing");
    if (first->Kind == ValueKind::String) {
        struct Preset {
            const char* Name;
            std::uint32_t Numerator;
            std::uint32_t Denominator;
        };
        static const Preset kPresets[] = {
            {"NTSC_FILM", 24000, 1001}, {"NTSC_VIDEO", 30000, 1001}, {"NTSC_DOUBLE", 60000, 1001},
            {"NTSC_QUAD", 120000, 1001}, {"FILM", 24, 1},             {"PAL_FILM", 25, 1},
            {"PAL_VIDEO", 25, 1},        {"PAL_DOUBLE", 50, 1},       {"PAL_QUAD", 100, 1},
        };
        const std::string upper = platform::ToUpperAscii(first->Text);
        for (const Preset& preset : kPresets) {
            if (upper == preset.Name) return {preset.Numerator, preset.Denominator};
        }
        Invalid(call, "\"" + first->Text + "\" is not a frame rate preset");
    }
    if (first->Kind == ValueKind::Float) {
        if (second != nullptr) Invalid(call, "a decimal frame rate takes no denominator");
        return FrameRateFromFloat(first->Float, call.Name);
    }
    const std::int64_t numerator = Int(call, first, "the frame rate", std::nullopt);
    const std::int64_t denominator = Int(call, second, "the denominator", 1);
    if (numerator <= 0 || denominator <= 0) Invalid(call, "the frame rate must be above 0");
    return MakeFrameRate(static_cast<std::uint64_t>(numerator), static_cast<std::uint64_t>(denominator));
}

void ScriptEvaluator::AssumeFps(const Call& call) {
    RequireClip(call);
    Expect(call, 2, {"SYNC_AUDIO"});
    clip_.Rate = RateArgument(call);
    AddStep(ClipStepKind::AssumeFps, call).Rate = clip_.Rate;
}

// Frames are dropped or repeated (ChangeFPS) or blended (ConvertFPS) so the
// running time stays; the new length is rounded to the nearest frame.
void ScriptEvaluator::ChangeFps(const Call& call) {
    RequireClip(call);
    Expect(call, 2, {"LINEAR", "ZONE", "VBI"});
    const FrameRate rate = RateArgument(call);
    const Wide a = static_cast<Wide>(clip_.Rate.Numerator) * rate.Denominator;
    const Wide b = static_cast<Wide>(clip_.Rate.Denominator) * rate.Numerator;
    if (a == 0) Invalid(call, "the clip has no frame rate to convert from");
    const Wide length = (static_cast<Wide>(clip_.Length) * b + a / 2) / a;
    SetLength(length > static_cast<Wide>(kMaxClipValue) ? kMaxClipValue + 1 : static_cast<std::int64_t>(length), call);
    clip_.Rate = rate;
    AddStep(ClipStepKind::ChangeFps, call).Rate = rate;
}

void ScriptEvaluator::Resize(const Call& call) {
    RequireClip(call);
    Expect(call, 6, {"SRC_LEFT", "SRC_TOP", "SRC_WIDTH", "SRC_HEIGHT", "TAPS", "B", "C"});
    const std::int64_t width = Int(call, Positional(call, 0), "the width", std::nullopt);
    const std::int64_t height = Int(call, Positional(call, 1), "the height", std::nullopt);
    if (width <= 0 || height <= 0) Invalid(call, "the target size must be above 0");
    clip_.Width = width;
    clip_.Height = height;
    ClipStep& step = AddStep(ClipStepKind::Resize, call);
    step.Width = width;
    step.Height = height;
}

void ScriptEvaluator::SeparateFields(const Call& call) {
    RequireClip(call);
    Expect(call, 0, {});
    if (clip_.Height % 2 != 0) Invalid(call, "the height must be even");
    clip_.Height /= 2;
    SetLength(clip_.Length * 2, call);
    ScaleRate(2, 1);
    AddStep(ClipStepKind::SeparateFields, call);
}

// One SelectEvery per offset, interleaved when there are several.
void ScriptEvaluator::SelectEvery(const Call& call) {
    RequireClip(call);
    Expect(call, 64, {});
    const std::int64_t every = Int(call, Positional(call, 0), "the cycle", std::nullopt);
    if (every <= 0) Invalid(call, "the cycle must be above 0");
    std::vector<std::int64_t> offsets;
    for (std::size_t i = 1; Positional(call, i) != nullptr; ++i) {
        offsets.push_back(Int(call, Positional(call, i), "an offset", std::nullopt));
        if (offsets.back() < 0) Invalid(call, "an offset cannot be negative");
    }
    if (offsets.empty()) Invalid(call, "at least one offset is needed");
    const auto count = static_cast<std::int64_t>(offsets.size());
    std::int64_t length = 0;
    for (std::int64_t i = 0; i < count; ++i) {
        const std::int64_t selected =
            clip_.Length == 0 ? 0 : (clip_.Length - 1 - offsets[static_cast<std::size_t>(i)]) / every + 1;
        if (selected > 0) length = std::max(length, (selected - 1) * count + i + 1);
    }
    SetLength(length, call);
    ScaleRate(static_cast<std::uint64_t>(count), static_cast<std::uint64_t>(every));
    ClipStep& step = AddStep(ClipStepKind::SelectEvery, call);
    step.Cycle = every;
    step.Offsets = offsets;
}

void ScriptEvaluator::Weave(const Call& call) {
    RequireClip(call);
    Expect(call, 0, {});
    if (clip_.Height * 2 > kMaxClipValue) Invalid(call, "the height would be out of range");
    clip_.Height *= 2;
    SetLength(clip_.Length / 2, call);
    ScaleRate(1, 2);
    AddStep(ClipStepKind::Weave, call);
}

// Mode 0 (and 2, 3) drops one frame of each cycle; mode 1 blends the
// duplicate away instead and keeps the count and rate.
void ScriptEvaluator::Decimate(const Call& call) {
    RequireClip(call);
    Expect(call, 16, {}, true);
    const Value* cycleValue = Named(call, "CYCLE");
    const std::int64_t cycle = Int(call, cycleValue != nullptr ? cycleValue : Positional(call, 0), "the cycle", 5);
    const Value* modeValue = Named(call, "MODE");
    const std::int64_t mode = Int(call, modeValue != nullptr ? modeValue : Positional(call, 1), "the mode", 0);
    if (cycle < 2 || cycle > 25) Invalid(call, "the cycle must be 2 to 25");
    if (mode < 0 || mode > 3) Invalid(call, "the mode must be 0 to 3");
    if (mode == 1) {
        AddStep(ClipStepKind::PassThrough, call);
        return;
    }
    SetLength(clip_.Length * (cycle - 1) / cycle, call);
    ScaleRate(static_cast<std::uint64_t>(cycle - 1), static_cast<std::uint64_t>(cycle));
    AddStep(ClipStepKind::Decimate, call).Cycle = cycle;
}

// "order=1" bobs the top field first, "order=0" the bottom one.
void ScriptEvaluator::Kernelbob(const Call& call) {
    RequireClip(call);
    Expect(call, 16, {}, true);
    const Value* order = Named(call, "ORDER");
    if (order == nullptr) order = Positional(call, 0);
    SetLength(clip_.Length * 2, call);
    ScaleRate(2, 1);
    // The plugin checks its own options; the shape does not depend on them.
    AddStep(ClipStepKind::Kernelbob, call).TopFieldFirst =
        order == nullptr || order->Kind != ValueKind::Int || order->Int != 0;
}

void ScriptEvaluator::ConvertColour(const Call& call) {
    RequireClip(call);
    Expect(call, 0, {"INTERLACED", "MATRIX", "CHROMARESAMPLE"});
    const Value* interlaced = Named(call, "INTERLACED");
    if (interlaced != nullptr && interlaced->Kind != ValueKind::Bool) Invalid(call, "interlaced must be true or false");
    if (clip_.Width % 2 != 0) Invalid(call, "the width must be even");
    if (clip_.Height % ((interlaced != nullptr && interlaced->Flag) ? 4 : 2) != 0) {
        Invalid(call, "the height must be a multiple of 2, or of 4 when interlaced");
    }
}

void ScriptEvaluator::AddAudio(const Call& call) {
    RequireClip(call);
    Expect(call, 0, {});
}

void ScriptEvaluator::Trim(const Call& call) {
    RequireClip(call);
    Expect(call, 3, {"PAD"});
    std::int64_t first = Int(call, Positional(call, 0), "the first frame", std::nullopt);
    const std::int64_t lastArgument = Int(call, Positional(call, 1), "the last frame", std::nullopt);
    if (clip_.Length == 0) return;
    first = std::clamp<std::int64_t>(first, 0, clip_.Length - 1);
    // 0 runs to the end; a negative value is a frame count.
    std::int64_t last = lastArgument;
    if (lastArgument == 0) last = clip_.Length - 1;
    if (lastArgument < 0) last = first - lastArgument - 1;
    last = std::clamp<std::int64_t>(last, first, clip_.Length - 1);
    SetLength(last - first + 1, call);
    ClipStep& step = AddStep(ClipStepKind::Trim, call);
    step.First = first;
    step.Last = last;
}

void ScriptEvaluator::Crop(const Call& call) {
    RequireClip(call);
    Expect(call, 5, {"ALIGN"});
    const std::int64_t left = Int(call, Positional(call, 0), "the left edge", std::nullopt);
    const std::int64_t top = Int(call, Positional(call, 1), "the top edge", std::nullopt);
    std::int64_t width = Int(call, Positional(call, 2), "the width", std::nullopt);
    std::int64_t height = Int(call, Positional(call, 3), "the height", std::nullopt);
    if (width <= 0) width = clip_.Width - left + width;  // negative values count from the right
    if (height <= 0) height = clip_.Height - top + height;
    if (left < 0 || top < 0 || width <= 0 || height <= 0 || left + width > clip_.Width ||
        top + height > clip_.Height) {
        Invalid(call, "the area lies outside the picture");
    }
    clip_.Width = width;
    clip_.Height = height;
    ClipStep& step = AddStep(ClipStepKind::Crop, call);
    step.Left = left;
    step.Top = top;
    step.Width = width;
    step.Height = height;
}

void ScriptEvaluator::AddBorders(const Call& call) {
    RequireClip(call);
    Expect(call, 5, {"COLOR"});
    std::int64_t sides[4];
    const char* names[4] = {"the left border", "the top border", "the right border", "the bottom border"};
    for (std::size_t i = 0; i < 4; ++i) {
        sides[i] = std::max<std::int64_t>(0, Int(call, Positional(call, i), names[i], std::nullopt));
    }
    if (clip_.Width + sides[0] + sides[2] > kMaxClipValue || clip_.Height + sides[1] + sides[3] > kMaxClipValue) {
        Invalid(call, "the picture would be out of range");
    }
    clip_.Width += sides[0] + sides[2];
    clip_.Height += sides[1] + sides[3];
    ClipStep& step = AddStep(ClipStepKind::AddBorders, call);
    step.Left = sides[0];
    step.Top = sides[1];
    step.Right = sides[2];
    step.Bottom = sides[3];
}

AviStreamInfo ErrorClip(const std::string& error) {
    AviStreamInfo info;
    info.Width = 640;
    info.Height = 480;
    info.Rate = 24;
    info.Scale = 1;
    info.Length = 240;
    info.ErrorClip = true;
    info.Error = error;
    return info;
}

}  // namespace

AviStreamInfo ReadAviStreamInfo(const platform::FileSystem& files, const std::string& scriptPath,
                                PluginFiles plugins) {
    const std::string label = "Script \"" + scriptPath + "\"";
    std::string text;
    try {
        if (!files.FileExists(scriptPath)) {
            return ErrorClip("Cannot open the script \"" + scriptPath + "\": there is no such file.");
        }
        text = files.ReadText(scriptPath);
    } catch (const Error& error) {
        return ErrorClip("Cannot read the script \"" + scriptPath + "\": " + error.what());
    }

    ScriptEvaluator evaluator(scriptPath, files, plugins);
    std::size_t start = 0;
    for (int number = 1; start < text.size(); ++number) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        std::string line = text.substr(start, end - start);
        start = end + 1;
        if (number == 1 && line.compare(0, 3, "\xEF\xBB\xBF") == 0) line.erase(0, 3);  // UTF-8 mark
        try {
            for (const Call& call : ParseScriptLine(line)) evaluator.Apply(call);
        } catch (const ScriptFault& fault) {
            return ErrorClip(label + ", line " + std::to_string(number) + ": " + fault.Message + ".");
        } catch (const Error& error) {
            return ErrorClip(label + ", line " + std::to_string(number) + ": " + error.what() + ".");
        }
    }

    const Clip& clip = evaluator.Result();
    if (!clip.Present) return ErrorClip(label + ": the script's return value was not a video clip.");
    AviStreamInfo info;
    info.Width = static_cast<std::int32_t>(clip.Width);
    info.Height = static_cast<std::int32_t>(clip.Height);
    info.Rate = clip.Rate.Numerator;
    info.Scale = clip.Rate.Denominator;
    info.Length = static_cast<std::int32_t>(clip.Length);
    info.Plan = clip.Plan;
    return info;
}

}  // namespace kestrova
