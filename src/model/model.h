// The DVD model: the in-memory picture of one DVD-Video file set, a tree of
// 1-based lists of plain records. Item 1 of DiscModel is the Video Manager,
// item n + 1 is title set n. The reader fills the structure, later stages
// add what they find; no record holds behaviour.
//
// Kinds: text is std::string; 16-bit and flags (0 false, -1 true) are
// std::int16_t; 32-bit is std::int32_t; real is double; money (byte counts
// past 32 bits) is std::int64_t.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "model/collection.h"

namespace kestrova {

// A record with the one text field Command: a decoded navigation command
// or a prohibited user operation.
struct Command_Properties {
    std::string Command;
    std::string Hex;  // the command's eight bytes as 16 hexadecimal digits, for inspection
};
using PRE_COMMANDS_Properties = Command_Properties;
using POST_COMMAND_Properties = Command_Properties;
using CELL_COMMAND_Properties = Command_Properties;
using UOPs_Properties = Command_Properties;

struct Palette_Properties {
    std::int16_t Y = 0;
    std::int16_t U = 0;
    std::int16_t V = 0;
    std::int16_t Cr = 0;
    std::int16_t Cb = 0;
};

struct PALETTE_NUMBER_Properties {
    Collection<Palette_Properties> Palette;
};

struct Cell_Ref_Properties {
    std::int16_t Vob_Id = 0;
    std::int16_t CELL_ID = 0;
};

struct PG_Properties {
    std::int16_t Chapter = 0;  // in TitleMap only: the chapter this program is
    Collection<Cell_Ref_Properties> cell_ref;
};

struct PGC_Number_Properties {
    std::string PGC_Type;  // category byte, decimal: bit 7 entry, low bits menu type
    std::int16_t Palette_Number = 0;
    std::int16_t Stream1_Normal_Uses_ID = 0;
    std::int16_t Stream1_Wide_Uses_ID = 0;
    std::int16_t Stream1_Pan_Uses_ID = 0;
    std::int16_t Stream1_Letter_Uses_ID = 0;
    std::int32_t GoUp_PGC = 0;
    std::int16_t Next_PGC = 0;
    std::int16_t Previous_PGC = 0;
    std::int16_t Still_Time = 0;
    std::int16_t Dummy = 0;
    std::int16_t AudioStream1 = 0;
    std::int16_t Possible_Dummy = 0;
    // On the entries under a CellId: the cell's still time and command in
    // that PGC.
    std::int16_t CellPause = 0;
    std::int16_t CellCommand = 0;
    std::string UOPString;  // eight hexadecimal digits
    // One element per use of a cell by this PGC, in cell order; element 0
    // stays 0.
    std::vector<std::int16_t> NewCellPause{0};
    std::vector<std::int16_t> NewCellCommand{0};
    std::vector<std::int16_t> Read{0};
    std::int16_t SubsPresent = 0;
    std::int32_t SubStringA = 0;
    std::int32_t SubStringB = 0;

    Collection<PG_Properties> PG;
    Collection<PRE_COMMANDS_Properties> PRE_COMMANDS;
    Collection<POST_COMMAND_Properties> POST_COMMAND;
    Collection<CELL_COMMAND_Properties> CELL_COMMAND;
    Collection<UOPs_Properties> UOPs;
    Collection<Palette_Properties> Palette;
};

struct Language_Properties {
    std::string Language_Folder;  // the unit's two-letter code; empty for a domain without menus
    std::int16_t PGC_Quantity = 0;
    std::int16_t MenuTotal = 0;  // LanguageScratch only
    Collection<PGC_Number_Properties> PGC_Number;
};

// The cell as played.
struct CellID_Properties {
    std::int32_t Frames = 0;
    std::int32_t BCD = 0;  // playback time, four bytes as one big-endian number
    std::int16_t DummyCell = 0;
    std::int16_t CellPause = 0;
    std::int16_t CellCommand = 0;
    std::int16_t Angle = 0;  // first byte of the cell category
    Collection<PGC_Number_Properties> PGC_Number;
};

struct VobID_Properties {
    Collection<CellID_Properties> CellId;
};

struct Video_Properties {
    std::int32_t Frames = 0;
    std::string Standard;
    std::string Size;
    std::string Aspect_Ratio;
    std::string Bitrate;
    std::int16_t Line_21_Switch_1 = 0;
    std::int16_t Line_21_Switch_2 = 0;
    std::int16_t SubStream_Quantity = 0;
    std::int16_t Audio_Quantity = 0;
    std::string Mpeg_Type;
    std::int16_t LetterBoxed = 0;
    std::string Camera;
    std::int16_t Display_Pan_Scan = 0;
    std::int16_t Display_LetterBoxed = 0;
    std::string Display_Mode;
    std::string Display;
    Collection<VobID_Properties> VobId;
};

struct Audio_Properties {
    std::string Audio_Type;  // "AC3", "Mpeg1", "Mpeg2", "LPCM", "DTS"
    std::int32_t Bitrate = 0;
    std::string Language;
};

struct HIGH_LIGHT_AREA_Properties {
    std::int16_t X1 = 0, X2 = 0, Y1 = 0, Y2 = 0;
};

struct BUTTON_DETAILS_Properties {
    std::int16_t Color_Index = 0;
    std::int16_t Left = 0, Right = 0, Up = 0, Down = 0;
    std::string Button_Action;
    std::string Button_Action_String;
    std::int16_t Auto_Action = 0;
    std::int16_t Dummy = 0;
    Collection<HIGH_LIGHT_AREA_Properties> HIGH_LIGHT_AREA;
};

struct COLOR_GROUP_Properties {
    std::int16_t Selection_Color_E2 = 0, Selection_Color_E1 = 0, Selection_Color_P = 0, Selection_Color_Bg = 0;
    std::int16_t Selection_Contrast_E2 = 0, Selection_Contrast_E1 = 0, Selection_Contrast_P = 0,
                 Selection_Contrast_Bg = 0;
    std::int16_t Action_Color_E2 = 0, Action_Color_E1 = 0, Action_Color_P = 0, Action_Color_Bg = 0;
    std::int16_t Action_Contrast_E2 = 0, Action_Contrast_E1 = 0, Action_Contrast_P = 0, Action_Contrast_Bg = 0;
};

struct highlightarea_Properties {
    std::int16_t X1 = 0, X2 = 0, Y1 = 0, Y2 = 0;
};

struct CELL_DETAILS_Properties;

struct HIGHLIGHT_STREAM_Properties {
    std::string ButtonMode_1, ButtonMode_2, ButtonMode_3, End_Time_Of_Select;
    std::int16_t Button_Offset = 0;
    std::int16_t Number_Of_Buttons = 0;
    std::int16_t Forced_Selected_Button = 0;
    std::int16_t Forced_Activated_Button = 0;
    std::int16_t Numerical = 0;
    Collection<CELL_DETAILS_Properties> CELL_DETAILS;
    Collection<HIGHLIGHT_STREAM_Properties> HIGHLIGHT_STREAM;
    Collection<BUTTON_DETAILS_Properties> BUTTON_DETAILS;
    Collection<COLOR_GROUP_Properties> COLOR_GROUP;
    Collection<Palette_Properties> Palette;
    Collection<highlightarea_Properties> highlightarea;
};

// One subpicture bitmap.
struct BMP_Properties {
    std::string Track_Start_Time_To_Video, Data_Duration, Track_Duration, Cell_FileName;
    std::int32_t BCD_Duration = 0;
    std::string Display_Mode, Language, Drop, Resolution, FilePath;
    std::int16_t Width = 0, Height = 0;
    std::int16_t Display_Area_X1 = 0, Display_Area_X2 = 0, Display_Area_Y1 = 0, Display_Area_Y2 = 0;
    std::int16_t Pixel_Area_Top = 0, Pixel_Area_Bottom = 0;
    std::int16_t Color_E2 = 0, Color_E1 = 0, Color_Bg = 0, Color_P = 0;
    std::int16_t Contrast_E2 = 0, Contrast_E1 = 0, Contrast_P = 0, Contrast_Bg = 0;
    std::string Stop_Time_To_Video, Stop_Duration;
    std::int16_t EnableStop = 0;
    std::string ForcedStart, ButtonMode_1, ButtonMode_2, ButtonMode_3, End_Time_Of_Select;
    std::int16_t Button_Offset = 0, Number_Of_Buttons = 0, Forced_Selected_Button = 0, Forced_Activated_Button = 0;
    std::int16_t Alternate_Conversion_Rule = 0, Cell_Found = 0;
    std::int16_t Cell_Found_Called = 0;
    std::int16_t HighLight_Present = 0;
    std::int16_t ConvertedHeight = 0, ConvertedWidth = 0, ConvertedOriginX = 0, ConvertedOriginY = 0;
    std::int16_t ConvertedDisplay_Area_X1 = 0, ConvertedDisplay_Area_X2 = 0, ConvertedDisplay_Area_Y1 = 0,
                 ConvertedDisplay_Area_Y2 = 0;
    std::int16_t ConvertedPixel_Area_Top = 0, ConvertedPixel_Area_Bottom = 0;
    std::int16_t ConvertedSubSizeX = 0, ConvertedSubSizeY = 0;
    std::string EndFrame;
    std::int32_t PTSstamp = 0;
    std::int16_t AlreadyWritten = 0;
    Collection<HIGHLIGHT_STREAM_Properties> HIGHLIGHT_STREAM;
    Collection<BUTTON_DETAILS_Properties> BUTTON_DETAILS;
    Collection<COLOR_GROUP_Properties> COLOR_GROUP;
    Collection<Palette_Properties> Palette;
    Collection<highlightarea_Properties> highlightarea;
};

struct CELL_DETAILS_Properties {
    std::int16_t HighLights = 0;
    Collection<BMP_Properties> bmp;
    Collection<BUTTON_DETAILS_Properties> BUTTON_DETAILS;
    Collection<COLOR_GROUP_Properties> COLOR_GROUP;
};

struct SUB_STREAM_Properties {
    std::int16_t StreamUsed = 0;
    Collection<CELL_DETAILS_Properties> CELL_DETAILS;
};

// The cell as a scene of its VOB.
struct CELL_ID_Properties {
    std::int32_t Frames = 0;
    std::int16_t Cell_Sub_Present = 0;
    std::int16_t Line_21_Switch_1 = 0;
    std::string Line_21_FilePath_1;
    std::int16_t Angle = 0;
    std::string Data_End_Time, Track_Duration, Track_Scene_StartTime;
    std::int32_t StartFrame = 0, EndFrame = 0, TotalFrames = 0;
    std::int32_t VTSM_START = 0, VTSM_END = 0;  // first and last sector from the cell address table
    double Fps = 0;
    std::int16_t Pulldown = 0;
    std::string PulldownType;
    std::int16_t CCE_Encoded = 0;
    std::string CCE_ECL, CCE_AVS;
    std::int16_t Rejig_Encoded = 0;
    std::string Rejig_File_Path, QuencAVS;
    // What the frame serving found of the cell as an asset of its own.
    std::int16_t Field_Order = 0;  // 0 top field first, 1 bottom field first
    std::string QuencProg;
    std::int16_t PalOrFilm = 0;
    std::int64_t cFileSize = 0;
    std::int16_t HighLight_Present = 0;
    std::int32_t PlayBackTime = 0, StartSector = 0, EndSector = 0;
    std::int32_t ChapterPoint = 0;
    std::string ActualSceneTimeWithDrop, ActualSceneTimeWithoutDrop, ActualSceneEndTimeWithDrop,
        ActualSceneEndTimeWithOutDrop;
    std::string VobType;
    std::string UOPStringForMuxman;
    std::int16_t Bmps = 0;
    Collection<BUTTON_DETAILS_Properties> BUTTON_DETAILS;
    Collection<UOPs_Properties> UOPs;
};

// The VOB as an asset to be processed.
struct VOB_ID_Properties {
    std::string Display_Mode;
    std::int32_t Data_End_Time = 0;
    std::int16_t Width = 0, Height = 0;
    std::string Size;
    std::string Aspect_Ratio;
    std::int16_t Line_21_Switch_1 = 0;
    std::string Line_21_FilePath_1;
    std::int16_t Line_21_Switch_2 = 0;
    std::int16_t Audio_Present = 0;
    std::int16_t Audio_Stream_Quantity = 0;
    std::int16_t Sub_Present = 0;
    std::int16_t HighLight_Present = 0;
    std::string Vob_Type;  // "Video", "StillMenu", "SlideShow", "Combo"
    std::int32_t Frames = 0;
    double Fps = 0;
    std::int16_t Field_Order = 0;
    std::int16_t CCE_Encoded = 0;
    std::string CCE_AVS, CCE_ECL;
    std::int16_t Pulldown = 0;
    std::int16_t Dummy = 0;
    std::int16_t Rejig_Encoded = 0;
    std::string Rejig_File_Path;
    std::int16_t Audio_Transcoded = 0;
    std::int16_t Dummy_Scanned = 0;
    std::int16_t AudioSet = 0, WAV = 0;
    std::string QuencAVS, QuencProg;
    std::int16_t SubStreamUsed = 0;
    std::string PulldownType;
    std::int16_t ForcedStrip = 0;
    std::int32_t TotalSubs = 0;
    std::int64_t cFileSize = 0;
    std::int32_t AudioSize = 0;
    std::int16_t IsMenu = 0;
    std::int16_t PalOrFilm = 0;
    Collection<CELL_ID_Properties> CELL_ID;
    Collection<Audio_Properties> Audio;
    Collection<SUB_STREAM_Properties> SUB_STREAM;
    Collection<HIGHLIGHT_STREAM_Properties> HIGHLIGHT_STREAM;
    Collection<Palette_Properties> Palette;
};

struct TITLES_Properties {
    std::int16_t Chapter_Count = 0;
    std::int16_t VTS_TTN = 0;
    std::int16_t VTS = 0;
    std::int16_t TitleNumber = 0;
    Collection<PGC_Number_Properties> PGC_Number;
};

// One domain of the disc.
struct VTS_Properties {
    std::int32_t Title_Quantity = 0;
    std::string OutputDir;    // output folder of the domain's re-authored files
    std::string Root;         // work folder of the domain
    std::string OriginalIfo;  // full path of the IFO file read
    std::int16_t Split_Cell = 0;
    std::string Wide, Normal, Letter, Pan;  // subpicture stream id per display mode, decimal text
    std::int16_t ForcedStrip = 0;
    std::int64_t Size = 0;  // bytes of the domain's assets
    std::int16_t Authored = 0;
    std::int16_t Abort = 0;
    std::int16_t SubsPresent = 0;
    std::int16_t UpdateIfoForSubs = 0;
    // "Default" once the script writer has put every PGC of the domain on
    // the default palette (a shared cell with two palettes, or stripped
    // subpictures); empty otherwise.
    std::string VTS_Type;

    Collection<Language_Properties> Language;
    Collection<Video_Properties> Video;
    Collection<Audio_Properties> Audio;
    Collection<TITLES_Properties> TITLES;  // TitleMap only
    Collection<VOB_ID_Properties> Vob_Id;
};

using VTS = Collection<VTS_Properties>;

struct TempCommands_Properties {
    std::string Command;
    std::int16_t Title = 0;
    std::int16_t Program = 0;
    std::int16_t VTS = 0;
};

struct FolderProps {
    std::string MainFolderKey;
};

// Which subpicture stream id serves which display aspect, per domain. Both
// tables are indexed by stream id + 20; ids 0 to 31 use positions 20 to 51.
struct StreamUse_Record {
    static constexpr int kSize = 117;
    static constexpr int kOffset = 20;
    std::array<std::string, kSize> Mode;  // "Normal", "Wide", "Letter" or "Pan"
    struct Use {
        std::string Language_Folder;  // first language that used the id
        std::int16_t Shared = 0;      // another display mode of the same PGC shares the id
    };
    std::array<Use, kSize> FirstUse;
};

}  // namespace kestrova
