// The Avisynth script fragments the frame-serving and conversion stages put
// into every script, kept in the registry under their own keys, with the
// defaults a first run starts from.
#pragma once

#include <cstdint>
#include <string>

#include "platform/questions.h"
#include "platform/registry.h"

namespace kestrova {

inline constexpr const char* kAvsKey = "software\\Kestrova\\AVS";
inline constexpr const char* kConversionKey = "software\\Kestrova\\Conversion";

struct AvsScripts {
    std::string Version;
    std::string Avisynth_Header;
    std::string Avisynth_Footer_Interlaced;
    std::string Avisynth_Footer_Progressive;
    std::string Avisynth_Normal;
    std::string Avisynth_Interlaced;
    std::string Avisynth_Telecine;
    std::string Avisynth_Hybrid;
    std::string Avisynth_MpegSwitch;
    std::string Avisynth_DeinterlaceScript;
    std::int16_t Deinterlace = 0;
    std::int16_t HybridIVTC = 0;
    std::int16_t TelecineIVTC = 0;
};

struct ConversionScripts {
    std::string Version;
    std::string Conversion1;  // pal_interlaced sources
    std::string Conversion2;  // pal_progressive
    std::string Conversion3;  // ntsc_interlaced, ntsc_hybrid, ntsc_telecine
    std::string Conversion4;  // ntsc_film
    std::int16_t ConvertAudio = -1;  // the audio is stretched
    std::int16_t ConvertFPS = 0;     // 1 ConvertFPS, 0 ChangeFPS
};

// Defaults name the plug-ins under the program folder; `version` is the
// program's version text.
AvsScripts DefaultAvsScripts(const std::string& programFolder, const std::string& version);
ConversionScripts DefaultConversionScripts(const std::string& programFolder, const std::string& version);

// The stored scripts, or the defaults when the key has no "Version" value.
AvsScripts LoadAvsScripts(const platform::Registry& registry, const std::string& programFolder,
                          const std::string& version);
ConversionScripts LoadConversionScripts(const platform::Registry& registry, const std::string& programFolder,
                                        const std::string& version);

void SaveAvsScripts(platform::Registry& registry, const AvsScripts& scripts);

// The script window's two resets. "Reset_Saved" takes the scripts back to
// what is stored. "Reset_Default", once the user agrees, deletes the stored
// scripts and gives the defaults; false, with `scripts` unchanged, when the
// user declines.
AvsScripts ResetSavedAvsScripts(const platform::Registry& registry, const std::string& programFolder,
                                const std::string& version);
bool ResetDefaultAvsScripts(platform::Registry& registry, platform::Questions& questions,
                            const std::string& programFolder, const std::string& version, AvsScripts& scripts);

// The IVTC check boxes. Checking HybridIVTC turns the hybrid script's
// "Decimate(mode=1,threshold=3)" into "Decimate()", checking TelecineIVTC
// the telecine script's "Decimate(cycle=5)"; unchecking only clears the flag.
void CheckHybridIVTC(AvsScripts& scripts, bool checked);
void CheckTelecineIVTC(AvsScripts& scripts, bool checked);
void SaveConversionScripts(platform::Registry& registry, const ConversionScripts& scripts);

}  // namespace kestrova
