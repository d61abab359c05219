// Script templates and their registry keys: see script_templates.h.
#include "job/script_templates.h"

#include <utility>
#include <vector>

#include "platform/text.h"

namespace kestrova {

using platform::Registry;
using platform::RegistryRoot;

namespace {

const std::string kNewLine = "\r\n";

std::string Quoted(const std::string& text) { return "\"" + text + "\""; }

std::string DecombPlugin(const std::string& programFolder) {
    return "LoadPlugin(" + Quoted(programFolder + "\\new.avs\\decomb.dll") + ")";
}

std::string Lines(std::initializer_list<std::string> lines) {
    std::string text;
    for (const auto& line : lines) {
        if (!text.empty()) text += kNewLine;
        text += line;
    }
    return text;
}

std::string Text(const Registry& registry, const char* key, const char* name) {
    return registry.getstring(RegistryRoot::CurrentUser, key, name);
}

std::int16_t Number(const Registry& registry, const char* key, const char* name) {
    return static_cast<std::int16_t>(registry.getdword(RegistryRoot::CurrentUser, key, name));
}

}  // namespace

AvsScripts DefaultAvsScripts(const std::string& programFolder, const std::string& version) {
    AvsScripts scripts;
    scripts.Version = version;
    scripts.Avisynth_Header = Lines({"import(" + Quoted(programFolder + "\\new.avs\\addaudio.avs") + ")",
                                     "LoadPlugin(" + Quoted(programFolder + "\\new.dvd2avi\\mpeg2dec3dg.dll") + ")"});
    scripts.Avisynth_Footer_Interlaced = Lines({"AddAudio()", "ConvertToYUY2(interlaced=true)"});
    scripts.Avisynth_Footer_Progressive = Lines({"AddAudio()", "ConvertToYUY2()"});
    scripts.Avisynth_Interlaced = Lines({DecombPlugin(programFolder), "FieldDeinterlace()"});
    scripts.Avisynth_Telecine = Lines({DecombPlugin(programFolder), "Telecide()", "Decimate(cycle=5)"});
    scripts.Avisynth_Hybrid = Lines({DecombPlugin(programFolder), "Telecide()", "Decimate(mode=1,threshold=3)"});
    scripts.Avisynth_MpegSwitch = "Idct=0";
    return scripts;
}

ConversionScripts DefaultConversionScripts(const std::string& programFolder, const std::string& version) {
    ConversionScripts scripts;
    scripts.Version = version;
    const std::string kernelDeint = "LoadPlugin(" + Quoted(programFolder + "\\new.avs\\kerneldeint.dll") + ")";
    const auto interlaced = [&kernelDeint](const char* resize, const char* fps) {
        return Lines({kernelDeint, "#Kernelbob(order=1, sharp=true, twoway=true, threshold=0)", resize,
                      "ConvertToYUY2(interlaced=true)", fps, "#SeparateFields()", "#SelectEvery(4,0,3)", "#Weave()",
                      "AddAudio()"});
    };
    scripts.Conversion1 = interlaced("LanczosResize(720,480)", "AssumeFPS(29.97)");
    scripts.Conversion2 = Lines({"LanczosResize(720,480)", "ConvertToYUY2()", "AssumeFPS(29.97)", "#SeparateFields()",
                                 "#SelectEvery(4,0,3)", "#Weave()", "AddAudio()"});
    scripts.Conversion3 = interlaced("LanczosResize(720,576)", "AssumeFPS(25)");
    scripts.Conversion4 = Lines({"LanczosResize(720,576)", "ConvertToYUY2()", "AssumeFPS(25)", "AddAudio()"});
    return scripts;
}

namespace {

// The stored values of each record: registry name and field, texts and
// numbers apart. Loading and saving walk the same table.
template <typename Record>
struct StoredFields {
    std::vector<std::pair<const char*, std::string Record::*>> Texts;
    std::vector<std::pair<const char*, std::int16_t Record::*>> Numbers;
};

const StoredFields<AvsScripts>& AvsFields() {
    static const StoredFields<AvsScripts> fields{
        {{"Version", &AvsScripts::Version},
         {"Header", &AvsScripts::Avisynth_Header},
         {"Footer_I", &AvsScripts::Avisynth_Footer_Interlaced},
         {"Footer_P", &AvsScripts::Avisynth_Footer_Progressive},
         {"Normal", &AvsScripts::Avisynth_Normal},
         {"Interlaced", &AvsScripts::Avisynth_Interlaced},
         {"Telecine", &AvsScripts::Avisynth_Telecine},
         {"Hybrid", &AvsScripts::Avisynth_Hybrid},
         {"MpegSwitch", &AvsScripts::Avisynth_MpegSwitch},
         {"DeinterlaceScript", &AvsScripts::Avisynth_DeinterlaceScript}},
        {{"Deinterlace", &AvsScripts::Deinterlace},
         {"HybridIVTC", &AvsScripts::HybridIVTC},
         {"TelecineIVTC", &AvsScripts::TelecineIVTC}}};
    return fields;
}

// ConvertAudio is stored as 1 for true and kept as -1; it is handled apart.
const StoredFields<ConversionScripts>& ConversionFields() {
    static const StoredFields<ConversionScripts> fields{
        {{"Version", &ConversionScripts::Version},
         {"Conversion1", &ConversionScripts::Conversion1},
         {"Conversion2", &ConversionScripts::Conversion2},
         {"Conversion3", &ConversionScripts::Conversion3},
         {"Conversion4", &ConversionScripts::Conversion4}},
        {{"ConvertFPS", &ConversionScripts::ConvertFPS}}};
    return fields;
}

template <typename Record>
void LoadFields(const Registry& registry, const char* key, const StoredFields<Record>& fields, Record& record) {
    for (const auto& [name, field] : fields.Texts) record.*field = Text(registry, key, name);
    for (const auto& [name, field] : fields.Numbers) record.*field = Number(registry, key, name);
}

template <typename Record>
void SaveFields(Registry& registry, const char* key, const StoredFields<Record>& fields, const Record& record) {
    for (const auto& [name, field] : fields.Texts) {
        registry.savestring(RegistryRoot::CurrentUser, key, name, record.*field);
    }
    for (const auto& [name, field] : fields.Numbers) {
        registry.SaveDword(RegistryRoot::CurrentUser, key, name, static_cast<std::uint32_t>(record.*field));
    }
}

}  // namespace

AvsScripts LoadAvsScripts(const Registry& registry, const std::string& programFolder, const std::string& version) {
    if (Text(registry, kAvsKey, "Version").empty()) return DefaultAvsScripts(programFolder, version);
    AvsScripts scripts;
    LoadFields(registry, kAvsKey, AvsFields(), scripts);
    return scripts;
}

ConversionScripts LoadConversionScripts(const Registry& registry, const std::string& programFolder,
                                        const std::string& version) {
    if (Text(registry, kConversionKey, "Version").empty()) return DefaultConversionScripts(programFolder, version);
    ConversionScripts scripts;
    LoadFields(registry, kConversionKey, ConversionFields(), scripts);
    scripts.ConvertAudio = Number(registry, kConversionKey, "ConvertAudio") == 1 ? -1 : 0;
    return scripts;
}

void SaveAvsScripts(Registry& registry, const AvsScripts& scripts) {
    Registry::DeferSave once(registry);
    SaveFields(registry, kAvsKey, AvsFields(), scripts);
}

AvsScripts ResetSavedAvsScripts(const Registry& registry, const std::string& programFolder,
                                const std::string& version) {
    return LoadAvsScripts(registry, programFolder, version);
}

bool ResetDefaultAvsScripts(Registry& registry, platform::Questions& questions, const std::string& programFolder,
                            const std::string& version, AvsScripts& scripts) {
    if (!questions.AskYesNo("This will reset scripts and delete any registry scripts", "Kestrova", true)) return false;
    registry.DeleteKey(RegistryRoot::CurrentUser, kAvsKey);
    scripts = DefaultAvsScripts(programFolder, version);
    return true;
}

void CheckHybridIVTC(AvsScripts& scripts, bool checked) {
    scripts.HybridIVTC = checked ? 1 : 0;
    if (checked) platform::ReplaceAll(scripts.Avisynth_Hybrid, "Decimate(mode=1,threshold=3)", "Decimate()");
}

void CheckTelecineIVTC(AvsScripts& scripts, bool checked) {
    scripts.TelecineIVTC = checked ? 1 : 0;
    if (checked) platform::ReplaceAll(scripts.Avisynth_Telecine, "Decimate(cycle=5)", "Decimate()");
}

void SaveConversionScripts(Registry& registry, const ConversionScripts& scripts) {
    Registry::DeferSave once(registry);
    SaveFields(registry, kConversionKey, ConversionFields(), scripts);
    registry.SaveDword(RegistryRoot::CurrentUser, kConversionKey, "ConvertAudio", scripts.ConvertAudio != 0 ? 1 : 0);
}

}  // namespace kestrova
