// The lists of the encoder and script option windows: the values each list
// offers, the value its stored index stands for, and the entry a window
// chooses when it is first opened without saved settings. The job reads
// the values (CCE_Passes, ECL_Assets, Default_Encode, ...), the registry
// keeps the indices (CCE_Passes_Index, ECL_Index, ...).
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <variant>

#include "job/settings.h"

namespace kestrova {

struct OptionList {
    const char* Name;
    std::int16_t Settings_Properties::* Index;
    // The value the index stands for.
    std::variant<std::int16_t Settings_Properties::*, std::int32_t Settings_Properties::*,
                 std::string Settings_Properties::*>
        Value;
    // A numeric list offers First, First + Step, ... up to Last; a text
    // list offers its Texts (First, Last and Step unused).
    int First = 0;
    int Last = 0;
    int Step = 1;
    std::span<const char* const> Texts;
    int DefaultIndex = 0;  // the entry a window chooses when first opened

    int Count() const { return Texts.empty() ? (Last - First) / Step + 1 : static_cast<int>(Texts.size()); }
    // The entry at `index` as the list shows it ("2000", "Auto").
    std::string Entry(int index) const;
};

std::span<const OptionList> OptionLists();

// Each list at the entry a window chooses when it is first opened, and the
// encoder window's method: what a run uses when there are no saved
// settings and no window was opened.
void ApplyOptionDefaults(Settings_Properties& settings);

// Works out each list's value from its stored index. An index outside its
// list (a hive edited by hand, or from another version) takes the list's
// default entry, and is named in the returned text; "" when all were in range.
std::string WorkOutOptionValues(Settings_Properties& settings);

}  // namespace kestrova
