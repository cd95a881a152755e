// SPDX-License-Identifier: ISC
#include "tests/face/png_file.h"

#include <png.h>

namespace quellard {
namespace {

png_image imageOf(int width, int height) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  image.width = static_cast<png_uint_32>(width);
  image.height = static_cast<png_uint_32>(height);
  image.format = PNG_FORMAT_RGB;
  return image;
}

}  // namespace

bool writePng(const std::filesystem::path& file, const Bytes& bytes, int width, int height) {
  png_image image = imageOf(width, height);
  return png_image_write_to_file(&image, file.c_str(), 0, bytes.data(), 0, nullptr) != 0;
}

Bytes readPng(const std::filesystem::path& file, int width, int height) {
  png_image image = imageOf(width, height);
  if (png_image_begin_read_from_file(&image, file.c_str()) == 0) return {};
  image.format = PNG_FORMAT_RGB;
  if (image.width != static_cast<png_uint_32>(width) ||
      image.height != static_cast<png_uint_32>(height)) {
    png_image_free(&image);
    return {};
  }
  Bytes bytes(PNG_IMAGE_SIZE(image));
  png_image_finish_read(&image, nullptr, bytes.data(), 0, nullptr);
  return bytes;
}

}  // namespace quellard
