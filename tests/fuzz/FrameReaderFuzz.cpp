// Whatever frames a server sends, and however they come in pieces: our reader tells the same as the protocol library's,
// but for what FrameComparison.h allows and says why.
//
// The first byte of an input is the length of the pieces, 0 for all at once; the second one says how long a message may be.

#include <tests/fuzz/Require.h>
#include <tests/support/FrameComparison.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 3) return 0;
  const std::string_view bytes(reinterpret_cast<const char*>(data) + 2, size - 2);
  const orv::test::FrameFeeding feeding{data[0] == 0 ? bytes.size() : data[0],
                                        std::size_t{1} << (data[1] % 25)};
  const auto complaint = orv::test::compareFrameReaders(bytes, feeding);
  if (complaint) std::fprintf(stderr, "%s\n", complaint->c_str());
  orv::test::require(!complaint, "both readers tell the same");
  return 0;
}
