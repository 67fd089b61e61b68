#pragma once

#include <mutex>
#include <string>
#include <unordered_set>
#include <vector>

#include "recast/refragment/index_lists.h"
#include "recast/refragment/refragmentation_plan.h"

namespace Recast {

/// The record of one run: what was planned, and how far it is.
struct ParaBox {
  ParaBox(const RefragmentationPlan& plan,
          const Larder::StrongPtr<Larder::LoaderProgress>& progress);

  std::string Summary;  ///< the parameters in one line
  Heron::PhysicalSpace::point BBoxMin;
  Heron::PhysicalSpace::point BBoxMax;
  std::unordered_set<std::string> FieldNames;
  int Threads;
  Quilt::MultiIndex<3> TargetFrags;
  Heron::PhysicalSpace::vector FragLength;
  double Overlap;
  Quilt::BoxHandle BBox;
  int Compression;
  std::string ExtLink;
  std::string OutFile;
  double Time;
  std::uint32_t LoopsOverFrags;
  Recast::IndexLists IndexLists;  ///< the assignment of the running pass
  std::uint32_t FragLow;
  std::uint64_t PointsThisPass = 0;
  std::uint64_t PointsTotal = 0;
  const Larder::StrongPtr<Larder::LoaderProgress>& Progress;
  double Step = 0.0;
  double Steps = 0.0;
  std::uint32_t Pass = 0;
  /// The source fragments in their order, and the points of those that were read.
  std::vector<Larder::StrongPtr<Quilt::FragmentID>> SourceFragments;
  std::vector<std::uint64_t> SourcePoints;

  FragmentLattice lattice() const { return {BBoxMin, BBoxMax, FragLength, TargetFrags}; }
  /// The target fragments of the running pass.
  PassShare share() const { return {lattice().fragments(), LoopsOverFrags, Pass}; }
  /// Whether the field is to be carried over.
  bool isWanted(const std::string& fieldName) const {
    return FieldNames.empty() || FieldNames.contains(fieldName);
  }

  void reportMessage(const std::string& text) const;
  /// Reports steps one by one. Safe in several threads at once; the host is called by one at a
  /// time.
  void reportSteps(const std::string& text, std::uint64_t steps);

 private:
  std::mutex reporting_;
};

}  // namespace Recast
