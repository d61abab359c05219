// The names of a Muxman script: see mxp_names.h.
#include "muxman/mxp_names.h"

#include <algorithm>

#include "assets/asset_names.h"
#include "authoring/scenario_helpers.h"
#include "platform/text.h"

namespace kestrova {

namespace {

// Without parenthesised parts, and only the part in front of a ";" or ",":
// "(Afan)Oromo" is "Oromo", "Bengali;Bangla" is "Bengali".
std::string CutName(const std::string& name) {
    std::string kept;
    int open = 0;
    for (const char c : name) {
        if (c == '(') {
            ++open;
        } else if (c == ')') {
            if (open > 0) --open;
        } else if (open == 0) {
            if (c == ';' || c == ',') break;
            kept += c;
        }
    }
    return platform::Trim(kept);
}

std::string NameOf(const JobContext& job, const Language_Properties& language) {
    if (language.Language_Folder.empty()) return "English";
    return CutName(job.LanguageTable.priv_LangCodeToLangName(language.Language_Folder));
}

}  // namespace

bool TargetIsPal(const JobContext& job) {
    const std::string& standard = job.Timing.VideoStandard;
    const std::int16_t conversion = job.Timing.Conversion;
    return (standard == "PAL" && conversion == 0) || (standard == "NTSC" && conversion == 1);
}

std::string MuxmanDomain(int entry) { return entry <= 1 ? std::string("VMG") : "VTS" + CreateCellName(entry - 1); }

std::string MuxmanLanguage(const JobContext& job, int entry, int languageIndex) {
    if (entry < 1 || static_cast<std::size_t>(entry) > job.DiscModel.Count()) return "English";
    const auto& languages = job.DiscModel.Item(static_cast<std::size_t>(entry)).Language;
    if (languageIndex < 1 || static_cast<std::size_t>(languageIndex) > languages.Count()) return "English";
    const Language_Properties& unit = languages.Item(static_cast<std::size_t>(languageIndex));
    const std::string name = NameOf(job, unit);
    for (int earlier = 1; earlier < languageIndex; ++earlier) {
        const Language_Properties& other = languages.Item(static_cast<std::size_t>(earlier));
        if (other.PGC_Quantity > 0 && NameOf(job, other) == name) {
            const std::string& code = unit.Language_Folder;
            return name + platform::ToUpperAscii(code.substr(0, 1)) + code.substr(std::min<std::size_t>(1, code.size()));
        }
    }
    return name;
}

std::string MuxmanPgcName(int entry, std::string_view language, int pgc) {
    if (entry <= 1 && pgc == 1) return std::string(language) + "TitleMenu";
    return MuxmanDomain(entry) + std::string(language) + "PGC" + Dec(pgc);
}

std::string MuxmanProgramName(int entry, std::string_view language, int pgc, int pg) {
    return MuxmanDomain(entry) + std::string(language) + "PGC" + Dec(pgc) + "PG" + Dec(pg);
}

std::string MuxmanCellName(int entry, std::string_view language, int pgc, int cell) {
    return MuxmanDomain(entry) + std::string(language) + "PGC" + Dec(pgc) + "C" + CreateCellName(cell);
}

std::string MuxmanTitleName(int titleSet, int title) { return "VTS" + Dec(titleSet) + "T" + Dec(title); }

std::string MuxmanTitlePgcName(int titleSet, int title, int pgc) {
    return MuxmanTitleName(titleSet, title) + "PGC" + Dec(pgc);
}

std::string MuxmanTitleProgramName(int titleSet, int title, int pgc, int pg) {
    return MuxmanTitlePgcName(titleSet, title, pgc) + "PG" + Dec(pg);
}

std::string MuxmanSegmentName(int entry, int vob) {
    return (entry <= 1 ? std::string("VMG") : "VTS" + Dec(entry - 1)) + "_VOBID" + Dec(vob);
}

std::string MuxmanSceneName(int entry, int vob, int cell) {
    const std::string domain = entry <= 1 ? std::string("VMG") : "VTS" + Dec(entry - 1);
    return domain + "_" + CreateVOBName(vob) + "_Scene_" + CreateCellName(cell);
}

std::string MuxmanDummyScene(int entry) {
    return entry <= 1 ? std::string("DummyVIDEOScene") : "DummyVTS" + Dec(entry - 1) + "Scene";
}

}  // namespace kestrova
