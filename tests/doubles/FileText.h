// Whole files as text, for tests that check what a program wrote or prepare what it reads.
#pragma once

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

/// The file's bytes; empty when it cannot be read.
inline std::string ReadFileText(const std::filesystem::path& File) {
  std::ifstream In(File, std::ios::binary);
  std::ostringstream Text;
  Text << In.rdbuf();
  return Text.str();
}

inline void WriteFileText(const std::filesystem::path& File, const std::string& Text) {
  std::ofstream(File, std::ios::binary) << Text;
}
