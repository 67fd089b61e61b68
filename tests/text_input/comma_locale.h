#pragma once

#include <array>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "support/temp_folder.h"

/// A locale with a decimal comma, which needs nothing of the system but `localedef`: neither other
/// locales nor the sources of any need to be installed.
class CommaLocale {
 public:
  CommaLocale() {
    const std::string source = folder_.write("source",
                                             "escape_char /\nLC_NUMERIC\ndecimal_point \",\"\n"
                                             "thousands_sep \"\"\ngrouping -1\nEND LC_NUMERIC\n");
    const std::string characters = folder_.write("characters", characterMap());
    // It warns of the categories that are missing, which -c lets pass.
    const std::string command = "localedef -c -f " + characters + " -i " + source + " " +
                                folder_ / "comma" + " >" + folder_ / "messages" + " 2>&1";
    static_cast<void>(std::system(command.c_str()));
    setenv("LOCPATH", folder_.path().c_str(), 1);
    available_ = set();
    unset();
  }
  ~CommaLocale() {
    unset();
    unsetenv("LOCPATH");
  }

  bool available() const { return available_; }
  /// Makes it the program's locale. \return whether the C library now reads commas.
  bool set() {
    return std::setlocale(LC_NUMERIC, "comma") != nullptr && std::strtod("1,5", nullptr) == 1.5;
  }
  void unset() { std::setlocale(LC_NUMERIC, "C"); }

 private:
  static std::string characterMap() {
    std::string map = "<code_set_name> ASCII\n<mb_cur_min> 1\n<mb_cur_max> 1\nCHARMAP\n";
    for (unsigned code = 0; code < 128; ++code) {
      std::array<char, 32> line;
      std::snprintf(line.data(), line.size(), "<U%04X> \\x%02x\n", code, code);
      map += line.data();
    }
    return map + "END CHARMAP\n";
  }

  TestSupport::TempFolder folder_;
  bool available_ = false;
};
