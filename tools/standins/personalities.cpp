// The table of the stand-in's personalities. A new tool adds its own file
// with its Run function and one row here.
#include "standin.h"

#include <array>

namespace kestrova::standin {

namespace {

constexpr std::array<PersonalityEntry, 28> kPersonalities = {{
    {"sleep", RunSleep, false, "sleep MS [FILE]      waits MS milliseconds, then writes FILE"},
    {"tree", RunTree, false,
     "tree LEVELS MS PIDFILE  appends its pid to the host file PIDFILE and runs \"tree LEVELS-1\" through\n"
     "                       the process runner; the last level waits MS milliseconds"},
    {"touch", RunTouch, false, "touch FILE...        makes each file (empty) where it is missing"},
    {"copy", RunCopy, true, "copy SOURCE TARGET   copies the bytes of SOURCE to TARGET"},
    {"program-folder", RunProgramFolder, false,
     "program-folder K:\\DIR  lays out the tools the pre-flight checks look for in the program folder DIR\n"
     "                       and writes the registry values naming their folders ($KESTROVA_REGISTRY)"},
    {"program-data", RunProgramData, false,
     "program-data K:\\DIR    writes the files the job finds beside the program into DIR: PAL.bmp, NTSC.bmp,\n"
     "                       and with ffmpeg the dummy streams PAL.mpv and NTSC.mpv"},
    {"dvd2avirb", RunDvd2avi, true,
     "dvd2avirb -IA=1 -FO=0 -Cs=2 -YR=1 -TN=1 -IF=[M2V] -DRC=0 -OF=[OUT] -exit\n"
     "                       indexes M2V into OUT.d2v (DVD2AVI project) and OUT.log"},
    {"dvd2avidg", RunDvd2avi, true, "dvd2avidg ...        as dvd2avirb"},
    {"DGIndex", RunDvd2avi, true,
     "DGIndex -IA=1 -FO=0 -YR=1 -TN=1 -IF=[M2V] -DRC=0 -OF=[OUT] -exit\n"
     "                       indexes M2V into OUT.d2v (DGIndex project) and OUT.log"},
    {"DVDDecrypter", RunDvdDecrypter, true,
     "DVDDecrypter /MODE FILE /SRC D: /FILES F.VOB /DEST DIR /SPLIT VOBID|CELLID /DEMUX E0 80 ...\n"
     "                       splits a menu VOB of the disc by VOB id or cell (or /SPLIT FILE copies files)"},
    {"PgcDemux", RunPgcDemux, true,
     "PgcDemux -m2v -vid N|-cid V C -aud -menu [-customvob nsvi] X.IFO DIR\n"
     "                       demultiplexes one VOB id or cell of the menu VOB beside X.IFO"},
    {"vobtest", RunVobtest, true, "vobtest JOINED.VOB OUT.txt  lists the still cells of a VOB"},
    {"CCE", RunCce, true,
     "CCE -ecl \"LIST\" -batch  encodes each item of the encoder control list (any dialect) with ffmpeg"},
    {"EclPro", RunCce, true, "EclPro -ecl \"LIST\" -batch  as CCE"},
    {"EclCCE", RunEclCce, true,
     "EclCCE -ecl \"LIST\" -batch -nocancel -hideshutdown\n"
     "                       as CCE, when EclCCE.ini beside the program names a CCE program that is there"},
    {"QuEnc", RunQuEnc, true,
     "QuEnc -i \"AVS\" -o \"OUT\" -b N ...  encodes one script with ffmpeg as the switches say"},
    {"HCenc", RunHcEncoder, true, "HCenc -ini INI         encodes the script the HC settings file names with ffmpeg"},
    {"Rejig", RunRejig, true,
     "Rejig -i LIST -auto -close -quiet  requantises each -level Q -i\"X.M2V\" of LIST into X.mpv\n"
     "                       (M2VRequantiser)"},
    {"BeSweet", RunBeSweet, true,
     "BeSweet -core( -input \"SRC\" -output \"DST\" [-2ch|-6chwav] ) [-ssrc( --rate R )] [-azid( ... )]\n"
     "                       [-ota( -r A B -d N -e M )] [-ac3enc( -b N )]  converts audio with ffmpeg"},
    {"SoftEncode", RunSoftEncode, true,
     "SoftEncode -A -P INI -o OUT -L WAV -R WAV [-C WAV -l WAV -r WAV -e WAV] -N\n"
     "                       encodes a WAV file to AC3 as the ini's [Parameters] say, with ffmpeg"},
    {"delaycut", RunDelaycut, true,
     "delaycut [-start N] [-fixcrc silence] [-end N] \"X.AC3\"  copies the AC3 frames of X.AC3 into X_fixed.ac3:\n"
     "                       -start/-end N drop the whole frames of the first/last N ms (N < 0: add N ms of\n"
     "                       silent frames there); -fixcrc silence makes each frame failing a CRC silent (ffmpeg)"},
    {"ac3fix", RunAc3fix, true,
     "ac3fix IN OUT        copies the AC3 frames of IN into OUT, each damaged or lost frame made silent in the\n"
     "                       format of the first good one (ffmpeg), the bytes between frames left out"},
    {"vsrip", RunVsrip, false,
     "vsrip \"PGC_<i>_para.lst\"  rips PGC i of the IFO the list names to B.sub and B.idx (B the list's base),\n"
     "                       and for PGC 1 every sector of the VOB beside the IFO to B.bov"},
    {"vsconv", RunVsconv, false,
     "vsconv -f \"scenarist\" -i \"X.idx\" -o \"BASE\" -id N -kestrova  writes BASE.sst and one BMP per SPU\n"
     "                       of subpicture stream 0x20+N of X.idx and X.sub"},
    {"revpulldown", RunRevPulldown, false,
     "revpulldown IN OUT [-framerate R] [-aspect_ratio A] [-drop_frame true|false] [-nopulldown|-3_2]\n"
     "                       [-ps_add|-ps_remove] [-ignoresequenceendcode] [-novif]  patches the flags of an\n"
     "                       MPEG-2 video stream into OUT"},
    {"vobsub2scc", RunVobsub2scc, false,
     "vobsub2scc X.sub.cc.raw  writes the line-21 captions of the raw caption file vsrip left (renamed) to\n"
     "                       X.scc"},
    {"BitmapResize", RunBitmapResize, false,
     "BitmapResize IN.bmp OUT.bmp PAL2NTSC|NTSC2PAL  resizes the rows of an indexed BMP to the other standard"},
    {"QuantDump", RunQuantDump, true,
     "QuantDump SOURCE DUMPFILE  writes the intra and non-intra quantiser matrices the MPEG video stream\n"
     "                       SOURCE uses, each time they change, to DUMPFILE"},
}};

}  // namespace

std::span<const PersonalityEntry> Personalities() { return kPersonalities; }

}  // namespace kestrova::standin
