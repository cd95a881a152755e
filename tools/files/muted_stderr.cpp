// SPDX-License-Identifier: ISC
#include "tools/files/muted_stderr.h"

#include <fcntl.h>
#include <mutex>
#include <unistd.h>
#include <utility>

#include "tools/files/file_descriptor.h"

namespace quellard {
namespace {

std::mutex mutex;
int objects = 0;  // existing; guarded by mutex, like `kept`
FileDescriptor kept;

}  // namespace

MutedStderr::MutedStderr(bool mute) : mute_(mute) {
  if (!mute_) return;
  const std::lock_guard lock(mutex);
  if (objects++ > 0) return;
  kept = FileDescriptor(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0));
  const FileDescriptor nowhere(open("/dev/null", O_WRONLY | O_CLOEXEC));
  if (kept && nowhere) dup2(nowhere.number(), STDERR_FILENO);
}

MutedStderr::~MutedStderr() {
  if (!mute_) return;
  const std::lock_guard lock(mutex);
  if (--objects > 0) return;
  const FileDescriptor back = std::exchange(kept, FileDescriptor());
  if (back) dup2(back.number(), STDERR_FILENO);
}

}  // namespace quellard
