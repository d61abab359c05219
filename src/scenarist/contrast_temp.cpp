// ContrastToPercent, until the script driver's own definition is merged:
// see script_driver.h.
#include <array>

#include "scenarist/script_driver.h"

namespace kestrova {

int ContrastToPercent(const JobContext& job, int contrast, bool keep) {
    int value = contrast;
    if (!keep) {
        switch (job.Settings.Item(1).HighContrast) {
        case 1: value = static_cast<int>(value * 1.15); break;
        case 2: value = static_cast<int>(value * 1.25); break;
        case 3: value = static_cast<int>(value * 1.35); break;
        case 4: value = static_cast<int>(value * 1.5); break;
        case 5: value = static_cast<int>(value * 1.75); break;
        case 6: value = 15; break;
        default: break;
        }
    }
    static constexpr std::array<int, 16> kPercent = {0, 7, 13, 20, 27, 33, 40, 47, 53, 60, 67, 73, 80, 87, 93, 100};
    return kPercent[static_cast<std::size_t>(value < 0 ? 0 : value > 15 ? 15 : value)];
}

}  // namespace kestrova
