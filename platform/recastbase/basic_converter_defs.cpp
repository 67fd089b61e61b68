#include "recast/recastbase/basic_converter_defs.h"

namespace Recast {

void BasicConverterDefs::addInfoToGrid(const std::string& text, Quilt::Grid& grid,
                                       const std::string& key,
                                       const Larder::StrongPtr<Quilt::Grid>& source, int carryOver,
                                       int replace) {
  if (source && carryOver != 0)
    for (const auto& [name, value] : source->attributes()) grid.setAttribute(name, value);
  std::string whole;
  const auto former = grid.getAttribute(key).castTo<Larder::Chunk<std::string>>();
  if (replace == 0 && former && former->size() == 1) whole = (*former)[0];
  grid.setAttribute(key, Larder::singleValue(whole + text));
  grid.renewAge();
}

}  // namespace Recast
