// The input is a .q8 file.

#include "support/q8_check.h"
#include "support/require.h"
#include "support/scratch_folder.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool once = (FuzzSupport::silence(), true);
  static const FuzzSupport::ScratchFolder folder;
  static_cast<void>(once);
  FuzzSupport::checkQ8File(folder.write("input.q8", data, size), folder / "copy.q8");
  return 0;
}
