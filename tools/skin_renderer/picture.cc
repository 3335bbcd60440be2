#include "tools/skin_renderer/picture.h"

#include <algorithm>
#include <memory>
#include <stdexcept>

#include <cairo.h>
#include <librsvg/rsvg.h>

namespace skin_renderer {
namespace {

struct Deleter {
  void operator()(RsvgHandle* handle) const { g_object_unref(handle); }
  void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
  void operator()(cairo_t* context) const { cairo_destroy(context); }
};
using Handle = std::unique_ptr<RsvgHandle, Deleter>;
using Surface = std::unique_ptr<cairo_surface_t, Deleter>;
using Context = std::unique_ptr<cairo_t, Deleter>;

[[noreturn]] void Fail(GError* error) {
  const std::string text = error != nullptr ? error->message : "cannot be drawn";
  g_clear_error(&error);
  throw std::runtime_error(text);
}

Surface MakeSurface(int width, int height) {
  return Surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height));
}

void Append(std::string& bytes, std::uint32_t value, int size) {
  for (int i = 0; i < size; ++i) bytes.push_back(static_cast<char>(value >> (8 * i) & 0xFF));
}

constexpr std::uint32_t kFileHeaderSize = 14;
constexpr std::uint32_t kInfoHeaderSize = 40;

}  // namespace

Picture Draw(const std::string& svg, int width, int height) {
  GError* error = nullptr;
  const Handle handle(
      rsvg_handle_new_from_data(reinterpret_cast<const guint8*>(svg.data()), svg.size(), &error));
  if (handle == nullptr) Fail(error);
  const Surface surface = MakeSurface(width, height);
  const Context context(cairo_create(surface.get()));
  const RsvgRectangle viewport{0, 0, static_cast<double>(width), static_cast<double>(height)};
  if (!rsvg_handle_render_document(handle.get(), context.get(), &viewport, &error)) Fail(error);
  cairo_surface_flush(surface.get());

  Picture picture{width, height, {}};
  picture.pixels.reserve(static_cast<std::size_t>(width) * height);
  const unsigned char* data = cairo_image_surface_get_data(surface.get());
  const int stride = cairo_image_surface_get_stride(surface.get());
  for (int y = 0; y < height; ++y) {
    const auto* row = reinterpret_cast<const std::uint32_t*>(data + std::ptrdiff_t{y} * stride);
    picture.pixels.insert(picture.pixels.end(), row, row + width);
  }
  return picture;
}

std::string ToBmp(const Picture& picture, int bits, int pixels_per_metre) {
  const int pixel_bytes = bits / 8;
  const std::size_t row_bytes = (static_cast<std::size_t>(picture.width) * pixel_bytes + 3) / 4 * 4;
  const auto pixel_size = static_cast<std::uint32_t>(row_bytes * picture.height);
  std::string bytes = "BM";
  Append(bytes, kFileHeaderSize + kInfoHeaderSize + pixel_size, 4);
  Append(bytes, 0, 4);
  Append(bytes, kFileHeaderSize + kInfoHeaderSize, 4);
  Append(bytes, kInfoHeaderSize, 4);
  Append(bytes, static_cast<std::uint32_t>(picture.width), 4);
  Append(bytes, static_cast<std::uint32_t>(picture.height), 4);
  Append(bytes, 1, 2);  // planes
  Append(bytes, static_cast<std::uint32_t>(bits), 2);
  Append(bytes, 0, 4);  // no compression
  Append(bytes, pixel_size, 4);
  Append(bytes, static_cast<std::uint32_t>(pixels_per_metre), 4);
  Append(bytes, static_cast<std::uint32_t>(pixels_per_metre), 4);
  Append(bytes, 0, 4);  // colours in the table
  Append(bytes, 0, 4);  // of which important
  for (int y = picture.height - 1; y >= 0; --y) {
    const std::size_t end = bytes.size() + row_bytes;
    for (int x = 0; x < picture.width; ++x) {
      const std::uint32_t pixel = picture.pixels[static_cast<std::size_t>(y) * picture.width + x];
      Append(bytes, pixel & 0xFFFFFF, pixel_bytes);
    }
    bytes.resize(end);
  }
  return bytes;
}

void WritePng(const Picture& picture, const std::string& path) {
  const Surface surface = MakeSurface(picture.width, picture.height);
  unsigned char* data = cairo_image_surface_get_data(surface.get());
  const int stride = cairo_image_surface_get_stride(surface.get());
  for (int y = 0; y < picture.height; ++y) {
    auto* row = reinterpret_cast<std::uint32_t*>(data + std::ptrdiff_t{y} * stride);
    std::copy_n(&picture.pixels[static_cast<std::size_t>(y) * picture.width], picture.width, row);
  }
  cairo_surface_mark_dirty(surface.get());
  const cairo_status_t status = cairo_surface_write_to_png(surface.get(), path.c_str());
  if (status != CAIRO_STATUS_SUCCESS) {
    throw std::runtime_error(path + ": " + cairo_status_to_string(status));
  }
}

}  // namespace skin_renderer
