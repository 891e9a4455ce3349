#include <tests/support/SystemCallFilter.h>

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <system_error>

namespace orv::test {

namespace {

/// The steps that end in the error for this call, and go on behind themselves for any other. The number of the call has been
/// loaded, and is loaded again where it was replaced.
std::vector<sock_filter> stepsFor(const RefusedCall& call) {
  const sock_filter refuse = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | call.error);
  if (!call.firstArgument) return {BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call.number, 0, 1), refuse};
  return {BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call.number, 0, 4),
          BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[0])),
          BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, *call.firstArgument, 0, 1), refuse,
          BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
}

}  // namespace

void refuseSystemCalls(const std::vector<RefusedCall>& calls, RefusedTo whom) {
  std::vector<sock_filter> program{BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
  for (const RefusedCall& call : calls) {
    const std::vector<sock_filter> steps = stepsFor(call);
    program.insert(program.end(), steps.begin(), steps.end());
  }
  program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
  const sock_fprog filter{static_cast<unsigned short>(program.size()), program.data()};
  const unsigned flags = whom == RefusedTo::AllThreads ? SECCOMP_FILTER_FLAG_TSYNC : 0;
  if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
      syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, flags, &filter) != 0) {
    throw std::system_error(errno, std::generic_category(), "seccomp");
  }
}

}  // namespace orv::test
