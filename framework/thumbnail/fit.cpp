#include "thumbnail/fit.h"

#include <algorithm>
#include <cmath>

namespace mrb::thumbnail {

Size fit(Size original, Size box) {
    const double scale = std::min({1.0, static_cast<double>(box.width) / original.width,
                                   static_cast<double>(box.height) / original.height});
    const auto scaled = [scale](int length, int maximum) {
        return std::clamp(static_cast<int>(std::lround(length * scale)), 1, maximum);
    };
    return {scaled(original.width, box.width), scaled(original.height, box.height)};
}

} // namespace mrb::thumbnail
