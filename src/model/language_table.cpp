// The language table: see language_table.h.
#include "model/language_table.h"

#include <algorithm>
#include <set>

namespace kestrova {

namespace {

const std::array<CLsDVD::Row, CLsDVD::kRows> kCodes = {{
    {"  ", "English"},
    {"aa", "Afar"},
    {"ab", "Abkhazian"},
    {"af", "Afrikaans"},
    {"am", "Amharic"},
    {"ar", "Arabic"},
    {"as", "Assamese"},
    {"ay", "Aymara"},
    {"az", "Azerbaijani"},
    {"ba", "Bashkir"},
    {"be", "Byelorussian"},
    {"bg", "Bulgarian"},
    {"bh", "Bihari"},
    {"bi", "Bislama"},
    {"bn", "Bengali;Bangla"},
    {"bo", "Tibetan"},
    {"br", "Breton"},
    {"ca", "Catalan"},
    {"co", "Corsican"},
    {"cs", "Czech"},
    {"cy", "Welsh"},
    {"da", "Danish"},
    {"de", "German"},
    {"dz", "Bhutani"},
    {"el", "Greek"},
    {"en", "English"},
    {"eo", "Esperanto"},
    {"es", "Spanish"},
    {"et", "Estonian"},
    {"eu", "Basque"},
    {"fa", "Persian"},
    {"fi", "Finnish"},
    {"fj", "Fiji"},
    {"fo", "Faroese"},
    {"fr", "French"},
    {"fy", "Frisian"},
    {"ga", "Irish"},
    {"gd", "Gaelic"},
    {"gl", "Galician"},
    {"gn", "Guarani"},
    {"gu", "Gujarati"},
    {"ha", "Hausa"},
    {"he", "Hebrew"},
    {"hi", "Hindi"},
    {"hr", "Croatian"},
    {"hu", "Hungarian"},
    {"hy", "Armenian"},
    {"ia", "Interlingua"},
    {"id", "Indonesian"},
    {"ie", "Interlingue"},
    {"ik", "Inupiak"},
    {"in", "Indonesian"},
    {"is", "Icelandic"},
    {"it", "Italian"},
    {"iu", "Inuktitut"},
    {"iw", "Hebrew"},
    {"ja", "Japanese"},
    {"ji", "Yiddish"},
    {"jw", "Javanese"},
    {"ka", "Georgian"},
    {"kk", "Kazakh"},
    {"kl", "Greenlandic"},
    {"km", "Cambodian"},
    {"kn", "Kannada"},
    {"ko", "Korean"},
    {"ks", "Kashmiri"},
    {"ku", "Kurdish"},
    {"ky", "Kirghiz"},
    {"la", "Latin"},
    {"ln", "Lingala"},
    {"lo", "Laothian"},
    {"lt", "Lithuanian"},
    {"lv", "Latvian,Lettish"},
    {"mg", "Malagasy"},
    {"mi", "Maori"},
    {"mk", "Macedonian"},
    {"ml", "Malayalam"},
    {"mn", "Mongolian"},
    {"mo", "Moldavian"},
    {"mr", "Marathi"},
    {"ms", "Malay"},
    {"mt", "Maltese"},
    {"my", "Burmese"},
    {"na", "Nauru"},
    {"ne", "Nepali"},
    {"nl", "Dutch"},
    {"no", "Norwegian"},
    {"oc", "Occitan"},
    {"om", "(Afan)Oromo"},
    {"or", "Oriya"},
    {"pa", "Punjabi"},
    {"pl", "Polish"},
    {"ps", "Pashto,Pushto"},
    {"pt", "Portuguese"},
    {"qu", "Quechua"},
    {"rm", "Rhaeto-Romance"},
    {"rn", "Kirundi"},
    {"ro", "Romanian"},
    {"ru", "Russian"},
    {"rw", "Kinyarwanda"},
    {"sa", "Sanskrit"},
    {"sd", "Sindhi"},
    {"sg", "Sangho"},
    {"sh", "Serbo-Croatian"},
    {"si", "Sinhalese"},
    {"sk", "Slovak"},
    {"sl", "Slovenian"},
    {"sm", "Samoan"},
    {"sn", "Shona"},
    {"so", "Somali"},
    {"sq", "Albanian"},
    {"sr", "Serbian"},
    {"ss", "Siswati"},
    {"st", "Sesotho"},
    {"su", "Sundanese"},
    {"sv", "Swedish"},
    {"sw", "Swahili"},
    {"ta", "Tamil"},
    {"te", "Telugu"},
    {"tg", "Tajik"},
    {"th", "Thai"},
    {"ti", "Tigrinya"},
    {"tk", "Turkmen"},
    {"tl", "Tagalog"},
    {"tn", "Setswana"},
    {"to", "Tonga"},
    {"tr", "Turkish"},
    {"ts", "Tsonga"},
    {"tt", "Tatar"},
    {"tw", "Twi"},
    {"ug", "Uighur"},
    {"uk", "Ukrainian"},
    {"ur", "Urdu"},
    {"uz", "Uzbek"},
    {"vi", "Vietnamese"},
    {"vo", "Volapuk"},
    {"wo", "Wolof"},
    {"xh", "Xhosa"},
    {"yi", "Yiddish"},
    {"yo", "Yoruba"},
    {"za", "Zhuang"},
    {"zh", "Chinese"},
    {"zu", "Zulu"},
    {"", "Not Specified"},
}};

const std::array<std::int16_t, 64> kIntra = {
    8,  16, 19, 22, 26, 27, 29, 34,  //
    16, 16, 22, 24, 27, 29, 34, 37,  //
    19, 22, 26, 27, 29, 34, 34, 38,  //
    22, 22, 26, 27, 29, 34, 37, 40,  //
    22, 26, 27, 29, 32, 35, 40, 48,  //
    26, 27, 29, 32, 35, 40, 48, 58,  //
    26, 27, 29, 34, 38, 46, 56, 69,  //
    27, 29, 35, 38, 46, 56, 69, 83,
};

const std::array<std::int16_t, 64> kNonIntra = {
    16, 17, 18, 19, 20, 21, 22, 23,  //
    17, 18, 19, 20, 21, 22, 23, 24,  //
    18, 19, 20, 21, 22, 23, 24, 25,  //
    19, 20, 21, 22, 23, 24, 26, 27,  //
    20, 21, 22, 23, 25, 26, 27, 28,  //
    21, 22, 23, 24, 26, 27, 28, 30,  //
    22, 23, 24, 26, 27, 28, 30, 31,  //
    23, 24, 25, 27, 28, 30, 31, 33,
};

// The names sorted, each once.
const std::vector<std::string>& SelectionList() {
    static const std::vector<std::string> list = [] {
        std::set<std::string> names;
        for (const auto& row : kCodes) names.insert(row.Name);
        return std::vector<std::string>(names.begin(), names.end());
    }();
    return list;
}

}  // namespace

std::string CLsDVD::priv_LangCodeToLangName(const std::string& code) const {
    for (const auto& row : kCodes) {
        if (*row.Code == '\0') break;  // the walk stops at the first empty entry
        if (code == row.Code) return row.Name;
    }
    return "English";
}

const std::array<CLsDVD::Row, CLsDVD::kRows>& CLsDVD::SpareLanguage() const { return kCodes; }
const std::array<std::int16_t, 64>& CLsDVD::Intra() const { return kIntra; }
const std::array<std::int16_t, 64>& CLsDVD::NonIntra() const { return kNonIntra; }

std::string CLsDVD::Language_Array(int position) const {
    const auto& list = SelectionList();
    return position >= 0 && position < static_cast<int>(list.size()) ? list[static_cast<std::size_t>(position)] : "";
}

int CLsDVD::Language_Count() const { return static_cast<int>(SelectionList().size()); }

}  // namespace kestrova
