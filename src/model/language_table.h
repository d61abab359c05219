// The language table of the disc reader: two-letter codes of DVD language
// units with their names, the sorted list the selection boxes offer, and
// the default MPEG-2 quantiser matrices the matrix editor starts from.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace kestrova {

class CLsDVD {
public:
    struct Row {
        const char* Code;  // two letters; "  " for position 0, "" for the last
        const char* Name;
    };
    static constexpr int kRows = 144;

    // The name of a code; "English" when the code is not in the table.
    std::string priv_LangCodeToLangName(const std::string& code) const;
    // The code table as a whole, positions 0 to 143.
    const std::array<Row, kRows>& SpareLanguage() const;
    // The default intra and non-intra matrices, 64 values in row order.
    const std::array<std::int16_t, 64>& Intra() const;
    const std::array<std::int16_t, 64>& NonIntra() const;
    // The selection list's name at a position from 0, or "" past its end.
    std::string Language_Array(int position) const;
    int Language_Count() const;
};

}  // namespace kestrova
