// The decoder's table: an 8-byte command of every form of every family,
// with the text Hex2Command writes for it (empty where the bytes match no
// form). The decoder's test checks the texts; the command text parser's
// test reads them back.
#pragma once

namespace kestrova::test {

struct CommandRow {
    const char* bytes;
    const char* expected;
};

inline constexpr CommandRow kCommandRows[] = {
    // 00: special commands; a Nop ignores its condition.
    {"00 A0 00 03 00 05 00 09", "Nop"}, {"00 A1 00 03 00 05 00 09", "if ( GPRM3 == 5 ) GoTo 9"},
    {"00 32 00 03 00 05 00 00", "if ( GPRM3 != GPRM5 ) break"},
    {"00 03 00 00 00 00 25 0C", "SetTmpPML parental:5, command:12"}, {"00 04 00 00 00 00 00 00", ""},
    // 20: links within the domain; the button is the top six bits of b6, the reserved two a fraction.
    {"20 01 00 00 00 00 00 00", "LinkNoLink, button=0"}, {"20 01 00 00 00 00 00 10", "RSM, button=0"},
    {"20 01 00 00 00 00 05 01", "LinkTopC, button=1.25"}, {"20 01 00 00 00 00 08 02", "LinkNextC, button=2"},
    {"20 01 00 00 00 00 0C 03", "LinkPrevC, button=3"}, {"20 01 00 00 00 00 00 05", "LinkTopPG, button=0"},
    {"20 01 00 00 00 00 00 06", "LinkNextPG, button=0"}, {"20 01 00 00 00 00 00 07", "LinkPrevPG, button=0"},
    {"20 01 00 00 00 00 00 09", "LinkTopPGC, button=0"}, {"20 01 00 00 00 00 00 0A", "LinkNextPGC, button=0"},
    {"20 01 00 00 00 00 00 0B", "LinkPrevPGC, button=0"}, {"20 01 00 00 00 00 00 0C", "LinkGoUpPGC, button=0"},
    {"20 01 00 00 00 00 00 1D", "LinkTailPGC, button=0"}, {"20 01 00 00 00 00 FC 0D", "LinkTailPGC, button=63"},
    {"20 91 00 02 00 07 0C 0D", "if ( GPRM2 & 7 ) LinkTailPGC, button=3"},
    {"20 04 00 00 00 00 01 02", "LinkPGCN 258"}, {"20 05 00 00 00 00 05 01", "LinkPTT 257, button=1"},
    {"20 06 00 00 00 00 08 03", "LinkPGN 3, button=2"},
    {"20 47 00 01 00 02 10 02", "if ( GPRM1 >= GPRM2 ) LinkCN 2, button=4"},
    {"20 01 00 00 00 00 00 04", ""}, {"20 01 00 00 00 00 00 0E", ""}, {"20 02 00 00 00 00 00 01", ""},
    // 30: jumps and calls
    {"30 01 00 00 00 00 00 00", "Exit"}, {"30 02 00 00 00 03 00 00", "JumpTT 3"},
    {"30 03 00 00 00 02 00 00", "JumpVTS_TT 2"}, {"30 05 A3 04 00 01 00 00", "JumpVTS_PTT ptt_772 @ vts_ttn_1"},
    {"30 06 00 00 00 00 00 00", "JumpSS FP_DOM"}, {"30 06 00 00 00 42 00 00", "JumpSS TitleMenu"},
    {"30 06 00 02 03 83 00 00", "JumpSS vts_3, vts_ttn_2 : RootMenu"},
    {"30 06 00 01 01 84 00 00", "JumpSS vts_1, vts_ttn_1 : Sub-pictureMenu"},
    {"30 06 00 01 01 85 00 00", "JumpSS vts_1, vts_ttn_1 : AudioMenu"},
    {"30 06 00 01 01 86 00 00", "JumpSS vts_1, vts_ttn_1 : AngleMenu"},
    {"30 06 00 01 01 87 00 00", "JumpSS vts_1, vts_ttn_1 : PTT_Menu"},
    {"30 06 00 01 00 83 00 00", "SPECIAL_MENU_Root Menu"},
    {"30 06 00 01 00 84 00 00", "SPECIAL_MENU_Subpicture Menu"},
    {"30 06 00 01 00 85 00 00", "SPECIAL_MENU_Audio Menu"}, {"30 06 00 01 00 86 00 00", "SPECIAL_MENU_Angle Menu"},
    {"30 06 00 01 00 87 00 00", "SPECIAL_MENU_PTT Menu"}, {"30 06 01 02 00 C0 00 00", "JumpSS pgc_258"},
    {"30 08 00 00 00 00 00 00", "CallSS RSM=1, FP_DOM"}, {"30 08 00 00 02 42 00 00", "CallSS RSM=2, TitleMenu"},
    {"30 08 00 00 00 83 00 00", "CallSS, RSM=1, RootMenu"}, {"30 08 00 00 01 87 00 00", "CallSS RSM=1, PTT_Menu"},
    {"30 08 00 05 00 C0 00 00", "CallSS RSM=1, pgc=5"}, {"30 08 00 05 02 C0 00 00", "CallSS RSM=2, pgc_5"},
    {"30 22 00 00 00 03 04 05", "if ( GPRM4 == GPRM5 ) JumpTT 3"},
    {"30 52 00 00 00 03 04 81", "if ( GPRM4 > SPRM1 ) JumpTT 3"},
    {"30 76 00 00 00 42 02 03", "if ( GPRM2 < GPRM3 ) JumpSS TitleMenu"},
    {"30 06 00 00 00 20 00 00", ""}, {"30 08 00 00 00 10 00 00", ""}, {"30 04 00 00 00 01 00 00", ""},
    // 41 and 51: SetSTN by register and immediate; 63 is the dummy subpicture stream.
    {"41 00 00 81 82 83 00 00", "SetSTN audio=GPRM1, subpicture=GPRM2, angle=GPRM3"},
    {"41 00 00 05 06 07 00 00", "SetSTN "}, {"41 30 00 81 00 00 02 03", "if ( GPRM2 != GPRM3 ) SetSTN audio=GPRM1"},
    {"41 31 00 81 00 00 04 01", "{ SetSTN audio=GPRM1 ; LinkTopC, button=1 }"},
    {"51 00 00 82 C1 81 00 00", "SetSTN audio=3, subpicture=2:ON, angle=1"},
    {"51 00 00 87 FF 00 00 00", "SetSTN audio=8, subpicture=Dummy:ON"},
    {"51 00 00 00 FE 00 00 00", "SetSTN subpicture=63:ON"}, {"51 00 00 00 C0 00 00 00", "SetSTN subpicture=1:ON"},
    {"51 00 00 00 BF 00 00 00", "SetSTN subpicture=Dummy:OFF"},
    {"51 00 00 00 80 00 00 00", "SetSTN subpicture=1:OFF"}, {"51 00 00 00 7F 00 00 00", "SetSTN "},
    // 4x and 5x: the other system registers; SetNVTMR links to the PGC it names.
    {"42 00 00 03 00 02 00 00", "SetNVTMR NV_TMR=GPRM3, TT_PGCN=2"},
    {"52 01 01 2C 01 04 00 0D", "{ SetNVTMR NV_TMR=300, TT_PGCN=260 ; LinkPGCN 260 }"},
    {"43 00 00 A5 00 03 00 00", "SetGPRMMD RegisterMode GPRM3=GPRM5"},
    {"53 00 00 64 00 82 00 00", "SetGPRMMD CounterMode GPRM2=100"},
    {"53 01 00 64 00 02 00 0D", "{ SetGPRMMD RegisterMode GPRM2=100 ; LinkTailPGC, button=0 }"},
    {"44 00 00 00 00 07 00 00", "SetAMXMD GPRM7"},
    {"54 00 00 00 1C 08 00 00", "SetAMXMD ACH0(4:ON,3:ON,2:ON), ACH1(4:OFF,3:ON,2:OFF)"},
    {"46 00 00 00 00 0C 00 00", "SetHL_BTNN HL_BTNN=GPRM12"},
    // The button of 56 is b4 b5 / 1024, rounded, halves to even.
    {"56 00 00 00 05 FF 00 00", "SetHL_BTNN HL_BTNN=1"}, {"56 00 00 00 06 00 00 00", "SetHL_BTNN HL_BTNN=2"},
    {"56 00 00 00 0A 00 00 00", "SetHL_BTNN HL_BTNN=2"}, {"56 00 00 00 0A 01 00 00", "SetHL_BTNN HL_BTNN=3"},
    {"56 20 00 00 08 00 01 02", "if ( GPRM1 == GPRM2 ) SetHL_BTNN HL_BTNN=2"},
    {"40 00 00 00 00 00 00 00", ""}, {"57 00 00 00 00 00 00 00", ""},
    // 6x to Dx: general register arithmetic, the condition and the link placed by family.
    {"61 00 00 02 00 03 00 00", "Mov GPRM2, GPRM3"},
    {"61 30 05 02 00 03 00 06", "if ( GPRM5 != GPRM6 ) Mov GPRM2, GPRM3"},
    {"62 01 00 02 00 03 00 0D", "{ Swp GPRM2, GPRM3 ; LinkTailPGC, button=0 }"},
    {"71 00 00 0F 01 00 00 00", "Mov GPRM15, 256"}, {"73 C0 04 01 00 02 01 00", "if ( GPRM4 >= 256 ) Add GPRM1, 2"},
    {"81 02 00 03 00 00 00 00", "{ Mov GPRM2, GPRM3 ;  }"},
    {"83 A2 00 03 00 07 00 00", "{ Add GPRM2, GPRM3 ; if ( GPRM2 == 7 )  }"},
    {"81 11 00 03 00 04 08 0D", "{ Mov GPRM1, GPRM3 ; if ( GPRM1 & GPRM4 ) LinkTailPGC, button=2 }"},
    {"84 04 00 03 00 00 00 02", "{ Sub GPRM4, GPRM3 ; LinkPGCN 2 }"},
    {"91 01 01 00 00 00 00 0D", "{ Mov GPRM1, 256 ; LinkTailPGC, button=0 }"},
    {"A1 31 02 05 00 06 00 0D", "if ( GPRM5 != GPRM6 ) { Mov GPRM1, GPRM2 ; LinkTailPGC, button=0 }"},
    {"A3 91 02 05 00 0A 00 00", "if ( GPRM5 & 10 ) { Add GPRM1, GPRM2 ;  }"},
    {"B1 21 01 2C 03 04 00 0D", "if ( GPRM3 == GPRM4 ) { Mov GPRM1, 300 ; LinkTailPGC, button=0 }"},
    {"C1 41 02 05 00 06 00 0D", "if ( GPRM5 >= GPRM6 ) { Mov GPRM1, GPRM2 ; }LinkTailPGC, button=0"},
    {"C5 C1 02 05 01 00 00 00", "if ( GPRM5 >= 256 ) { Mul GPRM1, GPRM2 ; }"},
    {"D5 01 00 03 00 00 00 10", "{ Mul GPRM1, 3 ; }RSM, button=0"},
    {"D7 61 00 03 02 04 00 00", "if ( GPRM2 <= GPRM4 ) { Mod GPRM1, 3 ; }"},
    {"01 00 00 00 00 00 00 00", ""}, {"31 01 00 00 00 00 00 00", ""}, {"E1 00 00 00 00 00 00 00", ""},
};

}  // namespace kestrova::test
