// SPDX-License-Identifier: ISC
#include "tools/face/png_encoding.h"

// In this order, since the later headers use the types of windows.h.
// clang-format off
#include <windows.h>
#include <initguid.h>
#include <objbase.h>
#include <wincodec.h>
// clang-format on

#include <utility>

namespace quellard {
namespace {

// A reference to one of the system's objects.
template <typename Object>
class Held {
 public:
  Held() = default;
  ~Held() {
    if (object_ != nullptr) object_->Release();
  }
  Held(const Held&) = delete;
  Held& operator=(const Held&) = delete;

  Object** put() { return &object_; }
  Object* operator->() const { return object_; }
  Object* get() const { return object_; }

 private:
  Object* object_ = nullptr;
};

class ComLibrary {
 public:
  ComLibrary() : isOpen_(SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED))) {}
  ~ComLibrary() {
    if (isOpen_) CoUninitialize();
  }
  ComLibrary(const ComLibrary&) = delete;
  ComLibrary& operator=(const ComLibrary&) = delete;

 private:
  bool isOpen_;
};

// The picture's pixels are opaque, in memory blue first.
bool encode(IWICImagingFactory& factory, const Picture& picture, IStream& stream) {
  Held<IWICBitmapEncoder> encoder;
  Held<IWICBitmapFrameEncode> frame;
  const auto width = static_cast<UINT>(picture.width());
  const auto height = static_cast<UINT>(picture.height());
  WICPixelFormatGUID format = GUID_WICPixelFormat24bppBGR;
  const bool isReady =
      SUCCEEDED(factory.CreateEncoder(GUID_ContainerFormatPng, nullptr, encoder.put())) &&
      SUCCEEDED(encoder->Initialize(&stream, WICBitmapEncoderNoCache)) &&
      SUCCEEDED(encoder->CreateNewFrame(frame.put(), nullptr)) &&
      SUCCEEDED(frame->Initialize(nullptr)) && SUCCEEDED(frame->SetSize(width, height)) &&
      SUCCEEDED(frame->SetPixelFormat(&format));
  if (!isReady || format != GUID_WICPixelFormat24bppBGR) return false;
  std::string row;
  for (int y = 0; y < picture.height(); ++y) {
    row.clear();
    for (int x = 0; x < picture.width(); ++x) {
      const std::uint32_t pixel = picture.row(y)[x];
      for (const unsigned shift : {0U, 8U, 16U}) row.push_back(static_cast<char>(pixel >> shift));
    }
    const auto bytes = static_cast<UINT>(row.size());
    if (FAILED(frame->WritePixels(1, bytes, bytes, reinterpret_cast<BYTE*>(row.data()))))
      return false;
  }
  return SUCCEEDED(frame->Commit()) && SUCCEEDED(encoder->Commit());
}

std::string contentOf(IStream& stream) {
  STATSTG about = {};
  if (FAILED(stream.Stat(&about, STATFLAG_NONAME))) return {};
  std::string bytes(static_cast<std::size_t>(about.cbSize.QuadPart), '\0');
  ULONG got = 0;
  stream.Seek({}, STREAM_SEEK_SET, nullptr);
  stream.Read(bytes.data(), static_cast<ULONG>(bytes.size()), &got);
  bytes.resize(got);
  return bytes;
}

}  // namespace

std::string encodedPng(const Picture& picture) {
  const ComLibrary library;
  Held<IWICImagingFactory> factory;
  Held<IStream> stream;
  void** const made = static_cast<void**>(static_cast<void*>(factory.put()));
  if (FAILED(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                              IID_IWICImagingFactory, made)) ||
      FAILED(CreateStreamOnHGlobal(nullptr, TRUE, stream.put()))) {
    return {};
  }
  return encode(*factory.get(), picture, *stream.get()) ? contentOf(*stream.get()) : std::string();
}

}  // namespace quellard
