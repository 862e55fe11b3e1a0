#include "Support.h"

#include "Desktop/Picture.h"

using Desktop::Picture;
using Fuzzing::check;

/// A picture's bytes, of whatever format. The limits of memory are the driver's.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto picture = Picture::decode(Foundation::Data(data, data + size));
    if (!picture) return 0;
    const auto isSide = [](int side) { return side >= 1 && side <= Picture::longestSide; };
    check(isSide(picture->width) && isSide(picture->height), "a picture has 1 to 256 pixels a side");
    const int pixelBytes = picture->hasAlpha ? 4 : 3;
    check(picture->rowBytes >= picture->width * pixelBytes, "a row holds its pixels");
    const auto least =
        static_cast<std::size_t>(picture->rowBytes * (picture->height - 1) + picture->width * pixelBytes);
    const auto most = static_cast<std::size_t>(picture->rowBytes * picture->height);
    check(picture->pixels.size() >= least && picture->pixels.size() <= most, "the pixels are those of its rows");
    return 0;
}
