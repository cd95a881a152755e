// SPDX-License-Identifier: ISC
#include "tools/face/png_encoding.h"

#include <png.h>
#include <vector>

namespace quellard {

std::string encodedPng(const Picture& picture) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  image.width = static_cast<png_uint_32>(picture.width());
  image.height = static_cast<png_uint_32>(picture.height());
  image.format = PNG_FORMAT_RGB;
  std::vector<png_byte> bytes;
  for (int y = 0; y < picture.height(); ++y) {
    for (int x = 0; x < picture.width(); ++x) {
      const std::uint32_t pixel = picture.row(y)[x];
      for (const unsigned shift : {16U, 8U, 0U}) {
        bytes.push_back(static_cast<png_byte>(pixel >> shift & 0xFFU));
      }
    }
  }
  std::string encoded(PNG_IMAGE_PNG_SIZE_MAX(image), '\0');
  png_alloc_size_t size = encoded.size();
  const int done =
      png_image_write_to_memory(&image, encoded.data(), &size, 0, bytes.data(), 0, nullptr);
  encoded.resize(done != 0 ? size : 0);
  return encoded;
}

}  // namespace quellard
