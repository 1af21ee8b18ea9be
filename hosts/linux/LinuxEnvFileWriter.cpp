#include "hosts/linux/LinuxEnvFileWriter.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>
#include <utility>

#include "hosts/linux/HostAtomicWrite.h"

using namespace LinuxHost;

TLinuxEnvFileWriter::TLinuxEnvFileWriter(std::string FileName) : FFileName(std::move(FileName)) {}

void TLinuxEnvFileWriter::BeginEnvFileSave() {
  if (FDepth++ > 0) return;
  FDocument = {};
  FLastError.clear();
  FReadFailed = false;
  FChanged = false;
  FCurrentGroup = -1;
  std::ifstream In(FFileName, std::ios::binary);
  if (!In) {
    if (errno == ENOENT) return;  // no file yet: an empty project
    FReadFailed = true;
    FLastError = "Cannot read build-environment file '" + FFileName + "': " + std::strerror(errno);
    return;
  }
  std::ostringstream Text;
  Text << In.rdbuf();
  const std::string Reason = ParseEnvDocument(Text.str(), FDocument);
  if (!Reason.empty()) {
    FReadFailed = true;
    FDocument = {};
    FLastError = "Build-environment file '" + FFileName + "' is damaged: " + Reason + "; it was not changed";
  }
}

void TLinuxEnvFileWriter::EndEnvFileSave() {
  if (FDepth == 1 && FSaveRoutines) FSaveRoutines(*this);  // inside the outermost bracket
  if (FDepth == 0 || --FDepth > 0) return;
  FCurrentGroup = -1;
  if (FReadFailed || !FChanged) return;
  const TAtomicWriteResult Result = AtomicWriteFile(FFileName, RenderEnvDocument(FDocument), 0600);
  if (!Result.Ok()) FLastError = Result.Error;
}

void TLinuxEnvFileWriter::SetCurrentPropertyGroup(const std::string& Condition) {
  if (FDepth == 0) return;
  auto& Groups = FDocument.Groups;
  auto It = std::find_if(Groups.begin(), Groups.end(), [&](const TEnvPropertyGroup& G) { return G.Condition == Condition; });
  if (It == Groups.end()) {
    Groups.push_back({Condition, {}});
    It = Groups.end() - 1;
  }
  FCurrentGroup = static_cast<int>(It - Groups.begin());
}

void TLinuxEnvFileWriter::UpdateEnvFile(const std::string& PropertyName, const std::string& Value) {
  if (FDepth == 0 || FCurrentGroup < 0) return;
  if (!IsPropertyName(PropertyName)) {
    FLastError = "Build-environment file '" + FFileName + "': '" + PropertyName + "' is not a property name";
    return;
  }
  auto& Properties = FDocument.Groups[static_cast<std::size_t>(FCurrentGroup)].Properties;
  auto It = std::find_if(Properties.begin(), Properties.end(), [&](const auto& P) { return P.first == PropertyName; });
  if (Value.empty()) {
    if (It == Properties.end()) return;
    Properties.erase(It);
  } else if (It == Properties.end()) {
    Properties.emplace_back(PropertyName, Value);
  } else if (It->second != Value) {
    It->second = Value;
  } else {
    return;
  }
  FChanged = true;
}
