// The menu tree over small VIDEO_TS folders made by hand: the IFOs carry only
// the header pointer and a PGCI unit table with the language codes.
#include "dvd/menu_tree.h"

#include <gtest/gtest.h>

#include "platform/error.h"
#include "support/job_fixture.h"

namespace kestrova {
namespace {

// An IFO whose menu PGCI unit table (sector 1) lists the given codes.
std::string Ifo(bool manager, const std::vector<std::string>& codes) {
    std::string bytes(2048 + 8 + 8 * codes.size(), '\0');
    bytes[(manager ? 200 : 208) + 3] = 1;
    bytes[2048 + 1] = static_cast<char>(codes.size());
    for (std::size_t i = 0; i < codes.size(); ++i) bytes.replace(2048 + 8 + 8 * i, 2, codes[i]);
    return bytes;
}

struct Disc {
    test::JobFixture f;
    JobContext& job = f.job;
    // A menu file: its IFO with languages and its VOB of `size` bytes (-1 none).
    void Menu(const std::string& name, const std::vector<std::string>& codes, long size) {
        f.temp.Write("DISC/VIDEO_TS/" + name + ".IFO", Ifo(name == "VIDEO_TS", codes));
        if (size >= 0) f.temp.Write("DISC/VIDEO_TS/" + name + ".VOB", std::string(size, 'v'));
    }
    void Load(std::int64_t threshold) { ReLoadMenus(job, "K:\\DISC\\VIDEO_TS", threshold, "K:\\OUT"); }
    // Keys in tree order, a "+" after each ticked one.
    std::string Ticks() const {
        std::string out;
        for (const auto& node : job.Tree) out += node.Key + (node.Checked ? "+ " : " ");
        return out;
    }
    // The usual disc: VMG with one language, VTS 1 with three, VTS 2 with two.
    Disc& Standard() {
        Menu("VIDEO_TS", {"en"}, 1000);
        Menu("VTS_01_0", {"en", "FR", "de"}, 3000);
        Menu("VTS_02_0", {"en", "fr"}, 5000);
        return *this;
    }
};

TEST(MenuTree, ListLinesTreeShapeAndProposedOutput) {
    Disc d;
    d.Menu("VIDEO_TS", {"en"}, 1572864);
    d.Menu("VTS_01_0", {"en", "fr"}, 0);
    d.Menu("VTS_02_0", {"en"}, -1);
    EXPECT_EQ(GetInputFiles(d.job, "K:\\DISC\\VIDEO_TS"),
              (std::vector<std::string>{"K:\\DISC\\VIDEO_TS", "K:\\DISC\\VIDEO_TS\\VIDEO_TS.VOB - 1.5MB",
                                        "K:\\DISC\\VIDEO_TS\\VTS_01_0.VOB - N/A",
                                        "K:\\DISC\\VIDEO_TS\\VTS_02_0.VOB - N/A"}));
    d.Load(0);
    std::vector<std::string> shape;
    for (const auto& node : d.job.Tree) shape.push_back(node.Key + "|" + node.Text + "|" + node.ParentKey);
    EXPECT_EQ(shape, (std::vector<std::string>{"chk|K:\\DISC\\VIDEO_TS|", "chk1|VIDEO_TS.VOB - 1.5MB|chk",
                                               "EnglishLang1|English|chk1", "chk2|VTS_01_0.VOB - N/A|chk",
                                               "chk3|VTS_02_0.VOB - N/A|chk"}))
        << "an empty or missing VOB gets no languages";
    MenuTree& tree = d.job.Tree;
    EXPECT_EQ(tree.Add("chk", "chk2", "again"), nullptr) << "keys are unique";
    tree.Add("chk1", "X", "x");
    EXPECT_EQ(std::next(tree.begin(), 3)->Key, "X") << "a late child still stands under its parent";
    EXPECT_EQ(tree.Level(tree.Node("X")), 2);
    EXPECT_EQ(d.job.FolderTree.Item(1).MainFolderKey, "chk");
    EXPECT_EQ(d.job.Text2, "K:\\OUT\\DISC");
    EXPECT_EQ(d.job.OutputFolder, "K:\\OUT\\DISC");

    d.f.temp.Write("OUT/DISC/x", "");
    d.Load(0);
    EXPECT_EQ(d.job.Text2, "") << "an existing folder is not proposed";
    ReLoadMenus(d.job, "K:\\NOWHERE", 0, "K:\\OUT");
    EXPECT_TRUE(d.job.Tree.Empty());
}

TEST(MenuTree, AutomaticChoiceBySizeAndOptions) {
    struct Case { const char* name; std::int64_t box; std::int32_t commandLine; std::int16_t vmg, vts, conversion;
                  const char* files; };
    const Case cases[] = {
        {"threshold 0", 0, 0, 0, 0, 0, "---"},       {"at the threshold", 3000, 0, 0, 0, 0, "++-"},
        {"command line wins", 3000, 999, 0, 0, 0, "---"}, {"VMG", 0, 0, 1, 0, 0, "+--"},
        {"VTS", 0, 0, 0, 1, 0, "-++"},               {"conversion", 0, 0, 0, 0, 1, "+++"},
    };
    for (const auto& c : cases) {
        Disc d;
        d.Standard();
        d.job.State().Threshold = c.commandLine;
        d.job.Options().AutoSelectVMG = c.vmg;
        d.job.Options().AutoSelectVTS = c.vts;
        d.job.Options().AutoSelectConversion = c.conversion;
        d.Load(c.box);
        std::string files;
        for (const char* key : {"chk1", "chk2", "chk3"}) files += d.job.Tree.Node(key).Checked ? '+' : '-';
        EXPECT_EQ(files, c.files) << c.name;
        if (&c == &cases[0]) {
            EXPECT_EQ(d.Ticks(), "chk+ chk1 EnglishLang1+ chk2 ALLLang2+ EnglishLang2 FrenchLang2 GermanLang2 "
                                 "chk3 ALLLang3+ EnglishLang3 FrenchLang3 ")
                << "the languages stay ALL";
        }
    }
}

TEST(MenuTree, PreferredLanguageAndRecovery) {
    Disc d;
    d.Standard();
    d.job.Options().Default_Language = "French";
    d.Load(100000);
    EXPECT_EQ(d.Ticks(), "chk+ chk1+ EnglishLang1+ chk2+ ALLLang2 EnglishLang2 FrenchLang2+ GermanLang2 "
                         "chk3+ ALLLang3 EnglishLang3 FrenchLang3+ ");
    d.job.Options().Default_Language = "German";
    d.Load(100000);
    EXPECT_EQ(d.Ticks(), "chk+ chk1+ EnglishLang1+ chk2+ ALLLang2 EnglishLang2 FrenchLang2 GermanLang2+ "
                         "chk3+ ALLLang3+ EnglishLang3 FrenchLang3 ")
        << "a file without the preferred language keeps ALL";

    // A recovery ticks what the journal names, whatever the size and options.
    d.job.Options().Default_Language = "ALL";
    d.job.Options().AutoSelectVMG = 1;
    d.job.State().Recover = -1;
    d.job.State().RecoveryLanguage = "English";
    d.job.JournalMenus = {"VTS_02_0.VOB"};
    d.Load(100000);
    EXPECT_EQ(d.Ticks(), "chk+ chk1 EnglishLang1+ chk2 ALLLang2 EnglishLang2+ FrenchLang2 GermanLang2 "
                         "chk3+ ALLLang3 EnglishLang3+ FrenchLang3 ");
}

TEST(MenuTree, IniRowsChooseFilesAndLanguages) {
    Disc d;
    d.Standard();
    d.job.State().DifFromINI = -1;
    d.job.IniMenuList = {{"VIDEOTS", "ALL"}, {"_02_0", "FRENCH"}};
    d.Load(100000);
    EXPECT_EQ(d.Ticks(), "chk+ chk1+ EnglishLang1+ chk2 chk3+ ALLLang3 EnglishLang3 FrenchLang3+ ")
        << "a file without a row is unticked and has no languages, whatever its size";

    d.job.IniMenuList = {{"_01_0", "ALL"}, {"_02_0", "SPANISH"}};
    d.Load(0);
    EXPECT_EQ(d.Ticks(), "chk+ chk1 chk2+ ALLLang2+ EnglishLang2 FrenchLang2 GermanLang2 "
                         "chk3+ ALLLang3+ EnglishLang3 FrenchLang3 ")
        << "a language the file lacks leaves ALL ticked";
}

TEST(MenuTree, ClickRulesKeepOneLanguagePerFile) {
    Disc d;
    d.Standard();
    d.Load(100000);
    MenuTree& tree = d.job.Tree;
    const auto click = [&](const std::string& key, bool checked) {
        tree.Node(key).Checked = checked;
        SetNodes(tree, key);
    };
    click("FrenchLang2", true);
    EXPECT_EQ(d.Ticks(), "chk+ chk1+ EnglishLang1+ chk2+ ALLLang2 EnglishLang2 FrenchLang2+ GermanLang2 "
                         "chk3+ ALLLang3+ EnglishLang3 FrenchLang3 ");
    click("FrenchLang2", false);
    EXPECT_FALSE(tree.Node("chk2").Checked) << "unticking the last language unticks the file";
    EXPECT_FALSE(tree.Node("chk2").Expanded);

    click("chk3", false);
    EXPECT_EQ(d.Ticks(), "chk+ chk1+ EnglishLang1+ chk2 ALLLang2 EnglishLang2 FrenchLang2 GermanLang2 "
                         "chk3 ALLLang3 EnglishLang3 FrenchLang3 ");
    click("EnglishLang1", false);
    click("chk1", true);
    EXPECT_TRUE(tree.Node("EnglishLang1").Checked) << "a file's only language comes with it";
    click("chk", false);
    EXPECT_FALSE(tree.Node("chk").Expanded);

    tree.Node("GermanLang2").Text = "N/A";
    click("GermanLang2", true);
    EXPECT_FALSE(tree.Node("GermanLang2").Checked);
}

TEST(MenuTree, ChoiceListsFollowTreeOrderAndLeaveOutVanishedFiles) {
    Disc d;
    d.Standard();
    d.Menu("VTS_03_0", {"it"}, 1000);
    d.job.Options().Default_Language = "French";
    d.Load(4000);  // VIDEO_TS, VTS 1 and VTS 3
    d.f.files.DeleteFile("K:\\DISC\\VIDEO_TS\\VTS_03_0.VOB");
    EXPECT_EQ(GetTreeMenus(d.job), 2);
    EXPECT_EQ(d.job.SelectedMenus, (std::vector<std::string>{"", "K:\\DISC\\VIDEO_TS\\VIDEO_TS.VOB",
                                                             "K:\\DISC\\VIDEO_TS\\VTS_01_0.VOB"}));
    EXPECT_EQ(d.job.SelectedMenuFlags, (std::vector<std::int16_t>{-1, -1, 0, 0}));
    EXPECT_EQ(d.job.SelectedMenuChildren, (std::vector<std::string>{"English", "French", "", ""}));
    EXPECT_EQ(d.job.State().CurrentLanguage, "French");
}

TEST(MenuTree, DamagedOrMenulessIfos) {
    Disc d;
    d.Menu("VIDEO_TS", {}, 1000);
    d.f.temp.Write("DISC/VIDEO_TS/VIDEO_TS.IFO", std::string(2048, '\0'));  // no PGCI unit table
    d.Menu("VTS_01_0", {"en", "xx", "de"}, 1000);                         // "xx" is English too
    d.Load(4000);
    EXPECT_EQ(d.Ticks(), "chk+ chk1+ chk2+ ALLLang2+ EnglishLang2 GermanLang2 ");

    std::string cut = Ifo(false, {"en", "fr"});
    cut.resize(2048 + 12);
    d.f.temp.Write("DISC/VIDEO_TS/VTS_01_0.IFO", cut);
    try {
        d.Load(4000);
        FAIL() << "a cut unit table must be refused";
    } catch (const Error& failure) {
        const std::string text = failure.what();
        EXPECT_NE(text.find("K:\\DISC\\VIDEO_TS\\VTS_01_0.IFO"), std::string::npos) << text;
        EXPECT_NE(text.find("offset 2064"), std::string::npos) << text;
    }
}

TEST(MenuTree, CheckFolderNameMakesLatinLettersPlain) {
    EXPECT_EQ(CheckFolderName("ÀÁÂÃÄÅ Ç ÈÉÊË ÌÍÎÏ Ð Ñ ÒÓÔÕÖ Ø ÙÚÛÜ Ý"), "AAAAAA C EEEE IIII D N OOOOO O UUUU Y");
    EXPECT_EQ(CheckFolderName("àáâãäå ç èéêë ìíîï ñ òóôõö ø ùúûü ý"), "aaaaaa c eeee iiii n ooooo o uuuu y");
    EXPECT_EQ(CheckFolderName("ÆÞßæðþÿ"), "_______");
    EXPECT_EQ(CheckFolderName("K:\\Le Fabuleux Destin d'Amélie × ÷ Œ €"), "K:\\Le Fabuleux Destin d'Amelie × ÷ Œ €");
}

}  // namespace
}  // namespace kestrova
