// Settings-store benchmark on the reference Linux host: the file store alone (TIniFile load /
// save of the "RemoteProfiles" layout) and the whole load / save path of the manager
// (TRemoteProfileManager::Create, SaveOptions + UpdateFile), which also reads and writes one
// profile file per profile through the agent library.
// Figures and the command: BENCHMARKS.md, section "Settings store".
#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <string>

#include "core/RemoteProfileManager.h"
#include "host/HostServices.h"
#include "hosts/linux/IniFile.h"
#include "hosts/linux/LinuxEnvironment.h"
#include "hosts/linux/LinuxPlatforms.h"

#if __has_include("client/ClientFactory.h")
#include "client/ClientFactory.h"
#define ZEPH_BENCH_HAVE_AGENT 1
#endif

namespace {

const char* const Platforms[] = {"OSX32", "OSX64", "Linux64", "Android64", "iOSDevice"};
constexpr int PathItems = 2;  // 6 + 4 * 2 = 14 values per profile

std::string ProfileName(int I) {
  char Name[32];
  std::snprintf(Name, sizeof Name, "Profile%05d", I);
  return Name;
}

/// One temporary folder for the whole run, removed at exit.
struct TBenchDir {
  std::filesystem::path Path;
  TBenchDir() {
    std::string Pattern = (std::filesystem::temp_directory_path() / "zeph-bench-XXXXXX").string();
    if (!mkdtemp(Pattern.data())) std::abort();
    Path = Pattern;
  }
  ~TBenchDir() {
    std::error_code Ignored;
    std::filesystem::remove_all(Path, Ignored);
  }
};
TBenchDir& BenchDir() {
  static TBenchDir Dir;
  return Dir;
}

/// Writes one profile's values in SaveProfile's order, without the manager.
void WriteProfileValues(TIniFile& Ini, int I) {
  const std::string Section = "RemoteProfiles\\" + ProfileName(I);
  Ini.WriteString(Section, "Platform", Platforms[I % 5]);
  Ini.WriteString(Section, "HostName", "host" + std::to_string(I) + ".example.org");
  Ini.WriteInteger(Section, "PortNumber", 64211);
  Ini.WriteString(Section, "Password", "hes1:c2VjcmV0IHBhc3N3b3JkIGVuY2lwaGVyZWQ=" + std::to_string(I));
  Ini.WriteString(Section, "LocalRoot", "/home/user/zephprof/SDKs/" + ProfileName(I));
  Ini.WriteInteger(Section, "PathCount", PathItems);
  for (int P = 0; P < PathItems; ++P) {
    const std::string N = std::to_string(P);
    Ini.WriteString(Section, "Path" + N, "$(SDKROOT)/usr/include/sub" + N);
    Ini.WriteString(Section, "Mask" + N, "*.h");
    Ini.WriteBool(Section, "IncludeSubDir" + N, true);
    Ini.WriteInteger(Section, "Type" + N, P);
  }
}

/// A settings file of Count profiles in the "RemoteProfiles" layout (store only).
std::string StoreFile(int Count) {
  static std::map<int, std::string> Made;
  auto It = Made.find(Count);
  if (It != Made.end()) return It->second;
  const std::string FileName = (BenchDir().Path / ("store-" + std::to_string(Count) + ".ini")).string();
  TIniFile Ini(FileName);
  for (int I = 0; I < Count; ++I) WriteProfileValues(Ini, I);
  for (int P = 0; P < 5 && P < Count; ++P) Ini.WriteString("RemoteProfiles", std::string("Default_") + Platforms[P], ProfileName(P));
  if (!Ini.UpdateFile().Ok()) std::abort();
  return Made[Count] = FileName;
}

void BM_StoreLoad(benchmark::State& State) {
  const std::string FileName = StoreFile(static_cast<int>(State.range(0)));
  for (auto _ : State) {
    TIniFileLoadResult Result = TIniFile::Load(FileName);
    benchmark::DoNotOptimize(Result.File);
    if (!Result.Ok()) State.SkipWithError(Result.Error.c_str());
  }
  State.SetComplexityN(State.range(0));
  State.counters["bytes"] = static_cast<double>(std::filesystem::file_size(FileName));
}
BENCHMARK(BM_StoreLoad)->Arg(10)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->Complexity(benchmark::oN);

void BM_StoreSave(benchmark::State& State) {
  TIniFilePtr Ini = TIniFile::Load(StoreFile(static_cast<int>(State.range(0)))).File;
  for (auto _ : State) {
    const TIniFileSaveResult Result = Ini->UpdateFile();
    if (!Result.Ok()) State.SkipWithError(Result.Error.c_str());
  }
  State.SetComplexityN(State.range(0));
}
BENCHMARK(BM_StoreSave)->Arg(10)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->Complexity(benchmark::oN);

/// The reads LoadOptions makes, on the store alone: ReadSections, then every value.
void BM_StoreReadAllValues(benchmark::State& State) {
  TIniFilePtr Ini = TIniFile::Load(StoreFile(static_cast<int>(State.range(0)))).File;
  for (auto _ : State) {
    std::vector<std::string> Names;
    Ini->ReadSections("RemoteProfiles", Names);
    std::size_t Sum = 0;
    for (const std::string& Name : Names) {
      const std::string Section = "RemoteProfiles\\" + Name;
      Sum += Ini->ReadString(Section, "Platform", "").size() + Ini->ReadString(Section, "HostName", "").size();
      Sum += static_cast<std::size_t>(Ini->ReadInteger(Section, "PortNumber", 64211));
      Sum += Ini->ReadString(Section, "Password", "").size() + Ini->ReadString(Section, "PassFile", "").size();
      Sum += Ini->ReadString(Section, "LocalRoot", "").size();
      const int Count = Ini->ReadInteger(Section, "PathCount", 0);
      for (int P = 0; P < Count; ++P) {
        const std::string N = std::to_string(P);
        Sum += Ini->ReadString(Section, "Path" + N, "").size() + Ini->ReadString(Section, "Mask" + N, "").size();
        Sum += Ini->ReadBool(Section, "IncludeSubDir" + N, false) + Ini->ReadInteger(Section, "Type" + N, 0);
      }
    }
    benchmark::DoNotOptimize(Sum);
  }
  State.SetComplexityN(State.range(0));
}
BENCHMARK(BM_StoreReadAllValues)->Arg(10)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->Complexity(benchmark::oN);

/// The writes SaveOptions makes, on the store alone (in memory): erase, then every value.
void BM_StoreWriteAllValues(benchmark::State& State) {
  const int Count = static_cast<int>(State.range(0));
  TIniFilePtr Ini = TIniFile::Load(StoreFile(Count)).File;
  for (auto _ : State) {
    Ini->EraseSection("RemoteProfiles");
    for (int I = 0; I < Count; ++I) WriteProfileValues(*Ini, I);
    for (int P = 0; P < 5 && P < Count; ++P)
      Ini->WriteString("RemoteProfiles", std::string("Default_") + Platforms[P], ProfileName(P));
  }
  State.SetComplexityN(Count);
}
BENCHMARK(BM_StoreWriteAllValues)->Arg(10)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->Complexity(benchmark::oN);

#ifdef ZEPH_BENCH_HAVE_AGENT

/// Answers every message box with its first button (no box is expected).
class TFirstButton : public IOTAMessageServices {
 public:
  TMsgDlgBtn MessageDlg(const std::string&, TMsgDlgType, const TMsgDlgButtons& Buttons) override {
    return Buttons.empty() ? TMsgDlgBtn::mbOK : Buttons.front();
  }
};

/// Installs the reference host's pieces with an application-data directory of its own.
void InstallHost(const std::filesystem::path& AppDataDir) {
  THostServices Host;
  Host.Platforms = std::make_shared<TLinuxPlatformServices>();
  Host.Environment =
      std::make_shared<TLinuxEnvironment>(TLinuxEnvironmentOptions{AppDataDir.string(), (BenchDir().Path / "docs").string()});
  Host.Messages = std::make_shared<TFirstButton>();
  Host.AgentLibrary = std::make_shared<hestrel::THestrelClientFactory>(AppDataDir.string());
  SetHostServices(Host);
}

/// A settings file (and, WithProfileFiles, the profile files) saved by a manager holding
/// Count profiles; answers the settings file name.
std::string ManagerFiles(int Count, bool WithProfileFiles) {
  static std::map<std::pair<int, bool>, std::string> Made;
  const auto Key = std::make_pair(Count, WithProfileFiles);
  if (auto It = Made.find(Key); It != Made.end()) return It->second;
  const std::filesystem::path Dir = BenchDir().Path / ("manager-" + std::to_string(Count) + (WithProfileFiles ? "-files" : "-store"));
  InstallHost(Dir / "appdata");
  auto Ini = std::make_shared<TIniFile>((Dir / "settings.ini").string());
  TRemoteProfileManagerPtr Manager = TRemoteProfileManager::Create(nullptr);
  for (int I = 0; I < Count; ++I) {
    TOTARemoteProfilePathArray Paths;
    Paths.SetLength(PathItems);
    for (int P = 0; P < PathItems; ++P)
      Paths[P] = {"$(SDKROOT)/usr/include/sub" + std::to_string(P), "*.h", true, static_cast<TOTAPathItemType>(P)};
    Manager->AddProfile(ProfileName(I), Platforms[I % 5], "host" + std::to_string(I) + ".example.org", 64211,
                        {"hes1:c2VjcmV0IHBhc3N3b3JkIGVuY2lwaGVyZWQ=" + std::to_string(I), true, true},
                        "/home/user/zephprof/SDKs/" + ProfileName(I), Paths, false);
  }
  Manager->SaveOptions(*Ini);
  if (!Ini->UpdateFile().Ok()) std::abort();
  if (!WithProfileFiles) std::filesystem::remove_all(Dir / "appdata");
  return Made[Key] = Ini->GetFileName();
}

void ManagerLoad(benchmark::State& State, bool WithProfileFiles) {
  const int Count = static_cast<int>(State.range(0));
  const std::string FileName = ManagerFiles(Count, WithProfileFiles);
  InstallHost(std::filesystem::path(FileName).parent_path() / "appdata");
  for (auto _ : State) {
    TIniFileLoadResult Loaded = TIniFile::Load(FileName);
    TRemoteProfileManagerPtr Manager = TRemoteProfileManager::Create(Loaded.File);
    State.PauseTiming();
    if (Manager->GetProfile(ProfileName(Count - 1)) == nullptr) State.SkipWithError("profiles missing after load");
    Manager.reset();
    State.ResumeTiming();
  }
  State.SetComplexityN(Count);
}

void BM_ManagerLoadWithProfileFiles(benchmark::State& State) { ManagerLoad(State, true); }
BENCHMARK(BM_ManagerLoadWithProfileFiles)->Arg(10)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->Complexity(benchmark::oN);

void BM_ManagerLoadStoreOnly(benchmark::State& State) { ManagerLoad(State, false); }
BENCHMARK(BM_ManagerLoadStoreOnly)->Arg(10)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->Complexity(benchmark::oN);

/// SaveOptions (store and one profile file per profile) + UpdateFile.
void BM_ManagerSave(benchmark::State& State) {
  const int Count = static_cast<int>(State.range(0));
  const std::string FileName = ManagerFiles(Count, true);
  InstallHost(std::filesystem::path(FileName).parent_path() / "appdata");
  TIniFilePtr Ini = TIniFile::Load(FileName).File;
  TRemoteProfileManagerPtr Manager = TRemoteProfileManager::Create(Ini);
  for (auto _ : State) {
    Manager->SaveOptions(*Ini);
    const TIniFileSaveResult Result = Ini->UpdateFile();
    if (!Result.Ok()) State.SkipWithError(Result.Error.c_str());
  }
  State.SetComplexityN(Count);
}
BENCHMARK(BM_ManagerSave)->Arg(10)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->Complexity(benchmark::oN);

/// The usual commit: one profile changed since the last save, then SaveOptions + UpdateFile.
/// Only that profile's file is written again (unchanged profile files are left alone).
void BM_ManagerSaveOneChanged(benchmark::State& State) {
  const int Count = static_cast<int>(State.range(0));
  const std::string FileName = ManagerFiles(Count, true);
  InstallHost(std::filesystem::path(FileName).parent_path() / "appdata");
  TIniFilePtr Ini = TIniFile::Load(FileName).File;
  TRemoteProfileManagerPtr Manager = TRemoteProfileManager::Create(Ini);
  const IOTARemoteProfilePtr Changing = Manager->GetProfile(ProfileName(Count / 2));
  int Port = 1;
  for (auto _ : State) {
    Changing->SetPortNumber(Port++);
    Manager->SaveOptions(*Ini);
    const TIniFileSaveResult Result = Ini->UpdateFile();
    if (!Result.Ok()) State.SkipWithError(Result.Error.c_str());
  }
  State.SetComplexityN(Count);
}
BENCHMARK(BM_ManagerSaveOneChanged)->Arg(10)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->Complexity(benchmark::oN);

TRemoteProfileManagerPtr LoadedManager10000() {
  const std::string FileName = ManagerFiles(10000, true);
  InstallHost(std::filesystem::path(FileName).parent_path() / "appdata");
  return TRemoteProfileManager::Create(TIniFile::Load(FileName).File);
}

/// AddProfile at 10,000 profiles (5,000 additions: the manager ends at 15,000).
void BM_AddProfileAt10000(benchmark::State& State) {
  TRemoteProfileManagerPtr Manager = LoadedManager10000();
  int Next = 0;
  for (auto _ : State) {
    const int I = 100000 + Next++;
    benchmark::DoNotOptimize(Manager->AddProfile(ProfileName(I), Platforms[I % 5], "h", 64211, {"x", true, true},
                                                 "", TOTARemoteProfilePathArray(), false));
  }
}
BENCHMARK(BM_AddProfileAt10000)->Iterations(5000)->Unit(benchmark::kMicrosecond);

void BM_GetProfileByNameAt10000(benchmark::State& State) {
  TRemoteProfileManagerPtr Manager = LoadedManager10000();
  int Next = 0;
  for (auto _ : State) {
    const IOTARemoteProfilePtr Profile = Manager->GetProfile(ProfileName((Next++ * 7919) % 10000));
    if (!Profile) State.SkipWithError("profile not found");
    benchmark::DoNotOptimize(Profile);
  }
}
BENCHMARK(BM_GetProfileByNameAt10000)->Unit(benchmark::kMicrosecond);

#endif  // ZEPH_BENCH_HAVE_AGENT

}  // namespace

BENCHMARK_MAIN();
