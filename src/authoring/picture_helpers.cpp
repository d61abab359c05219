// Palette colours, contrasts and button rows of the scripts: see
// picture_helpers.h.
#include "authoring/picture_helpers.h"

#include <cmath>

namespace kestrova {

std::int16_t CheckMaxMin(double value) {
    if (value < 0) return 0;
    if (value >= 255) return 255;
    return static_cast<std::int16_t>(value);
}

Rgb PaletteColour(const Palette_Properties& entry) {
    const double y = 1.164 * (entry.Y - 16);
    const double cr = entry.Cr - 128;
    const double cb = entry.Cb - 128;
    // nearbyint in the default rounding mode rounds a half to even.
    return {CheckMaxMin(std::nearbyint(y + 1.596 * cr)), CheckMaxMin(std::nearbyint(y - 0.813 * cr - 0.391 * cb)),
            CheckMaxMin(std::nearbyint(2.018 * cb + y))};
}

const std::array<Rgb, 16>& DefaultPaletteColours() {
    static constexpr std::array<Rgb, 16> kDefaultPalette = {{
        {0, 0, 255}, {255, 0, 0}, {0, 0, 0}, {255, 255, 255}, {0, 255, 0}, {255, 0, 255}, {255, 255, 0},
        {0, 125, 125}, {125, 125, 125}, {225, 225, 225}, {125, 0, 0}, {0, 125, 0}, {0, 0, 125}, {222, 0, 255},
        {222, 125, 0}, {125, 0, 125},
    }};
    return kDefaultPalette;
}

int ScaleContrast(const JobContext& job, int contrast) {
    int value = contrast;
    const int high = job.Settings.Count() > 0 ? job.Settings.Item(1).HighContrast : 0;
    static constexpr std::array<double, 6> kScale = {1, 1.15, 1.25, 1.35, 1.5, 1.75};
    if (high >= 1 && high <= 5) value = static_cast<int>(value * kScale[static_cast<std::size_t>(high)]);
    if (high == 6) value = 15;
    if (value > 15) value = 15;
    return value;
}

int ConvertButtonY(const JobContext& job, int y) {
    if (job.Timing.Conversion != 1) return y;
    const bool palSource = job.Timing.FramesPerSecond == 25;
    return static_cast<int>(std::nearbyint(palSource ? y / 1.2 : y * 1.2));
}

}  // namespace kestrova
