#include "DemoServer/Picture.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <stdexcept>

#include <png.h>

namespace DemoServer {

std::string picture(std::string_view name) {
    std::uint64_t hash = 14695981039346656037U;  // FNV-1a
    for (const char character : name)
        hash = (hash ^ static_cast<std::uint8_t>(character)) * 1099511628211U;
    hash ^= hash >> 29;  // its lower bits alone hardly differ between similar names

    // 5 x 5 cells, mirrored left to right: 15 bits for the pattern, others for its colour on light grey.
    const auto part = [hash](unsigned shift) { return static_cast<png_byte>(hash >> shift & 0xBF); };
    const std::array<png_byte, 6> colors = {0xF0, 0xF0, 0xF0, part(40), part(48), part(56)};
    constexpr unsigned cellSide = 16;
    constexpr unsigned side = 5 * cellSide;
    std::string pixels;
    for (unsigned y = 0; y < side; ++y) {
        for (unsigned x = 0; x < side; ++x) {
            const unsigned column = x / cellSide;
            pixels += static_cast<char>(hash >> (y / cellSide * 3 + std::min(column, 4 - column)) & 1);
        }
    }

    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = side;
    image.height = side;
    image.format = PNG_FORMAT_RGB_COLORMAP;
    image.colormap_entries = 2;
    png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(image);
    std::string png(size, '\0');
    if (png_image_write_to_memory(&image, png.data(), &size, 0, pixels.data(), 0, colors.data()) == 0)
        throw std::runtime_error(std::string("the picture could not be written: ") + image.message);
    png.resize(size);
    return png;
}

}  // namespace DemoServer
