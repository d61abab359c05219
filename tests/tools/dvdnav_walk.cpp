// dvdnav-walk VIDEO_TS_FOLDER
//
// Plays a disc with libdvdnav from First Play, as a player would, and walks
// every menu it reaches by calls, links and buttons. Each menu with buttons
// is printed with, per button, its rectangle, its command bytes and where
// pressing it lands: the domain, the title set, the title (in a title) or
// the PGC (in a menu), and the cell. Stills are skipped; a menu already
// walked is not walked again, which cuts loops.
//
// A menu is reached by replaying, from a fresh start, the buttons pressed on
// the way to it, so the walk needs no saved player state. Two discs whose
// menus navigate alike print the same lines apart from the command bytes:
// `diff` the walks of a source and its re-authored copy.
//
// Exit 0 after the walk, 1 when the disc cannot be opened or played.
#include <dvdnav/dvdnav.h>
#include <dvdread/dvd_reader.h>
#include <dvdread/ifo_read.h>

#include <cstdint>
#include <cstdio>
#include <deque>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace {

// Blocks a replay may read before it is given up: a menu that loops
// without buttons, or a title that plays on.
constexpr int kBlockLimit = 60000;

struct Place {
    std::string Domain;  // "FP", "VMGM", "VTSM", "VTS"
    int Vts = 0;
    int Title = 0;  // in a title
    int Pgc = 0;    // in a menu
    int Cell = 0;

    auto Key() const { return std::tie(Domain, Vts, Title, Pgc, Cell); }
    bool operator<(const Place& other) const { return Key() < other.Key(); }
    bool operator==(const Place& other) const { return Key() == other.Key(); }

    std::string Text() const {
        if (Domain == "STOP") return "stop";
        std::string text = Domain + " vts " + std::to_string(Vts);
        text += Domain == "VTS" ? " title " + std::to_string(Title) : " pgc " + std::to_string(Pgc);
        return text + " cell " + std::to_string(Cell);
    }
};

struct Button {
    int X1 = 0, Y1 = 0, X2 = 0, Y2 = 0;
    std::string Command;  // eight bytes as hex
};

// What one replay found.
struct Replay {
    bool Ok = false;
    std::string Failure;
    Place Menu;                   // the menu at the end of the path
    std::vector<Button> Buttons;  // its buttons
    bool Landed = false;          // a button was pressed at the end: where it led
    Place Landing;
    bool NextMenuFound = false;   // and the menu with buttons that came after it
    Place NextMenu;
};

class Player {
public:
    explicit Player(const std::string& folder) {
        if (dvdnav_open(&nav_, folder.c_str()) != DVDNAV_STATUS_OK) {
            nav_ = nullptr;
            return;
        }
        dvdnav_set_readahead_flag(nav_, 0);
        dvdnav_set_PGC_positioning_flag(nav_, 1);
        dvd_ = DVDOpen(folder.c_str());
    }
    ~Player() {
        for (ifo_handle_t* ifo : ifos_) {
            if (ifo != nullptr) ifoClose(ifo);
        }
        if (dvd_ != nullptr) DVDClose(dvd_);
        if (nav_ != nullptr) dvdnav_close(nav_);
    }
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    bool Open() const { return nav_ != nullptr && dvd_ != nullptr; }

    // Plays from First Play, pressing path[i] in the i-th menu with buttons;
    // with `press` set, also the button `press` in the menu at the end.
    Replay Run(const std::vector<int>& path, int press) {
        Replay result;
        std::size_t next = 0;
        bool pressed = false;     // the last button is pressed, its landing awaited
        bool landed = false;
        Place lastMenu;
        bool inMenu = false;      // buttons seen in the current cell
        bool landing = false;     // a cell began after the press
        std::vector<std::uint8_t> block(DVD_VIDEO_LB_LEN);
        for (int blocks = 0; blocks < kBlockLimit; ++blocks) {
            std::int32_t event = 0;
            std::int32_t length = 0;
            if (dvdnav_get_next_block(nav_, block.data(), &event, &length) != DVDNAV_STATUS_OK) {
                result.Failure = dvdnav_err_to_string(nav_);
                return result;
            }
            switch (event) {
            case DVDNAV_VTS_CHANGE: {
                const auto* change = reinterpret_cast<const dvdnav_vts_change_event_t*>(block.data());
                vts_ = change->new_vtsN;
                break;
            }
            case DVDNAV_CELL_CHANGE: {
                const auto* change = reinterpret_cast<const dvdnav_cell_change_event_t*>(block.data());
                cell_ = change->cellN;
                inMenu = false;
                // Where a press landed is told at the cell's first NAV
                // pack, whose sector names the PGC.
                if (pressed && !landed) landing = true;
                break;
            }
            case DVDNAV_STILL_FRAME:
                if (!inMenu || next > path.size()) dvdnav_still_skip(nav_);
                break;
            case DVDNAV_WAIT: dvdnav_wait_skip(nav_); break;
            case DVDNAV_STOP:
                result.Failure = "the disc stopped";
                if (pressed) {
                    result.Ok = true;
                    if (!landed) {
                        result.Landed = true;
                        result.Landing = Place{"STOP"};
                    }
                }
                return result;
            case DVDNAV_NAV_PACKET: {
                pci_t* pci = dvdnav_get_current_nav_pci(nav_);
                sector_ = dvdnav_get_current_nav_dsi(nav_)->dsi_gi.nv_pck_lbn;
                if (landing) {
                    landing = false;
                    landed = true;
                    result.Landed = true;
                    result.Landing = Here();
                    if (result.Landing.Domain == "VTS") {
                        result.Ok = true;  // a title: its content is not walked
                        return result;
                    }
                }
                const int count = pci->hli.hl_gi.btn_ns & 0x3F;
                if ((pci->hli.hl_gi.hli_ss & 3) == 0 || count == 0 || inMenu) break;
                inMenu = true;
                const Place here = Here();
                if (pressed) {
                    if (!landed) {  // the press led nowhere: the menu is still here
                        landed = true;
                        result.Landed = true;
                        result.Landing = here;
                    }
                    result.NextMenuFound = true;
                    result.NextMenu = here;
                    result.Ok = true;
                    return result;
                }
                if (next < path.size()) {
                    dvdnav_button_select_and_activate(nav_, pci, path[next++]);
                    inMenu = false;
                    break;
                }
                result.Menu = here;
                for (int b = 0; b < count; ++b) {
                    const btni_t& button = pci->hli.btnit[b];
                    Button item{static_cast<int>(button.x_start), static_cast<int>(button.y_start),
                                static_cast<int>(button.x_end), static_cast<int>(button.y_end), ""};
                    char hex[3];
                    for (const std::uint8_t byte : button.cmd.bytes) {
                        std::snprintf(hex, sizeof hex, "%02X", byte);
                        item.Command += hex;
                    }
                    result.Buttons.push_back(item);
                }
                if (press == 0) {
                    result.Ok = true;
                    return result;
                }
                ++next;
                pressed = true;
                lastMenu = here;
                dvdnav_button_select_and_activate(nav_, pci, press);
                inMenu = false;
                break;
            }
            default: break;
            }
        }
        result.Failure = "no menu with buttons within " + std::to_string(kBlockLimit) + " blocks";
        if (pressed) {
            result.Ok = true;  // landed, then played on without a menu
            if (!landed) {
                result.Landed = true;
                result.Landing = lastMenu;
            }
        }
        return result;
    }

private:
    Place Here() {
        Place place;
        place.Vts = vts_;
        place.Cell = cell_;
        std::int32_t title = 0;
        if (dvdnav_is_domain_fp(nav_)) {
            place.Domain = "FP";
        } else if (dvdnav_is_domain_vmgm(nav_)) {
            place.Domain = "VMGM";
            place.Vts = 0;
        } else if (dvdnav_is_domain_vtsm(nav_)) {
            place.Domain = "VTSM";
        } else {
            place.Domain = "VTS";
            std::int32_t part = 0;
            dvdnav_current_title_info(nav_, &title, &part);
            place.Title = title;
        }
        if (place.Domain == "VMGM" || place.Domain == "VTSM") place.Pgc = MenuPgc(place.Domain == "VMGM" ? 0 : vts_);
        return place;
    }

    // The menu PGC playing: the first of the menu domain's PGCs whose cell
    // of the current number holds the current NAV pack. libdvdnav tells a
    // menu's PGC only for entry PGCs.
    int MenuPgc(int vts) {
        if (vts < 0) return 0;
        if (ifos_.size() <= static_cast<std::size_t>(vts)) ifos_.resize(static_cast<std::size_t>(vts) + 1, nullptr);
        ifo_handle_t*& ifo = ifos_[static_cast<std::size_t>(vts)];
        if (ifo == nullptr) ifo = ifoOpen(dvd_, vts);
        if (ifo == nullptr || ifo->pgci_ut == nullptr) return 0;
        for (int unit = 0; unit < ifo->pgci_ut->nr_of_lus; ++unit) {
            const pgcit_t* pgcs = ifo->pgci_ut->lu[unit].pgcit;
            if (pgcs == nullptr) continue;
            for (int p = 0; p < pgcs->nr_of_pgci_srp; ++p) {
                const pgc_t* pgc = pgcs->pgci_srp[p].pgc;
                if (pgc == nullptr || cell_ < 1 || cell_ > pgc->nr_of_cells || pgc->cell_playback == nullptr) continue;
                const cell_playback_t& cell = pgc->cell_playback[cell_ - 1];
                if (cell.first_sector <= sector_ && sector_ <= cell.last_sector) return p + 1;
            }
        }
        return 0;
    }

    dvdnav_t* nav_ = nullptr;
    dvd_reader_t* dvd_ = nullptr;
    std::vector<ifo_handle_t*> ifos_;  // by title set, 0 the VMG
    int vts_ = 0;
    int cell_ = 0;
    std::uint32_t sector_ = 0;  // the current NAV pack, within its VOB set
};

Replay Play(const std::string& folder, const std::vector<int>& path, int press) {
    Player player(folder);
    if (!player.Open()) {
        Replay failed;
        failed.Failure = "libdvdnav cannot open it";
        return failed;
    }
    return player.Run(path, press);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: dvdnav-walk VIDEO_TS_FOLDER\n");
        return 2;
    }
    const std::string folder = argv[1];
    // libdvdnav and libdvdread print their own notes on stdout: the walk
    // keeps stdout for itself and sends theirs to stderr.
    const int report = dup(STDOUT_FILENO);
    dup2(STDERR_FILENO, STDOUT_FILENO);
    FILE* out = fdopen(report, "w");
    const Replay first = Play(folder, {}, 0);
    if (!first.Ok) {
        if (first.Failure.rfind("libdvdnav", 0) == 0) {
            std::fprintf(stderr, "dvdnav-walk: %s: %s\n", folder.c_str(), first.Failure.c_str());
            return 1;
        }
        // A disc whose First Play reaches no menu with buttons has nothing to walk.
        std::fprintf(out, "no menu with buttons from First Play (%s)\n", first.Failure.c_str());
        return 0;
    }
    std::set<Place> walked;
    std::deque<std::pair<std::vector<int>, Replay>> queue;
    queue.emplace_back(std::vector<int>{}, first);
    walked.insert(first.Menu);
    while (!queue.empty()) {
        const auto [path, menu] = queue.front();
        queue.pop_front();
        std::fprintf(out, "menu %s\n", menu.Menu.Text().c_str());
        for (std::size_t b = 0; b < menu.Buttons.size(); ++b) {
            const Button& button = menu.Buttons[b];
            const Replay pressed = Play(folder, path, static_cast<int>(b + 1));
            std::string landing = pressed.Landed ? pressed.Landing.Text() : "nowhere (" + pressed.Failure + ")";
            std::fprintf(out, "  button %zu: %d,%d-%d,%d cmd %s -> %s\n", b + 1, button.X1, button.Y1, button.X2, button.Y2,
                        button.Command.c_str(), landing.c_str());
            if (!pressed.NextMenuFound || walked.count(pressed.NextMenu) > 0) continue;
            std::vector<int> further = path;
            further.push_back(static_cast<int>(b + 1));
            const Replay reached = Play(folder, further, 0);
            if (!reached.Ok || walked.count(reached.Menu) > 0) continue;
            walked.insert(reached.Menu);
            queue.emplace_back(further, reached);
        }
    }
    return 0;
}
