#include "Mounts.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <fstream>
#include <string>

namespace orv::test {

namespace {

/// Where the kernel asks a program for what is in a file system.
constexpr const char* kQuestions = "/dev/fuse";

}  // namespace

void ownMounts() {
  if (::unshare(CLONE_NEWNS) != 0) {
    const std::string users = "0 " + std::to_string(::getuid()) + " 1";
    ASSERT_EQ(::unshare(CLONE_NEWUSER | CLONE_NEWNS), 0);
    std::ofstream("/proc/self/uid_map") << users;
  }
  ASSERT_EQ(::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr), 0);
}

bool SilentDisk::isPossible() {
  const int device = ::open(kQuestions, O_RDWR | O_CLOEXEC);
  if (device >= 0) ::close(device);
  return device >= 0;
}

// Nobody reads the kernel's questions, so none is answered.
SilentDisk::SilentDisk(const std::string& folder)
    : folder_(folder), questions_(::open(kQuestions, O_RDWR | O_CLOEXEC)) {
  const std::string options = "fd=" + std::to_string(questions_) + ",rootmode=40000,user_id=0,group_id=0";
  EXPECT_EQ(::mount("none", folder_.c_str(), "fuse", MS_NOSUID | MS_NODEV, options.c_str()), 0);
}

SilentDisk::~SilentDisk() {
  ::umount2(folder_.c_str(), MNT_DETACH);
  ::close(questions_);
}

}  // namespace orv::test
