#include "support/q8_check.h"

#include "support/bundle_text.h"
#include "support/bundles.h"
#include "support/require.h"
#include <hdf5.h>

namespace FuzzSupport {
namespace {

void checkCopy(const Quilt::Bundle& bundle, const BundleText& text, const std::string& copy) {
  bundle.save(copy, nullptr, nullptr);
  const auto again = TestSupport::loadBundle(copy);
  require(static_cast<bool>(again), "what was saved loads");
  const BundleText copied = describe(*again);
  require(copied.structure == text.structure, "a copy has the same structure");
  require(copied.complete && copied.data == text.data, "a copy has the same data");
  again->sync();
}

void checkBundle(const std::string& file, const std::string& copy) {
  const auto bundle = TestSupport::loadBundle(file);
  if (!bundle) return;
  if (const BundleText text = describe(*bundle); text.complete) checkCopy(*bundle, text, copy);
  // Nothing of one file may help the next one.
  bundle->sync();
}

}  // namespace

void checkQ8File(const std::string& file, const std::string& copy) {
  checkBundle(file, copy);
  require(H5Fget_obj_count(H5F_OBJ_ALL, H5F_OBJ_ALL) == 0, "no file stays open");
}

}  // namespace FuzzSupport
