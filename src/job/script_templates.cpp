// Script templates and their registry keys: see script_templates.h.
#include "job/script_templates.h"

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

AvsScripts LoadAvsScripts(const Registry& registry, const std::string& programFolder, const std::string& version) {
    if (Text(registry, kAvsKey, "Version").empty()) return DefaultAvsScripts(programFolder, version);
    AvsScripts scripts;
    scripts.Version = Text(registry, kAvsKey, "Version");
    scripts.Avisynth_Header = Text(registry, kAvsKey, "Header");
    scripts.Avisynth_Footer_Interlaced = Text(registry, kAvsKey, "Footer_I");
    scripts.Avisynth_Footer_Progressive = Text(registry, kAvsKey, "Footer_P");
    scripts.Avisynth_Normal = Text(registry, kAvsKey, "Normal");
    scripts.Avisynth_Interlaced = Text(registry, kAvsKey, "Interlaced");
    scripts.Avisynth_Telecine = Text(registry, kAvsKey, "Telecine");
    scripts.Avisynth_Hybrid = Text(registry, kAvsKey, "Hybrid");
    scripts.Avisynth_MpegSwitch = Text(registry, kAvsKey, "MpegSwitch");
    scripts.Avisynth_DeinterlaceScript = Text(registry, kAvsKey, "DeinterlaceScript");
    scripts.Deinterlace = Number(registry, kAvsKey, "Deinterlace");
    scripts.HybridIVTC = Number(registry, kAvsKey, "HybridIVTC");
    scripts.TelecineIVTC = Number(registry, kAvsKey, "TelecineIVTC");
    return scripts;
}

ConversionScripts LoadConversionScripts(const Registry& registry, const std::string& programFolder,
                                        const std::string& version) {
    if (Text(registry, kConversionKey, "Version").empty()) return DefaultConversionScripts(programFolder, version);
    ConversionScripts scripts;
    scripts.Version = Text(registry, kConversionKey, "Version");
    scripts.Conversion1 = Text(registry, kConversionKey, "Conversion1");
    scripts.Conversion2 = Text(registry, kConversionKey, "Conversion2");
    scripts.Conversion3 = Text(registry, kConversionKey, "Conversion3");
    scripts.Conversion4 = Text(registry, kConversionKey, "Conversion4");
    scripts.ConvertAudio = Number(registry, kConversionKey, "ConvertAudio") == 1 ? -1 : 0;
    scripts.ConvertFPS = Number(registry, kConversionKey, "ConvertFPS");
    return scripts;
}

void SaveAvsScripts(Registry& registry, const AvsScripts& scripts) {
    Registry::DeferSave once(registry);
    const auto text = [&registry](const char* name, const std::string& value) {
        registry.savestring(RegistryRoot::CurrentUser, kAvsKey, name, value);
    };
    const auto number = [&registry](const char* name, std::int16_t value) {
        registry.SaveDword(RegistryRoot::CurrentUser, kAvsKey, name, static_cast<std::uint32_t>(value));
    };
    text("Version", scripts.Version);
    text("Header", scripts.Avisynth_Header);
    text("Footer_I", scripts.Avisynth_Footer_Interlaced);
    text("Footer_P", scripts.Avisynth_Footer_Progressive);
    text("Normal", scripts.Avisynth_Normal);
    text("Interlaced", scripts.Avisynth_Interlaced);
    text("Telecine", scripts.Avisynth_Telecine);
    text("Hybrid", scripts.Avisynth_Hybrid);
    text("MpegSwitch", scripts.Avisynth_MpegSwitch);
    text("DeinterlaceScript", scripts.Avisynth_DeinterlaceScript);
    number("Deinterlace", scripts.Deinterlace);
    number("HybridIVTC", scripts.HybridIVTC);
    number("TelecineIVTC", scripts.TelecineIVTC);
}

void SaveConversionScripts(Registry& registry, const ConversionScripts& scripts) {
    Registry::DeferSave once(registry);
    registry.savestring(RegistryRoot::CurrentUser, kConversionKey, "Version", scripts.Version);
    registry.savestring(RegistryRoot::CurrentUser, kConversionKey, "Conversion1", scripts.Conversion1);
    registry.savestring(RegistryRoot::CurrentUser, kConversionKey, "Conversion2", scripts.Conversion2);
    registry.savestring(RegistryRoot::CurrentUser, kConversionKey, "Conversion3", scripts.Conversion3);
    registry.savestring(RegistryRoot::CurrentUser, kConversionKey, "Conversion4", scripts.Conversion4);
    registry.SaveDword(RegistryRoot::CurrentUser, kConversionKey, "ConvertAudio", scripts.ConvertAudio != 0 ? 1 : 0);
    registry.SaveDword(RegistryRoot::CurrentUser, kConversionKey, "ConvertFPS",
                       static_cast<std::uint32_t>(scripts.ConvertFPS));
}

}  // namespace kestrova
