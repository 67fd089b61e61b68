#pragma once

#include <functional>
#include <string>

#include "support/bundles.h"
#include "support/console_capture.h"
#include "support/temp_folder.h"
#include <gtest/gtest.h>

#include "recast/columns/column_ascii_to_point_cloud_q8.h"
#include "recast/columns/column_status.h"
#include "recast/recastbase/run_report.h"

namespace TestSupport {

/// A converter, a folder with its files, and what comes out.
struct ColumnConversion {
  TempFolder folder;
  ConsoleCapture console;
  Recast::ColumnAsciiToPointCloudQ8 converter;
  Larder::StrongPtr<Larder::LoaderProgress, Larder::InterfaceBase> progress;
  Recast::ManipulateArray manipulate;
  int compression = -1;
  int epsg = 4711;
  std::string standardOutput;
  Quilt::BundlePtr bundle;

  /// Converts files of the folder to its "out.q8" and loads that. \return the status.
  int convert(std::vector<std::string> files) {
    for (std::string& file : files) file = folder / file;
    testing::internal::CaptureStdout();
    int status = -1;
    try {
      status = converter.convertASCIIToQ8(stringList(files), folder / "out.q8", compression, epsg,
                                          progress, manipulate);
    } catch (...) {
      standardOutput = testing::internal::GetCapturedStdout();
      throw;
    }
    standardOutput = testing::internal::GetCapturedStdout();
    if (std::filesystem::exists(folder / "out.q8")) bundle = loadBundle(folder / "out.q8");
    return status;
  }
  /// Converts one file of that content.
  int convertText(std::string_view text) {
    folder.write("in.txt", text);
    return convert({"in.txt"});
  }

  Larder::StrongPtr<Quilt::Grid> grid() const {
    return bundle && (*bundle)(0.0) ? (*(*bundle)(0.0))(converter.GridName) : nullptr;
  }
  Larder::StrongPtr<Quilt::Field> field(const std::string& name) const {
    return bundle ? findField(*bundle, converter.GridName, name) : nullptr;
  }
  template <class T>
  std::vector<T> values(const std::string& name, const std::string& fragment = "in_0") const {
    return fragmentValues<T>(field(name), fragment);
  }
  /// The names of a field's fragments that have data.
  std::vector<std::string> fragments(const std::string& name) const {
    std::vector<std::string> names;
    const auto found = field(name);
    if (!found) return names;
    for (const auto& id : found->getFragmentIDs())
      if (found->getCreator(id)) names.push_back(id->name());
    return names;
  }
};

/// Keeps what was reported, and asks to stop at the report of that number.
struct RecordingProgress : Larder::LoaderProgress {
  struct Report {
    std::string text;
    int current;
    int total;
    bool operator==(const Report&) const = default;
  };
  std::vector<Report> reports;
  std::vector<std::string> messages;
  std::size_t stopAt = static_cast<std::size_t>(-1);

  bool reportProgress(const std::string& text, int current, int total) override {
    reports.push_back({text, current, total});
    return reports.size() <= stopAt;
  }
  void reportMessage(const std::string& text) override { messages.push_back(text); }
};

}  // namespace TestSupport
