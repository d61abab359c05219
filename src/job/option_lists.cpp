// The option windows' lists: see option_lists.h.
#include "job/option_lists.h"

#include <array>

namespace kestrova {

namespace {

using S = Settings_Properties;

constexpr std::array<const char*, 3> kField = {"Auto", "TFF", "BFF"};
constexpr std::array<const char*, 3> kScanning = {"Auto", "Alternate", "ZigZag"};
constexpr std::array<const char*, 3> kFrameType = {"Auto", "Interlaced", "Progressive"};

// Name, index, value, first, last, step, texts, default entry.
const OptionList kLists[] = {
    // The encoder window.
    {"CCE_Average_Bitrate", &S::CCE_Average_Bitrate_Index, &S::CCE_Average_Bitrate, 500, 9300, 50, {}, (2000 - 500) / 50},
    {"CCE_Passes", &S::CCE_Passes_Index, &S::CCE_Passes, 1, 15, 1, {}, 3 - 1},
    {"CCE_Q_Factor", &S::CCE_Q_Factor_Index, &S::CCE_Q_Factor, 10, 100, 5, {}, (45 - 10) / 5},
    {"Default_Encode", &S::Default_Encode_Threshold, &S::Default_Encode, 1, 2048, 1, {}, 40 - 1},
    {"Field", &S::Field_Index, &S::Field, 0, 0, 1, kField, 0},
    {"Rejig_Quality", &S::Rejig_Index, &S::Rejig_Quality, 30, 70, 1, {}, 50 - 30},
    {"ECL_Assets", &S::ECL_Index, &S::ECL_Assets, 1, 74, 1, {}, 25 - 1},
    {"Procoder_CQ", &S::Procoder_Index, &S::Procoder_CQ, 1, 19, 1, {}, 11 - 1},
    // The GOP window.
    {"m", &S::M_Index, &S::m, 1, 3, 1, {}, 3 - 1},
    {"N", &S::N_Index, &S::N, 1, 5, 1, {}, 4 - 1},
    {"Sequence", &S::Sequence_Index, &S::Sequence, 1, 100, 1, {}, 0},
    // The quality window; the DC precisions' default is the second entry.
    {"Scanning", &S::Scanning_Index, &S::Scanning, 0, 0, 1, kScanning, 0},
    {"FrameType", &S::FrameType_Index, &S::FrameType, 0, 0, 1, kFrameType, 0},
    {"Intra", &S::Intra_Index, &S::Intra, 8, 10, 1, {}, 1},
    {"Quantizer", &S::Quantizer_Index, &S::Quantizer, 0, 64, 1, {}, 25},
    // The custom window.
    {"Low_Pass_Filter", &S::Low_Pass_Filter_Index, &S::Low_Pass_Filter, 2, 10, 1, {}, 8 - 2},
    {"Vertical_Filter", &S::Vertical_Filter_Index, &S::Vertical_Filter, 1, 64, 1, {}, 12 - 1},
    {"Dithered", &S::Dithered_Index, &S::Dithered, 1, 128, 1, {}, 12 - 1},
    // The AC3 correction window: milliseconds.
    {"Audio_AC3_Encode_Threshold", &S::Audio_AC3_Encode_Threshold_Index, &S::Audio_AC3_Encode_Threshold, 10, 250,
     10, {}, (40 - 10) / 10},
};

void SetValue(Settings_Properties& settings, const OptionList& list, int index) {
    if (!list.Texts.empty()) {
        settings.*std::get<std::string S::*>(list.Value) = list.Texts[static_cast<std::size_t>(index)];
        return;
    }
    const int value = list.First + index * list.Step;
    if (auto narrow = std::get_if<std::int16_t S::*>(&list.Value)) {
        settings.**narrow = static_cast<std::int16_t>(value);
    } else {
        settings.*std::get<std::int32_t S::*>(list.Value) = value;
    }
}

}  // namespace

std::string OptionList::Entry(int index) const {
    return Texts.empty() ? std::to_string(First + index * Step) : std::string(Texts[static_cast<std::size_t>(index)]);
}

std::span<const OptionList> OptionLists() { return kLists; }

void ApplyOptionDefaults(Settings_Properties& settings) {
    for (const OptionList& list : kLists) settings.*list.Index = static_cast<std::int16_t>(list.DefaultIndex);
    settings.CCE_Method = 2;  // the encoder window's method
}

std::string WorkOutOptionValues(Settings_Properties& settings) {
    std::string outside;
    for (const OptionList& list : kLists) {
        int index = settings.*list.Index;
        if (index < 0 || index >= list.Count()) {
            outside += (outside.empty() ? "" : ", ") + std::string(list.Name) + " index " + std::to_string(index);
            index = list.DefaultIndex;
            settings.*list.Index = static_cast<std::int16_t>(index);
        }
        SetValue(settings, list, index);
    }
    return outside;
}

}  // namespace kestrova
