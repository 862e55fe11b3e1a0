#include "Desktop/Picture.h"

#include <memory>

#include <gdk-pixbuf/gdk-pixbuf.h>

#include "Support/Support.h"

// Senders' pictures, which come from a network.

using Desktop::Picture;
using Foundation::Data;

namespace {

/// A picture in one colour.
Data encoded(const char* format, int width, int height, bool hasAlpha = false, unsigned color = 0xFF0000FF) {
    const std::unique_ptr<GdkPixbuf, void (*)(void*)> picture(
        gdk_pixbuf_new(GDK_COLORSPACE_RGB, hasAlpha ? TRUE : FALSE, 8, width, height), g_object_unref);
    gdk_pixbuf_fill(picture.get(), color);
    gchar* bytes = nullptr;
    gsize size = 0;
    EXPECT_TRUE(gdk_pixbuf_save_to_buffer(picture.get(), &bytes, &size, format, nullptr, nullptr));
    Data data(bytes, bytes + size);
    g_free(bytes);
    return data;
}

/// Of two frames, red and blue, on a screen of two by three.
const std::string moving(
    "GIF89a\x02\0\x03\0\xf0\0\0\xff\0\0\0\0\0!\xf9\4\0\0\0\0\0!\xff\13NETSCAPE2.0\3\1\0\0\0,\0\0\0\0\2\0\3\0\0\2\2\x84_\0"
    "!\xf9\4\0\0\0\0\0,\0\0\0\0\2\0\3\0\x80\0\0\xff\0\0\0\2\2\x84_\0;", 91);
/// The head of a PNG file of 60,000 by 60,000 pixels: 14 GB.
const std::string vast("\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\xea\x60\0\0\xea\x60\x08\6\0\0\0\x80\xd2\x75\x42", 33);

TEST(PictureTest, IsAsLargeAsAnIcon) {
    const auto truncated = [](Data data) { return data.resize(data.size() * 2 / 3), data; };
    const auto vastScreen = [](std::string gif) { return Foundation::bytes(gif.replace(6, 4, "\x60\xea\x60\xea")); };
    const struct {
        const char* name;
        Data data;
        int width, height;  ///< 0 for none
        bool hasAlpha = false;
    } rows[] = {
        {"PNG", encoded("png", 3, 2), 3, 2},
        {"PNG with alpha", encoded("png", 256, 256, true), 256, 256, true},
        {"PNG too wide", encoded("png", 512, 257, true), 256, 128, true},
        {"PNG, a line", encoded("png", 1, 5000), 1, 256},
        {"JPEG", encoded("jpeg", 300, 600), 128, 256},
        {"JPEG of 24 million pixels", encoded("jpeg", 4800, 5000), 245, 256},
        {"JPEG beyond", encoded("jpeg", 4801, 5000), 0, 0},
        {"BMP", encoded("bmp", 5, 257), 4, 256},
        {"moving GIF", Foundation::bytes(moving), 2, 3, true},
        {"GIF on a vast screen", vastScreen(moving), 0, 0},
        {"vast PNG", Foundation::bytes(vast), 0, 0},
        {"JPEG that ends early", truncated(encoded("jpeg", 600, 600)), 256, 256},
        {"PNG's first bytes", {0x89, 'P', 'N', 'G'}, 0, 0},
        {"text", Foundation::bytes("<html>not a picture</html>"), 0, 0},
        {"nothing", {}, 0, 0},
    };
    for (const auto& [name, data, width, height, hasAlpha] : rows) {
        SCOPED_TRACE(name);
        const auto picture = Picture::decode(data);
        ASSERT_EQ(picture.has_value(), width != 0);
        if (!picture) continue;
        EXPECT_EQ(std::pair(picture->width, picture->height), std::pair(width, height));
        EXPECT_EQ(picture->hasAlpha, hasAlpha);
        const std::size_t used = std::size_t(picture->width) * (hasAlpha ? 4 : 3);
        ASSERT_GE(picture->rowBytes, used);
        EXPECT_EQ(picture->pixels.size(), std::size_t(picture->rowBytes) * (std::size_t(height) - 1) + used);
        EXPECT_NEAR(picture->pixels[0], 0xFF, 2);  // red, of a moving one the first frame's
        EXPECT_NEAR(picture->pixels[2], 0, 2);
    }
}

}  // namespace
