// A Muxman script of the shape the writers give a disc whose title set 1
// has a still menu VOB (VOB 1: one cell per still, each with a sub-picture
// and buttons) and a motion menu VOB with audio (VOB 2), written line by
// line as they write it (CR LF, tabs). FULL: the settings with the
// destination folder and a palette pool, every segment with the dummy
// menu and title segments, the first PGC, a Video Manager without video,
// title set 1's language units and one title. Small: the script of VOB 1
// alone, with the Video Manager's skeleton and the units as "Item=Title".
// Button 2 of still 1 is a dummy: it leaves the highlight, its menu line
// reads "Nop". It lints clean, but for the notes of a small script's
// targets outside it.
#pragma once

#include <string>
#include <vector>

namespace kestrova::test {

struct SampleMuxmanShape {
    bool Full = true;
    int Languages = 2;  // "en" English, "fr" French, ...
    int PgcsPerLanguage = 2;
    int StillCells = 3;  // still k is cell k of VOB 1, in PGC 1 + (k - 1) % PgcsPerLanguage of every unit
    int Buttons = 4;     // per still
    std::string Root = "K:\\JOB";
};

class SampleMuxman {
public:
    explicit SampleMuxman(const SampleMuxmanShape& shape) : shape_(shape) {}

    std::string Text() {
        text_.clear();
        Settings();
        Content();
        Navigation();
        return text_;
    }

    // The files the plays name, for the file checks.
    static std::string StillFile(const SampleMuxmanShape& shape, int k) {
        return shape.Root + "\\NEW_M2V\\001_" + Three(k) + ".m2v";
    }
    static std::string BitmapFile(const SampleMuxmanShape& shape, int k) {
        return shape.Root + "\\SUBS\\SP_001_" + Three(k) + ".bmp";
    }
    static std::string Scene(int vob, int cell) { return "VTS1_" + Three(vob) + "_Scene_" + Three(cell); }
    static std::string LanguageName(int l) {
        static const char* const kNames[] = {"English", "French", "German", "Spanish", "Italian", "Dutch"};
        return kNames[l % 6];
    }
    static std::string Pgc(int l, int p) { return "VTS001" + LanguageName(l) + "PGC" + std::to_string(p); }
    static constexpr int kDroppedButton = 2;  // of still 1

private:
    static std::string Three(int n) {
        std::string s = std::to_string(n);
        return std::string(s.size() < 3 ? 3 - s.size() : 0, '0') + s;
    }
    static const char* Code(int l) {
        static const char* const kCodes[] = {"en", "fr", "de", "es", "it", "nl"};
        return kCodes[l % 6];
    }

    void Line(int depth, const std::string& text) {
        text_.append(static_cast<std::size_t>(depth), '\t');
        text_ += text;
        text_ += "\r\n";
    }
    void Open(int depth, const std::string& text) {
        Line(depth, text);
        Line(depth, "{");
    }
    void Close(int from, int to) {
        for (int depth = from; depth >= to; --depth) Line(depth, "}");
    }
    void Close(int depth) { Close(depth, depth); }
    void Empty(int depth, const std::string& text) {
        Open(depth, text);
        Close(depth);
    }
    void Lines(int depth, std::initializer_list<std::string> lines) {
        for (const std::string& line : lines) Line(depth, line);
    }

    // --- Settings ---

    void Palette(const std::string& name, int shift) {
        Open(1, "Item=Palette");
        Line(2, "Name=" + name);
        for (int c = 0; c < 16; ++c) {
            Line(2, "Color " + std::to_string(c) + "=" + std::to_string((c * 16 + shift) % 256) + ", " +
                        std::to_string(c * 8) + ", " + std::to_string(255 - c * 8));
        }
        Close(1);
    }

    void Settings() {
        Open(0, "Section=Settings");
        if (shape_.Full) Line(1, "Destination Folder=" + shape_.Root + "\\Batch_1\\0\\VIDEO_TS");
        Palette("Palette1", 5);
        Palette("DefaultPalette", 0);
        Close(0);
    }

    // --- Content ---

    bool Dropped(int k, int b) const { return k == 1 && b == kDroppedButton; }

    // The staying button next to b: by steps of -1 or +1, round the end.
    int Neighbour(int k, int b, int step) const {
        int n = b;
        do {
            n = (n - 1 + step + shape_.Buttons) % shape_.Buttons + 1;
        } while (Dropped(k, n) && n != b);
        return n;
    }

    void VideoStream(std::initializer_list<std::string> files, const std::string& duration) {
        Open(2, "Item=Video Stream");
        Lines(3, {"Coding Mode=Mpeg - 2", "Standard=NTSC", "CC Field 1=No", "CC Field 2=No"});
        for (const std::string& file : files) {
            Open(3, "Item=Video Play");
            Lines(4, {"File=" + file, "Duration=" + duration});
            Close(3);
        }
        Close(2);
    }

    void StillSegment() {
        Open(1, "Item=Segment");
        Lines(2, {"Name=VTS1_VOBID1", "Display Mode=4:3"});
        Open(2, "Item=Video Stream");
        Lines(3, {"Coding Mode=Mpeg - 2", "Standard=NTSC", "CC Field 1=No", "CC Field 2=No"});
        for (int k = 1; k <= shape_.StillCells; ++k) {
            Open(3, "Item=Video Play");
            Lines(4, {"File=" + StillFile(shape_, k), "Duration=Default"});
            Close(3);
        }
        Close(2);
        Open(2, "Item=Sub-Picture Stream");
        Lines(3, {"Stream Number=1", "Language=en", "Language Extension=0", "Display Mode=unspecified"});
        for (int k = 1; k <= shape_.StillCells; ++k) {
            Open(3, "Item=Sub-Picture Play");
            Lines(4,
                  {"File=" + BitmapFile(shape_, k), "Start=00:00:00:00", "Forced Start=No", "Time Code=NTSC non-drop",
                   "Duration=00:00:00:00", "Origin=0,0", "Display Area=0,0,719,479", "Color 1(Pa)=ff0000 = = =",
                   "Color 2(E1)=000000 = = =", "Color 3(E2)=ffffff = = =", "Color=3 2 1 0", "Contr=15 15 15 0"});
            Close(3);
        }
        Close(2);
        Open(2, "Item=Highlight Stream");
        for (int k = 1; k <= shape_.StillCells; ++k) {
            Open(3, "Item=Highlight Play");
            const int staying = shape_.Buttons - (k == 1 && shape_.Buttons >= kDroppedButton ? 1 : 0);
            Lines(4, {"Start=00:00:00:00", "Duration=00:00:10:00", "Select End Time=00:00:00:00",
                      "Button Mode 1=Normal", "Button Mode 2=", "Button Mode 3=", "Offset=0",
                      "Numeric Selected Buttons=" + std::to_string(staying), "Forced Selected Button=Button1",
                      "Forced Activated Button=Nonexistent"});
            Open(4, "Item=Button Color 1");
            Lines(5, {"Selection Color=15 14 3 1", "Selection Contr=15 15 15 0", "Action Color=13 12 3 1",
                      "Action Contr=15 15 15 0"});
            Close(4);
            for (int b = 1; b <= shape_.Buttons; ++b) {
                if (Dropped(k, b)) continue;
                const int y = 20 + 12 * b;
                Open(4, "Item=Button");
                Lines(5, {"Name=Button" + std::to_string(b), "Color Index=1", "Auto Action Mode=No",
                          "Area 1=40," + std::to_string(y) + ",200," + std::to_string(y + 10), "Area 2=", "Area 3=",
                          "Left Button=Button" + std::to_string(b), "Right Button=Button" + std::to_string(b),
                          "Up Button=Button" + std::to_string(Neighbour(k, b, -1)),
                          "Down Button=Button" + std::to_string(Neighbour(k, b, 1))});
                Close(4);
            }
            Close(3);
        }
        Close(2);
        Open(2, "Item=Scene List");
        for (int k = 1; k <= shape_.StillCells; ++k) {
            Open(3, "Item=Scene");
            // 15 frames a still at 30 frames a second.
            const int frames = (k - 1) * 15, seconds = frames / 30;
            Lines(4, {"Name=" + Scene(1, k),
                      "Scene Time=00:" + Two(seconds / 60) + ":" + Two(seconds % 60) + ":" + Two(frames % 30),
                      "Uop=00000000"});
            Close(3);
        }
        Close(2, 1);
    }
    static std::string Two(int n) { return (n < 10 ? "0" : "") + std::to_string(n); }

    void MotionSegment() {
        Open(1, "Item=Segment");
        Lines(2, {"Name=VTS1_VOBID2", "Display Mode=4:3"});
        VideoStream({shape_.Root + "\\NEW_M2V\\002.m2v"}, "Actual");
        Open(2, "Item=Audio Stream");
        Lines(3, {"Stream Number=1", "Language=en", "Language Extension=1", "Delay=0"});
        Open(3, "Item=Audio Play");
        Line(4, "File=" + shape_.Root + "\\DEMUXED\\1-002.ac3");
        Close(3, 2);
        Open(2, "Item=Scene List");
        for (int c = 1; c <= 2; ++c) {
            Open(3, "Item=Scene");
            Lines(4, {"Name=" + Scene(2, c), c == 1 ? "Scene Time=00:00:00:00" : "Scene Time=00:00:10:00",
                      "Uop=00000000"});
            Close(3);
        }
        Close(2, 1);
    }

    void DummySegment(const std::string& name, const std::string& scene) {
        Open(1, "Item=Segment");
        Lines(2, {"Name=" + name, "Display Mode=4:3"});
        Open(2, "Item=Video Stream");
        Open(3, "Item=Video Play");
        Lines(4, {"File=" + shape_.Root + "\\NEW_M2V\\Dummy.m2v", "Duration=Actual"});
        Close(3, 2);
        Open(2, "Item=Scene List");
        Open(3, "Item=Scene");
        Lines(4, {"Name=" + scene, "Scene Time=00:00:00:00"});
        Close(3, 1);
    }

    void Content() {
        Open(0, "Section=Content");
        StillSegment();
        if (shape_.Full) {
            MotionSegment();
            DummySegment("DummyVTS1Menu", "DummyVTS1Scene");
            DummySegment("Dummy_VTS1T1PGC1PG1", "VTS1T1PGC1PG1_scn");
        }
        Close(0);
    }

    // --- Navigation ---

    void Commands(int depth, const std::string& list, const std::string& label,
                  std::initializer_list<std::string> commands) {
        Open(depth, "Item=" + list);
        int k = 0;
        if (shape_.Full) {
            for (const std::string& command : commands) Line(depth + 1, label + std::to_string(++k) + ": " + command);
        }
        Close(depth);
    }

    void PgcHead(int depth, const std::string& name, const std::string& menu, const std::string& next,
                 const std::string& goUp, const std::string& palette) {
        Open(depth, "Item=PGC");
        Lines(depth + 1,
              {"Name=" + name, "Menu ID=" + menu, "Uop=00000000", "Next PGC=" + next, "GoUp PGC=" + goUp,
               "PG Playback Mode=Sequential Playback", "Repeat Times=0", "PGC Still Time=0", "Palette=" + palette});
    }

    void Cell(int depth, const std::string& name, const std::string& scene, const std::string& command, int still) {
        Open(depth, "Item=Cell");
        Lines(depth + 1, {"Name=" + name, "Linked Scene=" + scene});
        if (!menu_.empty()) {
            Open(depth + 1, "Item=Menu");
            for (const std::string& line : menu_) Line(depth + 2, line);
            Close(depth + 1);
            menu_.clear();
        }
        Lines(depth + 1,
              {"Command=" + command, "Cell Still Time=" + std::to_string(still), "Access Restriction Flag=Permitted"});
        Close(depth);
    }

    void DummyPgc(int depth, bool small) {
        PgcHead(depth, "DummyPGC", "No Menu", "", "", "DefaultPalette");
        Empty(depth + 1, "Item=Pre Commands");
        Empty(depth + 1, "Item=Post Commands");
        Empty(depth + 1, "Item=Cell Commands");
        Open(depth + 1, "Item=Program List");
        Open(depth + 2, "Item=Program");
        Line(depth + 3, "Name=DummyProgram");
        // In a small script the dummy cells play the segment's own scenes.
        const int cells = small ? shape_.StillCells : 1;
        for (int c = 0; c < cells; ++c) {
            Cell(depth + 3, "DummyCell" + std::to_string(c), small ? Scene(1, c + 1) : "DummyVTS1Scene", "", 0);
        }
        Close(depth + 2, depth);
    }

    // The menu line of button b of still k in PGC p of unit l: a line for
    // each kind of target, "Nop" for the dropped button.
    std::string ButtonLine(int l, int p, int k, int b, int cell) const {
        if (Dropped(k, b)) return "Nop";
        const int other = p % shape_.PgcsPerLanguage + 1;
        switch (b % 6) {
        case 1:
            return "LinkPGCN " + Pgc(l, other);
        case 2:
            return "LinkPGN " + Pgc(l, p) + "PG1, button=1";
        case 3:
            return "JumpVTS_TT VTS1T1";
        case 4:
            return "JumpVTS_PTT VTS1T1PGC1PG1";
        case 5:
            return "{ Mov GPRM1, 2 ; LinkPGCN " + Pgc(l, 1) + " }";
        default:
            return "LinkCN " + Pgc(l, p) + "C" + Three(cell) + ", button=1";
        }
    }

    void LanguagePgc(int l, int p) {
        const bool full = shape_.Full;
        const int pgcs = shape_.PgcsPerLanguage;
        const std::string name = Pgc(l, p);
        PgcHead(3, name, full ? (p == 1 ? "Root Menu" : "No Menu") : (p == 1 ? "Title Entry" : "No Menu"),
                full && p < pgcs ? Pgc(l, p + 1) : "",
                !full    ? ""
                : p == 1 ? "resume"
                         : Pgc(l, 1),
                full && p == 1 ? "Palette1" : "DefaultPalette");
        Commands(4, "Pre Commands", "Pre",
                 {"if ( GPRM0 == 2 ) GoTo Pre3", "SetSTN audio=1, subpicture=1:OFF", "Mov GPRM3, 7"});
        Commands(4, "Post Commands", "Post", {pgcs > 1 ? "LinkPGCN " + Pgc(l, pgcs) : "LinkTopC, button=1"});
        Commands(4, "Cell Commands", "Cell", {"LinkPGN " + name + "PG1, button=0"});
        Open(4, "Item=Program List");
        int g = 0, cell = 0;
        if (p == 1) {
            // The motion menu's two cells, in the FULL script only.
            ++g;
            cell += 2;
            if (full) {
                Open(5, "Item=Program");
                Line(6, "Name=" + name + "PG1");
                Cell(6, name + "C001", Scene(2, 1), "Cell1", 0);
                Cell(6, name + "C002", Scene(2, 2), "", 0);
                Close(5);
            }
        }
        for (int k = p; k <= shape_.StillCells; k += pgcs) {
            ++g;
            ++cell;
            Open(5, "Item=Program");
            Line(6, "Name=" + name + "PG" + std::to_string(g));
            for (int b = 1; b <= shape_.Buttons; ++b) menu_.push_back(ButtonLine(l, p, k, b, cell));
            Cell(6, name + "C" + Three(cell), Scene(1, k), "", 255);
            Close(5);
        }
        Close(4, 3);
    }

    void Navigation() {
        const bool full = shape_.Full;
        Open(0, "Section=Navigation");
        Open(1, "Item=First PGC");
        Lines(2, {"Name=FP", "Menu ID=No Menu", "UOP=00000000", "PG Playback Mode=Sequential Playback",
                  "Repeat Times=0", "PGC Still Time=0", "Palette=Palette1"});
        for (const char* list : {"Item=Pre Commands", "Item=Post Commands", "Item=Cell Commands", "Item=Program List"})
            Empty(2, list);
        Close(1);

        Open(1, "Item=VMG");
        Open(2, "Item=Language");
        Lines(3, {"Name=VMGEnglish", "Language=en"});
        PgcHead(3, "EnglishTitleMenu", full ? "Title Menu" : "Title Entry", "", "", "DefaultPalette");
        Commands(4, "Pre Commands", "Pre", {"JumpTT VTS1T1"});
        Commands(4, "Post Commands", "Post", {"JumpSS VMGEnglishPGC2"});
        Commands(4, "Cell Commands", "Cell", {});
        Empty(4, "Item=Program List");
        Close(3);
        PgcHead(3, "VMGEnglishPGC2", "No Menu", "", "", "DefaultPalette");
        Commands(4, "Pre Commands", "Pre", {"CallSS RSM=2, EnglishTitleMenu"});
        Empty(4, "Item=Post Commands");
        Empty(4, "Item=Cell Commands");
        Empty(4, "Item=Program List");
        Close(3);
        if (!full) {
            DummyPgc(3, true);
            Open(3, "Item=Part Of Title List");
            Line(4, "Item=DummyProgram");
            Close(3);
        }
        Close(2, 1);

        Open(1, "Item=VTS001");
        for (int l = 0; l < shape_.Languages; ++l) {
            Open(2, full ? "Item=Language" : "Item=Title");
            Line(3, "Name=VTS001" + LanguageName(l));
            if (full) Line(3, "Language=" + std::string(Code(l)));
            for (int p = 1; p <= shape_.PgcsPerLanguage; ++p) LanguagePgc(l, p);
            DummyPgc(3, !full);
            if (!full) {
                Open(3, "Item=Part Of Title List");
                Line(4, "Item=DummyProgram");
                Close(3);
            }
            Close(2);
        }
        if (full) {
            Open(2, "Item=Title");
            Lines(3, {"Name=VTS1T1", "Uop=0"});
            Open(3, "Item=PGC");
            Lines(4, {"Name=VTS1T1PGC1", "Menu ID=Title Entry", "Uop=00000000",
                      "Next PGC=", "Prev PGC=", "GoUp PGC=", "PG Playback Mode=Sequential Playback", "Repeat Times=0",
                      "PGC Still Time=0", "Palette=DefaultPalette"});
            for (const char* list : {"Item=Pre Commands", "Item=Post Commands", "Item=Cell Commands"}) Empty(4, list);
            Open(4, "Item=Program List");
            Open(5, "Item=Program");
            Line(6, "Name=VTS1T1PGC1PG1");
            Cell(6, "VTS1T1PGC1PG1C", "VTS1T1PGC1PG1_scn", "", 0);
            Close(5, 3);
            Open(3, "Item=Part Of Title List");
            Line(4, "Item=VTS1T1PGC1PG1");
            Close(3, 2);
        }
        Close(1, 0);
    }

    SampleMuxmanShape shape_;
    std::string text_;
    std::vector<std::string> menu_;  // the next cell's menu lines
};

}  // namespace kestrova::test
