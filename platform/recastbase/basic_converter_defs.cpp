#include "recast/recastbase/basic_converter_defs.h"

#include <algorithm>

namespace Recast {
namespace {

template <class T>
bool isSelected(const std::vector<T>& selection, const T& item) {
  return selection.empty() ||
         std::find(selection.begin(), selection.end(), item) != selection.end();
}

std::string line(const char* label, const std::vector<std::string>& selection) {
  std::string text = label;
  for (const std::string& item : selection) text += " " + item;
  return text + (selection.empty() ? " all\n" : "\n");
}

}  // namespace

bool BasicConverterDefs::UseThisGrid(const std::string& name) const {
  return isSelected(GridNames, name);
}

bool BasicConverterDefs::UseThisTime(const double& time) const {
  return isSelected(Times, time);
}

bool BasicConverterDefs::UseThisField(const std::string& name) {
  return isSelected(FieldNames, name);
}

bool BasicConverterDefs::loadFilesIntoBundle(myReadType type) {
  if (type == myReadType::Replace || !Bundle) Bundle = Larder::makeStrong<Quilt::Bundle>();
  for (const std::string& file : InputFiles) {
    const auto parameters = Larder::makeStrong<Larder::LoaderParameters>(
        Larder::makeStrong<Larder::StringList>(std::vector<std::string>{file}), true);
    if (Progress) parameters->addInterface(Progress);
    bool ok = false;
    Quilt::Bundle::load(ok, parameters, Bundle);
    if (ok) continue;
    Errors.push_back("can not load " + file);
    return false;
  }
  return true;
}

std::string BasicConverterDefs::printParameters() {
  std::vector<std::string> times;
  for (const double time : Times) times.push_back(std::to_string(time));
  return line("Input:", InputFiles) + line("Times:", times) + line("Grids:", GridNames) +
         line("Fields:", FieldNames) + "Output: " + OutputFile + "\n" + printSecondary();
}

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
