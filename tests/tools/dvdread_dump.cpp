// dvdread-dump VIDEO_TS_FOLDER: prints the PGCs of a DVD-Video folder as
// libdvdread reads it, in the cross-check format that kestrova-inspect
// --crosscheck prints from Kestrova's own reader. A test runs both over every
// fixture disc; any difference is a fault in one of the two readers.
//
// Output, per IFO file (VIDEO_TS.IFO, then VTS_01_0.IFO, ...):
//   IFO, then TITLESETS + TITLE lines (VMG) or PTT lines (VTS), then UNITS and
//   for each language unit its UNIT line followed by its PGCs (PGC, CMD and,
//   for PGCs with cells, SUB1, PAL, PROG, CELL lines), then the menu C_ADT
//   rows (CADT) sorted by VOB id and cell id; then the first-play PGC (VMG) or
//   PGCIT and the title PGCs (VTS), each in PGC lines with a PTIME line.
//
// dvdread-dump --nav VIDEO_TS_FOLDER prints instead the NAV packs of every
// menu VOB file (VIDEO_TS.VOB, VTS_01_0.VOB, ...) as navRead_PCI and
// navRead_DSI read them, one NAV line per pack in file order with its
// VOBU's start time (90 kHz), prohibited operations and highlight
// information, then for a pack with highlights a BTN line per button of
// each button group; --title-nav does the same for the title VOB files
// (VTS_01_1.VOB, ...) of every title set:
//   NAV <title set> <k> VOB <v> CELL <c> LBN <sector> SPTM <ptm> UOP <8 hex> HLI <status>
//       [GROUPS <n> MODES <d1> <d2> <d3> OFFSET <o> BUTTONS <n> NUMERIC <n>
//        FOSL <b> FOAC <b> COLIT <selection 1> <action 1> ... <action 3>]
//   BTN <title set> <k> <group> <button> COLOUR <c> X <x1> <x2> Y <y1> <y2>
//       AUTO <a> UP <u> DOWN <d> LEFT <l> RIGHT <r> CMD <16 hex>
// The title set is 0 for the VMG, k counts the domain's NAV packs from 1,
// and COLIT words are the PCI's BTN_COLIT entries in hexadecimal.
#include <dvdread/dvd_reader.h>
#include <dvdread/ifo_read.h>
#include <dvdread/ifo_types.h>
#include <dvdread/nav_read.h>
#include <dvdread/nav_types.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

namespace {

// Upper-case hexadecimal, zero-padded to `digits`.
std::string Hex(uint32_t value, int digits) {
    char text[16];
    std::snprintf(text, sizeof text, "%0*X", digits, static_cast<unsigned>(value));
    return text;
}

std::string HexBytes(const uint8_t* bytes, size_t count) {
    std::string text;
    for (size_t i = 0; i < count; ++i) text += Hex(bytes[i], 2);
    return text;
}

// Rebuilds on-disc bytes from libdvdread's bit-field structs: libdvdread
// fills the fields in declaration order from the most significant bit of the
// disc bytes down, so appending them in that order restores the bytes.
class BitPacker {
public:
    void Put(unsigned field, int width) {
        value_ = (value_ << width) | (field & ((1u << width) - 1u));
        width_ += width;
    }
    uint32_t Value(int expected_width) const {
        if (width_ != expected_width) throw std::logic_error("bit-field width mismatch");
        return value_;
    }

private:
    uint32_t value_ = 0;
    int width_ = 0;
};

// PGC bytes 8-11: prohibited user operations, bit 31 first.
uint32_t UserOpsBytes(const user_ops_t& uo) {
    BitPacker bits;
    bits.Put(uo.zero, 7);
    bits.Put(uo.video_pres_mode_change, 1);
    bits.Put(uo.karaoke_audio_pres_mode_change, 1);
    bits.Put(uo.angle_change, 1);
    bits.Put(uo.subpic_stream_change, 1);
    bits.Put(uo.audio_stream_change, 1);
    bits.Put(uo.pause_on, 1);
    bits.Put(uo.still_off, 1);
    bits.Put(uo.button_select_or_activate, 1);
    bits.Put(uo.resume, 1);
    bits.Put(uo.chapter_menu_call, 1);
    bits.Put(uo.angle_menu_call, 1);
    bits.Put(uo.audio_menu_call, 1);
    bits.Put(uo.subpic_menu_call, 1);
    bits.Put(uo.root_menu_call, 1);
    bits.Put(uo.title_menu_call, 1);
    bits.Put(uo.backward_scan, 1);
    bits.Put(uo.forward_scan, 1);
    bits.Put(uo.next_pg_search, 1);
    bits.Put(uo.prev_or_top_pg_search, 1);
    bits.Put(uo.time_or_chapter_search, 1);
    bits.Put(uo.go_up, 1);
    bits.Put(uo.stop, 1);
    bits.Put(uo.title_play, 1);
    bits.Put(uo.chapter_search_or_play, 1);
    bits.Put(uo.title_or_time_play, 1);
    return bits.Value(32);
}

// First byte of a cell playback entry: block mode and type, seamless play,
// interleaved, STC discontinuity, seamless angle.
uint32_t CellCategoryByte(const cell_playback_t& cell) {
    BitPacker bits;
    bits.Put(cell.block_mode, 2);
    bits.Put(cell.block_type, 2);
    bits.Put(cell.seamless_play, 1);
    bits.Put(cell.interleaved, 1);
    bits.Put(cell.stc_discontinuity, 1);
    bits.Put(cell.seamless_angle, 1);
    return bits.Value(8);
}

std::string TimeBytes(const dvd_time_t& time) {
    const uint8_t bytes[4] = {time.hour, time.minute, time.second, time.frame_u};
    return HexBytes(bytes, 4);
}

void Line(const std::string& text) {
    std::fputs(text.c_str(), stdout);
    std::fputc('\n', stdout);
}

void PrintCommands(const std::string& id, const char* list, const vm_cmd_t* commands, int count) {
    for (int i = 0; i < count; ++i) {
        Line("CMD " + id + " " + list + " " + std::to_string(i + 1) + " " + HexBytes(commands[i].bytes, 8));
    }
}

void PrintPgc(const std::string& id, int category, const pgc_t* pgc) {
    if (pgc == nullptr) throw std::runtime_error("PGC " + id + " was not read");
    Line("PGC " + id + " CAT " + std::to_string(category) + " PROGRAMS " +
             std::to_string(pgc->nr_of_programs) + " CELLS " + std::to_string(pgc->nr_of_cells) + " NEXT " +
             std::to_string(pgc->next_pgc_nr) + " PREV " + std::to_string(pgc->prev_pgc_nr) + " GOUP " +
             std::to_string(pgc->goup_pgc_nr) + " STILL " + std::to_string(pgc->still_time) + " UOP " +
             Hex(UserOpsBytes(pgc->prohibited_ops), 8) + " AUDIO1 " +
             std::to_string((pgc->audio_control[0] >> 8) & 0x0F));

    if (const pgc_command_tbl_t* table = pgc->command_tbl; table != nullptr) {
        PrintCommands(id, "PRE", table->pre_cmds, table->nr_of_pre);
        PrintCommands(id, "POST", table->post_cmds, table->nr_of_post);
        PrintCommands(id, "CELL", table->cell_cmds, table->nr_of_cell);
    }
    if (pgc->nr_of_cells == 0) return;

    Line("SUB1 " + id + " " + Hex(pgc->subp_control[0], 8));
    std::string palette = "PAL " + id;
    for (uint32_t entry_value : pgc->palette) palette += " " + Hex(entry_value & 0xFFFFFFu, 6);
    Line(palette);
    for (int p = 0; p < pgc->nr_of_programs; ++p) {
        if (pgc->program_map == nullptr) throw std::runtime_error("PGC " + id + " has programs but no program map");
        Line("PROG " + id + " " + std::to_string(p + 1) + " " + std::to_string(pgc->program_map[p]));
    }
    if (pgc->cell_playback == nullptr || pgc->cell_position == nullptr) {
        throw std::runtime_error("PGC " + id + " has cells but no cell playback or position table");
    }
    for (int c = 0; c < pgc->nr_of_cells; ++c) {
        const cell_playback_t& cell = pgc->cell_playback[c];
        const cell_position_t& position = pgc->cell_position[c];
        Line("CELL " + id + " " + std::to_string(c + 1) + " VOB " + std::to_string(position.vob_id_nr) +
                 " CELL " + std::to_string(position.cell_nr) + " CAT0 " + std::to_string(CellCategoryByte(cell)) +
                 " STILL " + std::to_string(cell.still_time) + " CMD " + std::to_string(cell.cell_cmd_nr) + " TIME " +
                 TimeBytes(cell.playback_time));
    }
}

// The first-play or a title PGC: the lines of a menu PGC, then its playback time.
void PrintPlaybackPgc(const std::string& id, int category, const pgc_t* pgc) {
    PrintPgc(id, category, pgc);
    Line("PTIME " + id + " " + TimeBytes(pgc->playback_time));
}

// VMGM_PGCI_UT or VTSM_PGCI_UT, then the menu C_ADT.
void PrintMenus(const ifo_handle_t& ifo) {
    const pgci_ut_t* units = ifo.pgci_ut;
    Line("UNITS " + std::to_string(units == nullptr ? 0 : units->nr_of_lus));
    for (int k = 0; units != nullptr && k < units->nr_of_lus; ++k) {
        const pgci_lu_t& unit = units->lu[k];
        const std::string lang{static_cast<char>(unit.lang_code >> 8), static_cast<char>(unit.lang_code & 0xFF)};
        const pgcit_t* pgcs = unit.pgcit;
        if (pgcs == nullptr) throw std::runtime_error("language unit " + std::to_string(k + 1) + " was not read");
        Line("UNIT " + std::to_string(k + 1) + " LANG " + lang + " PGCS " + std::to_string(pgcs->nr_of_pgci_srp));
        for (int j = 0; j < pgcs->nr_of_pgci_srp; ++j) {
            PrintPgc(std::to_string(k + 1) + "." + std::to_string(j + 1), pgcs->pgci_srp[j].entry_id,
                     pgcs->pgci_srp[j].pgc);
        }
    }

    const c_adt_t* cadt = ifo.menu_c_adt;
    if (cadt == nullptr) return;
    // libdvdread sizes the table from its last byte, as a reader must.
    const size_t count = (cadt->last_byte + 1 - C_ADT_SIZE) / sizeof(cell_adr_t);
    std::vector<cell_adr_t> rows(cadt->cell_adr_table, cadt->cell_adr_table + count);
    std::stable_sort(rows.begin(), rows.end(), [](const cell_adr_t& a, const cell_adr_t& b) {
        return std::tie(a.vob_id, a.cell_id) < std::tie(b.vob_id, b.cell_id);
    });
    for (const cell_adr_t& row : rows) {
        Line("CADT " + std::to_string(row.vob_id) + " " + std::to_string(row.cell_id) + " " +
                 std::to_string(row.start_sector) + " " + std::to_string(row.last_sector));
    }
}

void PrintVmg(const ifo_handle_t& ifo) {
    Line("IFO VIDEO_TS.IFO");
    Line("TITLESETS " + std::to_string(ifo.vmgi_mat->vmg_nr_of_title_sets));
    if (const tt_srpt_t* titles = ifo.tt_srpt; titles != nullptr) {
        for (int i = 0; i < titles->nr_of_srpts; ++i) {
            const title_info_t& title = titles->title[i];
            Line("TITLE " + std::to_string(i + 1) + " VTS " + std::to_string(title.title_set_nr) + " TTN " +
                     std::to_string(title.vts_ttn) + " CHAPTERS " + std::to_string(title.nr_of_ptts));
        }
    }
    PrintMenus(ifo);
    if (ifo.first_play_pgc != nullptr) PrintPlaybackPgc("FP", 0, ifo.first_play_pgc);
}

void PrintVts(const ifo_handle_t& ifo, int title_set) {
    char name[16];
    std::snprintf(name, sizeof name, "VTS_%02d_0.IFO", title_set);
    Line(std::string("IFO ") + name);
    if (const vts_ptt_srpt_t* ptts = ifo.vts_ptt_srpt; ptts != nullptr) {
        for (int t = 0; t < ptts->nr_of_srpts; ++t) {
            int chapter = 0;
            for (int c = 0; c < ptts->title[t].nr_of_ptts; ++c) {
                const ptt_info_t& ptt = ptts->title[t].ptt[c];
                if (ptt.pgcn == 0 || ptt.pgn == 0) continue;
                Line("PTT " + std::to_string(t + 1) + " " + std::to_string(++chapter) + " PGC " +
                         std::to_string(ptt.pgcn) + " PG " + std::to_string(ptt.pgn));
            }
        }
    }
    PrintMenus(ifo);
    if (const pgcit_t* titles = ifo.vts_pgcit; titles != nullptr) {
        Line("PGCIT " + std::to_string(titles->nr_of_pgci_srp));
        for (int j = 0; j < titles->nr_of_pgci_srp; ++j) {
            PrintPlaybackPgc("T" + std::to_string(j + 1), titles->pgci_srp[j].entry_id, titles->pgci_srp[j].pgc);
        }
    }
}

// The NAV packs of the menu VOB file, or the title VOB files, of a domain.
// A sector is a NAV pack when a PCI packet (private stream 2, substream 0)
// starts at byte 38; the PCI follows its substream byte at 45 and the DSI
// stands at 1031.
void PrintNavPacks(dvd_reader_t* dvd, int title_set, dvd_read_domain_t domain) {
    dvd_file_t* file = DVDOpenFile(dvd, title_set, domain);
    if (file == nullptr) return;  // a domain without menus, or the VMG's titles
    const char* what = domain == DVD_READ_MENU_VOBS ? "menu" : "title";
    const ssize_t blocks = DVDFileSize(file);
    std::array<unsigned char, DVD_VIDEO_LB_LEN> block{};
    int index = 0;
    for (ssize_t sector = 0; sector < blocks; ++sector) {
        if (DVDReadBlocks(file, static_cast<int>(sector), 1, block.data()) != 1) {
            DVDCloseFile(file);
            throw std::runtime_error("cannot read sector " + std::to_string(sector) + " of the " + what +
                                     " VOBs of title set " + std::to_string(title_set));
        }
        const bool nav = block[38] == 0 && block[39] == 0 && block[40] == 1 && block[41] == 0xBF && block[44] == 0;
        if (!nav) continue;
        pci_t pci{};
        dsi_t dsi{};
        navRead_PCI(&pci, block.data() + 0x2d);
        navRead_DSI(&dsi, block.data() + DSI_START_BYTE);
        const std::string id = std::to_string(title_set) + " " + std::to_string(++index);
        const hl_gi_t& general = pci.hli.hl_gi;
        std::string line = "NAV " + id + " VOB " + std::to_string(dsi.dsi_gi.vobu_vob_idn) + " CELL " +
                           std::to_string(dsi.dsi_gi.vobu_c_idn) + " LBN " + std::to_string(pci.pci_gi.nv_pck_lbn) +
                           " SPTM " + std::to_string(pci.pci_gi.vobu_s_ptm) + " UOP " + Hex(UserOpsBytes(pci.pci_gi.vobu_uop_ctl), 8) + " HLI " +
                           std::to_string(general.hli_ss & 3);
        if ((general.hli_ss & 3) == 0) {
            Line(line);
            continue;
        }
        const int groups = general.btngr_ns;
        const int buttons = general.btn_ns & 0x3F;
        line += " GROUPS " + std::to_string(groups) + " MODES " + std::to_string(general.btngr1_dsp_ty) + " " +
                std::to_string(general.btngr2_dsp_ty) + " " + std::to_string(general.btngr3_dsp_ty) + " OFFSET " +
                std::to_string(general.btn_ofn) + " BUTTONS " + std::to_string(buttons) + " NUMERIC " +
                std::to_string(general.nsl_btn_ns & 0x3F) + " FOSL " + std::to_string(general.fosl_btnn & 0x3F) +
                " FOAC " + std::to_string(general.foac_btnn & 0x3F) + " COLIT";
        for (int c = 0; c < 3; ++c) {
            const uint32_t selection = pci.hli.btn_colit.btn_coli[c][0];
            const uint32_t action = pci.hli.btn_colit.btn_coli[c][1];
            line += " " + Hex(selection, 8) + " " + Hex(action, 8);
        }
        Line(line);
        if (groups < 1 || groups > 3) continue;
        const int perGroup = 36 / groups;
        for (int g = 0; g < groups; ++g) {
            for (int b = 0; b < buttons && b < perGroup; ++b) {
                const btni_t& button = pci.hli.btnit[g * perGroup + b];
                Line("BTN " + id + " " + std::to_string(g + 1) + " " + std::to_string(b + 1) + " COLOUR " +
                     std::to_string(button.btn_coln) + " X " + std::to_string(button.x_start) + " " +
                     std::to_string(button.x_end) + " Y " + std::to_string(button.y_start) + " " +
                     std::to_string(button.y_end) + " AUTO " + std::to_string(button.auto_action_mode) + " UP " +
                     std::to_string(button.up) + " DOWN " + std::to_string(button.down) + " LEFT " +
                     std::to_string(button.left) + " RIGHT " + std::to_string(button.right) + " CMD " +
                     HexBytes(button.cmd.bytes, 8));
            }
        }
    }
    DVDCloseFile(file);
}

// libdvdread's messages (a missing CSS library, no device name) are kept back
// and shown only when the dump fails, so a good run prints the dump alone.
std::vector<std::string>& LibraryMessages() {
    static std::vector<std::string> messages;
    return messages;
}

void KeepMessage(void*, dvd_logger_level_t level, const char* format, va_list args) {
    if (level == DVD_LOGGER_LEVEL_DEBUG) return;
    char text[512];
    std::vsnprintf(text, sizeof text, format, args);
    LibraryMessages().emplace_back(text);
}

struct DvdCloser {
    void operator()(dvd_reader_t* dvd) const { DVDClose(dvd); }
};
struct IfoCloser {
    void operator()(ifo_handle_t* ifo) const { ifoClose(ifo); }
};
using DvdHandle = std::unique_ptr<dvd_reader_t, DvdCloser>;
using IfoHandle = std::unique_ptr<ifo_handle_t, IfoCloser>;

IfoHandle OpenIfo(dvd_reader_t* dvd, int title_set, const std::string& folder) {
    IfoHandle ifo(ifoOpen(dvd, title_set));
    if (!ifo) {
        char name[16];
        std::snprintf(name, sizeof name, title_set == 0 ? "VIDEO_TS.IFO" : "VTS_%02d_0.IFO", title_set);
        throw std::runtime_error("libdvdread cannot read " + folder + "/" + name + " (nor its BUP)");
    }
    return ifo;
}

// What the dump lists: the PGCs, or the NAV packs of the menu or title VOBs.
enum class Listing { Pgcs, MenuNav, TitleNav };

void Dump(const std::string& folder, Listing listing) {
    // libdvdread takes either the folder holding VIDEO_TS or the VIDEO_TS
    // folder itself and finds the files in either case.
    static const dvd_logger_cb logger{KeepMessage};
    DvdHandle dvd(DVDOpen2(nullptr, &logger, folder.c_str()));
    if (!dvd) throw std::runtime_error("libdvdread cannot open " + folder + " as a DVD-Video folder");

    const IfoHandle vmg = OpenIfo(dvd.get(), 0, folder);
    const int title_sets = vmg->vmgi_mat->vmg_nr_of_title_sets;
    if (listing == Listing::MenuNav) {
        for (int n = 0; n <= title_sets; ++n) PrintNavPacks(dvd.get(), n, DVD_READ_MENU_VOBS);
        return;
    }
    if (listing == Listing::TitleNav) {
        for (int n = 1; n <= title_sets; ++n) PrintNavPacks(dvd.get(), n, DVD_READ_TITLE_VOBS);
        return;
    }
    PrintVmg(*vmg);
    for (int n = 1; n <= title_sets; ++n) PrintVts(*OpenIfo(dvd.get(), n, folder), n);
}

}  // namespace

int main(int argc, char** argv) {
    Listing listing = Listing::Pgcs;
    if (argc == 3 && std::string(argv[1]) == "--nav") listing = Listing::MenuNav;
    if (argc == 3 && std::string(argv[1]) == "--title-nav") listing = Listing::TitleNav;
    if (argc != 2 && listing == Listing::Pgcs) {
        std::fputs("usage: dvdread-dump [--nav | --title-nav] VIDEO_TS_FOLDER\n", stderr);
        return 2;
    }
    try {
        Dump(argv[argc - 1], listing);
    } catch (const std::exception& error) {
        std::fflush(stdout);
        for (const std::string& message : LibraryMessages()) std::fprintf(stderr, "libdvdread: %s\n", message.c_str());
        std::fprintf(stderr, "dvdread-dump: %s\n", error.what());
        return 1;
    }
    return std::fflush(stdout) == 0 ? 0 : 1;
}
