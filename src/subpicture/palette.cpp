// The source palettes written back into an authored IFO: see palette.h.
#include "subpicture/palette.h"

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "dvd/ifo_pgc.h"
#include "dvd/ifo_reader.h"
#include "dvd/ifo_table.h"
#include "job/log_writers.h"
#include "platform/error.h"
#include "platform/text.h"
#include "platform/trace.h"

namespace kestrova {

namespace {

inline constexpr std::size_t kPaletteEntries = 16;
inline constexpr std::int64_t kPaletteEntrySize = 4;  // 0, Y, Cr, Cb
inline constexpr std::int64_t kLanguageUnitEntrySize = 8;

// Where the file's menu PGCI_UT is named, and which domain of the model the
// file is.
struct MenuSide {
    std::string Table;
    std::int64_t Pointer = 0;
    std::size_t Domain = 0;
};

// Only the file's own name counts: a job folder named "...VTS..." holds the
// video manager's IFO too.
MenuSide MenuSideOf(const std::string& path) {
    const std::string name = platform::ToUpperAscii(platform::FileNameOf(path));
    if (name.find("VTS") == std::string::npos) return {"VMGM_PGCI_UT", kVmgmPGCI_UT, 1};
    const std::size_t underscore = name.find('_');
    const std::int64_t titleSet =
        underscore == std::string::npos
            ? 0
            : platform::LeadingWholeNumber(std::string_view(name).substr(underscore + 1));
    if (titleSet < 1 || titleSet > 99) {
        throw Error(path + ": the file name gives no title set number between its underscores (VTS_nn_0.IFO was "
                           "expected).");
    }
    return {"VTSM_PGCI_UT", kVtsmPGCI_UT, static_cast<std::size_t>(titleSet) + 1};
}

// The model's language for each of `units` language units, 0 for none. When
// the counts agree the positions agree. Otherwise the tool has merged or
// dropped units, and the units take the languages that have PGCs in order.
std::vector<std::size_t> MatchLanguages(const VTS_Properties& domain, std::size_t units) {
    const auto& languages = domain.Language;
    std::vector<std::size_t> match(units, 0);
    if (languages.Count() == units) {
        for (std::size_t i = 0; i < units; ++i) match[i] = i + 1;
        return match;
    }
    std::size_t last = 0;
    for (auto& language : match) {
        std::size_t next = last + 1;
        while (next <= languages.Count() && languages.Item(next).PGC_Number.Count() == 0) ++next;
        if (next > languages.Count()) break;
        language = last = next;
    }
    return match;
}

std::uint8_t ColourByte(std::int16_t value, const std::string& where, const char* colour) {
    if (value < 0 || value > 255) {
        throw Error(where + ": " + colour + " is " + std::to_string(value) + ", which does not fit in a palette byte.");
    }
    return static_cast<std::uint8_t>(value);
}

// The 16 colours of `palette` into the PGC starting at byte `pgc` of `out`,
// at bytes 1 to 3 of each entry.
void WritePalette(const Collection<Palette_Properties>& palette, std::int64_t pgc, const std::string& where,
                  std::string& out) {
    for (std::size_t k = 0; k < kPaletteEntries; ++k) {
        const auto& entry = palette.Item(k + 1);
        const std::string colour = where + ", palette entry " + std::to_string(k + 1);
        const auto at = static_cast<std::size_t>(pgc + kPgcPalette + kPaletteEntrySize * static_cast<std::int64_t>(k));
        out[at + 1] = static_cast<char>(ColourByte(entry.Y, colour, "Y"));
        out[at + 2] = static_cast<char>(ColourByte(entry.U, colour, "U"));
        out[at + 3] = static_cast<char>(ColourByte(entry.V, colour, "V"));
    }
}

// Reads from `in` and writes into `out`, a copy of it: a file found broken
// part way through is handed back whole, never half written.
void WritePalettes(JobContext& job, const std::string& path, const std::string& in, std::string& out) {
    const MenuSide side = MenuSideOf(path);
    if (side.Domain > job.DiscModel.Count()) {
        throw Error(path + ": the model holds " + std::to_string(job.DiscModel.Count()) +
                    " domains, so there is no domain " + std::to_string(side.Domain) + " to take the palettes from.");
    }
    const auto& domain = job.DiscModel.Item(side.Domain);
    const ByteSource source{std::span(reinterpret_cast<const std::uint8_t*>(in.data()), in.size()), path};
    const auto unitTable = IfoTable::AtSector(source, side.Table, side.Pointer);
    if (!unitTable) {
        WLOG(job, "\t" + path + " has no menu PGCI_UT; no palette to replace");
        return;
    }

    const std::int64_t unitCount = unitTable->Word(0);
    unitTable->Require(kLanguageUnitEntrySize, unitCount * kLanguageUnitEntrySize,
                       std::to_string(unitCount) + " language unit entries");
    const auto languages = MatchLanguages(domain, static_cast<std::size_t>(unitCount));
    for (std::int64_t i = 1; i <= unitCount; ++i) {
        const IfoTable unit = unitTable->Sub("PGCI_LU", unitTable->Long(kLanguageUnitEntrySize * i + 4),
                                             "the offset of language unit " + std::to_string(i));
        const std::vector<PGCI_SRP> entries = ReadPGCI_SRP(unit);
        const std::size_t language = languages[static_cast<std::size_t>(i - 1)];
        if (language == 0) {
            WLOG(job, "\tLanguage unit " + std::to_string(i) + " of " + path +
                          " has no source language left to match; its palettes are left as authored");
            continue;
        }
        const auto& pgcs = domain.Language.Item(language).PGC_Number;
        for (std::size_t j = 0; j < entries.size(); ++j) {
            const IfoTable pgc = unit.Sub("PGC", entries[j].Offset, "the offset of PGC " + std::to_string(j + 1));
            if (j + 1 > pgcs.Count() || pgc.Byte(kPgcCells) == 0) continue;
            const auto& palette = pgcs.Item(j + 1).Palette;
            if (palette.Count() < kPaletteEntries) {
                WLOG(job, "\tLanguage unit " + std::to_string(i) + ", PGC " + std::to_string(j + 1) +
                              ": the source PGC has no palette; the authored one is kept");
                continue;
            }
            pgc.Require(kPgcPalette, kPaletteEntrySize * static_cast<std::int64_t>(kPaletteEntries), "the palette");
            WritePalette(palette, pgc.Base(), path + ": language unit " + std::to_string(i) + ", PGC " +
                                                  std::to_string(j + 1), out);
        }
    }
}

}  // namespace

std::string ReplacePalette(JobContext& job, const std::string& path, const std::string& bytes) {
    platform::TraceFrame frame(job.Trace, "Palettes", "ReplacePalette");
    LogWindow(job, "Replacing Palette");
    WLOG(job, "Replacing Palette");
    std::string out = bytes;
    try {
        WritePalettes(job, path, bytes, out);
    } catch (const Error& failure) {
        StageFailed(job, RunStage::IfoCorrection,
                    std::string(failure.what()) + " The palettes of " + path + " were left as authored.");
        return bytes;
    }
    return out;
}

}  // namespace kestrova
