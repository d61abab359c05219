// A Scenarist script of the shape the writers give a disc whose title set 1
// has still menus with buttons, written line by line as they write it (CR
// LF, tabs): a Version, data items (a still and a place-holder sub-picture
// per menu cell, one motion video with audio, the dummies), the tracks, the
// scenario (a Video Manager with a dummy PGC, title set 1 with its
// language units, PGCs, programs, cells, button menus and one title), the
// project info, an empty default settings object and two palettes. Blocks
// no test reads are left out: the writers' whole shape is in the goldens of
// tests/scenarist/golden, which lint clean. The tests take a small one; the
// benchmark a large one.
#pragma once

#include <string>

namespace kestrova::test {

struct SampleScriptShape {
    int Languages = 2;  // "en", "fr", "de", ...
    int PgcsPerLanguage = 2;
    int StillCells = 5;  // spread over the PGCs of every language, round robin
    int Buttons = 4;     // per still cell
    std::string Root = "K:\\JOB";
};

class SampleScript {
public:
    explicit SampleScript(const SampleScriptShape& shape) : shape_(shape) {}

    std::string Text() {
        text_.clear();
        Version();
        Data();
        Tracks();
        Scenario();
        ProjectInfo();
        Empty(0, "Object=Default Setting");
        Palettes();
        return text_;
    }

    // The asset files the data items name, for the file checks.
    static std::string StillFile(const SampleScriptShape& shape, int cell) {
        return shape.Root + "\\NEW_M2V\\" + Vob(cell) + "_" + Cell(cell) + ".m2v";
    }

private:
    static std::string Three(int n) {
        std::string s = std::to_string(n);
        return std::string(s.size() < 3 ? 3 - s.size() : 0, '0') + s;
    }
    // Still cell k (from 1) is cell 1 + (k - 1) % 30 of VOB 1 + (k - 1) / 30.
    static std::string Vob(int k) { return Three(1 + (k - 1) / 30); }
    static std::string Cell(int k) { return Three(1 + (k - 1) % 30); }
    static std::string Still(int k) { return "VTS_1_" + Vob(k) + "_" + Cell(k); }
    static std::string Scene(int k) { return Still(k) + "_t_scn_1"; }
    static const char* Language(int l) {
        static const char* const kCodes[] = {"en", "fr", "de", "es", "it", "nl"};
        return kCodes[l % 6];
    }
    static const char* LanguageName(int l) {
        static const char* const kNames[] = {"English", "French", "German", "Spanish", "Italian", "Dutch"};
        return kNames[l % 6];
    }
    // The motion video is VOB 21, after the stills' VOBs.
    static std::string Video() { return "VTS_1_021"; }

    void Line(int depth, const std::string& text) {
        text_.append(static_cast<std::size_t>(depth), '\t');
        text_ += text;
        text_ += "\r\n";
    }
    void Lines(int depth, std::initializer_list<std::string> lines) {
        for (const std::string& line : lines) Line(depth, line);
    }
    // A block's opening line and brace, then its first lines.
    void Open(int depth, const std::string& text, std::initializer_list<std::string> lines = {}) {
        Line(depth, text);
        Line(depth, "{");
        Lines(depth + 1, lines);
    }
    void Block(int depth, const std::string& text, std::initializer_list<std::string> lines) {
        Open(depth, text, lines);
        Close(depth);
    }
    void Close(int depth) { Line(depth, "}"); }
    void Close(int from, int to) {
        for (int depth = from; depth >= to; --depth) Close(depth);
    }
    void Empty(int depth, const std::string& text) {
        Open(depth, text);
        Close(depth);
    }

    void Version() {
        Open(0, "Object=Version", {"Name=MODIFIER VERSION", "Major Version=1", "Minor Version=2", "Bug Fix Version=0",
                                   "Data Format Version=5", "Build Version=19980918", "Edition Version=1000"});
        Line(0, "}    ");
    }

    // The lines an encoded still and a motion video item share, opened.
    void EncodedItem(const std::string& item, const std::string& name, const std::string& drop,
                     const std::string& end, const std::string& file, const std::string& aspect,
                     const std::string& bitRate) {
        Open(4, item, {"Place Holder=No", "Comment=", "Name=" + name, "Resolution=NTSC", "Drop Type=" + drop,
                       "Data Start Time=00:00:00:00", "Data End Time=" + end, "File=" + file, "Width=720", "Height=480",
                       "Is Encoded=Yes", "Encode Type=MPEG 2", "Size=720 x 480", "Aspect Ratio=" + aspect,
                       "Picture Structure=Frame Structure", "GOP Size=15 frames", "GOP Structure=N/A",
                       "Bit rate=" + bitRate, "Average Bitrate=6000000", "Minimum Bitrate=4000000"});
    }

    void StillItem(const std::string& name, const std::string& file) {
        EncodedItem("Item=Encoded Still", name, "Non-drop frame", "00:00:09:29", file, "4 : 3", "4587200");
        Close(4);
    }

    void Data() {
        Open(0, "Object=Data Folder", {"Name=Data"});
        Open(1, "Data=List");
        Open(2, "Item=Data Folder", {"Name=Video Assets"});
        Open(3, "Data=List");
        for (int k = 1; k <= shape_.StillCells; ++k) StillItem(Still(k), StillFile(shape_, k));
        EncodedItem("Item=Video", Video(), "Drop frame", "00:00:20:00", shape_.Root + "\\NEW_M2V\\021.m2v", "16 : 9",
                    "9800000");
        Lines(5, {"Bitrate Type=Variable", "Icon Time=00:00:00:00", "Line21 Switch1=No", "Line21 File1=",
                  "Line21 Switch2=No", "Line21 File2="});
        Close(4);
        StillItem("VID_Dummy", shape_.Root + "\\Title_Dummy.m2v");
        StillItem("VTS1_Dummy", shape_.Root + "\\NEW_M2V\\Dummy.m2v");
        StillItem("Title_Dummy", shape_.Root + "\\Title_Dummy.m2v");
        Close(3, 2);

        Open(2, "Item=Data Folder", {"Name=Audio Assets"});
        Open(3, "Data=List");
        Open(4, "Item=AC3 Audio", {"Place Holder=No", "Comment=", "Name=VTS_1_1_021_80", "Resolution=NTSC",
                                   "Drop Type=Drop frame", "Data Start Time=00:00:00:00", "Data End Time=00:00:20:00",
                                   "File=" + shape_.Root + "\\DEMUXED\\1-021.ac3", "Audio Type=AC3", "Bit rate=448000",
                                   "Channel=3/2", "LFE On=Yes"});
        Close(4, 2);

        Open(2, "Item=Data Folder", {"Name=SubPicture Assets"});
        Open(3, "Data=List");
        for (int k = 1; k <= shape_.StillCells; ++k) {
            Open(4, "Item=Sub-Picture", {"Place Holder=Yes", "Comment=", "Name=SP_" + Vob(k) + "_" + Cell(k),
                                         "Resolution=NTSC", "Drop Type=Drop frame", "Data Start Time=00:00:00:00",
                                         "Data End Time=00:00:00:00",
                                         "File=" + shape_.Root + "\\SUBS\\SP_" + Vob(k) + "_" + Cell(k) + ".bmp",
                                         "Width=720", "Height=480", "Is Encoded=No", "Size Type=720 x 480", "Type=menu",
                                         "Image Type=Image"});
            Close(4);
        }
        Close(3, 0);
    }

    void ColorSet(int depth, const std::string& opener, const std::string& unit, int value) {
        Block(depth, opener, {"Color 1(E2)=" + std::to_string(value) + unit,
                              "Color 2(E1)=" + std::to_string(value) + unit,
                              "Color 3(P)=" + std::to_string(value) + unit, "Color 4(Bg)=0" + unit});
    }

    void StillPlay(int depth, const std::string& item, const std::string& data) {
        Block(depth, item, {"Data=" + data, "Start Time To Video=00:00:00:00", "Resolution=NTSC",
                            "Drop Type=Non-drop frame", "Start Time=00:00:00:00", "Duration=00:00:00:01"});
    }

    void Scenes(std::initializer_list<std::string> names) {
        Open(5, "Scenes=List");
        for (const std::string& name : names) {
            Block(6, "Item=Scene", {"Name=" + name, "Color Palette=Palette_1", "Angle Type=Seamless",
                                    "Scene Time=00:00:00:00"});
        }
        Close(5);
    }

    void DummyTrack(const std::string& name, const std::string& data) {
        Open(4, "Item=Still Menu Track", {"Name=" + name, "Display Mode=Only Panscan"});
        Empty(5, "Audio Streams=List");
        Empty(5, "Sub-Picture Streams=List");
        Open(5, "Scenes=List");
        Open(6, "Item=Scene", {"Name=" + name + "_scn", "Color Palette=DefaultPalette", "Angle Type=Seamless",
                               "Scene Time=00:00:00:00"});
        Close(6, 5);
        Open(5, "Still Stream=Slide Menu Stream");
        StillPlay(6, "Item=Still Menu Play", data);
        Line(6, "Stream Number=0");
        Close(5, 4);
    }

    std::string Button(int k, int b) const { return Still(k) + "_btn_1_" + std::to_string(b); }

    void Tracks() {
        Open(0, "Object=Track Folder", {"Name=Tracks"});
        Open(1, "Tracks=List");
        Open(2, "Item=Track Folder", {"Name=VTS_1 Tracks"});
        Open(3, "Tracks=List");
        const int buttons = shape_.Buttons;
        for (int k = 1; k <= shape_.StillCells; ++k) {
            Open(4, "Item=Still Menu Track", {"Name=" + Still(k) + "_t", "Display Mode=Not Specified"});
            Empty(5, "Audio Streams=List");
            Open(5, "Sub-Picture Streams=List");
            Open(6, "Item=Sub-Picture Stream");
            Block(7, "Item=Sub-Picture Play", {"Data=SP_" + Vob(k) + "_" + Cell(k), "Start Time To Video=00:00:00:00",
                                               "Resolution=NTSC", "Drop Type=Non-drop frame", "Duration=00:00:00:01",
                                               "Start Time=00:00:00:00", "Subpicture Repeat=No", "Repeat Interval=2"});
            Lines(7, {"Stream Number=1", "Display Mode=Normal", "Language=English"});
            Close(6, 5);
            Open(5, "Highlight Stream=Highlight Stream");
            Open(6, "Item=Highlight Play", {"Data=", "Start Time To Video=00:00:00:00", "Resolution=NTSC",
                                            "Drop Type=Non-drop frame", "Duration=00:00:00:01",
                                            "Start Time=00:00:00:00", "Button Mode 1=Normal", "Button Mode 2=",
                                            "Button Mode 3="});
            Open(7, "Button Color 1=Button Color");
            ColorSet(8, "Selection Color=Color", "", 5);
            ColorSet(8, "Selection Contrast=Contrast", " %", 100);
            ColorSet(8, "Action Color=Color", "", 13);
            ColorSet(8, "Action Contrast=Contrast", " %", 100);
            Close(7);
            Open(7, "Buttons=List");
            for (int b = 1; b <= buttons; ++b) {
                Open(8, "Item=Button", {"Name=" + Button(k, b), "Button Number=" + std::to_string(b), "Color Index=1",
                                        "Auto Action Mode=No"});
                for (int n = 1; n <= 3; ++n) {
                    Open(9, "Highlight Area No." + std::to_string(n) + "=Rectangle");
                    const int y = 20 + 12 * b;
                    Lines(10, {"X1=100", "Y1=" + std::to_string(y), "X2=300", "Y2=" + std::to_string(y + 10)});
                    Close(9);
                }
                const int up = b == 1 ? buttons : b - 1;
                const int down = b == buttons ? 1 : b + 1;
                Lines(9, {"Left Button=" + Button(k, b), "Right Button=" + Button(k, b), "Up Button=" + Button(k, up),
                          "Down Button=" + Button(k, down)});
                Close(8);
            }
            Close(7);
            Block(7, "Screen Size=Size", {"X=720", "Y=480"});
            Lines(7, {"End Time of Select=00:00:00:00", "Offset Number=0",
                      "# of Numerical Select Buttons=" + std::to_string(buttons), "Forced Selected Button #=1",
                      "Forced Activated Button #=Nonexistent"});
            Close(6);
            Line(6, "Stream Number=0");
            Close(5);
            Scenes({Scene(k)});
            Open(5, "Still Stream=Slide Menu Stream");
            StillPlay(6, "Item=Still Menu Play", Still(k));
            Line(6, "Stream Number=0");
            Close(5, 4);
        }
        // The motion menu: one track, a scene per cell, with its audio.
        Open(4, "Item=Video Track", {"Name=" + Video() + "_t", "Display Mode=Only Letterbox"});
        Open(5, "Audio Streams=List");
        Open(6, "Item=Audio Stream");
        Block(7, "Item=Audio Play", {"Data=VTS_1_1_021_80", "Start Time To Video=00:00:00:00", "Resolution=NTSC",
                                     "Start Time=00:00:00:00", "Drop Type=Drop frame", "Duration=00:00:20:00"});
        Lines(7, {"Stream Number=1", "Language=en", "Synchronization=Yes"});
        Close(6, 5);
        Empty(5, "Sub-Picture Streams=List");
        Scenes({Video() + "_t_scn_1", Video() + "_t_scn_2"});
        Open(5, "Video Stream=Main Video Stream");
        Block(6, "Item=Main Video Play", {"Data=" + Video(), "Start Time To Video=00:00:00:00", "Resolution=NTSC",
                                          "Drop Type=Drop frame", "Start Time=00:00:00:00", "Duration=00:00:20:00"});
        Line(6, "Stream Number=0");
        Close(5, 2);
        Open(2, "Item=Track Folder", {"Name=Dummy Tracks"});
        Open(3, "Tracks=List");
        DummyTrack("Dummy_VTS_1_T_1_P_1_G_1", "Title_Dummy");
        DummyTrack("VID_Dummy_Menu_t", "VID_Dummy");
        DummyTrack("VTS1_Dummy_Menu_t", "VTS1_Dummy");
        Close(3, 0);
    }

    void Command(int depth, const std::string& name, const std::string& command, const std::string& target) {
        Block(depth, "Item=Command", {"Name=" + name, "Is Visible=Yes", "Left Point=0", "Top Point=0",
                                      "Command=" + command, "To Action=" + target});
    }

    void Placed(int depth, const std::string& name, int top) {
        Lines(depth, {"Name=" + name, "Is Visible=Yes", "Left Point=120", "Top Point=" + std::to_string(top)});
    }

    void PgcTail(int depth, const std::string& next, const std::string& goup, const std::string& menu) {
        Lines(depth, {"Next PGC=" + next, "Prev PGC=", "Goup PGC=" + goup, "Menu ID=" + menu,
                      "PG Playback Mode=Sequential Playback", "Repeat Times=0", "PGC Still Time=0"});
    }

    void CellLines(int depth, int cellCommand) {
        Lines(depth, {"Seamless Flag=0", "Access Restriction Flag=Permitted", "Cell Type=Not specified",
                      "Cell Still Time=255", "Cell Command=" + std::to_string(cellCommand)});
    }

    // One menu PGC of title set 1: its still cells, a program each, with a
    // menu of button commands; PGC 1 of each language also plays the motion
    // menu's two cells.
    void MenuPgc(int l, int p) {
        const std::string language = Language(l);
        const std::string pgc = "VTS_1_" + language + "_P_" + std::to_string(p);
        const int pgcs = shape_.PgcsPerLanguage;
        Open(6, "Item=PGC");
        Placed(7, pgc, 160);
        Open(7, "Pre Command=List");
        Command(8, "VTS_1_" + language + "_P_" + std::to_string(p) + "_Pr_1", "Mov GPRM0, 1", "");
        Command(8, "VTS_1_" + language + "_P_" + std::to_string(p) + "_Pr_2", "if ( GPRM0 == 2 ) GoTo 1", "");
        Close(7);
        Empty(7, "Post Command=List");
        Open(7, "Cell Command=List");
        Command(8, "VTS_1_" + language + "_P_" + std::to_string(p) + "_C_1", "LinkTopC, button=0", "");
        Close(7);
        PgcTail(7, p < pgcs ? "VTS_1_" + language + "_P_" + std::to_string(p + 1) : "",
                p > 1 ? "VTS_1_" + language + "_P_1" : "", p == 1 ? "Root Menu" : "No Menu");
        if (p == 1) {
            Block(7, "UOP=", {"UOP3  Stop()=Prohibited"});
        }
        Open(7, "Program List=List");
        int g = 0;
        const auto program = [&](const std::string& scene, int k) {
            Open(8, "Item=Program");
            Placed(9, pgc + "_G_" + std::to_string(++g), 240);
            Open(9, "Cell List=List");
            Open(10, "Item=Cell");
            Placed(11, scene, 320);
            Line(11, "Linked Scene=" + scene);
            Open(11, "Menu List=List");
            if (k > 0) {
                Open(12, "Item=Menu");
                Placed(13, scene + "_1_m", 400);
                Line(13, "Linked Highlight=");
                Open(13, "Command List=List");
                for (int b = 1; b <= shape_.Buttons; ++b) {
                    const std::string name = scene + "_1_m_" + std::to_string(b);
                    switch (b % 4) {
                    case 1: {
                        const int to = 1 + b % pgcs;
                        Command(14, name, "LinkPGCN " + std::to_string(to),
                                "VTS_1_" + language + "_P_" + std::to_string(to));
                        break;
                    }
                    case 2:
                        Command(14, name, "JumpVTS_TT 1", "VTS_1_T_1");
                        break;
                    case 3:
                        Command(14, name, "LinkPGN 1, button=0", pgc + "_G_1");
                        break;
                    default:
                        Command(14, name, "Mov GPRM3, 7", "");
                        break;
                    }
                }
                Close(13, 12);
            }
            Close(11);
            CellLines(11, g == 1 ? 1 : 0);
            Close(10, 8);
        };
        if (p == 1) {
            program(Video() + "_t_scn_1", 0);
            program(Video() + "_t_scn_2", 0);
        }
        const int ordinal = l * pgcs + p;  // PGC ordinal over the languages, from 1
        const int all = shape_.Languages * pgcs;
        for (int k = ordinal; k <= shape_.StillCells; k += all) program(Scene(k), k);
        Close(7, 6);
    }

    // A program list at `depth` of one program playing one cell.
    void OneCellProgram(int depth, const std::string& program, const std::string& cell, const std::string& scene) {
        Open(depth, "Program List=List");
        Open(depth + 1, "Item=Program");
        Placed(depth + 2, program, 240);
        Open(depth + 2, "Cell List=List");
        Open(depth + 3, "Item=Cell");
        Placed(depth + 4, cell, 320);
        Line(depth + 4, "Linked Scene=" + scene);
        CellLines(depth + 4, 0);
        Close(depth + 3, depth);
    }

    void NoCommands(int depth) {
        for (const char* list : {"Pre Command=List", "Post Command=List", "Cell Command=List"}) Empty(depth, list);
    }

    void Scenario() {
        Open(0, "Object=Scenario", {"Name=Scenario", "Is Visible=Yes", "Left Point=0", "Top Point=0"});
        Open(1, "First PGC=First PGC", {"Name=First PGC", "Is Visible=Yes", "Left Point=0", "Top Point=0"});
        Open(2, "Pre Command=List");
        Command(3, "First PGC_cmd_1", "JumpTT 1", "VTS_1_T_1");
        Close(2);
        Empty(2, "Post Command=List");
        Empty(2, "Cell Command=List");
        PgcTail(2, "", "", "No Menu");
        Close(1);

        Open(1, "Video Manager=Video Manager");
        Placed(2, "VideoManager", 0);
        Open(2, "Language List=List");
        Open(3, "Item=Language");
        Placed(4, "en", 80);
        Open(4, "PGC List=List");
        Open(5, "Item=PGC");
        Placed(6, "VID_en_P_1", 160);
        NoCommands(6);
        PgcTail(6, "", "", "Title Menu");
        OneCellProgram(6, "VID_en_Dummy_Menu", "Dummy_Menu_cell", "VID_Dummy_Menu_t_scn");
        Close(5, 4);
        Line(4, "Language Name=English");
        Close(3, 2);
        Block(2, "Menu Track List=Reference List", {"Item=VID_Dummy_Menu_t"});
        Empty(2, "Parental List=Reference List");
        Line(2, "Source Picture Letterboxed=Not Letterboxed");
        Open(2, "Dual Scene=Dual Scene", {"Scene Domain=Unknown Domain", "Scene Video Space=", "Scene="});
        Close(2, 1);

        Open(1, "VTS List=List");
        Open(2, "Item=VTS");
        Placed(3, "VTS_1", 0);
        Open(3, "Language List=List");
        for (int l = 0; l < shape_.Languages; ++l) {
            Open(4, "Item=Language");
            Placed(5, Language(l), 80);
            Open(5, "PGC List=List");
            for (int p = 1; p <= shape_.PgcsPerLanguage; ++p) MenuPgc(l, p);
            Close(5);
            Line(5, std::string("Language Name=") + LanguageName(l));
            Close(4);
        }
        Close(3);
        Open(3, "Menu Track List=Reference List");
        for (int k = 1; k <= shape_.StillCells; ++k) Line(4, "Item=" + Still(k) + "_t");
        Line(4, "Item=" + Video() + "_t");
        Close(3);
        Empty(3, "Parental List=Reference List");
        Block(3, "Title Track List=Reference List", {"Item=Dummy_VTS_1_T_1_P_1_G_1"});
        Open(3, "Title List=List");
        Open(4, "Item=Title");
        Placed(5, "VTS_1_T_1", 80);
        Open(5, "PGC List=List");
        Open(6, "Item=PGC");
        Placed(7, "VTS_1_T_1_P_1", 160);
        NoCommands(7);
        Lines(7, {"Next PGC=", "Prev PGC=", "Goup PGC="});
        OneCellProgram(7, "VTS_1_T_1_P_1_G_1", "VTS_1_T_1_P_1_G_1_C_1", "Dummy_VTS_1_T_1_P_1_G_1_scn");
        Close(6, 5);
        Open(5, "Part of Title=Reference List", {"Item=VTS_1_T_1_P_1_G_1"});
        Close(5, 1);
        Empty(1, "Parental List=List");
        Close(0);
    }

    void ProjectInfo() {
        Open(0, "Object=Project Info");
        Block(1, "Layout Information=Layout Info", {"Target Directory=" + shape_.Root + "\\Batch_1\\",
                                                    "Disc Image Directory=",
                                                    "Multiplexer Directory=" + shape_.Root + "\\Batch_1\\mux_data\\",
                                                    "DVD Root Directory=" + shape_.Root + "\\Batch_1\\0\\"});
        Open(1, "Disc Information=Disc Info", {"Disc Type=DVD Video"});
        Open(2, "DVD Video Information=", {"Volume Number=1", "Number of Volumes=1", "Disc Side=Side A"});
        Open(3, "Regional Area=");
        for (int r = 1; r <= 8; ++r) Line(4, "Regional Code #" + std::to_string(r) + "=May be played");
        Close(3, 0);
    }

    void Palette(const std::string& name) {
        Open(1, "Item=Color Palette", {"Name=" + name});
        for (int c = 0; c < 16; ++c) {
            Block(2, "Color " + std::to_string(c) + "=RGB", {"Red=" + std::to_string(c * 16), "Green=0", "Blue=255"});
        }
        Close(1);
    }

    void Palettes() {
        Open(0, "Object=List");
        Palette("DefaultPalette");
        Palette("Palette_1");
        Close(0);
    }

    SampleScriptShape shape_;
    std::string text_;
};

}  // namespace kestrova::test
