// Hestrel client: the agent client (see HestrelClient.h). Each
// operation is a thin step onto Connection, SftpDownload, SftpUpload, Queries, Launch.
#include "client/HestrelClient.h"

#include <fnmatch.h>

#include <filesystem>

#include "client/ClientErrors.h"
#include "client/Connection.h"
#include "client/DownloadContext.h"
#include "client/Authentication.h"
#include "client/Launch.h"
#include "client/LinkWatch.h"
#include "client/LocalPaths.h"
#include "client/Queries.h"
#include "client/SftpUpload.h"
#include "core/Text.h"

namespace hestrel {

namespace {

constexpr int MaxConnectAttempts = 100;  // a listener that always says "retry" still ends

/// True when the mask takes every name (then a fresh tree may come as one stream).
bool MaskTakesAll(const std::string& Mask) { return Mask.empty() || Mask == "*" || Mask == "*.*"; }

/// A ';'-separated list of file-name patterns; empty, "*" and "*.*" take every name.
bool MatchesMask(const std::string& Mask, const std::string& Name) {
  std::size_t Pos = 0;
  do {
    std::size_t End = Mask.find(';', Pos);
    if (End == std::string::npos) End = Mask.size();
    const std::string Pattern = Mask.substr(Pos, End - Pos);
    if (Pattern.empty() || Pattern == "*" || Pattern == "*.*" || fnmatch(Pattern.c_str(), Name.c_str(), 0) == 0)
      return true;
    Pos = End + 1;
  } while (Pos <= Mask.size());
  return false;
}

/// Framework essentials: Headers (also Versions/X/Headers), the binary Name (also
/// Versions/X/Name) and the links that tie them (Versions/Current).
TFilterAnswer FrameworkEntry(const std::string& Name, bool Everything, const std::vector<std::string>& C,
                             TRemoteType Type) {
  if (Everything) return TFilterAnswer::Descend;
  const bool Versioned = C[0] == "Versions";
  const bool InHeaders = C[0] == "Headers" || (Versioned && C.size() >= 3 && C[2] == "Headers");
  if (Type == TRemoteType::Directory)
    return InHeaders || (Versioned && C.size() <= 2) ? TFilterAnswer::Descend : TFilterAnswer::Skip;
  const bool Binary = (C.size() == 1 && C[0] == Name) || (Versioned && C.size() == 3 && C[2] == Name);
  const bool CurrentLink = Versioned && C.size() == 2 && C[1] == "Current" && Type == TRemoteType::SymLink;
  return InHeaders || Binary || CurrentLink ? TFilterAnswer::Take : TFilterAnswer::Skip;
}

}  // namespace

THestrelClient::THestrelClient(std::string Name, std::string AppDataDir, THestrelClientOptions Options)
    : FName(std::move(Name)), FAppDataDir(std::move(AppDataDir)), FOptions(std::move(Options)) {}

THestrelClient::~THestrelClient() { Disconnect(); }

bool THestrelClient::Fail(const std::string& Error) {
  FLastError = Error;
  return false;
}

bool THestrelClient::Connect(IConnectionListener* Listener) {
  if (IsConnected()) return true;
  Disconnect();
  FLastError.clear();
  TConnectRequest Request{FHostName, FPort, FCredential, FAppDataDir, FOptions};
  for (int Attempt = 1;; ++Attempt) {
    TConnectResult Result = OpenConnection(Request);
    if (Result.Session) {
      FSession = std::move(Result.Session);
      FWatch = std::make_unique<TLinkWatch>(FSession.get(), FOptions.OperationTimeoutSeconds);
      std::string User;
      SplitUserHost(FHostName, User, FConnectedHost);
      FConnectedPort = FPort;
      return true;
    }
    FLastError = Result.Error;
    if (!Result.Retryable || !Listener || Attempt >= MaxConnectAttempts) return false;
    if (!Listener->Retry() || Listener->Abort()) return false;
  }
}

void THestrelClient::Disconnect() {
  FSftp.reset();
  FWatch.reset();  // its thread must not outlive the session's socket
  FSession.reset();
  FSweptDirectories.clear();
}

template <typename TBody>
auto THestrelClient::Watched(TBody&& Body) {
  decltype(Body()) Result{};
  {
    TLinkWatch::TActive Active(FWatch.get());
    Result = Body();
  }
  if (FWatch && FWatch->WasCut()) {
    FLastError = Format(sErrTimedOut, {FConnectedHost, static_cast<std::int64_t>(FConnectedPort)});
    Disconnect();
    return decltype(Body()){};
  }
  return Result;
}

bool THestrelClient::IsConnected() const {
  return FSession && SessionAlive(FSession.get()) && !(FWatch && FWatch->WasCut());
}

bool THestrelClient::RequireSession() {
  if (IsConnected()) return true;
  FSftp.reset();
  return Fail(sErrNotConnected);
}

bool THestrelClient::RequireSftp() {
  if (!RequireSession()) return false;
  if (FSftp) return true;
  std::string Error;
  FSftp = OpenSftp(FSession.get(), Error);
  return FSftp ? true : Fail(Error);
}

bool THestrelClient::PutFile(const std::string& RemoteDir, const std::string& LocalFile, std::int32_t,
                             const std::string& RemoteName, IFileListener* Listener) {
  // Attributes: the system always passes 0; nothing is set from them.
  return Watched([&] {
    if (!RequireSftp()) return false;
    TPausingFileListener Paused(Listener, FWatch.get());
    std::string Error;
    return UploadFile(FSession.get(), FSftp.get(), {RemoteDir, LocalFile, RemoteName, &FSweptDirectories}, Paused.Get(),
                      FOptions, Error) ||
           Fail(Error);
  });
}

bool THestrelClient::RemoveRemoteFile(const std::string& RemoteFile, IFileListener* Listener) {
  return Watched([&] {
    if (!RequireSftp()) return false;
    if (sftp_unlink(FSftp.get(), RemoteFile.c_str()) != 0) return Fail(RemoteErrorText(FSftp.get(), RemoteFile));
    TPausingFileListener Paused(Listener, FWatch.get());
    if (IFileListener* Told = Paused.Get()) Told->Deleted(RemoteFile, FHostName);
    return true;
  });
}

namespace {

bool LocalTreeIsEmpty(const std::string& Local) {
  std::error_code Ec;
  return !std::filesystem::exists(Local, Ec) || std::filesystem::is_empty(Local, Ec);
}

/// The answer of a pull that ran: false when the listener cancelled, or when any file failed.
/// Each failure went to the listener as it happened (ContinueOnError), so Error only counts
/// them; without a listener it is the last failure's own text.
bool PullAnswer(const TDownloadContext& Context, const std::string& RemotePath, std::string& Error) {
  if (Context.Cancelled || Context.Failures == 0 || !Context.Listener)
    Error = Context.LastError;
  else
    Error = Format(sErrSomeFilesFailed, {static_cast<std::int64_t>(Context.Failures), RemotePath});
  return Context.Failures == 0 && !Context.Cancelled;
}

/// One pull of a remote tree (or single file) into the system root. AllowStream: the filter
/// descends everywhere, so a fresh tree may come as one tar stream.
bool Pull(TDownloadContext& Context, const std::string& RemotePath, const TEntryFilter& Filter, bool AllowStream,
          std::string& Error) {
  std::string Root, Local;
  if (!NormaliseRemotePath(RemotePath, Root) || !LocalPathUnderRoot(Context.SysRoot, Root, Local)) {
    Error = Format(sErrUnsafeName, {RemotePath});
    return false;
  }
  if (Root.empty()) Root.push_back('.');  // (not = ".": GCC 12 -O2 warns falsely, -Wrestrict)
  TRemoteEntry Top;
  if (!StatRemote(Context.Sftp, Root, true, Top, Error) || !Context.OpenRoot(Error)) return false;
  std::vector<TPlannedFile> Plan;
  if (Top.Type == TRemoteType::File) {  // a single file named directly
    TPlannedFile File{Root, Root.substr(Root.find_last_of('/') + 1), Local, Top.Size, Top.Modified, -1, false};
    if (AskToCopy(Context, File)) Plan.push_back(std::move(File));
  } else {
    // Nothing local to compare with: one tar stream of the whole tree, no listing. Whatever
    // it could not bring (no tar, an error on the way) the listing pass below completes; a
    // directory the iteration refused ends the pull as the listing would have.
    TTreeStreamEnd Stream = TTreeStreamEnd::Incomplete;
    if (AllowStream && Context.Options.UseTarStream && LocalTreeIsEmpty(Local))
      Stream = TarTreePull(Context, Root, Filter);
    if (Context.LinkCut()) return false;  // the server stopped answering: nothing more can come
    const bool Planned = Context.Stopped || Stream == TTreeStreamEnd::Complete ||
                         (Stream == TTreeStreamEnd::Refused ? PlanStreamRemainder(Context, Root, Filter, Plan)
                                                            : PlanTree(Context, Root, Filter, Plan));
    if (!Planned) {
      Error = Context.LastError;
      return false;
    }
  }
  VerifyContent(Context, Plan);
  if (!Context.Stopped) FetchPlanned(Context, Root, Plan);
  return PullAnswer(Context, RemotePath, Error);
}

}  // namespace

TDownloadContext THestrelClient::MakeContext(IFileIteration* Iteration, IFileListener* Listener) const {
  TDownloadContext Context;
  Context.Watch = FWatch.get();
  Context.Ssh = FSession.get();
  Context.Sftp = FSftp.get();
  Context.SysRoot = FSysRoot;
  Context.Listener = Listener;
  Context.Iteration = Iteration;
  Context.Options = FOptions;
  return Context;
}

bool THestrelClient::LocalRootUsable() {
  if (FSysRoot.empty()) return Fail(sErrNoSysRoot);
  // A pull there could replace the profile files, the password key or known_hosts.
  if (LocalPathHolds(FSysRoot, FAppDataDir)) return Fail(Format(sErrRootHoldsAppData, {FSysRoot, FAppDataDir}));
  return true;
}

bool THestrelClient::GetFiles(const std::string& RemotePath, bool IncludeSubDirs, const std::string& Mask,
                              IFileIteration* Iteration, IFileListener* Listener) {
  if (!LocalRootUsable()) return false;
  return Watched([&] { return Fetch(RemotePath, IncludeSubDirs, Mask, Iteration, Listener); });
}

bool THestrelClient::Fetch(const std::string& RemotePath, bool IncludeSubDirs, const std::string& Mask,
                           IFileIteration* Iteration, IFileListener* Listener) {
  if (!RequireSftp()) return false;
  TPausingFileListener PausedListener(Listener, FWatch.get());
  TPausingIteration PausedIteration(Iteration, FWatch.get());
  TDownloadContext Context = MakeContext(PausedIteration.Get(), PausedListener.Get());
  Context.ListRecursively = IncludeSubDirs;
  auto Filter = [&](const std::vector<std::string>& C, TRemoteType Type) {
    if (Type == TRemoteType::Directory) return IncludeSubDirs ? TFilterAnswer::Descend : TFilterAnswer::Skip;
    return MatchesMask(Mask, C.back()) ? TFilterAnswer::Take : TFilterAnswer::Skip;
  };
  std::string Error;
  const bool Ok = Pull(Context, RemotePath, Filter, IncludeSubDirs && MaskTakesAll(Mask), Error);
  FLastPull = {Context.FilesByTar, Context.FilesBySftp, Context.ListedByFind};
  return Ok || Fail(Error);
}

bool THestrelClient::GetFrameworkFiles(const std::string& RemotePath, const std::string& FrameworkName,
                                       bool IncludeNonEssential, IFileIteration* Iteration, IFileListener* Listener) {
  if (!LocalRootUsable()) return false;
  if (!IsSafeEntryName(FrameworkName)) return Fail(Format(sErrUnsafeName, {FrameworkName}));
  return Watched([&] { return FetchFramework(RemotePath, FrameworkName, IncludeNonEssential, Iteration, Listener); });
}

bool THestrelClient::FetchFramework(const std::string& RemotePath, const std::string& FrameworkName,
                                    bool IncludeNonEssential, IFileIteration* Iteration, IFileListener* Listener) {
  if (!RequireSftp()) return false;
  TPausingFileListener PausedListener(Listener, FWatch.get());
  TPausingIteration PausedIteration(Iteration, FWatch.get());
  TDownloadContext Context = MakeContext(PausedIteration.Get(), PausedListener.Get());
  auto Filter = [&](const std::vector<std::string>& C, TRemoteType Type) {
    return FrameworkEntry(FrameworkName, IncludeNonEssential, C, Type);
  };
  std::string Error;
  const bool Ok = Pull(Context, JoinRemote(RemotePath, FrameworkName + ".framework"), Filter, IncludeNonEssential, Error);
  FLastPull = {Context.FilesByTar, Context.FilesBySftp, Context.ListedByFind};
  return Ok || Fail(Error);
}

bool THestrelClient::ExpandPath(const std::string& Path, std::string& Expanded) {
  return Watched([&] {
    std::string Error;
    return RequireSession() && (QueryExpandPath(FSession.get(), Path, Expanded, Error) || Fail(Error));
  });
}

bool THestrelClient::ExpandAllPaths(const std::string& Paths, std::string& Expanded) {
  return Watched([&] {
    std::string Error;
    return RequireSession() && (QueryExpandAllPaths(FSession.get(), Paths, Expanded, Error) || Fail(Error));
  });
}

bool THestrelClient::DirExists(const std::string& Path) {
  return Watched([&] {
    std::string Error;
    if (!RequireSession()) return false;
    const bool Exists = QueryDirExists(FSession.get(), Path, Error);
    if (!Error.empty()) Fail(Error);
    return Exists;
  });
}

std::unique_ptr<TRARemoteFileList> THestrelClient::ListFiles(const std::string& Path, std::int32_t Depth,
                                                             bool DirectoriesOnly) {
  return Watched([&]() -> std::unique_ptr<TRARemoteFileList> {
    if (!RequireSftp()) return nullptr;
    std::string Error;
    auto List = QueryListFiles(FSftp.get(), Path, Depth, DirectoriesOnly, Error);
    if (!List) Fail(Error);
    return List;
  });
}

bool THestrelClient::CreateSymLink(const std::string& Target, const std::string& LinkName) {
  return Watched([&] {
    std::string Error;
    return RequireSession() && (QueryCreateSymLink(FSession.get(), Target, LinkName, Error) || Fail(Error));
  });
}

std::string THestrelClient::GetIOSLauncher(const std::string& Name, bool) {
  // The Boolean (simulator) does not change the search: the launcher is found by name.
  return Watched([&]() -> std::string {
    if (!RequireSession()) return "";
    std::string Error;
    std::string Found = QueryLauncher(FSession.get(), Name, Error);
    if (!Error.empty()) Fail(Error);
    return Found;
  });
}

std::unique_ptr<std::map<std::string, std::string>> THestrelClient::GetEnv() {
  return Watched([&]() -> std::unique_ptr<std::map<std::string, std::string>> {
    if (!RequireSession()) return nullptr;
    std::string Error;
    auto Table = QueryEnvironment(FSession.get(), Error);
    if (!Table) Fail(Error);
    return Table;
  });
}

bool THestrelClient::Run(const std::string& Program, const std::string& Parameters, const std::string& WorkingDir,
                         const std::string& Launcher, const std::vector<std::string>* Environment,
                         const std::string& OutputFile, const std::string& InputFile, std::int32_t& ProcessNumber) {
  return Watched([&] {
    if (!RequireSession()) return false;
    TRunRequest Request{Program,    Parameters, WorkingDir, Launcher, Environment ? *Environment : std::vector<std::string>{},
                        OutputFile, InputFile};
    std::string Error;
    return RunDetached(FSession.get(), Request, ProcessNumber, Error) || Fail(Error);
  });
}

bool THestrelClient::Debug(const std::string& Program, bool Attach, std::int32_t& N1, std::int32_t& N2,
                           std::int32_t& N3) {
  return Watched([&] {
    if (!RequireSession()) return false;
    std::string Error;
    return StartGdbServer(FSession.get(), Program, Attach, N1, N2, N3, Error) || Fail(Error);
  });
}

}  // namespace hestrel
