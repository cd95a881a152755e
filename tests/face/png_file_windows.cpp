// SPDX-License-Identifier: ISC
#include "tests/face/png_file.h"

// In this order, since the later headers use the types of windows.h.
// clang-format off
#include <windows.h>
#include <initguid.h>
#include <objbase.h>
#include <wincodec.h>
// clang-format on

#include <fstream>

#include "tools/face/png_encoding.h"

namespace quellard {

bool writePng(const std::filesystem::path& file, const Bytes& bytes, int width, int height) {
  Picture picture(width, height);
  for (std::size_t i = 0; i < bytes.size() / 3; ++i) {
    picture.row(0)[i] = 0xFF000000U | std::uint32_t{bytes[3 * i]} << 16 |
                        std::uint32_t{bytes[3 * i + 1]} << 8 | bytes[3 * i + 2];
  }
  std::ofstream out(file, std::ios::binary);
  out << encodedPng(picture);
  return out.good();
}

// The objects live as long as the test's process, which is short.
Bytes readPng(const std::filesystem::path& file, int width, int height) {
  IWICImagingFactory* factory = nullptr;
  IWICBitmapDecoder* decoder = nullptr;
  IWICBitmapFrameDecode* frame = nullptr;
  IWICBitmapSource* pixels = nullptr;
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  void** const made = reinterpret_cast<void**>(&factory);
  UINT wide = 0, high = 0;
  std::filesystem::path path = file;
  if (FAILED(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                              IID_IWICImagingFactory, made)) ||
      FAILED(factory->CreateDecoderFromFilename(path.make_preferred().c_str(), nullptr,
                                                GENERIC_READ, WICDecodeMetadataCacheOnDemand,
                                                &decoder)) ||
      FAILED(decoder->GetFrame(0, &frame)) || FAILED(frame->GetSize(&wide, &high)) ||
      static_cast<int>(wide) != width || static_cast<int>(high) != height ||
      FAILED(WICConvertBitmapSource(GUID_WICPixelFormat24bppRGB, frame, &pixels))) {
    return {};
  }
  Bytes bytes(std::size_t{3} * wide * high);
  if (FAILED(
          pixels->CopyPixels(nullptr, 3 * wide, static_cast<UINT>(bytes.size()), bytes.data()))) {
    return {};
  }
  return bytes;
}

}  // namespace quellard
