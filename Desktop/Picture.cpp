#include "Desktop/Picture.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string_view>

#include <gdk-pixbuf/gdk-pixbuf.h>

namespace Desktop {

namespace {

/// As many as a person's camera makes; decoded, 96 MB.
constexpr std::int64_t mostPixels = 24'000'000;

struct Release {
    void operator()(void* object) const { g_object_unref(object); }
};
template <class Object>
using Owned = std::unique_ptr<Object, Release>;

/// Pictures come from whoever can push: of all the formats that may be installed those are read that people use for
/// them. An SVG, for one, would be a whole drawing program's input.
void allowFormats() {
    constexpr std::array<std::string_view, 5> allowed = {"png", "jpeg", "gif", "bmp", "webp"};
    GSList* const formats = gdk_pixbuf_get_formats();
    for (GSList* item = formats; item != nullptr; item = item->next) {
        auto* const format = static_cast<GdkPixbufFormat*>(item->data);
        const std::unique_ptr<char, decltype(&g_free)> name(gdk_pixbuf_format_get_name(format), g_free);
        const bool isAllowed = std::find(allowed.begin(), allowed.end(), name.get()) != allowed.end();
        gdk_pixbuf_format_set_disabled(format, isAllowed ? FALSE : TRUE);
    }
    g_slist_free(formats);
}

struct Size {
    int width = 0, height = 0;
};

/// The size that shows as much, with no side longer than is shown.
Size fitted(Size size) {
    const int longest = std::max(size.width, size.height);
    if (longest <= Picture::longestSide) return size;
    const auto scaled = [&](int side) {
        return std::max(1, static_cast<int>(std::int64_t{side} * Picture::longestSide / longest));
    };
    return {scaled(size.width), scaled(size.height)};
}

/// Called as soon as the header has told the size: where it is too large, a loader to which the size 0 is given stops.
void sizeKnown(GdkPixbufLoader* loader, int width, int height, void*) {
    if (width <= 0 || height <= 0 || std::int64_t{width} * height > mostPixels)
        gdk_pixbuf_loader_set_size(loader, 0, 0);
    else if (const Size target = fitted({width, height}); target.width != width || target.height != height)
        gdk_pixbuf_loader_set_size(loader, target.width, target.height);
}

Owned<GdkPixbuf> firstPicture(const Foundation::Data& data) {
    static std::once_flag once;
    std::call_once(once, allowFormats);
    const Owned<GdkPixbufLoader> loader(gdk_pixbuf_loader_new());
    g_signal_connect(loader.get(), "size-prepared", G_CALLBACK(sizeKnown), nullptr);
    // A failure in the midst leaves what was decoded up to it.
    gdk_pixbuf_loader_write(loader.get(), data.data(), data.size(), nullptr);
    gdk_pixbuf_loader_close(loader.get(), nullptr);
    GdkPixbuf* const picture = gdk_pixbuf_loader_get_pixbuf(loader.get());
    if (picture == nullptr) return nullptr;
    return Owned<GdkPixbuf>(gdk_pixbuf_apply_embedded_orientation(picture));
}

}  // namespace

std::optional<Picture> Picture::decode(const Foundation::Data& data) {
    if (data.empty()) return std::nullopt;  // to the library no bytes at all are the caller's fault
    auto picture = firstPicture(data);
    if (!picture) return std::nullopt;
    // Not every format's loader scales.
    const Size decoded{gdk_pixbuf_get_width(picture.get()), gdk_pixbuf_get_height(picture.get())};
    if (const Size target = fitted(decoded); target.width != decoded.width || target.height != decoded.height)
        picture.reset(gdk_pixbuf_scale_simple(picture.get(), target.width, target.height, GDK_INTERP_BILINEAR));
    if (!picture || gdk_pixbuf_get_bits_per_sample(picture.get()) != 8) return std::nullopt;

    Picture result;
    result.width = gdk_pixbuf_get_width(picture.get());
    result.height = gdk_pixbuf_get_height(picture.get());
    result.rowBytes = gdk_pixbuf_get_rowstride(picture.get());
    result.hasAlpha = gdk_pixbuf_get_has_alpha(picture.get()) != FALSE;
    // The last row may end before its stride does: this is as many as there are.
    const std::uint8_t* const pixels = gdk_pixbuf_read_pixels(picture.get());
    result.pixels.assign(pixels, pixels + gdk_pixbuf_get_byte_length(picture.get()));
    return result;
}

}  // namespace Desktop
