// SPDX-License-Identifier: ISC
#include <array>
#include <cstdio>
#include <io.h>
#include <windows.h>

#include "tools/common/errors.h"
#include "tools/common/interrupt.h"
#include "tools/files/unnamed_file.h"
#include "tools/files/windows_errors.h"
#include "tools/measure/gnuplot.h"

namespace quellard {
namespace {

[[noreturn]] void fail() { throw FileError("cannot run gnuplot: " + systemMessage(lastError())); }

class Handle {
 public:
  explicit Handle(HANDLE handle) : handle_(handle) {}
  ~Handle() { close(); }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;

  HANDLE get() const { return handle_; }
  void close() {
    if (handle_ != nullptr) CloseHandle(handle_);
    handle_ = nullptr;
  }

 private:
  HANDLE handle_;
};

std::wstring program() {
  std::array<wchar_t, 32768> path = {};
  if (SearchPathW(nullptr, L"gnuplot.exe", nullptr, path.size(), path.data(), nullptr) == 0) {
    throw FileError("cannot draw: the program gnuplot is missing (see gnuplot.info)");
  }
  return path.data();
}

// Another process can take over the script's handle.
FileDescriptor spooled(const std::string& script) {
  FileDescriptor spool = openSpool();
  if (writeAll(spool, script.data(), std::ssize(script)) != std::ssize(script)) {
    throw FileError("cannot write a temporary file");
  }
  seekTo(spool, 0, SEEK_SET);
  auto* const handle = reinterpret_cast<HANDLE>(_get_osfhandle(spool.number()));
  SetHandleInformation(handle, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
  return spool;
}

HANDLE start(HANDLE input, HANDLE output) {
  const std::wstring file = program();
  STARTUPINFOW streams = {};
  streams.cb = sizeof streams;
  streams.dwFlags = STARTF_USESTDHANDLES;
  streams.hStdInput = input;
  streams.hStdOutput = output;
  PROCESS_INFORMATION started = {};
  std::wstring words = L"gnuplot";
  if (CreateProcessW(file.c_str(), words.data(), nullptr, nullptr, TRUE, CREATE_NO_WINDOW, nullptr,
                     nullptr, &streams, &started) == 0) {
    fail();
  }
  CloseHandle(started.hThread);
  return started.hProcess;
}

}  // namespace

void runGnuplot(const std::string& script, OutputFile& picture) {
  const FileDescriptor input = spooled(script);
  SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
  HANDLE ends[2] = {};
  if (CreatePipe(&ends[0], &ends[1], &inherited, 0) == 0) fail();
  const Handle readEnd(ends[0]);
  Handle writeEnd(ends[1]);
  SetHandleInformation(readEnd.get(), HANDLE_FLAG_INHERIT, 0);
  const Handle child(
      start(reinterpret_cast<HANDLE>(_get_osfhandle(input.number())), writeEnd.get()));
  writeEnd.close();  // otherwise reading would not end with gnuplot's output
  std::array<char, 65536> piece = {};
  for (DWORD got = 0;
       ReadFile(readEnd.get(), piece.data(), piece.size(), &got, nullptr) && got > 0;) {
    picture.write(piece.data(), got);
  }
  DWORD status = 1;
  WaitForSingleObject(child.get(), INFINITE);
  GetExitCodeProcess(child.get(), &status);
  throwIfInterrupted();
  if (status != 0 || picture.size() == 0) throw FileError("gnuplot could not draw the picture");
}

}  // namespace quellard
