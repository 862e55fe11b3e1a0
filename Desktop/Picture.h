#pragma once

#include <optional>

#include "Foundation/Data.h"

namespace Desktop {

/// A picture's pixels, row by row: red, green, blue and where it is transparent alpha, a byte each.
struct Picture {
    int width = 0;   ///< 1 to 256
    int height = 0;  ///< 1 to 256
    int rowBytes = 0;
    bool hasAlpha = false;
    Foundation::Data pixels;

    static constexpr int longestSide = 256;

    /// The picture in these bytes (PNG, JPEG, GIF, BMP, and WebP where its loader is installed); of one that moves
    /// the first picture. A larger one becomes as small as it may be, in its proportions. One that ends early is
    /// taken as far as it goes. Nothing for what is no picture, and for one of more than 24 million pixels, which is
    /// not decoded.
    static std::optional<Picture> decode(const Foundation::Data& data);
};

}  // namespace Desktop
