// A fresh temporary directory for one host test, removed with everything in it.
#pragma once

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "doubles/HostDoubles.h"

class TTempDir {
 public:
  explicit TTempDir(const std::string& Tag = "host") : Path(MakeTempDir(Tag)) {}
  ~TTempDir() {
    std::error_code Ignored;
    std::filesystem::remove_all(Path, Ignored);
  }
  TTempDir(const TTempDir&) = delete;
  TTempDir& operator=(const TTempDir&) = delete;
  std::string operator/(const std::string& Name) const { return (Path / Name).string(); }
  std::filesystem::path Path;
};

inline std::string ReadFileText(const std::string& FileName) {
  std::ifstream In(FileName, std::ios::binary);
  std::ostringstream Text;
  Text << In.rdbuf();
  return Text.str();
}

inline void WriteFileText(const std::string& FileName, const std::string& Text) {
  std::ofstream(FileName, std::ios::binary) << Text;
}
