#include "recast/refragment/para_box.h"

#include <algorithm>
#include <limits>

namespace Recast {
namespace {

std::string compressionWord(int compression) {
  if (compression == 0) return "Weak Compression";
  return compression == 1 ? "Strong Compression" : "No Compression";
}

std::string summaryOf(const RefragmentationPlan& plan) {
  const RefragmentationParameters& parameters = plan.parameters;
  const FragmentLattice& lattice = plan.lattice;
  return "BBoxMin: " + to_string(lattice.lower) + " BBoxMax: " + to_string(lattice.upper) +
         " TargetFrag# " + to_string(lattice.counts) + " FragLenght: " + to_string(lattice.length) +
         " Overlap: " + std::to_string(parameters.overlap) + " " +
         compressionWord(parameters.compression) + " ExtLink: " + parameters.extLink +
         "OutFile: " + parameters.outFile + " Time: " + std::to_string(parameters.time) +
         " LoopsOverFrags: " + std::to_string(parameters.loopsOverFrags) + " FragLow# " +
         std::to_string(parameters.fragLow);
}

int asInt(double number) {
  return static_cast<int>(std::min(number, double{std::numeric_limits<int>::max()}));
}

}  // namespace

ParaBox::ParaBox(const RefragmentationPlan& plan,
                 const Larder::StrongPtr<Larder::LoaderProgress>& progress)
    : Summary(summaryOf(plan)),
      BBoxMin(plan.lattice.lower),
      BBoxMax(plan.lattice.upper),
      FieldNames(plan.fieldNames),
      Threads(plan.threads),
      TargetFrags(plan.lattice.counts),
      FragLength(plan.lattice.length),
      Overlap(plan.parameters.overlap),
      BBox(Larder::makeStrong<Heron::BoundingBox>(BBoxMin, BBoxMax)),
      Compression(plan.parameters.compression),
      ExtLink(plan.parameters.extLink),
      OutFile(plan.parameters.outFile),
      Time(plan.parameters.time),
      LoopsOverFrags(plan.parameters.loopsOverFrags),
      IndexLists(PassShare(0, 1, 0)),
      FragLow(plan.parameters.fragLow),
      Progress(progress) {}

void ParaBox::reportMessage(const std::string& text) const {
  if (Progress) Progress->reportMessage(text);
}

void ParaBox::reportSteps(const std::string& text, std::uint64_t steps) {
  if (!Progress) return;
  for (; steps > 0; --steps) {
    const std::lock_guard lock(reporting_);
    Progress->reportProgress(text, asInt(Step), asInt(Steps));
    Step += 1.0;
  }
}

}  // namespace Recast
